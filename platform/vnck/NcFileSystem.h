#pragma once

#include "NodeInfo.h"

#include <QMutex>
#include <QSet>
#include <QString>
#include <QVector>
#include <functional>

// The file system the file service works on, mapped to the machine folder:
//   //NC/WKS.DIR/A.WPD/B.MPF   DIR/nc/WKS.DIR/A.WPD/B.MPF (also /_N_WKS_DIR/_N_A_WPD/_N_B_MPF)
//   //HOST/SHARE/x             DIR/net/HOST/SHARE/x
//   //ACTTCU/NAME/x            DIR/usb/NAME/x, while the stick is mounted
//   /card/x                    DIR/card/x
// and any other absolute path as it is. Results are the file service's
// 32-bit codes (SlQFileSvc::E_...).
class NcFileSystem
{
public:
    enum Kind { Invalid, Nc, Share, Usb, Card, Local };
    struct Location
    {
        Kind kind = Invalid;
        QString logical;  // normalised logical path ("//NC/..."); the real path for Local
        QString real;     // path in the machine folder or the host's file system
        QString usbName;
        long error = 0;   // why the path cannot be used, 0 when it can
    };

    static constexpr int kMaxNcNameLength = 24; // program and folder names, without extension

    explicit NcFileSystem(const QString& machineDir);

    QString machineDir() const { return m_dir; }
    Location locate(const QString& path) const;

    // The selected program of a channel that is not in reset may not be
    // overwritten, moved or removed; the kernel answers for a real path.
    void setBusyCheck(std::function<bool(const QString& realPath)> check) { m_busy = std::move(check); }

    void setUsbMounted(const QString& name, bool mounted);
    bool isUsbMounted(const QString& name) const;
    QStringList mountedUsb() const;

    static QString toNcInternal(const QString& logicalNcPath);   // "//NC/A.DIR/B.MPF" -> "/_N_A_DIR/_N_B_MPF"
    static QString fromNcInternal(const QString& internalPath);  // the reverse; empty when not in that form

    long copy(const QString& from, const QString& to, bool overwrite) const;
    long move(const QString& from, const QString& to, bool overwrite) const;
    long remove(const QString& path) const;
    long createFile(const QString& path, bool overwrite) const;
    long createFolder(const QString& path, bool recursive) const;
    long exist(const QString& path, bool& exists) const;
    long logicalPath(const QString& path, QString& logical) const;
    long realPath(const QString& path, QString& real) const;
    long list(const QString& path, QVector<NodeInfo>& nodes) const;

private:
    long checkNewName(const Location& loc) const;
    bool busy(const QString& realPath) const;

    QString m_dir;
    std::function<bool(const QString&)> m_busy;
    mutable QMutex m_mutex;
    QSet<QString> m_mountedUsb;
};
