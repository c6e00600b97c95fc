#include "SiemensHarvelFormSettings.h"

#include "AppCfg.h"
#include "Logger.h"
#include "MiscUtility.h"
#include "SlGfwCheckBox.h"
#include "SlGfwComboBox.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwLabel.h"
#include "SlGfwLineEdit.h"
#include "SlGfwRadioButton.h"
#include "SlQFileSvc.h"

#include <QButtonGroup>
#include <QEvent>
#include <QGridLayout>
#include <QHostAddress>
#include <QPointer>
#include <QVariant>

namespace {
const char* const kScreenName = "screenSettings";
const char* const kMenuName = "myVr";
const int kSaveKey = 2;
const int kBrowseKey = 3;
const int kActivateMode = 3;
const char* const kFine = "FINE";
const char* const kCoarse = "COARSE";
const char* const kQueryCaption = "Query";

enum RowIndex { RowNetEnable, RowNetIp, RowNetPort, RowTarget, RowProgramDir, RowMacroDir, RowResultFile,
                RowWorkOffset, RowWofsAxes };

QString ScreenName() { return QLatin1String(kScreenName); }
} // namespace

SiemensHarvelFormSettings::SiemensHarvelFormSettings(QWidget* parent, const QString& name, Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags)
{
    setGeometricNavigationEnabled(false);
    CreateWidgets();
    setStatusBarElementCount(1);
    setStatusBarVisible(true);
    setStatusBarElementAlignment(Qt::AlignLeft, 0);
    setCaptionBarElementCount(1);
    setCaptionBarElementText(QStringLiteral("NC Harvel - Settings"), 0);
    SetupSignalSlot4Widgets();
    SetupEventFilter();
    SetupSignalSlot4ActivateUGUD();
}

SiemensHarvelFormSettings::~SiemensHarvelFormSettings() = default;

void SiemensHarvelFormSettings::CreateWidgets()
{
    auto* layout = new QGridLayout(this);
    auto addRow = [this, layout](const QString& label, const QList<QWidget*>& widgets) {
        Row row;
        row.label = new SlGfwLabel(QStringLiteral("%1: ").arg(label), this);
        const int r = m_rows.size();
        layout->addWidget(row.label, r, 0);
        if (widgets.size() == 1) {
            layout->addWidget(widgets.first(), r, 1, 1, 2);
        } else {
            for (int i = 0; i < widgets.size(); ++i)
                layout->addWidget(widgets.at(i), r, 1 + i);
        }
        row.widgets = widgets;
        m_rows.append(row);
    };
    auto lineEdit = [this](const char* objectName) {
        auto* edit = new SlGfwLineEdit(this);
        edit->setObjectName(QLatin1String(objectName));
        return edit;
    };

    m_pNetServerEnable = new SlGfwCheckBox(this);
    m_pNetServerEnable->setObjectName(QStringLiteral("checkNetServerEnable"));
    m_pNetServerIp = new SlGfwComboBox(this);
    m_pNetServerIp->setObjectName(QStringLiteral("comboNetServerIp"));
    m_pNetServerIp->setEditable(false);
    QStringList addresses;
    CMiscUtility::GetHostIpList(addresses, false);
    // A server that only the control itself can reach is a choice too, and
    // the one a machine on a bench wants: it must not be turned into
    // "every interface" by the first save.
    const QString loopback = QHostAddress(QHostAddress::LocalHost).toString();
    if (!addresses.contains(loopback))
        addresses.insert(qMin(1, addresses.size()), loopback);
    m_pNetServerIp->addItems(addresses);
    m_pNetServerPort = lineEdit("editNetServerPort");
    m_pTargetPath = lineEdit("editTargetPath");
    m_pProgramDir = lineEdit("editProgramDir");
    m_pMacroDir = lineEdit("editMacroDir");
    m_pResultFile = lineEdit("editResultFile");
    m_pResultFile->setReadOnly(true);
    m_pFine = new SlGfwRadioButton(QLatin1String(kFine), this);
    m_pFine->setObjectName(QStringLiteral("radioFine"));
    m_pCoarse = new SlGfwRadioButton(QLatin1String(kCoarse), this);
    m_pCoarse->setObjectName(QStringLiteral("radioCoarse"));
    m_pWorkOffsetGroup = new QButtonGroup(this);
    m_pWorkOffsetGroup->setExclusive(true);
    m_pWorkOffsetGroup->addButton(m_pFine);
    m_pWorkOffsetGroup->addButton(m_pCoarse);
    m_pWofsAxes = lineEdit("editWofsAxes");
    m_pWofsAxes->setReadOnly(true);

    addRow(QStringLiteral("ZYN Net Server Enable"), {m_pNetServerEnable});
    addRow(QStringLiteral("ZYN Net Server IP"), {m_pNetServerIp});
    addRow(QStringLiteral("ZYN Net Server Port"), {m_pNetServerPort});
    addRow(QStringLiteral("Target Path"), {m_pTargetPath});
    addRow(QStringLiteral("TMR Program Folder"), {m_pProgramDir});
    addRow(QStringLiteral("TMR Macro Folder"), {m_pMacroDir});
    addRow(QStringLiteral("TMR Result File"), {m_pResultFile});
    addRow(QStringLiteral("Work Offset Type"), {m_pFine, m_pCoarse});
    addRow(QStringLiteral("Work Offset Axes Map"), {m_pWofsAxes});
    layout->setColumnStretch(1, 1);
    layout->setColumnStretch(2, 1);
    layout->setRowStretch(m_rows.size(), 1);
}

void SiemensHarvelFormSettings::SetupSignalSlot4Widgets()
{
    connect(m_pNetServerEnable, &QCheckBox::stateChanged, this, &SiemensHarvelFormSettings::slotCheckboxStateChanged);
    connect(m_pNetServerIp, &SlGfwComboBox::valueChanged, this, &SiemensHarvelFormSettings::slotComboBoxValueChanged);
    connect(m_pFine, &QAbstractButton::toggled, this, &SiemensHarvelFormSettings::slotRaidoButtonToggled);
    connect(m_pCoarse, &QAbstractButton::toggled, this, &SiemensHarvelFormSettings::slotRaidoButtonToggled);
    for (SlGfwLineEdit* edit :
         {m_pNetServerPort, m_pTargetPath, m_pProgramDir, m_pMacroDir, m_pResultFile, m_pWofsAxes})
        connect(edit, qOverload<const QString&, QWidget*>(&SlGfwLineEdit::textChanged), this,
                &SiemensHarvelFormSettings::slotLineEditTextChanged);
}

void SiemensHarvelFormSettings::SetupEventFilter()
{
    // The browse key follows the focus, so the filter sits on every widget
    // that can take it.
    const QList<QWidget*> focusable{m_pNetServerEnable, m_pNetServerIp, m_pNetServerPort, m_pTargetPath,
                                    m_pProgramDir,      m_pMacroDir,    m_pResultFile,    m_pFine,
                                    m_pCoarse,          m_pWofsAxes};
    for (QWidget* w : focusable)
        w->installEventFilter(this);
}

void SiemensHarvelFormSettings::SetupSignalSlot4ActivateUGUD()
{
    connect(&m_activateDefFiles, &SlPmActivateDefFiles::JobData, this,
            &SiemensHarvelFormSettings::slotJobData4ActivateUGUD);
    connect(&m_activateDefFiles, &SlPmActivateDefFiles::JobCompleted, this,
            &SiemensHarvelFormSettings::slotJobCompleted4ActivateUGUD);
}

bool SiemensHarvelFormSettings::WidgetsExist() const
{
    return m_pNetServerEnable && m_pNetServerIp && m_pNetServerPort && m_pTargetPath && m_pProgramDir &&
           m_pMacroDir && m_pResultFile && m_pFine && m_pCoarse && m_pWofsAxes;
}

void SiemensHarvelFormSettings::attachedToScreen(const QString& screen)
{
    // Coming back from one of this form's own modal screens is no new
    // visit: the operator's edits stay.
    if (m_readOnAttach) {
        ReadSettings();
        SetEnable4Widgets();
    }
    SlGfwDialogForm::attachedToScreen(screen);
}

void SiemensHarvelFormSettings::onFunction(const QString& name, const QString& args, bool& handled)
{
    QPointer<QWidget> focused = focusWidget();
    if (name == QLatin1String("readSettings")) {
        ReadSettings();
        SetEnable4Widgets();
    } else if (name == QLatin1String("saveSettings")) {
        if (Ask(QStringLiteral("Do you want to save settings?"))) {
            SaveSettings();
            SetEnable4Widgets();
        }
    } else if (name == QLatin1String("showFileBrowser")) {
        ShowFileBrowser(focused);
    } else if (name == QLatin1String("activateUGUD")) {
        ActivateUGUD();
    } else if (name == QLatin1String("mapWofsAxes")) {
        MapWofsAxes();
    } else {
        SlGfwDialogForm::onFunction(name, args, handled);
        return;
    }
    handled = true;
    if (focused)
        focused->setFocus(Qt::OtherFocusReason);
    SetBrowseKeyEnable(focused);
}

QVariant SiemensHarvelFormSettings::ExecModal(const QString& screen, const QString& properties)
{
    SlGfwHmiDialog* hmiDialog = dialog();
    if (!hmiDialog)
        return QVariant();
    m_readOnAttach = false;
    const QVariant result = hmiDialog->execModalScreen(screen, properties);
    m_readOnAttach = true;
    return result;
}

bool SiemensHarvelFormSettings::Ask(const QString& question)
{
    m_readOnAttach = false;
    const bool yes = CMiscUtility::ShowMessageDialog(dialog(), ScreenName(), question, QLatin1String(kQueryCaption));
    m_readOnAttach = true;
    return yes;
}

void SiemensHarvelFormSettings::ShowFileBrowser(QWidget* focused)
{
    QString caption;
    if (focused && focused == m_pMacroDir)
        caption = QStringLiteral("Select TMR macro folder");
    else if (focused && focused == m_pTargetPath)
        caption = QStringLiteral("Select target path");
    else if (focused && focused == m_pProgramDir)
        caption = QStringLiteral("Select TMR program folder");
    else
        return;
    auto* edit = static_cast<SlGfwLineEdit*>(focused);
    // Folders only, of the NC and the CF card.
    const QString properties =
        QStringLiteral("-slgfwprop1 formFileBrowser.propCaption=%1 -slgfwprop2 formFileBrowser.propBackScreen=%2 "
                       "-slgfwprop3 formFileBrowser.propIsBrowseFile=%3 -slgfwprop4 formFileBrowser.propDriveTypes=%4 "
                       "-slgfwprop5 formFileBrowser.propCurrentPath=%5")
            .arg(caption, ScreenName(), QStringLiteral("0"), QStringLiteral("3"), edit->displayText().trimmed());
    const QString path = ExecModal(QStringLiteral("screenFileBrowser"), properties).toString();
    // Taken into the field only; saving is the operator's next step.
    if (!path.isEmpty())
        edit->setValue(path);
    SetEnable4Widgets();
}

void SiemensHarvelFormSettings::ActivateUGUD()
{
    const QString properties =
        QStringLiteral("-slgfwprop1 formUGUD.propCaption=%1 -slgfwprop2 formUGUD.propBackScreen=%2")
            .arg(QStringLiteral("Activate UGUD"), ScreenName());
    const QString text = ExecModal(QStringLiteral("screenUGUD"), properties).toString();
    if (!text.isEmpty() && Ask(QStringLiteral("Do you want to activate UGUD?")))
        StartActivateUGUD(text);
    SetEnable4Widgets();
}

void SiemensHarvelFormSettings::MapWofsAxes()
{
    const QString properties =
        QStringLiteral("-slgfwprop1 formWofsMap.propCaption=%1 -slgfwprop2 formWofsMap.propBackScreen=%2 ")
            .arg(QStringLiteral("Map Work Offset Axes"), ScreenName());
    const QString map = ExecModal(QStringLiteral("screenWofsMap"), properties).toString().trimmed();
    // The map is saved at once, and with it whatever else the operator has
    // changed on the form.
    if (!map.isEmpty() && m_pWofsAxes && map != m_pWofsAxes->displayText().trimmed() &&
        Ask(QStringLiteral("Do you want to save work offset axes map?"))) {
        m_pWofsAxes->setValue(map);
        SaveSettings();
    }
    SetEnable4Widgets();
}

void SiemensHarvelFormSettings::ReadSettings()
{
    if (!WidgetsExist())
        return;
    FillWidgets();
    setStatusBarElementText(QStringLiteral("Read settings succeeded"), 0);
}

void SiemensHarvelFormSettings::FillWidgets()
{
    QString target, workoffset, wofsaxes, netEnable, netIp, netPort, macroDir, programDir, resultFile;
    CAppCfg::m_instance.GetSettings(target, workoffset, wofsaxes, netEnable, netIp, netPort, macroDir, programDir,
                                    resultFile);

    // An address the machine no longer has shows as the first entry, so
    // the form differs from the stored settings at once.
    int ipIndex = -1;
    if (m_pNetServerIp->count() > 0) {
        ipIndex = netIp.isEmpty() ? -1 : m_pNetServerIp->findData(netIp, Qt::EditRole, Qt::MatchCaseSensitive);
        if (ipIndex < 0)
            ipIndex = 0;
    }

    // An editor with the focus would hold on to its own text.
    QPointer<QWidget> focused = focusWidget();
    if (focused)
        focused->clearFocus();
    m_pTargetPath->setValue(target);
    const bool fine = workoffset.compare(QLatin1String(kFine), Qt::CaseInsensitive) == 0;
    m_pFine->setChecked(fine);
    m_pCoarse->setChecked(!fine);
    m_pWofsAxes->setValue(wofsaxes);
    m_pNetServerEnable->setChecked(netEnable.compare(QLatin1String("1"), Qt::CaseInsensitive) == 0);
    m_pNetServerIp->setCurrentIndex(ipIndex);
    m_pNetServerPort->setValue(netPort);
    m_pMacroDir->setValue(macroDir);
    m_pProgramDir->setValue(programDir);
    m_pResultFile->setValue(resultFile);
    if (focused)
        focused->setFocus(Qt::OtherFocusReason);
}

void SiemensHarvelFormSettings::SaveSettings()
{
    if (!WidgetsExist())
        return;
    // Taking the focus away commits an edit under way.
    QPointer<QWidget> focused = focusWidget();
    if (focused)
        focused->clearFocus();
    const QString target = m_pTargetPath->displayText();
    const QString workoffset = QLatin1String(m_pFine->isChecked() ? kFine : kCoarse);
    const QString wofsaxes = m_pWofsAxes->displayText();
    const QString netEnable = m_pNetServerEnable->isChecked() ? QStringLiteral("1") : QStringLiteral("0");
    const QString netIp = m_pNetServerIp->currentText();
    const QString netPort = m_pNetServerPort->displayText();
    const QString macroDir = m_pMacroDir->displayText();
    const QString programDir = m_pProgramDir->displayText();
    const QString resultFile = m_pResultFile->displayText();
    QString error;
    const bool saved = CAppCfg::m_instance.SetSettings(target, workoffset, wofsaxes, netEnable, netIp, netPort,
                                                       macroDir, programDir, resultFile, error);
    // The stored values are the normalised ones (a path without its
    // trailing slash): the form shows them, so that it equals what was saved.
    if (saved)
        FillWidgets();
    if (focused)
        focused->setFocus(Qt::OtherFocusReason);
    setStatusBarElementText(
        (saved ? QStringLiteral("Save settings succeeded. %1") : QStringLiteral("Save settings failed. %1")).arg(error),
        0);
}

void SiemensHarvelFormSettings::SetEnable4Widgets()
{
    if (!WidgetsExist())
        return;
    QString target, workoffset, wofsaxes, netEnable, netIp, netPort, macroDir, programDir, resultFile;
    CAppCfg::m_instance.GetSettings(target, workoffset, wofsaxes, netEnable, netIp, netPort, macroDir, programDir,
                                    resultFile);
    // The form's work offset type is one of two words; a stored "fine" from
    // a hand edit means the same and is nothing to save.
    const QString formWorkoffset = QLatin1String(m_pFine->isChecked() ? kFine : kCoarse);
    const bool differs = m_pTargetPath->displayText() != target ||
                         formWorkoffset.compare(workoffset, Qt::CaseInsensitive) != 0 ||
                         m_pWofsAxes->displayText() != wofsaxes ||
                         (m_pNetServerEnable->isChecked() ? QStringLiteral("1") : QStringLiteral("0")) != netEnable ||
                         m_pNetServerIp->currentText() != netIp || m_pNetServerPort->displayText() != netPort ||
                         m_pMacroDir->displayText() != macroDir || m_pProgramDir->displayText() != programDir ||
                         m_pResultFile->displayText() != resultFile;
    CMiscUtility::SetSoftKeyEnable(dialog(), ScreenName(), kSaveKey, differs, QLatin1String(kMenuName));

    // The net server needs no target folder, the file-based mode no
    // address, port, program or macro folder.
    const bool net = m_pNetServerEnable->isChecked();
    for (int row : {RowNetIp, RowNetPort, RowProgramDir, RowMacroDir})
        SetRowVisible(m_rows.at(row), net);
    SetRowVisible(m_rows.at(RowTarget), !net);
    // The menu has been rebuilt when a modal screen returned: the browse
    // key must follow the focus again.
    SetBrowseKeyEnable(focusWidget());
}

void SiemensHarvelFormSettings::SetRowVisible(const Row& row, bool visible)
{
    row.label->setVisible(visible);
    for (QWidget* w : row.widgets)
        w->setVisible(visible);
}

void SiemensHarvelFormSettings::SetBrowseKeyEnable(QObject* focused)
{
    bool browsable = false;
    if (focused == m_pTargetPath || focused == m_pProgramDir || focused == m_pMacroDir)
        browsable = static_cast<QWidget*>(focused)->isVisible();
    else if (focused == m_pResultFile)
        browsable = !m_pResultFile->isReadOnly();
    CMiscUtility::SetSoftKeyEnable(dialog(), ScreenName(), kBrowseKey, browsable, QLatin1String(kMenuName));
}

bool SiemensHarvelFormSettings::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusIn)
        SetBrowseKeyEnable(watched);
    return SlGfwDialogForm::eventFilter(watched, event);
}

void SiemensHarvelFormSettings::slotCheckboxStateChanged(int)
{
    SetEnable4Widgets();
}

void SiemensHarvelFormSettings::slotComboBoxValueChanged(QWidget*)
{
    SetEnable4Widgets();
}

void SiemensHarvelFormSettings::slotRaidoButtonToggled(bool)
{
    SetEnable4Widgets();
}

void SiemensHarvelFormSettings::slotLineEditTextChanged(const QString&, QWidget*)
{
    SetEnable4Widgets();
}

void SiemensHarvelFormSettings::StartActivateUGUD(const QString& text)
{
    setStatusBarElementText(QStringLiteral("Activating UGUD ..."), 0);
    const QString ncPath = CAppCfg::m_instance.UgudFile();
    QString error;
    if (!SaveUGUDFile(ncPath, text, error)) {
        setStatusBarElementText(QStringLiteral("Activate UGUD failed. ErrInfo=Cannot save file"), 0);
        CLogger::Error(QStringLiteral("Activate UGUD failed. File=%1, ErrInfo=%2").arg(ncPath, error), true);
        return;
    }
    if (!m_activateDefFiles.CheckForDefinitionFiles(QStringList{ncPath})) {
        setStatusBarElementText(QStringLiteral("Activate UGUD failed. ErrInfo=Cannot check file"), 0);
        CLogger::Error(QStringLiteral("Activate UGUD failed. File=%1, ErrInfo=Cannot check file").arg(ncPath), true);
    }
    // The rest comes with the job's signals.
}

bool SiemensHarvelFormSettings::SaveUGUDFile(const QString& ncPath, const QString& text, QString& error)
{
    // The NC's file system is reached only through the file service: the
    // text goes to a local file first and is copied over.
    const QString tmpPath = CAppCfg::m_instance.UgudTmpFile();
    QString writeError;
    if (!CMiscUtility::WriteTextFile(tmpPath, QStringList{text}, writeError)) {
        error = QStringLiteral("Cannot write file");
        return false;
    }
    SlQFileSvc fileSvc;
    if (fileSvc.init() != 0) {
        error = QStringLiteral("Cannot init filesvc");
        return false;
    }
    if (fileSvc.copyFile(tmpPath, ncPath, true) != 0) {
        fileSvc.fini();
        error = QStringLiteral("Cannot copy file");
        return false;
    }
    fileSvc.remove(tmpPath);
    fileSvc.fini();
    return true;
}

void SiemensHarvelFormSettings::slotJobData4ActivateUGUD(const QStringList& filesToActivate, const QString&)
{
    if (!m_activateDefFiles.ActivateDefinitionFiles(filesToActivate, kActivateMode)) {
        setStatusBarElementText(QStringLiteral("Activate UGUD failed. ErrInfo=Cannot activate file"), 0);
        CLogger::Error(QStringLiteral("Activate UGUD failed. File=%1, ErrInfo=Cannot activate file")
                           .arg(filesToActivate.join(QLatin1Char(','))),
                       true);
    }
}

void SiemensHarvelFormSettings::slotJobCompleted4ActivateUGUD(const QVector<long>& errCodes, const QStringList&,
                                                               bool bCanceled)
{
    const QString codes = ErrCodes2HexStr(errCodes, QStringLiteral(","));
    if (bCanceled) {
        setStatusBarElementText(QStringLiteral("Activate UGUD failed. ErrInfo=Canceled"), 0);
        CLogger::Error(QStringLiteral("Activate UGUD failed. ErrInfo=Canceled, ErrCodes=%1").arg(codes), true);
    } else if (!errCodes.isEmpty()) {
        const QString text = QStringLiteral("Activate UGUD failed. ErrCodes=%1").arg(codes);
        setStatusBarElementText(text, 0);
        CLogger::Error(text, true);
    } else {
        setStatusBarElementText(QStringLiteral("Activate UGUD succeeded. Please restart HMI."), 0);
        CLogger::Info(QStringLiteral("Activate UGUD succeeded"), true);
    }
}

QString SiemensHarvelFormSettings::ErrCodes2HexStr(const QVector<long>& errCodes, const QString& separator)
{
    QStringList texts;
    for (long code : errCodes)
        texts << CMiscUtility::GetHexQStr(code, QStringLiteral("0x"));
    return texts.join(separator);
}
