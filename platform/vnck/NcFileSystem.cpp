#include "NcFileSystem.h"

#include "SlQFileSvc.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QSaveFile>

namespace {

QString normalise(const QString& path)
{
    QString p = path.trimmed();
    p.replace(QLatin1Char('\\'), QLatin1Char('/'));
    while (p.size() > 1 && p.endsWith(QLatin1Char('/')))
        p.chop(1);
    return p;
}

bool hasDotDot(const QStringList& parts)
{
    for (const QString& s : parts)
        if (s == QLatin1String("..") || s == QLatin1String("."))
            return true;
    return false;
}

// Copies through a temporary file beside the target, so that a failed copy
// leaves the old target as it was.
bool copyContents(const QString& from, const QString& to)
{
    QFile in(from);
    if (!in.open(QIODevice::ReadOnly))
        return false;
    QSaveFile out(to);
    if (!out.open(QIODevice::WriteOnly))
        return false;
    char buf[65536];
    qint64 n;
    while ((n = in.read(buf, sizeof buf)) > 0)
        if (out.write(buf, n) != n)
            return false;
    return n == 0 && out.commit();
}

} // namespace

NcFileSystem::NcFileSystem(const QString& machineDir) : m_dir(QDir(machineDir).absolutePath()) {}

QString NcFileSystem::toNcInternal(const QString& logicalNcPath)
{
    const QString p = normalise(logicalNcPath);
    if (!p.startsWith(QLatin1String("//NC/"), Qt::CaseInsensitive))
        return QString();
    QString out;
    for (const QString& part : p.mid(5).split(QLatin1Char('/'))) {
        const int dot = part.lastIndexOf(QLatin1Char('.'));
        if (dot <= 0)
            return QString();
        out += QStringLiteral("/_N_%1_%2").arg(part.left(dot), part.mid(dot + 1));
    }
    return out;
}

QString NcFileSystem::fromNcInternal(const QString& internalPath)
{
    const QString p = normalise(internalPath);
    if (!p.startsWith(QLatin1String("/_N_")))
        return QString();
    QString out = QStringLiteral("//NC");
    for (const QString& part : p.mid(1).split(QLatin1Char('/'))) {
        const int sep = part.lastIndexOf(QLatin1Char('_'));
        if (!part.startsWith(QLatin1String("_N_")) || sep <= 3 || sep == part.size() - 1)
            return QString();
        out += QStringLiteral("/%1.%2").arg(part.mid(3, sep - 3), part.mid(sep + 1));
    }
    return out;
}

NcFileSystem::Location NcFileSystem::locate(const QString& path) const
{
    Location loc;
    QString p = normalise(path);
    if (p.startsWith(QLatin1String("/_N_"))) {
        const QString logical = fromNcInternal(p);
        if (logical.isEmpty()) {
            loc.error = SlQFileSvc::E_INVALID_PATH;
            return loc;
        }
        p = logical;
    }
    if (p.isEmpty() || !p.startsWith(QLatin1Char('/'))) {
        loc.error = SlQFileSvc::E_INVALID_PATH;
        return loc;
    }
    if (p.startsWith(QLatin1String("//"))) {
        const QStringList parts = p.mid(2).split(QLatin1Char('/'));
        if (parts.first().isEmpty() || hasDotDot(parts) || parts.contains(QString())) {
            loc.error = SlQFileSvc::E_INVALID_PATH;
            return loc;
        }
        const QString host = parts.first();
        if (host.compare(QLatin1String("NC"), Qt::CaseInsensitive) == 0) {
            loc.kind = Nc;
            loc.logical = QStringLiteral("//NC") + (parts.size() > 1 ? QLatin1Char('/') + parts.mid(1).join(QLatin1Char('/')) : QString());
            loc.real = m_dir + QStringLiteral("/nc") + (parts.size() > 1 ? QLatin1Char('/') + parts.mid(1).join(QLatin1Char('/')) : QString());
            return loc;
        }
        if (parts.size() < 2) {
            loc.error = SlQFileSvc::E_INVALID_PATH; // a host alone is no drive
            return loc;
        }
        const QString rest = parts.mid(2).isEmpty() ? QString() : QLatin1Char('/') + parts.mid(2).join(QLatin1Char('/'));
        loc.logical = QStringLiteral("//%1/%2%3").arg(host, parts[1], rest);
        if (host.compare(QLatin1String("ACTTCU"), Qt::CaseInsensitive) == 0) {
            loc.kind = Usb;
            loc.usbName = parts[1];
            loc.real = QStringLiteral("%1/usb/%2%3").arg(m_dir, parts[1], rest);
            if (!QFileInfo(QStringLiteral("%1/usb/%2").arg(m_dir, parts[1])).isDir())
                loc.error = SlQFileSvc::E_NOT_FOUND;
            else if (!isUsbMounted(parts[1]))
                loc.error = SlQFileSvc::E_NOT_MOUNTED;
            return loc;
        }
        loc.kind = Share;
        loc.real = QStringLiteral("%1/net/%2/%3%4").arg(m_dir, host, parts[1], rest);
        if (!QFileInfo(QStringLiteral("%1/net/%2/%3").arg(m_dir, host, parts[1])).isDir())
            loc.error = SlQFileSvc::E_NOT_MOUNTED; // no such share on the network
        return loc;
    }
    const QStringList parts = p.mid(1).split(QLatin1Char('/'));
    if (hasDotDot(parts)) {
        loc.error = SlQFileSvc::E_INVALID_PATH;
        return loc;
    }
    if (p == QLatin1String("/card") || p.startsWith(QLatin1String("/card/"))) {
        loc.kind = Card;
        loc.logical = p;
        loc.real = m_dir + p;
        return loc;
    }
    loc.kind = Local;
    loc.real = p;
    loc.logical = p;
    const QString ncRoot = m_dir + QStringLiteral("/nc");
    if (p == ncRoot || p.startsWith(ncRoot + QLatin1Char('/')))
        loc.logical = QStringLiteral("//NC") + p.mid(ncRoot.size());
    else if (p.startsWith(m_dir + QStringLiteral("/net/"))) {
        const QStringList rel = p.mid(m_dir.size() + 5).split(QLatin1Char('/'));
        if (rel.size() >= 2)
            loc.logical = QStringLiteral("//") + rel.join(QLatin1Char('/'));
    } else if (p == m_dir + QStringLiteral("/card") || p.startsWith(m_dir + QStringLiteral("/card/"))) {
        loc.logical = p.mid(m_dir.size());
    }
    return loc;
}

long NcFileSystem::checkNewName(const Location& loc) const
{
    const QString name = QFileInfo(loc.real).fileName();
    if (loc.kind != Nc) {
        return name.toUtf8().size() > 255 ? SlQFileSvc::E_NAME_TOO_LONG : 0;
    }
    // The NC takes names of letters, digits and '_' with an extension, and
    // keeps at most 24 characters of the name itself.
    static const QRegularExpression ncName(QStringLiteral("^([A-Za-z_][A-Za-z0-9_]*)\\.([A-Za-z0-9_]{1,3})$"));
    const auto m = ncName.match(name);
    if (!m.hasMatch())
        return name.section(QLatin1Char('.'), 0, 0).size() > kMaxNcNameLength ? SlQFileSvc::E_NAME_TOO_LONG
                                                                             : SlQFileSvc::E_INVALID_PATH;
    if (m.captured(1).size() > kMaxNcNameLength)
        return SlQFileSvc::E_NAME_TOO_LONG;
    return 0;
}

bool NcFileSystem::busy(const QString& realPath) const
{
    return m_busy && m_busy(realPath);
}

void NcFileSystem::setUsbMounted(const QString& name, bool mounted)
{
    QMutexLocker lock(&m_mutex);
    if (mounted)
        m_mountedUsb.insert(name);
    else
        m_mountedUsb.remove(name);
}

bool NcFileSystem::isUsbMounted(const QString& name) const
{
    QMutexLocker lock(&m_mutex);
    return m_mountedUsb.contains(name);
}

QStringList NcFileSystem::mountedUsb() const
{
    QMutexLocker lock(&m_mutex);
    QStringList names = m_mountedUsb.values();
    names.sort();
    return names;
}

long NcFileSystem::copy(const QString& from, const QString& to, bool overwrite) const
{
    const Location src = locate(from);
    Location dst = locate(to);
    if (src.error)
        return src.error;
    if (dst.error)
        return dst.error;
    const QFileInfo si(src.real);
    if (!si.exists())
        return SlQFileSvc::E_NOT_FOUND;
    if (si.isDir())
        return SlQFileSvc::E_IS_A_FOLDER;
    // A folder as the target takes the file under its own name, as the
    // service does when a file is dropped on a folder.
    if (QFileInfo(dst.real).isDir()) {
        dst = locate(dst.logical + QLatin1Char('/') + si.fileName());
        if (dst.error)
            return dst.error;
    }
    if (const long e = checkNewName(dst))
        return e;
    const QFileInfo di(dst.real);
    if (di.isDir())
        return SlQFileSvc::E_IS_A_FOLDER;
    if (di.exists() && !overwrite)
        return SlQFileSvc::E_ALREADY_EXISTS;
    if (!di.absoluteDir().exists())
        return SlQFileSvc::E_NOT_FOUND;
    if (busy(di.absoluteFilePath()))
        return SlQFileSvc::E_PROGRAM_IN_USE;
    if (si.absoluteFilePath() == di.absoluteFilePath())
        return 0;
    return copyContents(src.real, dst.real) ? 0 : SlQFileSvc::E_ACCESS;
}

long NcFileSystem::move(const QString& from, const QString& to, bool overwrite) const
{
    const Location src = locate(from);
    const Location dst = locate(to);
    if (src.error)
        return src.error;
    if (dst.error)
        return dst.error;
    const QFileInfo si(src.real);
    if (!si.exists())
        return SlQFileSvc::E_NOT_FOUND;
    if (const long e = checkNewName(dst))
        return e;
    const QFileInfo di(dst.real);
    if (si.absoluteFilePath() == di.absoluteFilePath())
        return 0;
    if (di.isDir())
        return SlQFileSvc::E_IS_A_FOLDER;
    if (di.exists() && !overwrite)
        return SlQFileSvc::E_ALREADY_EXISTS;
    if (!di.absoluteDir().exists())
        return SlQFileSvc::E_NOT_FOUND;
    if (busy(si.absoluteFilePath()) || busy(di.absoluteFilePath()))
        return SlQFileSvc::E_PROGRAM_IN_USE;
    if (si.isDir())
        return QDir().rename(src.real, dst.real) ? 0 : SlQFileSvc::E_ACCESS;
    // rename() refuses to replace; a copy first keeps the old target until
    // the new contents are complete.
    if (di.exists() || !QFile::rename(src.real, dst.real)) {
        if (!copyContents(src.real, dst.real))
            return SlQFileSvc::E_ACCESS;
        if (!QFile::remove(src.real))
            return SlQFileSvc::E_ACCESS;
    }
    return 0;
}

long NcFileSystem::remove(const QString& path) const
{
    const Location loc = locate(path);
    if (loc.error)
        return loc.error;
    const QFileInfo fi(loc.real);
    if (!fi.exists())
        return SlQFileSvc::E_NOT_FOUND;
    if (busy(fi.absoluteFilePath()))
        return SlQFileSvc::E_PROGRAM_IN_USE;
    if (fi.isDir())
        return QDir(loc.real).removeRecursively() ? 0 : SlQFileSvc::E_ACCESS;
    return QFile::remove(loc.real) ? 0 : SlQFileSvc::E_ACCESS;
}

long NcFileSystem::createFile(const QString& path, bool overwrite) const
{
    const Location loc = locate(path);
    if (loc.error)
        return loc.error;
    if (const long e = checkNewName(loc))
        return e;
    const QFileInfo fi(loc.real);
    if (fi.isDir())
        return SlQFileSvc::E_IS_A_FOLDER;
    if (fi.exists() && !overwrite)
        return SlQFileSvc::E_ALREADY_EXISTS;
    if (!fi.absoluteDir().exists())
        return SlQFileSvc::E_NOT_FOUND;
    if (busy(fi.absoluteFilePath()))
        return SlQFileSvc::E_PROGRAM_IN_USE;
    QFile f(loc.real);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) ? 0 : SlQFileSvc::E_ACCESS;
}

long NcFileSystem::createFolder(const QString& path, bool recursive) const
{
    const Location loc = locate(path);
    if (loc.error)
        return loc.error;
    const QFileInfo fi(loc.real);
    if (fi.exists())
        return SlQFileSvc::E_ALREADY_EXISTS;
    if (loc.kind == Nc) {
        // Folders of the NC are DIR and WPD folders only.
        static const QRegularExpression folder(QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*\\.(DIR|WPD)$"),
                                               QRegularExpression::CaseInsensitiveOption);
        const QString name = fi.fileName();
        if (name.section(QLatin1Char('.'), 0, 0).size() > kMaxNcNameLength)
            return SlQFileSvc::E_NAME_TOO_LONG;
        if (!folder.match(name).hasMatch())
            return SlQFileSvc::E_INVALID_PATH;
    } else if (fi.fileName().toUtf8().size() > 255) {
        return SlQFileSvc::E_NAME_TOO_LONG;
    }
    if (!recursive && !fi.absoluteDir().exists())
        return SlQFileSvc::E_NOT_FOUND;
    return QDir().mkpath(loc.real) ? 0 : SlQFileSvc::E_ACCESS;
}

long NcFileSystem::exist(const QString& path, bool& exists) const
{
    const Location loc = locate(path);
    if (loc.error == SlQFileSvc::E_NOT_FOUND) {
        exists = false;
        return 0;
    }
    if (loc.error)
        return loc.error;
    // "X/" names a folder: a file X does not answer to it.
    const QString named = path.trimmed();
    const bool folderOnly = named.size() > 1 && (named.endsWith(QLatin1Char('/')) || named.endsWith(QLatin1Char('\\')));
    const QFileInfo info(loc.real);
    exists = info.exists() && (!folderOnly || info.isDir());
    return 0;
}

long NcFileSystem::logicalPath(const QString& path, QString& logical) const
{
    const Location loc = locate(path);
    if (loc.kind == Invalid)
        return loc.error;
    logical = loc.logical;
    return 0;
}

long NcFileSystem::realPath(const QString& path, QString& real) const
{
    const Location loc = locate(path);
    if (loc.kind == Invalid)
        return loc.error;
    real = loc.real;
    return 0;
}

long NcFileSystem::list(const QString& path, QVector<NodeInfo>& nodes) const
{
    const Location loc = locate(path);
    if (loc.error)
        return loc.error;
    const QFileInfo fi(loc.real);
    if (!fi.exists())
        return SlQFileSvc::E_NOT_FOUND;
    if (!fi.isDir())
        return SlQFileSvc::E_NOT_A_FOLDER;
    const QString prefix = normalise(path) == QLatin1String("/") ? QString() : normalise(path);
    const QFileInfoList entries = QDir(loc.real).entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name | QDir::DirsFirst | QDir::IgnoreCase);
    nodes.clear();
    nodes.reserve(entries.size());
    for (const QFileInfo& e : entries) {
        NodeInfo n;
        n.m_name = e.fileName();
        n.m_path = prefix + QLatin1Char('/') + n.m_name;
        n.m_isFolder = e.isDir();
        n.m_size = e.isDir() ? -1 : e.size();
        n.m_lastWriteTime = static_cast<int>(e.lastModified().toSecsSinceEpoch());
        nodes << n;
    }
    return 0;
}
