#pragma once

#include <QString>

// A logical drive of the control as the HMI's drive configuration names it.
class SlPmLogicalDrive
{
public:
    SlPmLogicalDrive(const QString& eesPath, const QString& displayText, const QString& symbolicName,
                     bool mounted, bool eesTcu, bool net, const QString& netDriveType);

    QString eesPath() const { return m_eesPath; }
    // translated: the text for the operator; the untranslated key otherwise.
    QString displayText(bool translated = true) const;
    QString symbolicName() const { return m_symbolicName; }
    bool isMounted() const { return m_mounted; }
    bool isEESTcu() const { return m_eesTcu; }   // a USB port of a panel
    bool isNet() const { return m_net; }
    QString netDriveType() const { return m_netDriveType; } // "smb", "nfs", "ftp" or empty

private:
    QString m_eesPath;
    QString m_displayText;
    QString m_symbolicName;
    bool m_mounted;
    bool m_eesTcu;
    bool m_net;
    QString m_netDriveType;
};
