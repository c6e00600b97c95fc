#pragma once

#include "SiemensAPITypes.h"

#include <QList>
#include <QString>

class CSiemensAPI;
class CSiemensAxisPosMonitor;
class CSiemensDialogMonitor;
class CSiemensFindSphereCenterMonitor;
class CSiemensInteractive;
class CSiemensStatusMonitor;
class CSiemensTmrResultMonitor;
class SiemensHarvel;

// The object behind the net requests: it owns the NC access and everything
// that watches the NC, holds the machine definition read at start, and has
// one Process... operation per kind of request. Each of them returns false
// with the words for the client and the log in errInfo, and leaves errInfo
// alone on success.
class CSiemensNC
{
public:
    CSiemensNC(const QString& applDir, SiemensHarvel* owner);
    virtual ~CSiemensNC();

    int Initialize();

    bool ProcessReadRVar(int index, int count, QList<double>& values, QString& errInfo);
    bool ProcessWriteRVar(int index, int count, const QList<double>& values, QString& errInfo);
    bool ProcessGetSkipPosition(double& x, double& y, double& z, double& a, double& b, double& c,
                                QString& errInfo);
    // program is a complete path; a bare name has been resolved by the caller.
    bool ProcessSelectProgram(const QString& program, QString& errInfo);
    bool ProcessGetMachineConfiguration(QString& fileContent, QString& errInfo);
    bool ProcessGetCalibrationResult(QString& fileContent, QString& errInfo);
    // source is the file as the net server received it; target returns
    // where it went, also when the move failed.
    bool ProcessUploadFile(int fileType, const QString& source, QString& target, QString& errInfo);
    // The result says whether the question could be answered.
    bool ProcessCheckFileExists(const QString& path, bool& exists, bool& isNC, QString& errInfo);
    // dstFileName returns the local file to send; dstFileNeedRemove whether
    // it is a temporary copy that the net server removes once it is sent.
    bool ProcessDownloadFile(const QString& peer, const QString& srcFileName, QString& dstFileName,
                             bool& dstFileNeedRemove, QString& errInfo);
    // The sender of a message has stopped waiting for it: the message is
    // taken down as if the operator had closed it, at once if it is on top,
    // otherwise as soon as the messages above it have gone.
    void WithdrawIMSG(const QString& peer, unsigned long long id);

    // Shows the message on the operator's screen and returns only when the
    // operator has answered it.
    bool ProcessIMSG(const QString& peer, unsigned long long id, int type, int style, const QString& messageText,
                     const QString& inputName, int& clickedButton, QString& inputValue, QString& errInfo);

    // The sphere centre monitor's report: the screen is brought up to date,
    // and for a finished run (state 2) the area comes to the front.
    void ProcessFindSphereResult(int state, double x, double y, double z);

    int SetTmrFileVar(int value);
    int SetFindSphereInputs(double sphereRadius, double probeRadius, int workOffset);
    void ReceivedReqFile(const QString& reqFile);
    void SetReportFormStatusBarText(const QString& text);

    QString VersionFile() const { return m_versionFile; }

private:
    // One message on the screen, in the order of their modal screens.
    struct tagStandingMsg
    {
        QString peer;
        unsigned long long id = 0;
        bool withdrawn = false;
    };
    void EndWithdrawnOnTop();

    bool CheckRVarArgs(int index, int count, QString& errInfo);
    bool CheckRVarRange(int index, int count, QString& errInfo);

    SiemensHarvel* m_pOwner = nullptr;
    CSiemensAPI* m_pAPI = nullptr;
    CSiemensInteractive* m_pInteractive = nullptr;
    CSiemensTmrResultMonitor* m_pResultMonitor = nullptr;
    CSiemensStatusMonitor* m_pStatusMonitor = nullptr;
    CSiemensDialogMonitor* m_pDialogMonitor = nullptr;
    CSiemensFindSphereCenterMonitor* m_pSphereMonitor = nullptr;
    CSiemensAxisPosMonitor* m_pAxisPosMonitor = nullptr;
    tagMachDef m_machDef;
    QString m_versionFile;
    QList<tagStandingMsg> m_standingMsgs;
    // Withdrawn before their screens came up.
    QList<tagStandingMsg> m_withdrawnEarly;
};
