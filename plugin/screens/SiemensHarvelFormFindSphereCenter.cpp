#include "SiemensHarvelFormFindSphereCenter.h"

#include "AppCfg.h"
#include "Logger.h"
#include "MiscUtility.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwLabel.h"
#include "SlGfwLineEdit.h"
#include "SlGfwTextEdit.h"
#include "SlQFileSvc.h"

#include <QEvent>
#include <QGridLayout>
#include <QTextCursor>
#include <QTextOption>
#include <QVariant>

namespace {
const char* const kScreenName = "screenFindSphereCenter";
const char* const kMenuName = "myVr";
const int kRunKey = 1;
// The file service's code for a copy over the program that a running
// channel has selected.
const char* const kProgramInUse = "0x8300c4bc";

QString HexCode(long code)
{
    return CMiscUtility::GetHexQStr(static_cast<int>(code), QStringLiteral("0x"));
}
} // namespace

SiemensHarvelFormFindSphereCenter::SiemensHarvelFormFindSphereCenter(QWidget* parent, const QString& name,
                                                                     Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags)
{
    // The program edit takes the arrow keys itself.
    setGeometricNavigationEnabled(false);

    auto* layout = new QGridLayout(this);
    m_pEditProg = new SlGfwTextEdit(this);
    m_pEditProg->setObjectName(QStringLiteral("editProg"));
    m_pEditProg->setAccessibleName(QStringLiteral("Program"));
    m_pEditProg->setWordWrapMode(QTextOption::NoWrap);
    m_pEditProg->setLineWrapMode(QTextEdit::NoWrap);
    m_pEditProg->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_pEditProg->setTabChangesFocus(true);
    m_pEditProg->setAcceptRichText(false);
    m_pEditProg->setFont(CMiscUtility::GetMonospaceFont());
    // Paint events go to the viewport; the first one is where the program
    // is shown from its top with the focus away from it.
    m_pEditProg->viewport()->installEventFilter(this);
    layout->addWidget(m_pEditProg, 0, 0, 1, 4);
    layout->setRowStretch(0, 1);

    m_pSphereRadius = AddField(QStringLiteral("Sphere Radius: "), QStringLiteral("Sphere radius (mm)"),
                               QStringLiteral("editSphereRadius"), 1, 0, false);
    m_pCenterX = AddField(QStringLiteral("Sphere Center X: "), QStringLiteral("Measured sphere center (X)"),
                          QStringLiteral("editCenterX"), 1, 2, true);
    m_pProbeRadius = AddField(QStringLiteral("Probe Radius: "), QStringLiteral("Probe radius (mm)"),
                              QStringLiteral("editProbeRadius"), 2, 0, false);
    m_pCenterY = AddField(QStringLiteral("Sphere Center Y: "), QStringLiteral("Measured sphere center (Y)"),
                          QStringLiteral("editCenterY"), 2, 2, true);
    m_pWorkOffset = AddField(QStringLiteral("Work Offset: "), QStringLiteral("Work offset (ie G54, G55, etc)"),
                             QStringLiteral("editWorkOffset"), 3, 0, false);
    m_pCenterZ = AddField(QStringLiteral("Sphere Center Z: "), QStringLiteral("Measured sphere center (Z)"),
                          QStringLiteral("editCenterZ"), 3, 2, true);
    layout->setColumnStretch(1, 1);
    layout->setColumnStretch(3, 1);
    m_pSphereRadius->setValue(0);
    m_pProbeRadius->setValue(0);
    m_pWorkOffset->setValue(QStringLiteral("G54"));

    for (SlGfwLineEdit* edit : {m_pSphereRadius, m_pProbeRadius, m_pWorkOffset})
        connect(edit, qOverload<const QString&, QWidget*>(&SlGfwLineEdit::textChanged), this,
                &SiemensHarvelFormFindSphereCenter::slotLineEditTextChanged);
    connect(m_pEditProg, &QTextEdit::textChanged, this, &SiemensHarvelFormFindSphereCenter::slotTextEditTextChanged);

    setCaptionBarElementCount(1);
    setCaptionBarElementText(QStringLiteral("NC Harvel - Find Sphere Center"), 0);
    setStatusBarElementCount(1);
    setStatusBarElementAlignment(Qt::AlignLeft, 0);
    setStatusBarVisible(true);
}

SiemensHarvelFormFindSphereCenter::~SiemensHarvelFormFindSphereCenter() = default;

SlGfwLineEdit* SiemensHarvelFormFindSphereCenter::AddField(const QString& label, const QString& toolTip,
                                                          const QString& objectName, int row, int column,
                                                          bool readOnly)
{
    auto* layout = static_cast<QGridLayout*>(this->layout());
    auto* caption = new SlGfwLabel(label, this);
    auto* edit = new SlGfwLineEdit(this);
    edit->setObjectName(objectName);
    edit->setToolTip(toolTip);
    edit->setReadOnly(readOnly);
    if (readOnly)
        edit->setFocusPolicy(Qt::NoFocus);
    caption->setBuddy(edit);
    layout->addWidget(caption, row, column);
    layout->addWidget(edit, row, column + 1);
    return edit;
}

void SiemensHarvelFormFindSphereCenter::attachedToScreen(const QString& screen)
{
    m_firstPaintSeen = false;
    // Not on the return from the run key's query: the operator's edits are
    // what is to be run.
    if (m_reloadOnAttach) {
        SetStatusBarTextByProgState();
        ShowProg();
    }
    SlGfwDialogForm::attachedToScreen(screen);
}

bool SiemensHarvelFormFindSphereCenter::eventFilter(QObject* object, QEvent* event)
{
    if (m_pEditProg && object == m_pEditProg->viewport() && event->type() == QEvent::Paint && !m_firstPaintSeen) {
        m_firstPaintSeen = true;
        ClearEditProgFocus();
        return true;
    }
    return SlGfwDialogForm::eventFilter(object, event);
}

void SiemensHarvelFormFindSphereCenter::ClearEditProgFocus()
{
    QTextCursor cursor = m_pEditProg->textCursor();
    cursor.movePosition(QTextCursor::Start);
    m_pEditProg->setTextCursor(cursor);
    m_pEditProg->clearFocus();
    // The dropped paint must still happen, now from the first line.
    m_pEditProg->viewport()->update();
}

void SiemensHarvelFormFindSphereCenter::onFunction(const QString& name, const QString& args, bool& handled)
{
    if (name == QLatin1String("doRun")) {
        m_reloadOnAttach = false;
        if (CMiscUtility::ShowMessageDialog(dialog(), QLatin1String(kScreenName),
                                            QStringLiteral("Do you want to save and run this program to find "
                                                           "sphere center?"),
                                            QStringLiteral("Query")))
            RunProg();
        m_reloadOnAttach = true;
        handled = true;
    }
    if (!handled)
        SlGfwDialogForm::onFunction(name, args, handled);
}

void SiemensHarvelFormFindSphereCenter::slotLineEditTextChanged(const QString& text, QWidget* source)
{
    SetRunSoftKeyEnable();
}

void SiemensHarvelFormFindSphereCenter::slotTextEditTextChanged()
{
    SetRunSoftKeyEnable();
}

bool SiemensHarvelFormFindSphereCenter::GetInputValues(double& sphereRadius, double& probeRadius, int& workOffset)
{
    if (!CMiscUtility::QStr2Double(m_pSphereRadius->displayText().trimmed(), sphereRadius) || sphereRadius <= 0)
        return false;
    if (!CMiscUtility::QStr2Double(m_pProbeRadius->displayText().trimmed(), probeRadius) || probeRadius <= 0)
        return false;
    bool ok = false;
    workOffset = CMiscUtility::GetWorkoffsetIndex(m_pWorkOffset->displayText().trimmed(), ok);
    return ok;
}

void SiemensHarvelFormFindSphereCenter::SetRunSoftKeyEnable()
{
    double sphereRadius = 0.0;
    double probeRadius = 0.0;
    int workOffset = 0;
    // A second run may not start while the program reports that it runs.
    const bool enabled = m_progState != 1 && m_pEditProg->document() && !m_pEditProg->document()->isEmpty()
                         && GetInputValues(sphereRadius, probeRadius, workOffset);
    CMiscUtility::SetSoftKeyEnable(dialog(), QLatin1String(kScreenName), kRunKey, enabled, QLatin1String(kMenuName));
}

void SiemensHarvelFormFindSphereCenter::SetStatusBarTextByProgState()
{
    QString text;
    if (m_progState == 1)
        text = QStringLiteral("The program is executing");
    else if (m_progState == 2)
        text = QStringLiteral("The program execution finished");
    setStatusBarElementText(text, 0);
}

void SiemensHarvelFormFindSphereCenter::ShowProg()
{
    m_pEditProg->clear();
    m_shownProgText.clear();
    const QString path = CAppCfg::m_instance.FindSphereProgFile();
    const QString fileName = CMiscUtility::GetFileName(path);
    QStringList lines;
    QString error;
    if (!CMiscUtility::ReadTextFile(path, lines, error, 0, 0)) {
        setStatusBarElementText(QStringLiteral("Cannot read program file. File=%1").arg(fileName), 0);
        CLogger::Error(QStringLiteral("Cannot read program file. File=%1").arg(path), true);
        return;
    }
    if (lines.isEmpty()) {
        setStatusBarElementText(QStringLiteral("Invalid program file. File=%1").arg(fileName), 0);
        CLogger::Error(QStringLiteral("Invalid program file. File=%1").arg(path), true);
        return;
    }
    for (const QString& line : qAsConst(lines))
        m_pEditProg->append(line);
    m_shownProgText = m_pEditProg->document()->toPlainText();
}

void SiemensHarvelFormFindSphereCenter::ShowFindSphereResult(int state, double x, double y, double z)
{
    m_progState = state;
    SetStatusBarTextByProgState();
    SetRunSoftKeyEnable();
    // A new run's 1 takes the old centre away.
    if (state == 2) {
        m_pCenterX->setValue(QVariant(x));
        m_pCenterY->setValue(QVariant(y));
        m_pCenterZ->setValue(QVariant(z));
    } else {
        m_pCenterX->clear();
        m_pCenterY->clear();
        m_pCenterZ->clear();
    }
}

void SiemensHarvelFormFindSphereCenter::RunProg()
{
    double sphereRadius = 0.0;
    double probeRadius = 0.0;
    int workOffset = 0;
    if (!GetInputValues(sphereRadius, probeRadius, workOffset)) {
        setStatusBarElementText(QStringLiteral("Please input values"), 0);
        return;
    }
    const QString source = CAppCfg::m_instance.FindSphereProgFile();
    const QString fileName = CMiscUtility::GetFileName(source);
    const QString target = QStringLiteral("%1/%2").arg(CAppCfg::m_instance.TmrProgramDir(), fileName);

    QString error;
    if (!SaveProg(source, error)) {
        setStatusBarElementText(QStringLiteral("Run program failed. ErrInfo=Cannot save program (%1)").arg(error), 0);
        CLogger::Error(
            QStringLiteral("Run program failed. PrgName=%1, ErrInfo=Cannot save program (%2)").arg(fileName, error),
            true);
        return;
    }
    if (!CopyAndSelectProg(source, target, error)) {
        setStatusBarElementText(QStringLiteral("Run program failed. ErrInfo=%1").arg(error), 0);
        CLogger::Error(QStringLiteral("Run program failed. PrgName=%1, ErrInfo=%2").arg(fileName, error), true);
        return;
    }
    const int ret = SetFindSphereInputsOfDialog(sphereRadius, probeRadius, workOffset);
    if (ret != 0) {
        setStatusBarElementText(
            QStringLiteral("Run program failed. ErrInfo=Cannot save input values (%1)").arg(ret), 0);
        CLogger::Error(QStringLiteral("Run program failed. PrgName=%1, ErrInfo=Cannot save input values (%2)")
                          .arg(fileName)
                          .arg(ret),
                      true);
        return;
    }
    // The start is the operator's, in the machine area with the program
    // selected.
    if (SlGfwHmiDialog* hmiDialog = dialog())
        hmiDialog->switchToArea(QStringLiteral("AreaMachine"), QStringLiteral("SlMachine"), QString(), false);
}

int SiemensHarvelFormFindSphereCenter::SetFindSphereInputsOfDialog(double sphereRadius, double probeRadius,
                                                                   int workOffset)
{
    // By name: the component may come from another copy of the library
    // than this form.
    SlGfwHmiDialog* hmiDialog = dialog();
    int ret = -100;
    if (!hmiDialog
        || !QMetaObject::invokeMethod(hmiDialog, "SetFindSphereInputs", Qt::DirectConnection, Q_RETURN_ARG(int, ret),
                                      Q_ARG(double, sphereRadius), Q_ARG(double, probeRadius),
                                      Q_ARG(int, workOffset)))
        return -100;
    return ret;
}

bool SiemensHarvelFormFindSphereCenter::SaveProg(const QString& path, QString& error)
{
    if (!m_pEditProg)
        return true;
    const QString text = m_pEditProg->document()->toPlainText();
    // The shown text is not brought up to date: a second run after an edit
    // writes the file again.
    if (text == m_shownProgText)
        return true;
    return CMiscUtility::WriteTextFile(path, QStringList{text}, error);
}

bool SiemensHarvelFormFindSphereCenter::CopyAndSelectProg(const QString& source, const QString& target,
                                                          QString& error)
{
    SlQFileSvc fileSvc;
    long ret = fileSvc.init();
    if (ret != 0) {
        error = QStringLiteral("Cannot init filesvc (%1)").arg(HexCode(ret));
        return false;
    }
    bool ok = true;
    ret = fileSvc.copyFile(source, target, true);
    if (ret != 0) {
        error = HexCode(ret) == QLatin1String(kProgramInUse)
                    ? QStringLiteral("Program is occupied")
                    : QStringLiteral("Cannot copy program (%1)").arg(HexCode(ret));
        ok = false;
    } else {
        ret = fileSvc.select(target, 1);
        if (ret != 0) {
            error = QStringLiteral("Cannot select program (%1)").arg(HexCode(ret));
            ok = false;
        }
    }
    fileSvc.fini();
    return ok;
}
