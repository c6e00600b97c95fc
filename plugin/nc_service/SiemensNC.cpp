#include "SiemensNC.h"

#include "AppCfg.h"
#include "MiscUtility.h"
#include "SiemensAPI.h"
#include "SiemensAPIOperate.h"
#include "SiemensAxisPosMonitor.h"
#include "SiemensDialogMonitor.h"
#include "SiemensFindSphereCenterMonitor.h"
#include "SiemensHarvel.h"
#include "SiemensHarvelFormFindSphereCenter.h"
#include "SiemensHarvelFormReport.h"
#include "SiemensInteractive.h"
#include "SiemensStatusMonitor.h"
#include "SiemensTmrResultMonitor.h"
#include "SiemensHarvelFormIMSG.h"
#include "SlGfwDialogForm.h"

#include <QVariant>

namespace {
// The file service's code for a name or path longer than it takes: the one
// code these operations know by value.
const char* const kNameTooLong = "0x81501031";

QString HexCode(int code)
{
    return CMiscUtility::GetHexQStr(code, QStringLiteral("0x"));
}
} // namespace

CSiemensNC::CSiemensNC(const QString& applDir, SiemensHarvel* owner) : m_pOwner(owner)
{
    // The HMI's version file lies at the root of the installation, the
    // folder that holds oem/.
    const int oem = applDir.indexOf(QLatin1String("/oem/"), 0, Qt::CaseSensitive);
    if (oem > 0)
        m_versionFile = QStringLiteral("%1/versions.xml").arg(applDir.left(oem));

    m_pAPI = new CSiemensAPIOperate();
    m_pInteractive = new CSiemensInteractive(applDir, m_pAPI);
    m_pResultMonitor = new CSiemensTmrResultMonitor(m_pAPI, this);
    m_pStatusMonitor = new CSiemensStatusMonitor(m_pAPI);
    m_pDialogMonitor = new CSiemensDialogMonitor(m_pAPI, this);
    m_pSphereMonitor = new CSiemensFindSphereCenterMonitor(m_pAPI, this);
    m_pAxisPosMonitor = new CSiemensAxisPosMonitor(m_pAPI, false);
}

CSiemensNC::~CSiemensNC()
{
    // The monitors go first, then the request processor: nothing that
    // watches the NC may outlive the access object.
    delete m_pStatusMonitor;
    m_pStatusMonitor = nullptr;
    delete m_pDialogMonitor;
    m_pDialogMonitor = nullptr;
    delete m_pSphereMonitor;
    m_pSphereMonitor = nullptr;
    delete m_pAxisPosMonitor;
    m_pAxisPosMonitor = nullptr;
    delete m_pResultMonitor;
    m_pResultMonitor = nullptr;
    delete m_pInteractive;
    m_pInteractive = nullptr;
    delete m_pAPI;
    m_pAPI = nullptr;
}

int CSiemensNC::Initialize()
{
    // The result is of no interest: what could not be read is logged, and
    // the machine configuration document shows the gaps.
    if (m_pAPI)
        m_pAPI->GetMachineDef(m_machDef, m_versionFile);

    // Not the order of construction: the result monitor comes last, so that
    // a result already waiting at start finds everything else running. One
    // that cannot start has logged why and the others go on.
    if (m_pInteractive)
        m_pInteractive->Initialize();
    if (m_pStatusMonitor)
        m_pStatusMonitor->Initialize();
    if (m_pDialogMonitor)
        m_pDialogMonitor->Initialize();
    if (m_pSphereMonitor)
        m_pSphereMonitor->Initialize();
    if (m_pAxisPosMonitor)
        m_pAxisPosMonitor->Initialize();
    if (m_pResultMonitor)
        m_pResultMonitor->Initialize();

    return 0;
}

// The argument checks come before the NC is asked, so a malformed request
// costs the NC nothing.
bool CSiemensNC::CheckRVarArgs(int index, int count, QString& errInfo)
{
    if (index < 0) {
        errInfo = QStringLiteral("Invalid index");
        return false;
    }
    if (count < 1) {
        errInfo = QStringLiteral("Invalid count");
        return false;
    }
    return true;
}

// Asked on every request: the number of R parameters is machine data and
// may change between two requests.
bool CSiemensNC::CheckRVarRange(int index, int count, QString& errInfo)
{
    int rVarCount = 0;
    if (m_pAPI->GetRVarCount(rVarCount) != 0) {
        errInfo = QStringLiteral("Cannot get the count of R variable");
        return false;
    }
    // In 64 bits: a client may send an index near the top of int, and the
    // sum must not wrap round into the range.
    if (qint64(index) + count > rVarCount) {
        errInfo = QStringLiteral("Address out of range [0, %1]").arg(rVarCount - 1);
        return false;
    }
    return true;
}

bool CSiemensNC::ProcessReadRVar(int index, int count, QList<double>& values, QString& errInfo)
{
    if (!CheckRVarArgs(index, count, errInfo) || !CheckRVarRange(index, count, errInfo))
        return false;
    if (m_pAPI->ReadRVar(index, count, values) != 0) {
        errInfo = QStringLiteral("Cannot read R variable");
        return false;
    }
    return true;
}

bool CSiemensNC::ProcessWriteRVar(int index, int count, const QList<double>& values, QString& errInfo)
{
    if (!CheckRVarArgs(index, count, errInfo))
        return false;
    if (count != values.size()) {
        errInfo = QStringLiteral("Invalid values");
        return false;
    }
    if (!CheckRVarRange(index, count, errInfo))
        return false;
    if (m_pAPI->WriteRVar(index, count, values) != 0) {
        errInfo = QStringLiteral("Cannot write R variable");
        return false;
    }
    return true;
}

bool CSiemensNC::ProcessGetSkipPosition(double& x, double& y, double& z, double& a, double& b, double& c,
                                        QString& errInfo)
{
    // The net request is answered, but no skip position is read: the
    // measurement application takes its positions from the journals.
    x = y = z = a = b = c = 0.0;
    return true;
}

bool CSiemensNC::ProcessSelectProgram(const QString& program, QString& errInfo)
{
    // Only the flag counts: a service that cannot tell has not found it.
    bool exists = false;
    m_pAPI->PathExists(program, exists);
    if (!exists) {
        errInfo = QStringLiteral("Program does not exist");
        return false;
    }
    const int code = m_pAPI->SelectProg(program, 1);
    if (code == 0)
        return true;
    errInfo = QStringLiteral("Cannot select program (%1)").arg(CMiscUtility::GetHexQStr(code, QStringLiteral("0x")));
    return false;
}

bool CSiemensNC::ProcessGetMachineConfiguration(QString& fileContent, QString& errInfo)
{
    // The definition of the last start, without asking the NC again. Built
    // by hand, without white space or escaping, as the application parses it.
    fileContent += QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>");
    fileContent += QStringLiteral("<Machine>");
    fileContent += QStringLiteral("<Manufacturer>Siemens</Manufacturer>");
    fileContent += QStringLiteral("<Model>%1</Model>").arg(m_machDef.model);
    fileContent += QStringLiteral("<Version>%1</Version>").arg(m_machDef.version);
    fileContent += QStringLiteral("<CncType>%1</CncType>").arg(m_machDef.cncType);
    fileContent += QStringLiteral("<Unit>%1</Unit>").arg(m_machDef.isMetric ? QStringLiteral("MM") : QStringLiteral("INCH"));
    fileContent += QStringLiteral("<Axes>");
    for (const tagAxisInfo& axis : qAsConst(m_machDef.axes)) {
        fileContent += QStringLiteral("<Axis>");
        fileContent += QStringLiteral("<Name>%1</Name>").arg(axis.name);
        fileContent += QStringLiteral("<Type>%1</Type>").arg(CMiscUtility::GetAxisTypeQStr(axis.type));
        // Limits are not known to the plug-in; the format wants the elements.
        fileContent += QStringLiteral("<Enabled>true</Enabled>");
        fileContent += QStringLiteral("<Min>0</Min>");
        fileContent += QStringLiteral("<Max>0</Max>");
        fileContent += QStringLiteral("</Axis>");
    }
    fileContent += QStringLiteral("</Axes>");
    fileContent += QStringLiteral("</Machine>");
    return true;
}

bool CSiemensNC::ProcessGetCalibrationResult(QString& fileContent, QString& errInfo)
{
    // Read at every request: the rotary table data change with a new
    // calibration of the machine.
    QList<tagRotabCenter> centers;
    const int code = m_pAPI->GetRotabCenter(centers);
    if (code != 0) {
        errInfo = QStringLiteral("Cannot get rotab center (%1)").arg(CMiscUtility::GetHexQStr(code, QStringLiteral("0x")));
        return false;
    }
    fileContent += QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>");
    fileContent += QStringLiteral("<Rotabs>");
    for (const tagRotabCenter& center : qAsConst(centers)) {
        fileContent += QStringLiteral("<Rotab>");
        fileContent += QStringLiteral("<Type>%1</Type>").arg(center.name);
        fileContent += QStringLiteral("<X>%1</X>").arg(center.x);
        fileContent += QStringLiteral("<Y>%1</Y>").arg(center.y);
        fileContent += QStringLiteral("<Z>%1</Z>").arg(center.z);
        fileContent += QStringLiteral("<I>%1</I>").arg(center.i);
        fileContent += QStringLiteral("<J>%1</J>").arg(center.j);
        fileContent += QStringLiteral("<K>%1</K>").arg(center.k);
        fileContent += QStringLiteral("</Rotab>");
    }
    fileContent += QStringLiteral("</Rotabs>");
    return true;
}

bool CSiemensNC::ProcessUploadFile(int fileType, const QString& source, QString& target, QString& errInfo)
{
    const QString fileName = CMiscUtility::GetFileName(source);
    QString folder;
    switch (fileType) {
    case 0:
        folder = CAppCfg::m_instance.TmrMacroDir();
        break;
    case 1:
        folder = CAppCfg::m_instance.TmrProgramDir();
        break;
    case 2:
        // The report viewer shows PDF only; refused before any folder is
        // touched, so the report on the screen stays open.
        if (!CMiscUtility::CheckFileSuffix(source, QStringLiteral(".pdf"))) {
            errInfo = QStringLiteral("Only support PDF report file");
            return false;
        }
        folder = CAppCfg::m_instance.ReportDir();
        break;
    default:
        errInfo = QStringLiteral("Unknown file type %1").arg(fileType);
        return false;
    }
    target = QStringLiteral("%1/%2").arg(folder, fileName);

    bool isNC = false;
    int code = m_pAPI->PathIsNC(target, isNC);
    if (code != 0) {
        errInfo = QStringLiteral("Cannot check if path is NC (%1)").arg(HexCode(code));
        return false;
    }

    bool exists = false;
    if (m_pAPI->PathExists(folder, exists) != 0 || !exists) {
        code = m_pAPI->CreateFolder(folder);
        if (code != 0) {
            const QString reason =
                HexCode(code) == QLatin1String(kNameTooLong) ? QStringLiteral("Folder path is too long") : HexCode(code);
            errInfo = QStringLiteral("Cannot create folder %1 (%2)").arg(folder, reason);
            return false;
        }
    }

    // The viewer may hold the report folder's file open; it lets go of it
    // for the move and shows the new one afterwards.
    SiemensHarvelFormReport* reportForm = nullptr;
    SlGfwDialogForm* reportRef = nullptr;
    if (fileType == 2 && m_pOwner) {
        reportRef = m_pOwner->formRef(QStringLiteral("formReport"));
        reportForm = qobject_cast<SiemensHarvelFormReport*>(reportRef);
        if (reportForm)
            reportForm->CloseReportFile(QString());
    }

    // The service moves within and into the NC; a local target may still be
    // reached by a plain move when the service will not.
    const int moveCode = m_pAPI->MoveFile(source, target);
    bool moved = moveCode == 0;
    if (!moved && !isNC)
        moved = CMiscUtility::MoveFile(source, target, true);
    if (!moved) {
        errInfo = HexCode(moveCode) == QLatin1String(kNameTooLong)
                      ? QStringLiteral("File name is too long")
                      : QStringLiteral("Cannot move file %1 to folder %2 (%3)").arg(fileName, folder, HexCode(moveCode));
        // The report stays closed: what it showed may be gone.
        if (reportRef)
            m_pOwner->releaseFormRef(reportRef);
        return false;
    }

    if (reportForm) {
        reportForm->SetStatusBarText(QStringLiteral("Received report file"));
        reportForm->OpenReportFile(target);
    }
    if (reportRef)
        m_pOwner->releaseFormRef(reportRef);
    // One report at a time: the folder keeps only the newest.
    if (fileType == 2)
        CMiscUtility::ClearExpiredFiles(folder, QStringList{QStringLiteral("*.pdf")}, 1, false);
    return true;
}

bool CSiemensNC::ProcessCheckFileExists(const QString& path, bool& exists, bool& isNC, QString& errInfo)
{
    int code = m_pAPI->PathIsNC(path, isNC);
    if (code != 0) {
        errInfo = QStringLiteral("Cannot check if path is NC (%1)").arg(HexCode(code));
        return false;
    }
    code = m_pAPI->PathExists(path, exists);
    if (isNC) {
        if (code != 0) {
            errInfo = QStringLiteral("Cannot check if file exists (%1)").arg(HexCode(code));
            return false;
        }
        return true;
    }
    // A local path has a second witness: the service's failure is not the
    // operation's.
    if (code != 0 || !exists)
        exists = CMiscUtility::FileIsExists(path);
    return true;
}

bool CSiemensNC::ProcessDownloadFile(const QString& peer, const QString& srcFileName, QString& dstFileName,
                                     bool& dstFileNeedRemove, QString& errInfo)
{
    bool exists = false;
    bool isNC = false;
    if (!ProcessCheckFileExists(srcFileName, exists, isNC, errInfo))
        return false;
    if (!exists) {
        errInfo = QStringLiteral("File not found");
        return false;
    }
    if (!isNC) {
        dstFileName = srcFileName;
        dstFileNeedRemove = false;
        return true;
    }

    // An NC file exists only for the file service: the library is handed a
    // local copy, and removes it once it is sent.
    dstFileNeedRemove = true;
    dstFileName = QStringLiteral("%1/%2.tmp").arg(CAppCfg::m_instance.TempDir(), CMiscUtility::CreateUuid());
    CMiscUtility::CreateFolder(dstFileName, true);
    const int code = m_pAPI->CopyFile(srcFileName, dstFileName);
    if (code != 0) {
        errInfo = QStringLiteral("Cannot copy file (%1)").arg(HexCode(code));
        return false;
    }
    return true;
}

void CSiemensNC::WithdrawIMSG(const QString& peer, unsigned long long id)
{
    for (int i = m_standingMsgs.size() - 1; i >= 0; --i) {
        tagStandingMsg& standing = m_standingMsgs[i];
        if (standing.withdrawn || standing.peer != peer || standing.id != id)
            continue;
        standing.withdrawn = true;
        EndWithdrawnOnTop();
        return;
    }
    // The notice overtook the message on its way to the screen.
    tagStandingMsg early;
    early.peer = peer;
    early.id = id;
    early.withdrawn = true;
    m_withdrawnEarly.append(early);
    while (m_withdrawnEarly.size() > 64)
        m_withdrawnEarly.removeFirst();
}

void CSiemensNC::EndWithdrawnOnTop()
{
    if (!m_pOwner || m_standingMsgs.isEmpty() || !m_standingMsgs.last().withdrawn)
        return;
    // A message below the top must wait: the screens above it came later
    // and go first. The one on top goes now, and the next withdrawn one
    // when its own modal screen has returned.
    SlGfwDialogForm* form = m_pOwner->formRef(QStringLiteral("formIMSG"));
    if (auto* imsg = qobject_cast<SiemensHarvelFormIMSG*>(form))
        imsg->Withdraw();
    if (form)
        m_pOwner->releaseFormRef(form);
}

bool CSiemensNC::ProcessIMSG(const QString& peer, unsigned long long id, int type, int style, const QString& messageText,
                             const QString& inputName, int& clickedButton, QString& inputValue, QString& errInfo)
{
    // The form trusts its properties; what the sender may get wrong is mended
    // here.
    if (static_cast<unsigned int>(type) > 1)
        type = 0;
    if (static_cast<unsigned int>(style) >= 6)
        style = 0;
    QString sender = peer;
    if (sender.startsWith(QLatin1String("ipv4:")) || sender.startsWith(QLatin1String("ipv6:")))
        sender = sender.mid(5);

    QString backScreen = m_pOwner ? m_pOwner->activeScreen() : QString();
    QVariant result;
    if (m_pOwner) {
        m_pOwner->switchToArea(QStringLiteral("Norvane"), QStringLiteral("SiemensHarvel"), QString(), false);
        // There is always a screen to come back to.
        if (backScreen.isEmpty()) {
            backScreen = QStringLiteral("screenLog");
            m_pOwner->switchToScreen(backScreen, QString());
        }
        const QString properties =
            QStringLiteral("-slgfwprop1 formIMSG.propCaption=%1 -slgfwprop2 formIMSG.propBackScreen=%2 "
                           "-slgfwprop3 formIMSG.propMsgID=%3 -slgfwprop4 formIMSG.propMsgType=%4 "
                           "-slgfwprop5 formIMSG.propMsgStyle=%5 -slgfwprop6 formIMSG.propMessageText=%6 "
                           "-slgfwprop7 formIMSG.propInputName=%7 -slgfwprop8 formIMSG.propSender=%8")
                .arg(QStringLiteral("Interactive Message"), backScreen, QString::number(id), QString::number(type),
                     QString::number(style), messageText, inputName, sender);
        tagStandingMsg standing;
        standing.peer = peer;
        standing.id = id;
        for (int i = 0; i < m_withdrawnEarly.size(); ++i) {
            if (m_withdrawnEarly.at(i).peer == peer && m_withdrawnEarly.at(i).id == id) {
                m_withdrawnEarly.removeAt(i);
                standing.withdrawn = true;
                break;
            }
        }
        if (!standing.withdrawn) {
            m_standingMsgs.append(standing);
            result = m_pOwner->execModalScreen(QStringLiteral("screenIMSG"), properties);
            // Modal screens end innermost first, so this one is the last.
            standing = m_standingMsgs.takeLast();
            EndWithdrawnOnTop();
        }
        if (standing.withdrawn) {
            errInfo = QStringLiteral("Message withdrawn because its sender left");
            return false;
        }
        // Ended without a key because the operator interface closes: no
        // answer was given, and the sender must not take it for one.
        if (result.type() != QVariant::List && m_pOwner->isClosing()) {
            errInfo = QString();
            return false;
        }
    }

    bool buttonOK = false;
    bool inputOK = false;
    if (result.type() == QVariant::List) {
        const QVariantList answer = result.toList();
        if (answer.size() >= 2) {
            if (answer.at(0).type() == QVariant::Int) {
                clickedButton = answer.at(0).toInt();
                buttonOK = true;
            }
            if (answer.at(1).type() == QVariant::String) {
                inputValue = answer.at(1).toString();
                inputOK = true;
            }
        }
    }
    if (buttonOK && inputOK) {
        errInfo = QString();
        return true;
    }
    errInfo = QStringLiteral("Invalid result of the message dialog");
    return false;
}

void CSiemensNC::ProcessFindSphereResult(int state, double x, double y, double z)
{
    if (!m_pOwner)
        return;
    SlGfwDialogForm* form = m_pOwner->formRef(QStringLiteral("formFindSphereCenter"));
    if (!form)
        return;
    if (auto* sphereForm = qobject_cast<SiemensHarvelFormFindSphereCenter*>(form))
        sphereForm->ShowFindSphereResult(state, x, y, z);
    m_pOwner->releaseFormRef(form);

    if (state != 2)
        return;
    // The operator started the run in the machine area; the centre comes
    // to him. A screen of the area he had open stays.
    const QString activeScreen = m_pOwner->activeScreen();
    m_pOwner->switchToArea(QStringLiteral("Norvane"), QStringLiteral("SiemensHarvel"), QString(), false);
    if (activeScreen.isEmpty())
        m_pOwner->switchToScreen(QStringLiteral("screenFindSphereCenter"), QString());
}

int CSiemensNC::SetTmrFileVar(int value)
{
    return m_pAPI->WriteTmrFile(value);
}

int CSiemensNC::SetFindSphereInputs(double sphereRadius, double probeRadius, int workOffset)
{
    return m_pAPI->SetFindSphereInputs(sphereRadius, probeRadius, workOffset);
}

void CSiemensNC::ReceivedReqFile(const QString& reqFile)
{
    if (m_pInteractive)
        m_pInteractive->ReceivedReqFile(reqFile);
}

void CSiemensNC::SetReportFormStatusBarText(const QString& text)
{
    if (m_pOwner)
        m_pOwner->SetReportFormStatusBarText(text);
}
