#include "SlPmHelper.h"

#include "SlQFileSvc.h"
#include "VirtualNc.h"

#include <QDir>

long SlPmHelper::createLogicalDriveData(QList<SlPmLogicalDrive*>& drives, QStringList& names)
{
    const VirtualNc* nc = VirtualNc::current();
    if (!nc)
        return SlQFileSvc::E_NOT_INITIALIZED;
    drives << new SlPmLogicalDrive(QStringLiteral("//NC"), QStringLiteral("NC data"), QStringLiteral("NC"), true,
                                   false, false, QString());
    names << QStringLiteral("NC");
    // Each share of DIR/net/HOST/SHARE is a configured network drive.
    const QDir net(QDir(nc->machineDir()).filePath(QStringLiteral("net")));
    for (const QString& host : net.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        for (const QString& share : QDir(net.filePath(host)).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
            const QString symbolic = QStringLiteral("NET_%1_%2").arg(host, share).replace(QLatin1Char('.'), QLatin1Char('_'));
            drives << new SlPmLogicalDrive(QStringLiteral("//%1/%2").arg(host, share),
                                           QStringLiteral("%1 on %2").arg(share, host), symbolic, true, false, true,
                                           QStringLiteral("smb"));
            names << symbolic;
        }
    }
    for (const QString& stick : nc->usbSticks()) {
        const QString symbolic = QStringLiteral("USB_") + stick;
        const QString text = stick == QLatin1String("FRONT") ? QStringLiteral("SL_PM_SK_LOCAL_TCU_USB")
                                                             : QStringLiteral("USB ") + stick;
        drives << new SlPmLogicalDrive(QStringLiteral("//ACTTCU/") + stick, text, symbolic, nc->isUsbMounted(stick),
                                       true, false, QString());
        names << symbolic;
    }
    return 0;
}
