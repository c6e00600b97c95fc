#pragma once

#include "SlGfwDialogForm.h"

#include <QString>

class FileBrowserWidget;

// The screen on which the operator picks a folder (or a file) of the drives
// the opener names. The opener runs it modally and gets back the path as a
// QString, empty when the operator cancelled.
class SiemensHarvelFormFileBrowser : public SlGfwDialogForm
{
    Q_OBJECT
    Q_PROPERTY(QString propCaption READ Caption WRITE SetCaption)
    Q_PROPERTY(QString propBackScreen READ BackScreen WRITE SetBackScreen)
    Q_PROPERTY(bool propIsBrowseFile READ IsBrowseFile WRITE SetIsBrowseFile)
    Q_PROPERTY(int propDriveTypes READ DriveTypes WRITE SetDriveTypes)
    Q_PROPERTY(QString propCurrentPath READ CurrentPath WRITE SetCurrentPath)
public:
    SiemensHarvelFormFileBrowser(QWidget* parent, const QString& name, Qt::WindowFlags flags);
    ~SiemensHarvelFormFileBrowser() override;

    void attachedToScreen(const QString& screen) override;
    void detachedFromScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    QString Caption() const { return m_caption; }
    void SetCaption(const QString& caption) { m_caption = caption; }
    QString BackScreen() const { return m_backScreen; }
    void SetBackScreen(const QString& backScreen) { m_backScreen = backScreen; }
    bool IsBrowseFile() const { return m_isBrowseFile; }
    void SetIsBrowseFile(bool isBrowseFile) { m_isBrowseFile = isBrowseFile; }
    int DriveTypes() const { return m_driveTypes; }
    void SetDriveTypes(int driveTypes) { m_driveTypes = driveTypes; }
    QString CurrentPath() const { return m_currentPath; }
    void SetCurrentPath(const QString& currentPath) { m_currentPath = currentPath; }

private slots:
    void slotBrowserSelectPath();
    void slotBrowserDriveNotify(const QString& drvName, const QString& drvPath, bool isMounted);

private:
    void SetOKSoftKeyEnable(bool enabled);

    FileBrowserWidget* m_pBrowser = nullptr;

    QString m_caption;
    QString m_backScreen;
    bool m_isBrowseFile = false;
    int m_driveTypes = 0;
    QString m_currentPath;
};
