#pragma once

#include "SiemensAPITypes.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QReadWriteLock>
#include <QString>
#include <QStringList>

class QFileSystemWatcher;

// The nine user settings of TMRNC.INI and the fixed paths of the
// application. The file is followed while the HMI runs: a hand edit is in
// force at once (but for the net server, which starts only with the HMI),
// and a deleted file is written again from memory.
class CAppCfg : public QObject
{
    Q_OBJECT
public:
    static CAppCfg m_instance;

    CAppCfg();
    ~CAppCfg() override;

    bool Initialize(const QString& applDir, const QString& cfgFile);
    bool ReadCfgFile();
    bool WriteCfgFile();

    bool GetSettings(QString& target, QString& workoffset, QString& wofsaxes, QString& netServerEnable,
                     QString& netServerIp, QString& netServerPort, QString& macroDir, QString& programDir,
                     QString& resultFile);
    bool SetSettings(const QString& target, const QString& workoffset, const QString& wofsaxes,
                     const QString& netServerEnable, const QString& netServerIp, const QString& netServerPort,
                     const QString& macroDir, const QString& programDir, const QString& resultFile,
                     QString& error);
    bool CacheSettings(const QString& target, const QString& workoffset, const QString& wofsaxes,
                       const QString& netServerEnable, const QString& netServerIp,
                       const QString& netServerPort, const QString& macroDir, const QString& programDir,
                       const QString& resultFile, QString& error, bool logValues);

    QString TargetPath();
    QString TmrMacroDir();
    QString TmrProgramDir();
    QString TmrResultFile();
    QString ZynNetServerIp();
    bool ZynNetServerEnable();
    unsigned short ZynNetServerPort();
    tagWorkofsType WofsType();

    int GetWofsMapAxisIndex(int axis);
    void GetWofsMapAxisIndexList(QList<int>& indexes, QStringList& names);
    void SetMachAxisList(const QList<tagAxisInfo>& axes);
    void GetMachAxisList(QList<tagAxisInfo>& axes, QStringList& names, bool withNone);

    QString CfgFile() const { return m_cfgFile; }
    QString UgudFile() const { return m_ugudFile; }
    QString UgudTmpFile() const { return m_ugudTmpFile; }
    QString ReportDir() const { return m_reportDir; }
    QString FindSphereProgFile() const { return m_findSphereProgFile; }
    QString TempDir() const { return m_tempDir; }

public slots:
    void OnFileChanged(const QString& path);

private:
    QString Setting(const QString& key);

    QString m_cfgFile;
    QString m_ugudFile;
    QString m_ugudTmpFile;
    QString m_reportDir;
    QString m_findSphereProgFile;
    QString m_tempDir;
    QList<tagAxisInfo> m_machAxisList;
    QMap<QString, QString> m_settings;
    QReadWriteLock m_lock;
    // Made in Initialize: the static instance exists before any event
    // dispatcher, and a watcher needs one.
    QFileSystemWatcher* m_watcher = nullptr;
};
