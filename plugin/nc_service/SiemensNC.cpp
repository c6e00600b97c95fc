#include "SiemensNC.h"

#include "MiscUtility.h"
#include "SiemensAPI.h"
#include "SiemensAPIOperate.h"
#include "SiemensHarvel.h"

CSiemensNC::CSiemensNC(const QString& applDir, SiemensHarvel* owner) : m_pOwner(owner)
{
    // The HMI's version file lies at the root of the installation, the
    // folder that holds oem/.
    const int oem = applDir.indexOf(QLatin1String("/oem/"), 0, Qt::CaseSensitive);
    if (oem > 0)
        m_versionFile = QStringLiteral("%1/versions.xml").arg(applDir.left(oem));

    m_pAPI = new CSiemensAPIOperate();

    // Made here, in this order, each with the NC access: the request file
    // processor (with applDir), then the result, status, dialog, sphere
    // centre and axis position monitors.
}

CSiemensNC::~CSiemensNC()
{
    // The monitors go first (status, dialog, sphere centre, axis position,
    // result), then the request processor: nothing that watches the NC may
    // outlive the access object.

    delete m_pAPI;
    m_pAPI = nullptr;
}

int CSiemensNC::Initialize()
{
    // The result is of no interest: what could not be read is logged, and
    // the machine configuration document shows the gaps.
    if (m_pAPI)
        m_pAPI->GetMachineDef(m_machDef, m_versionFile);

    // Started here, in this order: the request processor, then the status,
    // dialog, sphere centre, axis position and result monitors. One that
    // cannot start has logged why and the others go on.

    return 0;
}

bool CSiemensNC::ProcessReadRVar(int index, int count, QList<double>& values, QString& errInfo)
{
    if (index < 0) {
        errInfo = QStringLiteral("Invalid index");
        return false;
    }
    if (count < 1) {
        errInfo = QStringLiteral("Invalid count");
        return false;
    }
    // Asked on every request: the number of R parameters is machine data
    // and may change between two requests.
    int rVarCount = 0;
    if (m_pAPI->GetRVarCount(rVarCount) != 0) {
        errInfo = QStringLiteral("Cannot get the count of R variable");
        return false;
    }
    if (index + count > rVarCount) {
        errInfo = QStringLiteral("Address out of range [0, %1]").arg(rVarCount - 1);
        return false;
    }
    if (m_pAPI->ReadRVar(index, count, values) != 0) {
        errInfo = QStringLiteral("Cannot read R variable");
        return false;
    }
    return true;
}

bool CSiemensNC::ProcessWriteRVar(int index, int count, const QList<double>& values, QString& errInfo)
{
    if (index < 0) {
        errInfo = QStringLiteral("Invalid index");
        return false;
    }
    if (count < 1) {
        errInfo = QStringLiteral("Invalid count");
        return false;
    }
    if (count != values.size()) {
        errInfo = QStringLiteral("Invalid values");
        return false;
    }
    int rVarCount = 0;
    if (m_pAPI->GetRVarCount(rVarCount) != 0) {
        errInfo = QStringLiteral("Cannot get the count of R variable");
        return false;
    }
    if (index + count > rVarCount) {
        errInfo = QStringLiteral("Address out of range [0, %1]").arg(rVarCount - 1);
        return false;
    }
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
    // Handed to the request file processor once it exists.
}

void CSiemensNC::SetReportFormStatusBarText(const QString& text)
{
    if (m_pOwner)
        m_pOwner->SetReportFormStatusBarText(text);
}
