#pragma once

#include "SlGfwDialogForm.h"
#include "SlPmActivateDefFiles.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVector>

class QButtonGroup;
class SlGfwCheckBox;
class SlGfwComboBox;
class SlGfwLabel;
class SlGfwLineEdit;
class SlGfwRadioButton;

// Where a commissioning engineer sets the plug-in up: the nine settings of
// TMRNC.INI, the folders picked in the file browser, the work offset axes
// map, and the activation of the definition file of the plug-in's global
// user variables on the NC.
class SiemensHarvelFormSettings : public SlGfwDialogForm
{
    Q_OBJECT
public:
    SiemensHarvelFormSettings(QWidget* parent, const QString& name, Qt::WindowFlags flags);
    ~SiemensHarvelFormSettings() override;

    void attachedToScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

    void ReadSettings();
    void SaveSettings();
    void SetEnable4Widgets();
    void StartActivateUGUD(const QString& text);
    bool SaveUGUDFile(const QString& ncPath, const QString& text, QString& error);
    static QString ErrCodes2HexStr(const QVector<long>& errCodes, const QString& separator);

public slots:
    void slotCheckboxStateChanged(int state);
    void slotComboBoxValueChanged(QWidget* source);
    void slotRaidoButtonToggled(bool checked);
    void slotLineEditTextChanged(const QString& newText, QWidget* source);
    void slotJobData4ActivateUGUD(const QStringList& filesToActivate, const QString& gudsExistingData);
    void slotJobCompleted4ActivateUGUD(const QVector<long>& errCodes, const QStringList& errDatas, bool bCanceled);

private:
    // One row of the form: its label and the widgets beside it.
    struct Row
    {
        SlGfwLabel* label = nullptr;
        QList<QWidget*> widgets;
    };

    void CreateWidgets();
    void SetupSignalSlot4Widgets();
    void SetupEventFilter();
    void SetupSignalSlot4ActivateUGUD();
    bool WidgetsExist() const;
    void FillWidgets();
    void SetRowVisible(const Row& row, bool visible);
    void SetBrowseKeyEnable(QObject* focused);
    // A modal screen of this form, run so that coming back to this screen
    // leaves the operator's edits alone.
    QVariant ExecModal(const QString& screen, const QString& properties);
    bool Ask(const QString& question);
    void ShowFileBrowser(QWidget* focused);
    void ActivateUGUD();
    void MapWofsAxes();

    SlGfwCheckBox* m_pNetServerEnable = nullptr;
    SlGfwComboBox* m_pNetServerIp = nullptr;
    SlGfwLineEdit* m_pNetServerPort = nullptr;
    SlGfwLineEdit* m_pTargetPath = nullptr;
    SlGfwLineEdit* m_pProgramDir = nullptr;
    SlGfwLineEdit* m_pMacroDir = nullptr;
    SlGfwLineEdit* m_pResultFile = nullptr;
    SlGfwRadioButton* m_pFine = nullptr;
    SlGfwRadioButton* m_pCoarse = nullptr;
    QButtonGroup* m_pWorkOffsetGroup = nullptr;
    SlGfwLineEdit* m_pWofsAxes = nullptr;
    QList<Row> m_rows;

    SlPmActivateDefFiles m_activateDefFiles;
    bool m_readOnAttach = true;
};
