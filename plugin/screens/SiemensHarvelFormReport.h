#pragma once

#include "SlGfwDialogForm.h"

#include <QString>

class XpdfWidget;

// The newest report of the measurement application, a PDF document. The
// file transfer opens and closes it and writes the status bar; the
// operator can only zoom. The viewer's file name is the form's state.
class SiemensHarvelFormReport : public SlGfwDialogForm
{
    Q_OBJECT
public:
    SiemensHarvelFormReport(QWidget* parent, const QString& name, Qt::WindowFlags flags);
    ~SiemensHarvelFormReport() override;

    void attachedToScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    void OpenReportFile(const QString& path);
    // An empty path closes whatever is open; another closes only that file.
    void CloseReportFile(const QString& path);
    void SetStatusBarText(const QString& text);
    void SetCaptionBarText(const QString& path);
    void SetSoftKeyEnable();

private:
    XpdfWidget* m_pViewer = nullptr;
};
