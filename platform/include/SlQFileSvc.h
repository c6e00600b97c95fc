#pragma once

#include "NodeInfo.h"
#include "NodeInfoArray.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QVector>

// The file service of NC and HMI. Paths are logical ("//NC/WKS.DIR/A.WPD/B.MPF",
// "//HOST/SHARE/x", "//ACTTCU/NAME/x" for USB sticks, "/card/x") or real paths
// of the HMI's file system. Results: 0 or one of the codes below, 32-bit
// values held in a long (negative), which callers print in hexadecimal.
class SlQFileSvc : public QObject
{
    Q_OBJECT
public:
    static constexpr long E_NOT_INITIALIZED = static_cast<int>(0x81501001u);
    static constexpr long E_INVALID_PATH = static_cast<int>(0x81501002u);   // not a path, or a name the NC does not accept
    static constexpr long E_NOT_FOUND = static_cast<int>(0x81501003u);
    static constexpr long E_ALREADY_EXISTS = static_cast<int>(0x81501004u);
    static constexpr long E_ACCESS = static_cast<int>(0x81501005u);         // the file system refused
    static constexpr long E_NOT_MOUNTED = static_cast<int>(0x81501006u);    // the drive is not mounted
    static constexpr long E_NOT_A_FOLDER = static_cast<int>(0x81501007u);
    static constexpr long E_IS_A_FOLDER = static_cast<int>(0x81501008u);
    static constexpr long E_NOT_SELECTABLE = static_cast<int>(0x81501009u); // not a program of the NC
    static constexpr long E_CANCELED = static_cast<int>(0x8150100au);
    static constexpr long E_NAME_TOO_LONG = static_cast<int>(0x81501031u);
    static constexpr long E_CHANNEL_ACTIVE = static_cast<int>(0x8300c4b0u); // selection while the channel is not in reset
    static constexpr long E_PROGRAM_IN_USE = static_cast<int>(0x8300c4bcu); // the selected program of a running channel

    explicit SlQFileSvc(QObject* parent = nullptr);
    ~SlQFileSvc() override;

    long init();
    long fini();

    // A folder as to copies the file into it under the source's name.
    long copyFile(const QString& from, const QString& to, bool overwrite = true);
    long moveFile(const QString& from, const QString& to, bool overwrite = true);
    long remove(const QString& path);
    // overwrite: an existing file is emptied instead of refused.
    long createFile(const QString& path, bool overwrite = true);
    // recursive: missing parent folders are made too.
    long createFolder(const QString& path, bool recursive = true);
    long exist(const QString& path, bool& exists);
    long isPathNC(const QString& path, bool& isNc);
    long getLogicalPath(const QString& path, QString& logicalPath);
    long getRealPath(const QString& path, QString& realPath);
    // Selects an NC program for execution in the channel (1 on this control).
    long select(const QString& path, unsigned long channel = 1);

    long listFolder(const QString& path, QVector<NodeInfo>& nodes);
    // Starts a listing in the background; listCompleted or canceled arrives
    // later on this object's thread with the id given here.
    long listFolderEx(const QString& path, long& listId);
    long cancelListing(long listId);

    long registerForDriveNotifications(const QStringList& paths);
    long unregisterFromDriveNotifications();

signals:
    void listCompleted(long listId, NodeInfoArray& nodes, long error);
    void canceled(long listId);
    void driveMounted(const QString& path);
    void driveUnmounted(const QString& path);

private:
    struct Pending;
    void onDriveChanged(const QString& path, bool mounted);
    void onListingDone(long listId);
    long check(const QString& op, const QStringList& paths);

    bool m_initialized = false;
    QStringList m_drivePaths;
    QHash<long, Pending*> m_pending;
};
