#include "SlQFileSvc.h"

#include "NcFaults.h"
#include "NcFileSystem.h"
#include "VirtualNc.h"

#include <QAtomicInteger>
#include <QFutureWatcher>
#include <QtConcurrent>
#include <memory>

namespace {
QAtomicInteger<long> g_nextListId(0);
}

// A listing under way. The worker touches only the shared result, so the
// service may be finished or destroyed while it runs.
struct SlQFileSvc::Pending
{
    struct Result
    {
        NodeInfoArray nodes;
        long error = 0;
    };
    std::shared_ptr<Result> result = std::make_shared<Result>();
    QFutureWatcher<void>* watcher = nullptr; // child of the service
};

SlQFileSvc::SlQFileSvc(QObject* parent) : QObject(parent) {}

SlQFileSvc::~SlQFileSvc()
{
    qDeleteAll(m_pending);
}

long SlQFileSvc::init()
{
    VirtualNc* nc = VirtualNc::current();
    if (!nc)
        return E_NOT_INITIALIZED;
    if (const long code = nc->faults().apply(QStringLiteral("init"), QString()))
        return code;
    m_initialized = true;
    connect(nc, &VirtualNc::driveChanged, this, &SlQFileSvc::onDriveChanged, Qt::UniqueConnection);
    return 0;
}

long SlQFileSvc::fini()
{
    const QList<long> ids = m_pending.keys();
    for (long id : ids)
        cancelListing(id);
    m_drivePaths.clear();
    m_initialized = false;
    return 0;
}

long SlQFileSvc::check(const QString& op, const QStringList& paths)
{
    VirtualNc* nc = VirtualNc::current();
    if (!m_initialized || !nc)
        return E_NOT_INITIALIZED;
    return nc->faults().apply(op, paths);
}

long SlQFileSvc::copyFile(const QString& from, const QString& to, bool overwrite)
{
    if (const long code = check(QStringLiteral("copy"), {from, to}))
        return code;
    return VirtualNc::current()->fileSystem().copy(from, to, overwrite);
}

long SlQFileSvc::moveFile(const QString& from, const QString& to, bool overwrite)
{
    if (const long code = check(QStringLiteral("move"), {from, to}))
        return code;
    return VirtualNc::current()->fileSystem().move(from, to, overwrite);
}

long SlQFileSvc::remove(const QString& path)
{
    if (const long code = check(QStringLiteral("remove"), {path}))
        return code;
    return VirtualNc::current()->fileSystem().remove(path);
}

long SlQFileSvc::createFile(const QString& path, bool overwrite)
{
    if (const long code = check(QStringLiteral("create-file"), {path}))
        return code;
    return VirtualNc::current()->fileSystem().createFile(path, overwrite);
}

long SlQFileSvc::createFolder(const QString& path, bool recursive)
{
    if (const long code = check(QStringLiteral("create-folder"), {path}))
        return code;
    return VirtualNc::current()->fileSystem().createFolder(path, recursive);
}

long SlQFileSvc::exist(const QString& path, bool& exists)
{
    if (const long code = check(QStringLiteral("exist"), {path}))
        return code;
    return VirtualNc::current()->fileSystem().exist(path, exists);
}

long SlQFileSvc::isPathNC(const QString& path, bool& isNc)
{
    if (const long code = check(QStringLiteral("is-nc"), {path}))
        return code;
    const NcFileSystem::Location loc = VirtualNc::current()->fileSystem().locate(path);
    if (loc.kind == NcFileSystem::Invalid)
        return loc.error;
    isNc = loc.kind == NcFileSystem::Nc;
    return 0;
}

long SlQFileSvc::getLogicalPath(const QString& path, QString& logicalPath)
{
    if (const long code = check(QStringLiteral("logical-path"), {path}))
        return code;
    return VirtualNc::current()->fileSystem().logicalPath(path, logicalPath);
}

long SlQFileSvc::getRealPath(const QString& path, QString& realPath)
{
    if (const long code = check(QStringLiteral("real-path"), {path}))
        return code;
    return VirtualNc::current()->fileSystem().realPath(path, realPath);
}

long SlQFileSvc::select(const QString& path, unsigned long channel)
{
    if (const long code = check(QStringLiteral("select"), {path}))
        return code;
    if (channel != 1)
        return E_NOT_SELECTABLE; // this control has one channel
    return VirtualNc::current()->selectProgram(path);
}

long SlQFileSvc::listFolder(const QString& path, QVector<NodeInfo>& nodes)
{
    if (const long code = check(QStringLiteral("list"), {path}))
        return code;
    return VirtualNc::current()->fileSystem().list(path, nodes);
}

long SlQFileSvc::listFolderEx(const QString& path, long& listId)
{
    VirtualNc* nc = VirtualNc::current();
    if (!m_initialized || !nc)
        return E_NOT_INITIALIZED;
    long id;
    do {
        id = ++g_nextListId;
    } while (id <= 0);
    listId = id;

    auto* p = new Pending;
    p->watcher = new QFutureWatcher<void>(this);
    m_pending.insert(id, p);
    connect(p->watcher, &QFutureWatcher<void>::finished, this, [this, id] { onListingDone(id); });
    std::shared_ptr<Pending::Result> result = p->result;
    NcFileSystem* fs = &nc->fileSystem();
    NcFaults* faults = &nc->faults();
    p->watcher->setFuture(QtConcurrent::run(nc->backgroundPool(), [result, fs, faults, path] {
        QVector<NodeInfo> nodes;
        long code = faults->apply(QStringLiteral("list-async"), path);
        if (code == 0)
            code = fs->list(path, nodes);
        result->error = code;
        result->nodes = nodes;
    }));
    return 0;
}

long SlQFileSvc::cancelListing(long listId)
{
    Pending* p = m_pending.take(listId);
    if (!p)
        return E_NOT_FOUND;
    // The worker may still run; it only fills the result nobody reads now.
    p->watcher->disconnect(this);
    p->watcher->deleteLater();
    delete p;
    emit canceled(listId);
    return 0;
}

void SlQFileSvc::onListingDone(long listId)
{
    Pending* p = m_pending.take(listId);
    if (!p)
        return;
    const std::shared_ptr<Pending::Result> result = p->result;
    p->watcher->deleteLater();
    delete p;
    NodeInfoArray nodes = result->nodes;
    emit listCompleted(listId, nodes, result->error);
}

long SlQFileSvc::registerForDriveNotifications(const QStringList& paths)
{
    if (!m_initialized)
        return E_NOT_INITIALIZED;
    for (const QString& p : paths)
        if (!m_drivePaths.contains(p, Qt::CaseInsensitive))
            m_drivePaths << p;
    return 0;
}

long SlQFileSvc::unregisterFromDriveNotifications()
{
    m_drivePaths.clear();
    return 0;
}

void SlQFileSvc::onDriveChanged(const QString& path, bool mounted)
{
    for (const QString& p : qAsConst(m_drivePaths)) {
        if (p.compare(path, Qt::CaseInsensitive) == 0) {
            if (mounted)
                emit driveMounted(p);
            else
                emit driveUnmounted(p);
            return;
        }
    }
}
