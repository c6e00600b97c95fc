#include "MiscUtility.h"

#include "SlGfwHmiDialog.h"
#include "SlGfwScreen.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QFontInfo>
#include <QHostAddress>
#include <QNetworkInterface>
#include <QRegularExpression>
#include <QTextStream>
#include <QTime>
#include <QUuid>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

bool CMiscUtility::QStrIsNullOrEmpty(const QString& text)
{
    return text.isNull() || text.isEmpty();
}

bool CMiscUtility::QStr2Integer(const QString& text, int& value)
{
    bool ok = false;
    value = text.toInt(&ok, 10);
    return ok;
}

bool CMiscUtility::QStr2UShort(const QString& text, unsigned short& value)
{
    bool ok = false;
    value = text.toUShort(&ok, 10);
    return ok;
}

bool CMiscUtility::QStr2Double(const QString& text, double& value)
{
    bool ok = false;
    value = text.toDouble(&ok);
    return ok;
}

bool CMiscUtility::QStr2CharArray(const QString& text, char* buffer, unsigned int size)
{
    if (!buffer || size == 0)
        return false;
    // Buffers of the net server are fixed in size; the cut may split a
    // multi-byte character, which the receiving side tolerates.
    const QByteArray utf8 = text.toUtf8();
    const unsigned int n = std::min<unsigned int>(static_cast<unsigned int>(utf8.size()), size - 1);
    std::memcpy(buffer, utf8.constData(), n);
    buffer[n] = '\0';
    return true;
}

void CMiscUtility::FillQStr(QString& text, int length, char fill, bool atFront)
{
    while (text.length() < length) {
        if (atFront)
            text.prepend(QLatin1Char(fill));
        else
            text.append(QLatin1Char(fill));
    }
}

QString CMiscUtility::DoubleToQStr(double value, int decimals)
{
    QString text = QStringLiteral("%1").arg(value, 0, 'f', decimals);
    // The pattern does not insist on a point, so a whole number printed with
    // no decimals loses its zeros too (100 -> "1"). Callers know this.
    static const QRegularExpression trailingZeros(QStringLiteral("(\\.){0,1}0+$"));
    const QRegularExpressionMatch m = trailingZeros.match(text);
    if (m.hasMatch())
        text.remove(m.capturedStart(), m.capturedLength());
    return text;
}

bool CMiscUtility::DoubleIsEqual(double a, double b)
{
    return std::fabs(a - b) <= 1e-12 * std::min(std::fabs(a), std::fabs(b));
}

QString CMiscUtility::GetAxisTypeQStr(tagAxisType type)
{
    switch (type) {
    case AXIS_LINEAR: return QStringLiteral("Linear");
    case AXIS_ROTARY: return QStringLiteral("Rotary");
    case AXIS_SPINDLE: return QStringLiteral("Spindle");
    default: return QString();
    }
}

bool CMiscUtility::IsAllowAxisType(tagAxisType type)
{
    // Unsigned on purpose: -1 (unknown) wraps to a huge value and fails.
    return static_cast<unsigned int>(type) <= static_cast<unsigned int>(AXIS_ROTARY);
}

int CMiscUtility::GetWorkoffsetIndex(const QString& code, bool& isValid)
{
    isValid = false;
    const QString text = code.trimmed().toUpper();
    if (text.isEmpty() || text.at(0) != QLatin1Char('G'))
        return 0;
    int n = 0;
    QStr2Integer(text.mid(1), n);
    if (n >= 500 && n <= 599) {
        isValid = true;
        return n - 500;
    }
    if (n >= 54 && n <= 57) {
        isValid = true;
        return n - 53;
    }
    return 1;
}

QString CMiscUtility::CreateUuid()
{
    QString text = QUuid::createUuid().toString();
    text.remove(QLatin1Char('{')).remove(QLatin1Char('-')).remove(QLatin1Char('}'));
    return text;
}

static void SeedBySecondOfDay()
{
    // Reseeding each call with the second of the day makes all calls within
    // one second agree; the test screen depends on that repeatability.
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    qsrand(static_cast<uint>(QTime(0, 0).secsTo(QTime::currentTime())));
    QT_WARNING_POP
}

int CMiscUtility::GetRandomInteger(int min, int max)
{
    SeedBySecondOfDay();
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    return min + qrand() % (max - min);
    QT_WARNING_POP
}

double CMiscUtility::GetRandomDouble(double min, double max)
{
    SeedBySecondOfDay();
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    return min + (max - min) * qrand() / 32767.0;
    QT_WARNING_POP
}

QString CMiscUtility::NowTimestamp(const QString& format)
{
    return QDateTime::currentDateTime().toString(format);
}

QString CMiscUtility::EpochSeconds2QStr(unsigned int seconds, const QString& format)
{
    return QDateTime::fromSecsSinceEpoch(seconds).toString(format);
}

QString CMiscUtility::GetFileLastWriteTime(const QString& path, const QString& format)
{
    const QFileInfo info(path);
    if (!info.exists())
        return QString();
    const QDateTime time = info.lastModified();
    if (time.isNull() || !time.isValid())
        return QString();
    return time.toString(format);
}

bool CMiscUtility::FileLastWriteTimeLessThan(const QFileInfo& a, const QFileInfo& b)
{
    return a.lastModified() < b.lastModified();
}

bool CMiscUtility::FileLastWriteTimeMoreThan(const QFileInfo& a, const QFileInfo& b)
{
    return b.lastModified() < a.lastModified();
}

QString CMiscUtility::NormalizePath(const QString& path)
{
    QString text = path;
    text.replace(QLatin1Char('\\'), QLatin1Char('/'));
    while (text.endsWith(QLatin1Char('/')))
        text.chop(1);
    return text;
}

QString CMiscUtility::NormalizePath(const char* path)
{
    return NormalizePath(QString::fromLocal8Bit(path));
}

static int LastSeparator(const QString& path)
{
    return std::max(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('\\')));
}

QString CMiscUtility::GetFilePath(const QString& path)
{
    const int pos = LastSeparator(path);
    return pos < 0 ? QString(QLatin1String("")) : path.left(pos + 1);
}

QString CMiscUtility::GetFileName(const QString& path)
{
    const int pos = LastSeparator(path);
    return pos < 0 ? path : path.mid(pos + 1);
}

QString CMiscUtility::GetFileNameNoSuffix(const QString& path, char separator)
{
    const QString name = GetFileName(path);
    const int pos = name.lastIndexOf(QLatin1Char(separator));
    return pos < 0 ? name : name.left(pos);
}

QString CMiscUtility::GetFileSuffix(const QString& path)
{
    const int pos = path.lastIndexOf(QLatin1Char('.'));
    return pos < 0 ? QString(QLatin1String("")) : path.mid(pos);
}

bool CMiscUtility::CheckFileSuffix(const QString& path, const QString& suffix)
{
    return GetFileSuffix(path).compare(suffix, Qt::CaseInsensitive) == 0;
}

bool CMiscUtility::FileIsExists(const QString& path)
{
    if (path.isEmpty())
        return false;
    return QFile::exists(path);
}

bool CMiscUtility::RemoveFile(const QString& path)
{
    return QFile::remove(path);
}

// Shared by rename and copy: both refuse to clobber unless told to.
static bool ClearTarget(const QString& from, const QString& to, bool overwrite)
{
    if (!QFile::exists(from))
        return false;
    if (QFile::exists(to)) {
        if (!overwrite)
            return false;
        if (!QFile::remove(to))
            return false;
    }
    return true;
}

// Clearing the target of a file onto itself would remove the file.
static bool SameFile(const QString& from, const QString& to)
{
    const QFileInfo a(from);
    const QFileInfo b(to);
    return a.exists() && b.exists() && a.canonicalFilePath() == b.canonicalFilePath();
}

bool CMiscUtility::RenameFile(const QString& from, const QString& to, bool overwrite)
{
    if (SameFile(from, to))
        return true;
    return ClearTarget(from, to, overwrite) && QFile::rename(from, to);
}

bool CMiscUtility::CopyFile(QString from, QString to, bool overwrite)
{
    if (SameFile(from, to))
        return true;
    return ClearTarget(from, to, overwrite) && QFile::copy(from, to);
}

bool CMiscUtility::MoveFile(QString from, QString to, bool overwrite)
{
    // Copy and remove rather than rename: source and target may lie on
    // different file systems (CF card, network share, USB stick).
    if (SameFile(from, to))
        return true;
    if (!CopyFile(from, to, overwrite))
        return false;
    return QFile::remove(from);
}

bool CMiscUtility::CreateFolder(const QString& path, bool isFilePath)
{
    const QString folder = isFilePath ? GetFilePath(path) : path;
    QDir dir(folder);
    if (dir.exists())
        return true;
    return dir.mkpath(QStringLiteral("."));
}

void CMiscUtility::ListFiles(const QString& folder, const QStringList& filters, QList<QFileInfo>& files,
                             bool recursive)
{
    QDirIterator it(folder, filters, QDir::Files | QDir::NoSymLinks,
                    recursive ? QDirIterator::Subdirectories : QDirIterator::NoIteratorFlags);
    while (it.hasNext()) {
        it.next();
        files.append(it.fileInfo());
    }
}

void CMiscUtility::ClearExpiredFiles(const QString& folder, const QStringList& filters, int keepCount,
                                     bool recursive)
{
    if (keepCount < 0)
        return;
    QList<QFileInfo> files;
    ListFiles(folder, filters, files, recursive);
    if (files.size() <= keepCount)
        return;
    std::stable_sort(files.begin(), files.end(), FileLastWriteTimeLessThan);
    const int excess = files.size() - keepCount;
    for (int i = 0; i < excess; ++i)
        QFile::remove(files.at(i).absoluteFilePath());
}

bool CMiscUtility::ReadTextFile(const QString& path, QStringList& lines, QString& error, int firstLine,
                                int maxLines)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        error = file.errorString();
        return false;
    }
    QTextStream stream(&file);
    stream.setCodec("UTF-8");
    // firstLine skips nothing: reading always starts at the top, and the
    // limit counts the whole list, lines the caller brought included.
    Q_UNUSED(firstLine)
    while (!stream.atEnd()) {
        if (maxLines > 0 && lines.size() >= maxLines)
            break;
        lines.append(stream.readLine());
    }
    return true;
}

bool CMiscUtility::WriteTextFile(const QString& path, const QStringList& lines, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        error = file.errorString();
        return false;
    }
    QTextStream stream(&file);
    stream.setCodec("UTF-8");
    for (const QString& line : lines)
        stream << line;
    stream.flush();
    return true;
}

int CMiscUtility::GetThisLibHandle()
{
    return 0;
}

QString CMiscUtility::GetThisLibFullPath()
{
    Dl_info info;
    std::memset(&info, 0, sizeof(info));
    if (dladdr(reinterpret_cast<void*>(&CMiscUtility::GetThisLibHandle), &info) == 0 || !info.dli_fname)
        return QString();
    char* real = realpath(info.dli_fname, nullptr);
    if (!real)
        return QString();
    const QString path = QString::fromLocal8Bit(real);
    free(real);
    return path;
}

void CMiscUtility::GetHostIpList(QStringList& addresses, bool withIpv6)
{
    addresses.append(QStringLiteral("0.0.0.0"));
    if (withIpv6)
        addresses.append(QStringLiteral("[::]"));
    const QList<QHostAddress> all = QNetworkInterface::allAddresses();
    for (const QHostAddress& address : all) {
        if (address.protocol() == QAbstractSocket::IPv4Protocol) {
            if (address != QHostAddress(QHostAddress::LocalHost))
                addresses.append(address.toString());
        } else if (withIpv6 && address.protocol() == QAbstractSocket::IPv6Protocol) {
            if (address != QHostAddress(QHostAddress::LocalHostIPv6))
                addresses.append(address.toString());
        }
    }
}

bool CMiscUtility::IsFixedPitchFont(const QFont& font)
{
    return QFontInfo(font).fixedPitch();
}

QFont CMiscUtility::GetMonospaceFont()
{
    QFont font(QStringLiteral("monospace"), -1, -1, false);
    if (IsFixedPitchFont(font))
        return font;
    font.setStyleHint(QFont::Monospace, QFont::PreferDefault);
    if (IsFixedPitchFont(font))
        return font;
    font.setStyleHint(QFont::TypeWriter, QFont::PreferDefault);
    if (IsFixedPitchFont(font))
        return font;
    font.setFamily(QStringLiteral("courier"));
    return font;
}

bool CMiscUtility::ShowMessageDialog(SlGfwHmiDialog* dialog, const QString& backScreen, const QString& message,
                                     const QString& caption)
{
    if (!dialog)
        return false;
    // One arg() call for all three, so a "%2" inside the message stays text.
    const QString properties =
        QStringLiteral("-slgfwprop1 formMessage.propCaption=%1 -slgfwprop2 formMessage.propBackScreen=%2 "
                       "-slgfwprop3 formMessage.propMessage=%3")
            .arg(caption, backScreen, message);
    return dialog->execModalScreen(QStringLiteral("screenMessage"), properties).toString() == QLatin1String("OK");
}

void CMiscUtility::SetSoftKeyEnable(SlGfwHmiDialog* dialog, const QString& screen, int index, bool enabled,
                                    const QString& menu)
{
    if (!dialog)
        return;
    SlGfwScreen* s = dialog->screenRef(screen);
    if (!s)
        return;
    if (QWidget* key = s->menuSoftkey(menu, index, QString()))
        key->setEnabled(enabled);
}
