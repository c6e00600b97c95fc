#include "SiemensAPIOperate.h"

#include "Logger.h"
#include "MiscUtility.h"

#include "SlCapData.h"
#include "SlPiSvc.h"
#include "SlPiSvcStatus.h"
#include "SlString.h"
#include "SlVector.h"

#include <QFile>
#include <QStringList>
#include <QXmlStreamReader>

#include <algorithm>

namespace {

const char* const kClientName = "SiemensHarvel";
const char* const kGudNamespace = "/NC/_N_NC_GD3_ACX";

const char* const kDialogVintState = "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VINT[1]";
const char* const kDialogVintHead = "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VINT[1,3]";
const char* const kDialogVintButton = "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VINT[4]";
const char* const kDialogVstrTexts = "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VSTR[1,2]";
const char* const kDialogVstrInput = "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VSTR[3]";
const char* const kSphereInputs = "/NC/_N_NC_GD3_ACX/TMR_FINDSPHERE[1,3]";
const char* const kSphereAll = "/NC/_N_NC_GD3_ACX/TMR_FINDSPHERE[1,7]";
const char* const kSphereState = "/NC/_N_NC_GD3_ACX/TMR_FINDSPHERE[4]";

const char* const kTechnology = "/NC/_N_CH_TEA_ACX/$MCS_TECHNOLOGY[U1]";
const char* const kNckType = "/Nck/Configuration/nckType[1]";
const char* const kIsMetric = "/NC/_N_NC_TEA_ACX/$MN_SCALING_SYSTEM_IS_METRIC[U1]";
const char* const kBaseTool = "/NC/_N_CH_TEA_ACX/$MC_TRAFO5_BASE_TOOL_1[U1,1,#3]";
const char* const kJointOffset = "/NC/_N_CH_TEA_ACX/$MC_TRAFO5_JOINT_OFFSET_1[U1,1,#3]";

// The element types the variable service hands over, as QVariant numbers them.
bool IsIntType(int type)
{
    return type == QMetaType::Int || type == QMetaType::UInt || type == QMetaType::Bool;
}

int VariantToInt(const QVariant& value)
{
    switch (static_cast<int>(value.type())) {
    case QMetaType::UInt:
        return static_cast<int>(value.toUInt());
    case QMetaType::Bool:
        return value.toBool() ? 1 : 0;
    default:
        return value.toInt();
    }
}

// A single value stands for an array of one: a [first,count] range of
// count 1 may come back as a scalar.
QVariantList AsList(const QVariant& value)
{
    if (static_cast<int>(value.type()) == QMetaType::QVariantList)
        return value.toList();
    return QVariantList() << value;
}

template <typename T>
QVariant ToVariantList(const QList<T>& values)
{
    QVariantList list;
    for (const T& v : values)
        list.append(QVariant(v));
    return QVariant(list);
}

QString CncTypeName(int technology)
{
    switch (technology) {
    case 1:
        return QStringLiteral("Turning");
    case 2:
        return QStringLiteral("Milling");
    case 3:
    case 4:
        return QStringLiteral("Grinding");
    default:
        return QString();
    }
}

QString ModelName(int nckType)
{
    switch (nckType) {
    case 0:
        return QStringLiteral("840D pl");
    case 1000:
        return QStringLiteral("FM-NC");
    case 2000:
        return QStringLiteral("810D pl");
    case 3000:
        return QStringLiteral("802S");
    case 4000:
        return QStringLiteral("802D pl");
    case 5000:
        return QStringLiteral("840Di pl");
    case 6000:
        return QStringLiteral("SOLUTIONLINE");
    case 10700:
        return QStringLiteral("840D sl");
    case 14000:
        return QStringLiteral("802D sl T/M");
    case 14500:
        return QStringLiteral("808D");
    case 15000:
        return QStringLiteral("840Di sl");
    case 16000:
        return QStringLiteral("828D");
    case 21000:
        return QStringLiteral("ONE");
    case 30000:
        return QStringLiteral("ONE-cnci");
    default:
        return QString();
    }
}

} // namespace

CSiemensAPIOperate::CSiemensAPIOperate()
    : m_capSvc(kClientName),
      m_gudNamespace(QString::fromLatin1(kGudNamespace), ""),
      m_fileSvc()
{
    m_tmrFileVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_FILE");
    m_tmrControlVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_CONTROL");
    m_tmrStateVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_STATE");
    m_tmrErrorVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_ERROR");
    m_tmrResultVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_RESULT");
    m_tmrOpVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_OP");
    m_tmrProgramVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_PROGRAM");
    m_toolCountVarName = QStringLiteral("/Tool/Catalogue/numTools[u1]");
    m_toolIdentVarName = QStringLiteral("/Tool/Catalogue/toolIdent[u1,%1]");
    m_toolNoVarName = QStringLiteral("/Tool/Catalogue/toolNo[u1,%1]");
    m_toolLengthVarName = QStringLiteral("/Tool/Compensation/edgeData[u1,c%1,12]");
    m_toolRadiusVarName = QStringLiteral("/Tool/Compensation/edgeData[u1,c%1,15]");
    m_tmrVarVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VAR[%1]");
    m_tmrVarArrayVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VAR[%1,%2]");
    m_tmrVintVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VINT[%1]");
    m_tmrDataVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_DATA[%1]");
    m_tmrDataArrayVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_DATA[%1,%2]");
    m_tmrCmdsArrayVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_CMDS[c1,u1,%1,%2]");
    m_tmrCmdAxArrayVarName = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_CMDAX[c1,u1,%1,%2]");
    m_numMachAxesVarName = QStringLiteral("/Channel/Configuration/numMachAxes[u1,1]");
    m_numGeoAxesVarName = QStringLiteral("/Channel/Configuration/numGeoAxes[u1]");
    m_numAuxAxesVarName = QStringLiteral("/Channel/Configuration/numAuxAxes[u1]");
    m_numGlobAxesVarName = QStringLiteral("/Nck/Configuration/numGlobMachAxes");
    m_wofsFineVarName = QStringLiteral("/Channel/UserFrame/linShiftFine[u1,%1]");
    m_wofsCoarseVarName = QStringLiteral("/Channel/UserFrame/linShift[u1,%1]");
    m_wofsRotationVarName = QStringLiteral("/Channel/UserFrame/rotation[u1,%1]");
    m_axesNameVarName = QStringLiteral("/Channel/GeometricAxis/name[u1,1,%1,#%2]");
    m_axesTypeVarName = QStringLiteral("/Channel/GeometricAxis/type[u1,1,%1,#%2]");
    m_axesPosVarName = QStringLiteral("/Channel/GeometricAxis/actProgPos[u1,1,%1,#%2]");
    m_progStatusVarName = QStringLiteral("/Channel/State/acProg[u1,1]");
    m_cncStatusVarName = QStringLiteral("/Channel/State/stopCond[u1,1]");
    m_selectedProgVarName = QStringLiteral("/Channel/ProgramInfo/selectedWorkPProg[u1,1]");
    m_opModeVarName = QStringLiteral("/Bag/State/opMode[u1,1]");
    m_progEndCountVarName = QStringLiteral("/Channel/State/ncProgEndCounter[u1,1]");
    m_rVarVarName = QStringLiteral("/Channel/Parameter/r[u1,%1]");
    m_rVarArrayVarName = QStringLiteral("/Channel/Parameter/r[u1,%1,#%2]");
    m_rVarCountVarName = QStringLiteral("/Channel/Configuration/numRParams[u1,1]");

    // Fails on a machine whose GUDs are not activated yet; the GUD paths then
    // fail one by one, which their callers report in their own words.
    m_gudNamespace.map(SlCapData::extendedTimeout(), 0);
    m_fileSvc.init();
}

CSiemensAPIOperate::~CSiemensAPIOperate()
{
    m_fileSvc.fini();
}

int CSiemensAPIOperate::ReadValue(const QString& path, QVariant& value)
{
    if (m_capSvc.read(path, value, SlCapData::standardTimeout(), 0, nullptr) != SL_CAP_OK)
        return -78;
    return 0;
}

int CSiemensAPIOperate::WriteValue(const QString& path, const QVariant& value)
{
    if (m_capSvc.write(path, value, SlCapData::standardTimeout(), 0, nullptr) != SL_CAP_OK)
        return -77;
    return 0;
}

int CSiemensAPIOperate::ReadInt(const QString& path, int& value)
{
    QVariant data;
    if (ReadValue(path, data) != 0)
        return -78;
    if (!IsIntType(static_cast<int>(data.type())))
        return -110;
    value = VariantToInt(data);
    return 0;
}

int CSiemensAPIOperate::WriteInt(const QString& path, int value)
{
    return WriteValue(path, QVariant(value));
}

int CSiemensAPIOperate::ReadDouble(const QString& path, double& value)
{
    QVariant data;
    if (ReadValue(path, data) != 0)
        return -78;
    // An INT variable read as a double is a mistake in the path table, so it
    // is refused instead of converted.
    if (static_cast<int>(data.type()) != QMetaType::Double)
        return -110;
    value = data.toDouble();
    return 0;
}

int CSiemensAPIOperate::WriteDouble(const QString& path, double value)
{
    return WriteValue(path, QVariant(value));
}

int CSiemensAPIOperate::ReadString(const QString& path, QString& value)
{
    QVariant data;
    if (ReadValue(path, data) != 0)
        return -78;
    if (static_cast<int>(data.type()) != QMetaType::QString)
        return -110;
    value = data.toString();
    return 0;
}

int CSiemensAPIOperate::WriteString(const QString& path, const QString& value)
{
    return WriteValue(path, QVariant(value));
}

int CSiemensAPIOperate::ReadArray(const QString& path, QList<double>& values)
{
    QVariant data;
    if (ReadValue(path, data) != 0)
        return -78;
    for (const QVariant& element : AsList(data)) {
        if (static_cast<int>(element.type()) != QMetaType::Double)
            return -110;
        values.append(element.toDouble());
    }
    return 0;
}

int CSiemensAPIOperate::WriteArray(const QString& path, const QList<double>& values)
{
    return WriteValue(path, ToVariantList(values));
}

int CSiemensAPIOperate::ReadArray(const QString& path, QList<QString>& values)
{
    QVariant data;
    if (ReadValue(path, data) != 0)
        return -78;
    for (const QVariant& element : AsList(data)) {
        if (static_cast<int>(element.type()) != QMetaType::QString)
            return -110;
        values.append(element.toString());
    }
    return 0;
}

int CSiemensAPIOperate::WriteArray(const QString& path, const QList<QString>& values)
{
    return WriteValue(path, ToVariantList(values));
}

int CSiemensAPIOperate::ReadArray(const QString& path, QList<int>& values)
{
    QVariant data;
    if (ReadValue(path, data) != 0)
        return -78;
    for (const QVariant& element : AsList(data)) {
        if (!IsIntType(static_cast<int>(element.type())))
            return -110;
        values.append(VariantToInt(element));
    }
    return 0;
}

int CSiemensAPIOperate::WriteArray(const QString& path, const QList<int>& values)
{
    return WriteValue(path, ToVariantList(values));
}

int CSiemensAPIOperate::ActivateWorkOffset()
{
    SlVector<SlString> args;
    args.push_back(SlString("/NC"));
    args.push_back(SlString("201"));
    args.push_back(SlString("_N_SETUFR"));
    SlPiSvc pi(args);
    SlPiSvcStatus status;
    return pi.start(status) == 0 ? 0 : -81;
}

int CSiemensAPIOperate::CopyFile(const QString& from, const QString& to)
{
    return static_cast<int>(m_fileSvc.copyFile(from, to, true));
}

int CSiemensAPIOperate::ListFiles(const QString& folder, const QString& suffix, QList<QString>& files)
{
    QVector<NodeInfo> nodes;
    const long ret = m_fileSvc.listFolder(folder, nodes);
    if (ret != 0)
        return static_cast<int>(ret);

    // Request and result files are handled in the order they were written.
    std::stable_sort(nodes.begin(), nodes.end(), FileLastWriteTimeLessThan);
    for (const NodeInfo& node : nodes) {
        if (node.m_isFolder)
            continue;
        if (suffix.isEmpty()
            || CMiscUtility::GetFileSuffix(node.m_name).compare(suffix, Qt::CaseInsensitive) == 0)
            files.append(node.m_name);
    }
    return 0;
}

int CSiemensAPIOperate::PathExists(const QString& path, bool& exists)
{
    return static_cast<int>(m_fileSvc.exist(path, exists));
}

int CSiemensAPIOperate::PathIsNC(const QString& path, bool& isNC)
{
    return static_cast<int>(m_fileSvc.isPathNC(path, isNC));
}

int CSiemensAPIOperate::MoveFile(const QString& from, const QString& to)
{
    return static_cast<int>(m_fileSvc.moveFile(from, to, true));
}

int CSiemensAPIOperate::RenameFileSuffix(const QString& file, const QString& suffix)
{
    const int dot = file.lastIndexOf(QLatin1Char('.'));
    QString newName;
    if (dot < 0) {
        newName = file + suffix;
    } else {
        const QString stem = file.left(dot);
        newName = stem.isEmpty() ? suffix : stem + suffix;
    }
    return MoveFile(file, newName);
}

int CSiemensAPIOperate::CreateFolder(const QString& path)
{
    return static_cast<int>(m_fileSvc.createFolder(path, true));
}

int CSiemensAPIOperate::CreateFile(const QString& path)
{
    return static_cast<int>(m_fileSvc.createFile(path, true));
}

int CSiemensAPIOperate::RemoveFile(const QString& path)
{
    return static_cast<int>(m_fileSvc.remove(path));
}

int CSiemensAPIOperate::GetCurrProgPath(QString& path, bool logical)
{
    QString selected;
    const int ret = ReadString(m_selectedProgVarName, selected);
    if (ret != 0)
        return ret;
    if (!logical) {
        path = selected;
        return 0;
    }
    // The NC names the selection in its own /_N_..._MPF form, which no
    // operator recognises; the logical form is what screens and clients see.
    QString logicalPath;
    const int conv = static_cast<int>(m_fileSvc.getLogicalPath(selected, logicalPath));
    path = conv == 0 ? logicalPath : QString();
    return conv;
}

int CSiemensAPIOperate::GetCurrProgName(QString& name, bool plain)
{
    QString path;
    const int ret = GetCurrProgPath(path, plain);
    if (ret != 0)
        return ret;
    name = plain ? CMiscUtility::GetFileNameNoSuffix(path, '.') : CMiscUtility::GetFileName(path);
    return 0;
}

int CSiemensAPIOperate::GetCurrWorkPieceName(QString& name, bool logical)
{
    QString path;
    const int ret = GetCurrProgPath(path, logical);
    if (ret != 0)
        return ret;
    name = CMiscUtility::GetFilePath(path);
    return 0;
}

int CSiemensAPIOperate::GetCurrOpMode(int& mode)
{
    return ReadInt(m_opModeVarName, mode);
}

int CSiemensAPIOperate::GetCurrProgEndCount(int& count)
{
    return ReadInt(m_progEndCountVarName, count);
}

int CSiemensAPIOperate::GetLogicalPath(const QString& path, QString& logicalPath)
{
    return static_cast<int>(m_fileSvc.getLogicalPath(path, logicalPath));
}

int CSiemensAPIOperate::GetRealPath(const QString& path, QString& realPath)
{
    return static_cast<int>(m_fileSvc.getRealPath(path, realPath));
}

int CSiemensAPIOperate::SelectProg(const QString& path, unsigned long channel)
{
    return static_cast<int>(m_fileSvc.select(path, channel));
}

int CSiemensAPIOperate::GetDialogData(int& msgType, int& msgStyle, QString& messageText, QString& inputName)
{
    QList<QString> texts;
    int ret = ReadArray(QString::fromLatin1(kDialogVstrTexts), texts);
    if (ret != 0)
        return ret;
    if (texts.size() < 2)
        return -78;

    QList<int> words;
    ret = ReadArray(QString::fromLatin1(kDialogVintHead), words);
    if (ret != 0)
        return ret;
    if (words.size() < 3)
        return -78;

    messageText = texts.at(0);
    inputName = texts.at(1);
    msgType = words.at(1);
    msgStyle = words.at(2);
    return 0;
}

int CSiemensAPIOperate::SetDialogData(int clickedButton, const QString& inputValue)
{
    int ret = WriteString(QString::fromLatin1(kDialogVstrInput), inputValue);
    if (ret != 0)
        return ret;
    ret = WriteInt(QString::fromLatin1(kDialogVintButton), clickedButton);
    if (ret != 0)
        return ret;
    // The NC program waits on the state word, so it goes last: when it
    // changes, the answer is complete.
    return WriteInt(QString::fromLatin1(kDialogVintState), 2);
}

int CSiemensAPIOperate::SetFindSphereInputs(double first, double second, int third)
{
    QList<double> values;
    values << first << second << static_cast<double>(third);
    return WriteArray(QString::fromLatin1(kSphereInputs), values);
}

int CSiemensAPIOperate::GetFindSphereResult(double& x, double& y, double& z)
{
    QList<double> values;
    const int ret = ReadArray(QString::fromLatin1(kSphereAll), values);
    if (ret != 0)
        return ret;
    if (values.size() < 7)
        return -78;
    x = values.at(4);
    y = values.at(5);
    z = values.at(6);
    return 0;
}

int CSiemensAPIOperate::SetFindSphereState(int state)
{
    // TMR_FINDSPHERE is REAL throughout, the state word included.
    return WriteDouble(QString::fromLatin1(kSphereState), static_cast<double>(state));
}

int CSiemensAPIOperate::GetVersionFromXmlFile(QString file, QString& version)
{
    if (file.isEmpty())
        return -93;

    QFile xmlFile(file);
    if (!xmlFile.open(QIODevice::ReadOnly | QIODevice::Text))
        return -82;

    QXmlStreamReader reader(&xmlFile);
    QStringList elements;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.hasError())
            break;
        if (reader.isStartElement()) {
            elements.append(reader.name().toString());
        } else if (reader.isEndElement()) {
            if (!elements.isEmpty())
                elements.removeLast();
        } else if (reader.isCharacters()) {
            if (elements.size() == 2 && elements.at(0) == QLatin1String("info")
                && elements.at(1) == QLatin1String("Version")) {
                version = reader.text().toString().trimmed();
                xmlFile.close();
                return 0;
            }
        }
    }
    return -96;
}

int CSiemensAPIOperate::GetMachineDef(tagMachDef& def, const QString& versionFile)
{
    // Each item is read on its own: the machine configuration document is
    // still useful with some of them missing, so nothing here fails the call.
    int ret = GetVersionFromXmlFile(versionFile, def.version);
    if (ret != 0)
        CLogger::Error(QStringLiteral("Cannot get version. ErrCode=%1").arg(ret), true);

    int technology = 0;
    ret = ReadInt(QString::fromLatin1(kTechnology), technology);
    if (ret != 0)
        CLogger::Error(QStringLiteral("Cannot get cnc type. ErrCode=%1").arg(ret), true);
    else
        def.cncType = CncTypeName(technology);

    int nckType = 0;
    ret = ReadInt(QString::fromLatin1(kNckType), nckType);
    if (ret != 0)
        CLogger::Error(QStringLiteral("Cannot get mach model. ErrCode=%1").arg(ret), true);
    else
        def.model = ModelName(nckType);

    int metric = 0;
    ret = ReadInt(QString::fromLatin1(kIsMetric), metric);
    if (ret != 0)
        CLogger::Error(QStringLiteral("Cannot get mach unit. ErrCode=%1").arg(ret), true);
    else
        def.isMetric = metric == 1;

    ret = GetAxes(def.axes, true);
    if (ret != 0)
        CLogger::Error(QStringLiteral("Cannot get axis list. ErrCode=%1").arg(ret), true);
    return 0;
}

int CSiemensAPIOperate::GetRotabCenter(QList<tagRotabCenter>& centers)
{
    centers.clear();

    QList<double> baseTool;
    int ret = ReadArray(QString::fromLatin1(kBaseTool), baseTool);
    if (ret != 0)
        CLogger::Error(QStringLiteral("Cannot read MD24550(MC_TRAFO5_BASE_TOOL_1). ErrCode=%1").arg(ret), true);

    QList<double> jointOffset;
    ret = ReadArray(QString::fromLatin1(kJointOffset), jointOffset);
    if (ret != 0)
        CLogger::Error(QStringLiteral("Cannot read MD24560(MC_TRAFO5_JOINT_OFFSET_1). ErrCode=%1").arg(ret), true);

    // A failed or short read counts as zeros: the client still gets both
    // records and the log says why they are empty.
    auto component = [](const QList<double>& list, int i) { return i < list.size() ? list.at(i) : 0.0; };

    tagRotabCenter base;
    base.name = QStringLiteral("base");
    base.x = component(baseTool, 0);
    base.y = component(baseTool, 1);
    base.z = component(baseTool, 2);
    base.i = 0.0;
    base.j = 0.0;
    base.k = 1.0;
    centers.append(base);

    tagRotabCenter part;
    part.name = QStringLiteral("part");
    part.x = component(baseTool, 0) + component(jointOffset, 0);
    part.y = component(baseTool, 1) + component(jointOffset, 1);
    part.z = component(baseTool, 2) + component(jointOffset, 2);
    part.i = 0.0;
    part.j = 0.0;
    part.k = 1.0;
    centers.append(part);
    return 0;
}

bool CSiemensAPIOperate::FileLastWriteTimeLessThan(const NodeInfo& a, const NodeInfo& b)
{
    return a.m_lastWriteTime < b.m_lastWriteTime;
}

bool CSiemensAPIOperate::FileLastWriteTimeMoreThan(const NodeInfo& a, const NodeInfo& b)
{
    return a.m_lastWriteTime > b.m_lastWriteTime;
}
