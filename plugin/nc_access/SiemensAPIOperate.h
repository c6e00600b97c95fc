#pragma once

#include "SiemensAPI.h"

#include "NodeInfo.h"
#include "SlQCap.h"
#include "SlQCapNamespace.h"
#include "SlQFileSvc.h"

#include <QVariant>

// CSiemensAPI over the services of SINUMERIK Operate: the variable service,
// the file service and the PI service. Thin on purpose: what matters is which
// value types are accepted and which codes come back.
//   -77 the variable service refused a write, -78 a read failed or an array
//   came back too short, -81 the PI service could not be started, -110 the
//   value has a type the operation does not take. File operations return
//   the file service's code unchanged (e.g. 0x81501031 name too long).
//
// Lives and is called on the HMI's main thread; every call blocks it for the
// length of the service call.
class CSiemensAPIOperate : public CSiemensAPI
{
public:
    CSiemensAPIOperate();
    ~CSiemensAPIOperate() override;

    int ActivateWorkOffset() override;

    int CopyFile(const QString& from, const QString& to) override;
    int ListFiles(const QString& folder, const QString& suffix, QList<QString>& files) override;
    int PathExists(const QString& path, bool& exists) override;
    int PathIsNC(const QString& path, bool& isNC) override;
    int MoveFile(const QString& from, const QString& to) override;
    int RenameFileSuffix(const QString& file, const QString& suffix) override;
    int CreateFolder(const QString& path) override;
    int CreateFile(const QString& path) override;
    int RemoveFile(const QString& path) override;

    int GetCurrProgPath(QString& path, bool logical) override;
    int GetCurrProgName(QString& name, bool plain) override;
    int GetCurrWorkPieceName(QString& name, bool logical) override;
    int GetCurrOpMode(int& mode) override;
    int GetCurrProgEndCount(int& count) override;
    int GetLogicalPath(const QString& path, QString& logicalPath) override;
    int GetRealPath(const QString& path, QString& realPath) override;
    int SelectProg(const QString& path, unsigned long channel) override;

    int GetDialogData(int& msgType, int& msgStyle, QString& messageText, QString& inputName) override;
    int SetDialogData(int clickedButton, const QString& inputValue) override;

    int SetFindSphereInputs(double first, double second, int third) override;
    int GetFindSphereResult(double& x, double& y, double& z) override;
    int SetFindSphereState(int state) override;

    int GetMachineDef(tagMachDef& def, const QString& versionFile) override;
    int GetRotabCenter(QList<tagRotabCenter>& centers) override;

    int ReadInt(const QString& path, int& value) override;
    int WriteInt(const QString& path, int value) override;
    int ReadDouble(const QString& path, double& value) override;
    int WriteDouble(const QString& path, double value) override;
    int ReadString(const QString& path, QString& value) override;
    int WriteString(const QString& path, const QString& value) override;
    int ReadArray(const QString& path, QList<double>& values) override;
    int WriteArray(const QString& path, const QList<double>& values) override;
    int ReadArray(const QString& path, QList<QString>& values) override;
    int WriteArray(const QString& path, const QList<QString>& values) override;
    int ReadArray(const QString& path, QList<int>& values) override;
    int WriteArray(const QString& path, const QList<int>& values) override;

    virtual int ReadValue(const QString& path, QVariant& value);
    virtual int WriteValue(const QString& path, const QVariant& value);

    // The text of <info><Version> of the HMI's version file: 0, -93 no file
    // name, -82 unreadable, -96 no such element.
    static int GetVersionFromXmlFile(QString file, QString& version);

    static bool FileLastWriteTimeLessThan(const NodeInfo& a, const NodeInfo& b);
    static bool FileLastWriteTimeMoreThan(const NodeInfo& a, const NodeInfo& b);

private:
    SlQCap m_capSvc;
    SlQCapNamespace m_gudNamespace;
    SlQFileSvc m_fileSvc;
};
