#pragma once

#include "SlGfwHmiDialog.h"

#include <QList>
#include <QString>

class CSiemensNC;

// The gui component of the plug-in's area and the spine of the system: its
// constructor starts everything, its destructor stops it in the order that
// keeps the net side from calling into what is gone.
class SiemensHarvel : public SlGfwHmiDialog
{
    Q_OBJECT
public:
    SiemensHarvel(QObject* parent, const QString& name);
    ~SiemensHarvel() override;

    int Initialize();

    void onSwitchToArea(const QString& area, const QString& dialog, QString& screen, bool& allowed) override;
    void onShowMenu(const QString& menu, const QString& screen) override;

    // What the screens call. Invokable by name as well, so that a host which
    // loaded its own copy of the library can reach them through the dialog.
    Q_INVOKABLE int SetTmrFileVar(int value);
    Q_INVOKABLE int SetFindSphereInputs(double sphereRadius, double probeRadius, int workOffset);

    // The form that has claimed the area (the interactive message), empty
    // while none has.
    QString FormName() const { return m_formName; }
    void SetFormName(const QString& formName) { m_formName = formName; }

    // The application folder and configuration file derived from the real
    // path of the plug-in library; an empty path gives the NCU's fixed
    // installation folder.
    static void GetPaths(const QString& libFile, QString& applDir, QString& cfgFile);

public slots:
    // The receivers of the net server's requests, connected blocking queued:
    // each runs in the main thread while the library's thread waits for the
    // results written through the references.
    void slotReceivedReqFile(const QString& reqFilePath);
    void slotGetSkipPosition(const QString& peer, double& x, double& y, double& z, double& a, double& b, double& c,
                             bool& isOK, QString& errInfo);
    void SetReportFormStatusBarText(const QString& text);
    void slotUploadFile(const QString& peer, int fileType, const QString& filePath, bool& isOK, QString& errInfo);
    void slotSelectProgram(const QString& peer, const QString& prgFileName, bool& isOK, QString& errInfo);
    void slotReadRVar(const QString& peer, int index, int count, QList<double>& values, bool& isOK,
                      QString& errInfo);
    void slotWriteRVar(const QString& peer, int index, int count, const QList<double>& values, bool& isOK,
                       QString& errInfo);
    void slotSendMsg(const QString& peer, unsigned long long id, int type, int style, const QString& messageText,
                     const QString& inputName, int& clickedButton, QString& inputValue, bool& isOK,
                     QString& errInfo);
    void slotClientAction(const QString& peer, const QString& callMethodName, int actionType);
    void slotGetLogFiles(const QString& peer, const QString& logFileName, int sendState);
    void slotGetMachineConfiguration(const QString& peer, QString& fileContent, bool& isOK, QString& errInfo);
    void slotCheckFileExists(const QString& peer, const QString& fileName, bool& isExists, bool& isOK,
                             QString& errInfo);
    void slotDownloadFile(const QString& peer, const QString& srcFileName, QString& dstFileName,
                          bool& dstFileNeedRemove, bool& isOK, QString& errInfo);
    void slotGetCalibrationResult(const QString& peer, QString& fileContent, bool& isOK, QString& errInfo);

private:
    CSiemensNC* m_pNC = nullptr;
    QString m_applDir;
    QString m_cfgFile;
    QString m_formName;
};
