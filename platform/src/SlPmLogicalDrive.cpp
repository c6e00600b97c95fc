#include "SlPmLogicalDrive.h"

SlPmLogicalDrive::SlPmLogicalDrive(const QString& eesPath, const QString& displayText, const QString& symbolicName,
                                   bool mounted, bool eesTcu, bool net, const QString& netDriveType)
    : m_eesPath(eesPath), m_displayText(displayText), m_symbolicName(symbolicName), m_mounted(mounted),
      m_eesTcu(eesTcu), m_net(net), m_netDriveType(netDriveType)
{
}

QString SlPmLogicalDrive::displayText(bool) const
{
    // The panel's own USB port has no translated text on this HMI: its
    // untranslated key comes back either way, as on the real one.
    return m_displayText;
}
