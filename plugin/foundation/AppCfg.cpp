#include "AppCfg.h"

#include "Logger.h"
#include "MiscUtility.h"
#include "ShareFolder.h"

#include <QFileSystemWatcher>
#include <QSettings>

CAppCfg CAppCfg::m_instance;

namespace {
const char* const kGroup = "TMRNC";

const char* const kTarget = "target";
const char* const kWorkoffset = "workoffset";
const char* const kWofsaxes = "wofsaxes";
const char* const kNetEnable = "zynnetserverenable";
const char* const kNetIp = "zynnetserverip";
const char* const kNetPort = "zynnetserverport";
const char* const kProgramDir = "tmrprogramdir";
const char* const kResultFile = "tmrresultfile";
const char* const kMacroDir = "tmrmacrodir";

const char* const kDefaultPort = "8510";

struct SettingDef
{
    const char* key;
    const char* label;
    const char* defaultValue;
};

const SettingDef kDefs[] = {
    {kTarget, "Target Path", "//127.0.0.1/telmor"},
    {kWorkoffset, "Work Offset Type", "FINE"},
    {kWofsaxes, "Work Offset Axes Map", "0-0-0-0-0-0"},
    {kNetEnable, "ZYN Net Server Enable", "0"},
    {kNetIp, "ZYN Net Server IP", "0.0.0.0"},
    {kNetPort, "ZYN Net Server Port", kDefaultPort},
    {kProgramDir, "TMR Program Folder", "//NC/WKS.DIR/TELMOR.WPD"},
    {kResultFile, "TMR Result File", "//NC/WKS.DIR/TELMOR.WPD/RESULT.MPF"},
    {kMacroDir, "TMR Macro Folder", "//NC/SPF.DIR"},
};

const SettingDef& Def(const char* key)
{
    for (const SettingDef& d : kDefs)
        if (qstrcmp(d.key, key) == 0)
            return d;
    Q_UNREACHABLE();
}

QString Label(const char* key) { return QString::fromLatin1(Def(key).label); }

bool IsPort(const QString& text)
{
    bool ok = false;
    const int port = text.toInt(&ok, 10);
    return ok && port >= 0 && port <= 65535;
}

QString NormalizedPath(const QString& text)
{
    return CMiscUtility::NormalizePath(text.trimmed()).trimmed();
}

bool SameText(const QString& a, const QString& b) { return a.compare(b, Qt::CaseInsensitive) == 0; }
} // namespace

CAppCfg::CAppCfg()
{
    for (const SettingDef& d : kDefs)
        m_settings.insert(QString::fromLatin1(d.key), QString::fromLatin1(d.defaultValue));
}

CAppCfg::~CAppCfg()
{
    m_machAxisList.clear();
}

bool CAppCfg::Initialize(const QString& applDir, const QString& cfgFile)
{
    m_cfgFile = cfgFile;
    m_ugudFile = QStringLiteral("//NC/DEF.DIR/UGUD.DEF");
    m_ugudTmpFile = QStringLiteral("%1/UGUD.tmp").arg(applDir);
    m_reportDir = QStringLiteral("%1/report").arg(applDir);
    m_findSphereProgFile = QStringLiteral("%1/prg/find_sphere_center.mpf").arg(applDir);
    m_tempDir = QStringLiteral("%1/zyn/temp").arg(applDir);

    if (!ReadCfgFile())
        return false;
    if (!m_watcher) {
        m_watcher = new QFileSystemWatcher(this);
        connect(m_watcher, &QFileSystemWatcher::fileChanged, this, &CAppCfg::OnFileChanged);
    }
    m_watcher->addPath(m_cfgFile);
    return true;
}

bool CAppCfg::ReadCfgFile()
{
    if (!CMiscUtility::FileIsExists(m_cfgFile)) {
        CLogger::Error(QStringLiteral("The ini file %1 does not exist").arg(m_cfgFile), true);
        return false;
    }

    QSettings settings(m_cfgFile, QSettings::IniFormat);
    // A file that is no ini of ours says nothing about the settings: a
    // binary file, another program's ini, or one caught empty in the middle
    // of an editor's save must not turn the settings in force into defaults.
    // The file is left as it is; the next change to it is read again.
    QString refused;
    if (settings.status() != QSettings::NoError)
        refused = QStringLiteral("Invalid format");
    else if (!settings.childGroups().contains(QString::fromLatin1(kGroup)))
        refused = QStringLiteral("No group %1").arg(QString::fromLatin1(kGroup));
    if (!refused.isEmpty()) {
        CLogger::Error(QStringLiteral("Read ini file failed. IniFile=%1, ErrInfo=%2, the settings in force are kept")
                           .arg(m_cfgFile, refused),
                       true);
        return true;
    }
    settings.beginGroup(QString::fromLatin1(kGroup));
    const char* const order[] = {kTarget, kWorkoffset, kWofsaxes, kNetEnable, kNetIp,
                                 kNetPort, kProgramDir, kMacroDir, kResultFile};
    QMap<QString, QString> read;
    for (const char* key : order) {
        const QString fallback = QString::fromLatin1(Def(key).defaultValue);
        const QVariant raw = settings.value(QString::fromLatin1(key), fallback);
        // QSettings splits an unquoted value at commas; a user who wrote one
        // means the text as it stands.
        QString value = (raw.type() == QVariant::StringList ? raw.toStringList().join(QLatin1Char(','))
                                                              : raw.toString())
                            .trimmed();
        if (value.isEmpty())
            value = fallback;
        if (qstrcmp(key, kNetPort) == 0 && !IsPort(value))
            value = QString::fromLatin1(kDefaultPort);
        read.insert(QString::fromLatin1(key), value);
    }
    settings.endGroup();

    // Every value is valid by now, so this cannot refuse; its notice about
    // a restart means nothing at this point.
    QString ignored;
    CacheSettings(read.value(kTarget), read.value(kWorkoffset), read.value(kWofsaxes), read.value(kNetEnable),
                  read.value(kNetIp), read.value(kNetPort), read.value(kMacroDir), read.value(kProgramDir),
                  read.value(kResultFile), ignored, true);
    return true;
}

bool CAppCfg::WriteCfgFile()
{
    QSettings settings(m_cfgFile, QSettings::IniFormat);
    settings.beginGroup(QString::fromLatin1(kGroup));
    {
        QReadLocker locker(&m_lock);
        for (auto it = m_settings.constBegin(); it != m_settings.constEnd(); ++it)
            settings.setValue(it.key(), it.value());
    }
    settings.endGroup();
    return true;
}

bool CAppCfg::GetSettings(QString& target, QString& workoffset, QString& wofsaxes, QString& netServerEnable,
                          QString& netServerIp, QString& netServerPort, QString& macroDir, QString& programDir,
                          QString& resultFile)
{
    QReadLocker locker(&m_lock);
    target = m_settings.value(kTarget);
    workoffset = m_settings.value(kWorkoffset);
    wofsaxes = m_settings.value(kWofsaxes);
    netServerEnable = m_settings.value(kNetEnable);
    netServerIp = m_settings.value(kNetIp);
    netServerPort = m_settings.value(kNetPort);
    macroDir = m_settings.value(kMacroDir);
    programDir = m_settings.value(kProgramDir);
    resultFile = m_settings.value(kResultFile);
    return true;
}

bool CAppCfg::SetSettings(const QString& target, const QString& workoffset, const QString& wofsaxes,
                          const QString& netServerEnable, const QString& netServerIp,
                          const QString& netServerPort, const QString& macroDir, const QString& programDir,
                          const QString& resultFile, QString& error)
{
    if (!CacheSettings(target, workoffset, wofsaxes, netServerEnable, netServerIp, netServerPort, macroDir,
                       programDir, resultFile, error, false))
        return false;
    // Our own write must not come back to us as an outside change.
    if (m_watcher)
        m_watcher->removePath(m_cfgFile);
    const bool written = WriteCfgFile();
    if (!written)
        error = QStringLiteral("Cannot write file");
    if (m_watcher)
        m_watcher->addPath(m_cfgFile);
    return written;
}

bool CAppCfg::CacheSettings(const QString& target, const QString& workoffset, const QString& wofsaxes,
                            const QString& netServerEnable, const QString& netServerIp,
                            const QString& netServerPort, const QString& macroDir, const QString& programDir,
                            const QString& resultFile, QString& error, bool logValues)
{
    QMap<QString, QString> v;
    v.insert(kTarget, NormalizedPath(target));
    v.insert(kWorkoffset, workoffset.trimmed());
    v.insert(kWofsaxes, wofsaxes.trimmed());
    v.insert(kNetEnable, netServerEnable.trimmed());
    v.insert(kNetIp, netServerIp.trimmed());
    v.insert(kNetPort, netServerPort.trimmed());
    v.insert(kMacroDir, NormalizedPath(macroDir));
    v.insert(kProgramDir, NormalizedPath(programDir));
    v.insert(kResultFile, NormalizedPath(resultFile));

    // The order of the checks is the order of the fields on the settings screen.
    const char* const mustHave[] = {kTarget, kProgramDir, kMacroDir, kResultFile,
                                    kWorkoffset, kWofsaxes, kNetEnable, kNetIp};
    for (const char* key : mustHave) {
        if (v.value(key).isEmpty()) {
            error = QStringLiteral("%1 cannot be empty").arg(Label(key));
            return false;
        }
    }
    if (!IsPort(v.value(kNetPort))) {
        error = QStringLiteral("%1 must be an integer between %2 and %3").arg(Label(kNetPort)).arg(0).arg(65535);
        return false;
    }

    bool targetChanged = false;
    bool netChanged = false;
    {
        QWriteLocker locker(&m_lock);
        targetChanged = !SameText(m_settings.value(kTarget), v.value(kTarget));
        netChanged = !SameText(m_settings.value(kNetEnable), v.value(kNetEnable)) ||
                     !SameText(m_settings.value(kNetIp), v.value(kNetIp)) ||
                     !SameText(m_settings.value(kNetPort), v.value(kNetPort));
        for (auto it = v.constBegin(); it != v.constEnd(); ++it)
            m_settings.insert(it.key(), it.value());
    }

    if (logValues) {
        for (const char* key : mustHave)
            CLogger::Info(QStringLiteral("%1 = %2").arg(Label(key), v.value(key)), true);
        CLogger::Info(QStringLiteral("%1 = %2").arg(Label(kNetPort), v.value(kNetPort)), true);
    }
    if (targetChanged)
        CShareFolder::Create(v.value(kTarget), QStringLiteral("TELMOR"));
    if (netChanged)
        error = QStringLiteral("Please restart HMI to use the new settings");
    return true;
}

void CAppCfg::OnFileChanged(const QString& path)
{
    Q_UNUSED(path)
    if (CMiscUtility::FileIsExists(m_cfgFile)) {
        CLogger::Info(QStringLiteral("The ini file %1 has been changed").arg(m_cfgFile), true);
        ReadCfgFile();
        // Editors save by writing a new file and renaming it over the old
        // one; the watch went with the old file and must follow the new one.
        if (m_watcher && !m_watcher->files().contains(m_cfgFile))
            m_watcher->addPath(m_cfgFile);
        return;
    }
    CLogger::Warn(QStringLiteral("The ini file %1 has been deleted or renamed").arg(m_cfgFile), true);
    if (WriteCfgFile() && m_watcher)
        m_watcher->addPath(m_cfgFile);
}

QString CAppCfg::Setting(const QString& key)
{
    QReadLocker locker(&m_lock);
    return m_settings.value(key);
}

QString CAppCfg::TargetPath() { return Setting(kTarget); }
QString CAppCfg::TmrMacroDir() { return Setting(kMacroDir); }
QString CAppCfg::TmrProgramDir() { return Setting(kProgramDir); }
QString CAppCfg::TmrResultFile() { return Setting(kResultFile); }
QString CAppCfg::ZynNetServerIp() { return Setting(kNetIp); }

bool CAppCfg::ZynNetServerEnable()
{
    return Setting(kNetEnable) == QLatin1String("1");
}

unsigned short CAppCfg::ZynNetServerPort()
{
    unsigned short port = 0;
    if (!CMiscUtility::QStr2UShort(Setting(kNetPort), port))
        return 8510;
    return port;
}

tagWorkofsType CAppCfg::WofsType()
{
    return SameText(Setting(kWorkoffset), QStringLiteral("FINE")) ? WORKOFS_FINE : WORKOFS_COARSE;
}

int CAppCfg::GetWofsMapAxisIndex(int axis)
{
    const QString map = Setting(kWofsaxes);
    int value = 0;
    if (map.contains(QLatin1Char('-'))) {
        const QStringList parts = map.split(QLatin1Char('-'), Qt::KeepEmptyParts);
        if (axis >= 0 && axis < parts.size() && CMiscUtility::QStr2Integer(parts.at(axis), value))
            return value;
    } else if (axis >= 0 && axis < map.length() && CMiscUtility::QStr2Integer(map.mid(axis, 1), value)) {
        return value;
    }
    return 0;
}

void CAppCfg::GetWofsMapAxisIndexList(QList<int>& indexes, QStringList& names)
{
    static const QStringList tmrAxisNames = {QStringLiteral("X"), QStringLiteral("Y"), QStringLiteral("Z"),
                                             QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")};
    indexes.clear();
    names.clear();
    for (int i = 0; i < tmrAxisNames.size(); ++i) {
        names.append(tmrAxisNames.at(i));
        indexes.append(GetWofsMapAxisIndex(i));
    }
}

void CAppCfg::SetMachAxisList(const QList<tagAxisInfo>& axes)
{
    m_machAxisList = axes;
}

void CAppCfg::GetMachAxisList(QList<tagAxisInfo>& axes, QStringList& names, bool withNone)
{
    axes.clear();
    names.clear();
    if (withNone) {
        tagAxisInfo none;
        none.index = 0;
        none.type = AXIS_UNKNOWN;
        none.value = 0.0;
        axes.append(none);
        names.append(QString(QLatin1String("")));
    }
    for (tagAxisInfo axis : m_machAxisList) {
        if (withNone)
            axis.index += 1;
        axes.append(axis);
        names.append(axis.name);
    }
}
