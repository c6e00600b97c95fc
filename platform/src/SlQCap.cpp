#include "SlQCap.h"

#include "NcFaults.h"
#include "VirtualNc.h"

#include <QAtomicInteger>
#include <QPointer>
#include <QThread>
#include <QTimer>
#include <cmath>

namespace {

QAtomicInteger<unsigned int> g_nextHandle(0);

unsigned int nextHandleId()
{
    unsigned int id;
    do {
        id = ++g_nextHandle;
    } while (id == 0);
    return id;
}

SlCapErrorEnum toCapError(long code)
{
    return static_cast<SlCapErrorEnum>(static_cast<unsigned int>(code));
}

// An injected fault: its code, or a time-out when the NC would take longer
// than the caller waits; the caller waits what the NC takes, up to that.
long injected(VirtualNc* nc, const QString& op, const QString& item, unsigned int timeout)
{
    long code = 0;
    int delay = 0;
    if (!nc->faults().match(op, item, code, delay))
        return 0;
    if (delay > 0) {
        QThread::msleep(static_cast<unsigned long>(qMin<qint64>(delay, timeout)));
        if (static_cast<unsigned int>(delay) > timeout)
            return static_cast<long>(static_cast<int>(SL_CAP_ERR_TIMEOUT));
    }
    return code;
}

// Reads one subscribed variable; injected read faults show in notifications
// too, without their delay, which would stall the owner's thread.
SlCapErrorEnum sample(VirtualNc* nc, const QString& item, QVariant& value)
{
    long code = 0;
    int delay = 0;
    if (nc->faults().match(QStringLiteral("read"), item, code, delay) && code != 0) {
        value = QVariant();
        return toCapError(code);
    }
    value = QVariant();
    return nc->read(item, value);
}

bool differs(const QVariant& a, const QVariant& b, double hysteresis)
{
    if (hysteresis > 0.0 && a.type() == QVariant::Double && b.type() == QVariant::Double)
        return std::fabs(a.toDouble() - b.toDouble()) >= hysteresis;
    return a != b || a.type() != b.type();
}

} // namespace

SlQCap::SlQCap(const char* clientName, QObject* parent)
    : SlQCap(QString::fromLatin1(clientName ? clientName : ""), parent)
{
}

SlQCap::SlQCap(const QString& clientName, QObject* parent) : QObject(parent), m_clientName(clientName)
{
    qRegisterMetaType<SlCapErrorEnum>("SlCapErrorEnum");
    qRegisterMetaType<SlCapSupplementInfoType>("SlCapSupplementInfoType");
    qRegisterMetaType<QVector<SlCapAdviseResultType>>("QVector<SlCapAdviseResultType>");
    m_timer = new QTimer(this);
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this, &SlQCap::deliverDue);
}

SlQCap::~SlQCap() = default;

SlCapErrorEnum SlQCap::read(const QString& item, QVariant& data, unsigned int timeout, unsigned long long,
                            SlCapSupplementInfoType* supplement)
{
    VirtualNc* nc = VirtualNc::current();
    if (!nc)
        return SL_CAP_ERR_NO_CONNECTION;
    if (const long code = injected(nc, QStringLiteral("read"), item, timeout))
        return toCapError(code);
    QVariant value;
    const SlCapErrorEnum e = nc->read(item, value);
    if (e != SL_CAP_OK)
        return e;
    data = value;
    if (supplement) {
        supplement->m_timeStamp = QDateTime::currentDateTime();
        supplement->m_handleId = 0;
    }
    return SL_CAP_OK;
}

SlCapErrorEnum SlQCap::write(const QString& item, const QVariant& data, unsigned int timeout, unsigned long long,
                             SlCapSupplementInfoType* supplement)
{
    VirtualNc* nc = VirtualNc::current();
    if (!nc)
        return SL_CAP_ERR_NO_CONNECTION;
    if (const long code = injected(nc, QStringLiteral("write"), item, timeout))
        return toCapError(code);
    const SlCapErrorEnum e = nc->write(item, data);
    if (e == SL_CAP_OK && supplement) {
        supplement->m_timeStamp = QDateTime::currentDateTime();
        supplement->m_handleId = 0;
    }
    return e;
}

SlCapErrorEnum SlQCap::advise(const QString& item, SlQCapHandle& handle, unsigned int updateRate, double hysteresis,
                              unsigned int timeout, unsigned long long context)
{
    const SlCapErrorEnum e = multiAdvise({SlCapAdviseSpec(item, updateRate, hysteresis, 0, context)}, handle, timeout);
    if (e == SL_CAP_OK)
        m_subscriptions[handle.m_id].multi = false;
    return e;
}

SlCapErrorEnum SlQCap::multiAdvise(const QVector<SlCapAdviseSpec>& specs, SlQCapHandle& handle, unsigned int timeout)
{
    VirtualNc* nc = VirtualNc::current();
    if (!nc)
        return SL_CAP_ERR_NO_CONNECTION;
    if (specs.isEmpty())
        return SL_CAP_ERR_SYNTAX;
    unsigned int rate = 0;
    for (const SlCapAdviseSpec& spec : specs) {
        if (const long code = injected(nc, QStringLiteral("advise"), spec.m_item, timeout))
            return toCapError(code);
        // The NC refuses a subscription to what it cannot read.
        QVariant probe;
        const SlCapErrorEnum e = nc->read(spec.m_item, probe);
        if (e != SL_CAP_OK)
            return e;
        if (spec.m_updateRate > 0 && (rate == 0 || spec.m_updateRate < rate))
            rate = spec.m_updateRate;
    }
    Subscription sub;
    sub.id = nextHandleId();
    sub.multi = true;
    sub.specs = specs;
    sub.lastErrors = QVector<SlCapErrorEnum>(specs.size(), SL_CAP_OK);
    sub.lastValues = QVector<QVariant>(specs.size());
    // The NC notifies no faster than its update period, whatever is asked.
    sub.periodMs = qMax(static_cast<int>(rate), nc->updatePeriodMs());
    sub.delivered = false;
    sub.dirty = true;
    m_subscriptions.insert(sub.id, sub);
    handle.m_id = sub.id;
    attachToNc();
    schedule();
    return SL_CAP_OK;
}

SlCapErrorEnum SlQCap::unadvise(SlQCapHandle& handle)
{
    if (!m_subscriptions.remove(handle.m_id))
        return SL_CAP_ERR_INVALID_HANDLE;
    handle.m_id = 0;
    if (m_subscriptions.isEmpty())
        m_timer->stop();
    return SL_CAP_OK;
}

void SlQCap::attachToNc()
{
    if (VirtualNc* nc = VirtualNc::current())
        connect(nc, &VirtualNc::variablesChanged, this, &SlQCap::onNcChanged, Qt::UniqueConnection);
}

void SlQCap::onNcChanged()
{
    if (m_subscriptions.isEmpty())
        return;
    for (Subscription& sub : m_subscriptions)
        sub.dirty = true;
    schedule();
}

void SlQCap::schedule()
{
    qint64 wait = -1;
    for (const Subscription& sub : qAsConst(m_subscriptions)) {
        if (!sub.dirty)
            continue;
        const qint64 w = sub.delivered ? qMax<qint64>(0, sub.periodMs - sub.sinceLast.elapsed()) : 0;
        if (wait < 0 || w < wait)
            wait = w;
    }
    if (wait < 0) {
        m_timer->stop();
        return;
    }
    // A timer already due sooner keeps its time.
    if (m_timer->isActive() && m_timer->remainingTime() <= wait)
        return;
    m_timer->start(static_cast<int>(wait));
}

void SlQCap::deliverDue()
{
    QList<unsigned int> due;
    for (const Subscription& sub : qAsConst(m_subscriptions))
        if (sub.dirty && (!sub.delivered || sub.sinceLast.elapsed() >= sub.periodMs))
            due << sub.id;
    QPointer<SlQCap> self(this);
    for (unsigned int id : due) {
        // A slot may have ended or added subscriptions, or deleted us.
        if (!self)
            return;
        auto it = m_subscriptions.find(id);
        if (it == m_subscriptions.end())
            continue;
        it->dirty = false;
        deliver(*it);
    }
    if (self)
        schedule();
}

bool SlQCap::deliver(Subscription& sub)
{
    VirtualNc* nc = VirtualNc::current();
    if (!nc)
        return false;
    const int n = sub.specs.size();
    QVector<SlCapAdviseResultType> results(n);
    bool any = false;
    for (int i = 0; i < n; ++i) {
        QVariant value;
        const SlCapErrorEnum e = sample(nc, sub.specs[i].m_item, value);
        const bool changed = !sub.delivered || e != sub.lastErrors[i]
                             || (e == SL_CAP_OK && differs(value, sub.lastValues[i], sub.specs[i].m_hysteresis));
        results[i].m_error = e;
        results[i].m_hasValue = changed;
        results[i].m_value = e == SL_CAP_OK ? value : QVariant();
        if (changed) {
            sub.lastErrors[i] = e;
            sub.lastValues[i] = value;
            any = true;
        } else if (e == SL_CAP_OK) {
            results[i].m_value = sub.lastValues[i];
        }
    }
    if (!any)
        return false;
    sub.delivered = true;
    sub.sinceLast.restart();
    const bool multi = sub.multi;
    const unsigned int id = sub.id;
    // sub may go away in the slots below; everything needed is copied.
    if (multi) {
        SlCapErrorEnum overall = SL_CAP_OK;
        for (const SlCapAdviseResultType& r : results)
            if (r.m_error != SL_CAP_OK)
                overall = r.m_error;
        emit multiAdviseData(overall, results);
    } else {
        SlCapSupplementInfoType info;
        info.m_timeStamp = QDateTime::currentDateTime();
        info.m_handleId = id;
        emit adviseData(results[0].m_error, results[0].m_value, info);
    }
    return true;
}
