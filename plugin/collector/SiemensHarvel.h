#pragma once

#include "SlGfwHmiDialog.h"

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
    void SetReportFormStatusBarText(const QString& text);

private:
    CSiemensNC* m_pNC = nullptr;
    QString m_applDir;
    QString m_cfgFile;
    QString m_formName;
};
