#include "SlPiSvc.h"

#include "NcFaults.h"
#include "VirtualNc.h"

SlPiSvc::SlPiSvc(SlVector<SlString>& args) : m_args(args) {}

long SlPiSvc::start(SlPiSvcStatus& status)
{
    auto finish = [&status](long code, const QString& text) {
        status.m_result = code;
        status.m_errorText = text;
        return code;
    };
    status.m_piName = m_args.size() > 2 ? m_args[2].toQString() : QString();
    if (m_args.size() < 3 || m_args[0].toQString().compare(QLatin1String("/NC"), Qt::CaseInsensitive) != 0)
        return finish(E_ARGUMENTS, QStringLiteral("a PI service needs /NC, area and unit, and its name"));
    // "201": area 2 (channel), unit 01.
    bool ok = false;
    const int areaUnit = m_args[1].toQString().toInt(&ok);
    if (!ok || areaUnit / 100 != 2 || areaUnit % 100 != 1)
        return finish(E_ARGUMENTS, QStringLiteral("'%1' is no unit of this control (201: channel 1)").arg(m_args[1].toQString()));
    VirtualNc* nc = VirtualNc::current();
    if (!nc)
        return finish(E_NO_NC, QStringLiteral("no NC"));
    if (const long code = nc->faults().apply(QStringLiteral("pi"), status.m_piName))
        return finish(code, QStringLiteral("injected fault"));
    if (status.m_piName == QLatin1String("_N_SETUFR")) {
        QString why;
        const long code = nc->activateUserFrames(&why);
        return finish(code ? E_REFUSED : 0, why);
    }
    return finish(E_UNKNOWN_PI, QStringLiteral("the NC has no PI service %1").arg(status.m_piName));
}
