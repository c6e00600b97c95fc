#pragma once

#include "SiemensAPITypes.h"

#include <QFileInfo>
#include <QFont>
#include <QList>
#include <QString>
#include <QStringList>

class SlGfwHmiDialog;

// The shared vocabulary for paths, files, text files, number conversion,
// time stamps and axis type names. Stateless; nothing here logs or throws,
// so the logger itself can rest on it.
class CMiscUtility
{
public:
    CMiscUtility() = delete;

    // Strings and numbers
    static bool QStrIsNullOrEmpty(const QString& text);
    static bool QStr2Integer(const QString& text, int& value);
    static bool QStr2UShort(const QString& text, unsigned short& value);
    static bool QStr2Double(const QString& text, double& value);
    static bool QStr2CharArray(const QString& text, char* buffer, unsigned int size);
    static void FillQStr(QString& text, int length, char fill, bool atFront);
    static QString DoubleToQStr(double value, int decimals);
    static bool DoubleIsEqual(double a, double b);
    template <typename T>
    static QString GetHexQStr(T value, const QString& prefix);
    static QString GetAxisTypeQStr(tagAxisType type);
    static bool IsAllowAxisType(tagAxisType type);
    static int GetWorkoffsetIndex(const QString& code, bool& isValid);
    static QString CreateUuid();
    static int GetRandomInteger(int min, int max);
    static double GetRandomDouble(double min, double max);

    // Time
    static QString NowTimestamp(const QString& format);
    static QString EpochSeconds2QStr(unsigned int seconds, const QString& format);
    static QString GetFileLastWriteTime(const QString& path, const QString& format);
    static bool FileLastWriteTimeLessThan(const QFileInfo& a, const QFileInfo& b);
    static bool FileLastWriteTimeMoreThan(const QFileInfo& a, const QFileInfo& b);

    // Paths
    static QString NormalizePath(const QString& path);
    static QString NormalizePath(const char* path);
    static QString GetFilePath(const QString& path);
    static QString GetFileName(const QString& path);
    static QString GetFileNameNoSuffix(const QString& path, char separator);
    static QString GetFileSuffix(const QString& path);
    static bool CheckFileSuffix(const QString& path, const QString& suffix);

    // Files
    static bool FileIsExists(const QString& path);
    static bool RemoveFile(const QString& path);
    static bool RenameFile(const QString& from, const QString& to, bool overwrite);
    static bool CopyFile(QString from, QString to, bool overwrite);
    static bool MoveFile(QString from, QString to, bool overwrite);
    static bool CreateFolder(const QString& path, bool isFilePath);
    static void ListFiles(const QString& folder, const QStringList& filters, QList<QFileInfo>& files,
                          bool recursive);
    static void ClearExpiredFiles(const QString& folder, const QStringList& filters, int keepCount,
                                  bool recursive);
    static bool ReadTextFile(const QString& path, QStringList& lines, QString& error, int firstLine,
                             int maxLines);
    static bool WriteTextFile(const QString& path, const QStringList& lines, QString& error);

    // Platform
    static int GetThisLibHandle();
    static QString GetThisLibFullPath();
    static void GetHostIpList(QStringList& addresses, bool withIpv6);
    static bool IsFixedPitchFont(const QFont& font);
    static QFont GetMonospaceFont();

    // HMI: the query screen "screenMessage", true only for its OK key; and
    // a soft key of a screen's menu switched on or off, nothing if the
    // dialog, the screen or the key is missing.
    static bool ShowMessageDialog(SlGfwHmiDialog* dialog, const QString& backScreen, const QString& message,
                                  const QString& caption);
    static void SetSoftKeyEnable(SlGfwHmiDialog* dialog, const QString& screen, int index, bool enabled,
                                 const QString& menu);
};

template <typename T>
QString CMiscUtility::GetHexQStr(T value, const QString& prefix)
{
    // Widening with the sign and keeping the last eight digits is what turns
    // a negative platform code into the 32-bit form the manuals print.
    const QString digits = QStringLiteral("%1").arg(static_cast<qlonglong>(value), 0, 16).right(8);
    return QStringLiteral("%1%2").arg(prefix, digits);
}
