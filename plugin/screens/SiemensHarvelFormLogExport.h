#pragma once

#include "LogExportInfo.h"
#include "SlGfwDialogForm.h"

#include <QString>

class FileBrowserWidget;
class QButtonGroup;
class SlGfwCheckBox;
class SlGfwLabel;
class SlGfwRadioButton;
class SlGrGrid;

// The modal screen on which the operator picks log files and a target: a
// folder on a USB stick or connected net clients. It only chooses; the log
// screen gets the choice as a LogExportInfo and carries it out.
class SiemensHarvelFormLogExport : public SlGfwDialogForm
{
    Q_OBJECT
    Q_PROPERTY(QString propCaption READ Caption WRITE SetCaption)
    Q_PROPERTY(QString propBackScreen READ BackScreen WRITE SetBackScreen)
public:
    SiemensHarvelFormLogExport(QWidget* parent, const QString& name, Qt::WindowFlags flags);
    ~SiemensHarvelFormLogExport() override;

    void attachedToScreen(const QString& screen) override;
    void detachedFromScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    // True when the choice is complete: files and a target of the type.
    bool GetLogExportInfo(LogExportInfo& info);
    void SetOKSoftKeyState();

    QString Caption() const { return m_caption; }
    void SetCaption(const QString& caption) { m_caption = caption; }
    QString BackScreen() const { return m_backScreen; }
    void SetBackScreen(const QString& backScreen) { m_backScreen = backScreen; }

private slots:
    void slotExportTo(bool checked);
    void slotCheckOneLogFile(int nRow, int nCol);
    void slotCheckOneZYNClient(int nRow, int nCol);
    void slotCheckAllLogFile(int state);
    void slotCheckAllZYNClient(int state);
    void slotUSBStickSelectPath();
    void slotUSBStickNotify(const QString& drvName, const QString& drvPath, bool isMounted);

private:
    void FillGridWidget(SlGrGrid* grid);
    void ClearGridWidget(SlGrGrid* grid);
    void SetupGridWidget(SlGrGrid* grid);
    void FillUSBStickBrowser();
    void ClearUSBStickBrowser();
    void AppendGridRow(SlGrGrid* grid, bool checked, const QString& text1, const QString& text2);
    void CheckAll(SlGrGrid* grid, SlGfwCheckBox* checkAll);
    static void CollectChecked(SlGrGrid* grid, QStringList& values);

    SlGrGrid* m_pLogFileGrid = nullptr;
    SlGfwCheckBox* m_pCheckAllLogFile = nullptr;
    SlGfwLabel* m_pExportToLabel = nullptr;
    SlGfwRadioButton* m_pRadioUSBStick = nullptr;
    SlGfwRadioButton* m_pRadioZYNNet = nullptr;
    QButtonGroup* m_pExportToGroup = nullptr;
    FileBrowserWidget* m_pUSBStickBrowser = nullptr;
    SlGrGrid* m_pZYNClientGrid = nullptr;
    SlGfwCheckBox* m_pCheckAllZYNClient = nullptr;

    QString m_caption;
    QString m_backScreen;
    // Kept while the form lives: the screen opens on the target of last time.
    int m_exportType = 0;
};
