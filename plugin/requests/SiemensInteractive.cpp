#include "SiemensInteractive.h"

#include "AppCfg.h"
#include "Logger.h"
#include "MiscUtility.h"
#include "SiemensAPI.h"
#include "ZynNetServerHost.h"

#include <QDir>

#include <algorithm>

namespace {
// A batch stops at the first file that ends past this mark, so that the
// HMI, whose thread does all the work, never freezes for long.
const qint64 kSliceMs = 499;
const int kNetServerIntervalMs = 300;
const int kTargetFolderIntervalMs = 1000;
// The sync variable, element 1 of TMR_VINT in the access object's count.
const int kSyncVarIndex = 1;
const int kTmrVarCount = 1000;

QString Hex(long code)
{
    return CMiscUtility::GetHexQStr(code, QStringLiteral("0x"));
}

QString Name(const QString& reqFile)
{
    return CMiscUtility::GetFileName(reqFile);
}

QString Dbl(double value)
{
    return QStringLiteral("%1").arg(value, 0, 'g', -1);
}

// "#" is no value at all: the row it stands for is left alone.
bool ToDblVal(const QString& text, tagDblVal& value)
{
    const QString trimmed = text.trimmed();
    value = tagDblVal();
    if (trimmed == QLatin1String("#"))
        return true;
    if (!CMiscUtility::QStr2Double(trimmed, value.value))
        return false;
    value.isSet = true;
    return true;
}

bool ToIndex(const QString& text, int& index)
{
    return CMiscUtility::QStr2Integer(text.trimmed(), index) && index >= 0 && index < kTmrVarCount;
}

// The answer is written into the folder the request came from and copied
// by name; a name that reaches into another folder would let a request
// write anywhere the HMI may.
bool IsBareFileName(const QString& name)
{
    if (name.isEmpty() || name == QLatin1String(".") || name.contains(QLatin1String("..")))
        return false;
    if (name.contains(QLatin1Char('/')) || name.contains(QLatin1Char('\\')))
        return false;
    return !QDir::isAbsolutePath(name);
}

// An answer named like a request would be taken for one on the next pass
// through the folder it lands in.
bool IsRequestName(const QString& name)
{
    return CMiscUtility::GetFileSuffix(name).compare(QLatin1String(".req"), Qt::CaseInsensitive) == 0;
}
} // namespace

CSiemensInteractive::CSiemensInteractive(const QString& applDir, CSiemensAPI* api)
    : m_applDir(applDir), m_api(api), m_isNetServer(CZynNetServerHost::m_isRunning)
{
    m_fileSvc.init();
    if (!connect(&m_fileSvc, &SlQFileSvc::listCompleted, this, &CSiemensInteractive::slotListReqFilesFinished))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for ListReqFilesFinished"), true);
    if (!connect(&m_fileSvc, &SlQFileSvc::canceled, this, &CSiemensInteractive::slotListReqFilesCanceled))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for ListReqFilesCanceled"), true);
    m_timer.setSingleShot(false);
    m_timer.setInterval(m_isNetServer ? kNetServerIntervalMs : kTargetFolderIntervalMs);
    if (!connect(&m_timer, &QTimer::timeout, this, &CSiemensInteractive::slotTimer))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for timer"), true);
}

CSiemensInteractive::~CSiemensInteractive()
{
    m_timer.stop();
    m_fileSvc.fini();
}

int CSiemensInteractive::Initialize()
{
    m_timer.start();
    return 0;
}

void CSiemensInteractive::ReceivedReqFile(const QString& reqFile)
{
    if (!reqFile.isEmpty())
        m_reqFiles.enqueue(reqFile);
}

void CSiemensInteractive::slotTimer()
{
    if (m_isNetServer)
        HandleReqFiles4ZynNetServer();
    else
        HandleReqFiles4TargetFolder();
}

void CSiemensInteractive::HandleReqFiles4TargetFolder()
{
    if (!m_isListing.testAndSetOrdered(0, 1))
        return;
    const QString folder = QStringLiteral("%1/req").arg(CAppCfg::m_instance.TargetPath());
    m_elapsed.restart();
    const long code = m_fileSvc.listFolderEx(folder, m_listId);
    if (code != 0) {
        CLogger::Error(QStringLiteral("Cannot list req files. ErrCode=%1").arg(Hex(code)), true);
        m_isListing.storeRelease(0);
    }
}

void CSiemensInteractive::HandleReqFiles4ZynNetServer()
{
    if (m_reqFiles.isEmpty())
        return;
    m_elapsed.restart();
    for (;;) {
        ProcessReqFile(m_isNetServer, m_reqFiles.dequeue());
        if (m_elapsed.elapsed() > kSliceMs || m_reqFiles.isEmpty())
            return;
    }
}

void CSiemensInteractive::slotListReqFilesFinished(long asyncId, NodeInfoArray& nodes, long nError)
{
    if (nError == 0 && asyncId == m_listId && !nodes.isEmpty()) {
        m_elapsed.restart();
        FilterAndSortReqFiles(nodes);
        for (const NodeInfo& node : qAsConst(nodes)) {
            ProcessReqFile(m_isNetServer, node.path());
            if (m_elapsed.elapsed() > kSliceMs)
                break;
        }
    }
    m_isListing.storeRelease(0);
}

void CSiemensInteractive::slotListReqFilesCanceled(long)
{
    m_isListing.storeRelease(0);
}

void CSiemensInteractive::FilterAndSortReqFiles(QVector<NodeInfo>& nodes)
{
    const QString suffix = QStringLiteral(".req");
    nodes.erase(std::remove_if(nodes.begin(), nodes.end(),
                               [&suffix](const NodeInfo& node) {
                                   return node.isFolder()
                                          || CMiscUtility::GetFileSuffix(node.path())
                                                     .compare(suffix, Qt::CaseInsensitive) != 0;
                               }),
                nodes.end());
    std::stable_sort(nodes.begin(), nodes.end(), [](const NodeInfo& a, const NodeInfo& b) {
        return a.lastWriteTime() < b.lastWriteTime();
    });
}

int CSiemensInteractive::ProcessReqFile(bool isNetServer, const QString& reqFile)
{
    CLogger::Info(QStringLiteral("Processing req file. ReqFile=%1").arg(Name(reqFile)), true);
    tagReqData data;
    int result = ParseReqFile(isNetServer, reqFile, data);
    if (result == 0) {
        switch (data.reqCode) {
        case 1: result = UpdateWorkOffset(reqFile, data.params); break;
        case 2: result = UpdateToolOffset(reqFile, data.params); break;
        case 3: result = WriteVar(reqFile, data.params); break;
        case 4: result = ReadVar(isNetServer, reqFile, data.params); break;
        default: result = -83; break;
        }
    }
    // The fate of the file is the outcome; whether the rename or removal
    // worked is not looked at: a file still there is listed again.
    if (result == 0) {
        if (data.needSave)
            m_api->RenameFileSuffix(reqFile, QStringLiteral(".REC"));
        else
            m_api->RemoveFile(reqFile);
        return 0;
    }
    m_api->RenameFileSuffix(reqFile, QStringLiteral(".REP"));
    return result;
}

int CSiemensInteractive::ParseReqFile(bool isNetServer, const QString& reqFile, tagReqData& data)
{
    QString line;
    QString error;
    const int read = ReadReqFile(isNetServer, reqFile, line, error);
    if (read != 0) {
        CLogger::Error(
            QStringLiteral("Parse req file failed. ReqFile=%1, ErrInfo=%2").arg(Name(reqFile), error), true);
        return read;
    }

    // Blanks are the separators one by one, so two in a row make an empty
    // field that fails its conversion.
    const QStringList fields = line.split(QLatin1Char(' '), Qt::KeepEmptyParts, Qt::CaseSensitive);
    if (fields.size() < 4) {
        error = QStringLiteral("Invalid number of parameters");
    } else if (!CMiscUtility::QStr2Integer(fields.at(0).trimmed(), data.reqCode) || data.reqCode < 1
               || data.reqCode > 4) {
        error = QStringLiteral("Invalid parameter ReqCode");
    } else if (!CMiscUtility::QStr2Integer(fields.at(1).trimmed(), data.machineId)) {
        error = QStringLiteral("Invalid parameter MachineId");
    } else {
        int needSave = 0;
        if (!CMiscUtility::QStr2Integer(fields.at(2).trimmed(), needSave))
            error = QStringLiteral("Invalid parameter NeedSave");
        data.needSave = needSave == 1;
    }
    if (!error.isEmpty()) {
        CLogger::Error(
            QStringLiteral("Parse req file failed. ReqFile=%1, ErrInfo=%2").arg(Name(reqFile), error), true);
        return -83;
    }
    data.params = fields.mid(3);
    return 0;
}

int CSiemensInteractive::ReadReqFile(bool isNetServer, const QString& reqFile, QString& firstLine, QString& error)
{
    // Off the net server the file lies on a share, which is read through a
    // local copy.
    QString file = reqFile;
    if (!isNetServer) {
        file = QStringLiteral("%1/%2").arg(m_applDir, Name(reqFile));
        const int code = m_api->CopyFile(reqFile, file);
        if (code != 0) {
            error = QStringLiteral("Cannot copy req file to %1 (%2)").arg(file, Hex(code));
            return -82;
        }
    }

    QStringList lines;
    QString readError;
    const bool opened = CMiscUtility::ReadTextFile(file, lines, readError, 0, 1);
    if (!isNetServer)
        m_api->RemoveFile(file);
    if (!opened) {
        error = QStringLiteral("Cannot open req file : %1").arg(readError);
        return -82;
    }
    if (lines.isEmpty() || lines.first().isEmpty()) {
        error = QStringLiteral("Invalid first line of the req file");
        return -83;
    }
    firstLine = lines.first();
    return 0;
}

int CSiemensInteractive::DecrementSyncVar(const QString& reqFile)
{
    int value = 0;
    int code = m_api->ReadTmrVint(kSyncVarIndex, value);
    if (code != 0) {
        CLogger::Error(QStringLiteral("Decrement sync var failed. ReqFile=%1, ErrInfo=Cannot get TMR_VINT[1]")
                           .arg(Name(reqFile)),
                       true);
        return code;
    }
    if (value > 0)
        --value;
    // Written back also at 0: the NC program waits on the write, not only
    // on the value.
    code = m_api->WriteTmrVint(kSyncVarIndex, value);
    if (code != 0)
        CLogger::Error(QStringLiteral("Decrement sync var failed. ReqFile=%1, ErrInfo=Cannot set TMR_VINT[1]=%2")
                           .arg(Name(reqFile), QString::number(value)),
                       true);
    return code;
}

int CSiemensInteractive::UpdateWorkOffset(const QString& reqFile, const QStringList& params)
{
    const QString failed = QStringLiteral("Update work offset failed. ReqFile=%1, ErrInfo=%2");
    if (params.size() < 10) {
        CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid number of parameters")), true);
        return -83;
    }
    QString gCode = params.at(0).trimmed();
    if (gCode.isEmpty()) {
        CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid parameter GCode")), true);
        return -83;
    }

    // The wire order RZ RY RX Z Y X is kept in memory.
    static const char* const names[6] = {"RZ", "RY", "RX", "Z", "Y", "X"};
    tagDblVal values[6];
    for (int i = 0; i < 6; ++i) {
        if (!ToDblVal(params.at(3 + i), values[i])) {
            CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid parameter %1").arg(QLatin1String(names[i]))),
                           true);
            return -83;
        }
    }
    const QString isRot = params.at(9).trimmed();
    QString detail = QStringLiteral("GCode=%1, IsRot=%2").arg(gCode, isRot);
    for (int i = 0; i < 6; ++i) {
        if (values[i].isSet)
            detail += QStringLiteral(", %1=%2").arg(QLatin1String(names[i]), Dbl(values[i].value));
    }

    QString error;
    const int code = UpdateWorkOffset(gCode, values, isRot == QLatin1String("1"), true, error);
    if (code != 0) {
        CLogger::Error(QStringLiteral("Update work offset failed. ReqFile=%1, %2, ErrInfo=%3")
                           .arg(Name(reqFile), detail, error),
                       true);
        return code;
    }
    DecrementSyncVar(reqFile);
    CLogger::Info(QStringLiteral("Update work offset succeeded. ReqFile=%1, %2").arg(Name(reqFile), detail), true);
    return 0;
}

int CSiemensInteractive::UpdateWorkOffset(QString& gCode, tagDblVal* values, bool isRot, bool isAdd, QString& error)
{
    int machAxes = 0;
    if (m_api->GetNumMachAxes(machAxes) != 0 || machAxes < 3) {
        error = QStringLiteral("Cannot GetNumMachAxes or Num<=2");
        return -81;
    }
    int geoAxes = 0;
    if (m_api->GetNumGeoAxes(geoAxes) != 0 || geoAxes < 2) {
        error = QStringLiteral("Cannot GetNumGeoAxes or Num<=1");
        return -81;
    }
    int auxAxes = 0;
    if (m_api->GetNumAuxAxes(auxAxes) != 0) {
        error = QStringLiteral("Cannot GetNumAuxAxes");
        return -81;
    }

    // A G code outside the known ranges is not refused: G53 and G58 act on
    // frame 1 like G54, which is what the machines in the field rely on.
    bool isValid = false;
    const int frame = CMiscUtility::GetWorkoffsetIndex(gCode, isValid);
    const tagWorkofsType type = CAppCfg::m_instance.WofsType();

    struct Turn
    {
        int value; // place in the wire order
        int mapPos;
        int rotMapPos;
    };
    // X Y Z, then the R values: shifts of A B C of the map, or rotations
    // about X Y Z on the rows of those axes.
    static const Turn turns[6] = {{5, 0, 0}, {4, 1, 1}, {3, 2, 2}, {2, 3, 0}, {1, 4, 1}, {0, 5, 2}};
    for (int i = 0; i < 6; ++i) {
        const tagDblVal& value = values[turns[i].value];
        if (!value.isSet)
            continue;
        const bool rotation = isRot && i >= 3;
        const int axis = CAppCfg::m_instance.GetWofsMapAxisIndex(rotation ? turns[i].rotMapPos : turns[i].mapPos);
        if (axis <= 0)
            continue;
        const int row = axis + frame * machAxes;
        if (UpdateWorkOffset(row, value.value, rotation ? WORKOFS_ROTATION : type, isAdd, error) != 0)
            return -81;
    }
    return 0;
}

int CSiemensInteractive::UpdateWorkOffset(int row, double value, tagWorkofsType type, bool isAdd, QString& error)
{
    double present = 0.0;
    if (isAdd && m_api->GetWorkOffset(type, row, present) != 0) {
        error = QStringLiteral("Cannot get Wofs[%1].Row[%2]").arg(static_cast<int>(type)).arg(row);
        return -81;
    }
    const double sum = value + present;
    if (m_api->SetWorkOffset(type, row, sum) != 0) {
        error = QStringLiteral("Cannot set Wofs[%1].Row[%2]=%3").arg(static_cast<int>(type)).arg(row).arg(Dbl(sum));
        return -81;
    }
    return 0;
}

int CSiemensInteractive::UpdateToolOffset(const QString& reqFile, const QStringList& params)
{
    const QString failed = QStringLiteral("Update tool offset failed. ReqFile=%1, ErrInfo=%2");
    if (params.size() < 5) {
        CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid number of parameters")), true);
        return -83;
    }
    const bool byName = params.size() > 5 && params.at(5).trimmed() == QLatin1String("1");
    const QString tool = params.at(0).trimmed();
    int number = 0;
    if (byName && tool.isEmpty()) {
        CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid parameter ToolName")), true);
        return -83;
    }
    if (!byName && !CMiscUtility::QStr2Integer(tool, number)) {
        CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid parameter ToolNumber")), true);
        return -83;
    }

    static const char* const names[2] = {"Diameter", "Length"};
    tagDblVal values[2];
    for (int i = 0; i < 2; ++i) {
        if (!ToDblVal(params.at(3 + i), values[i])) {
            CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid parameter %1").arg(QLatin1String(names[i]))),
                           true);
            return -83;
        }
    }
    QString detail = byName ? QStringLiteral("ToolName=%1").arg(tool) : QStringLiteral("ToolNumber=%1").arg(tool);
    for (int i = 0; i < 2; ++i) {
        if (values[i].isSet)
            detail += QStringLiteral(", %1=%2").arg(QLatin1String(names[i]), Dbl(values[i].value));
    }

    if (byName) {
        const int code = m_api->GetToolNumberByName(tool, number);
        if (code != 0) {
            CLogger::Error(QStringLiteral("Update tool offset failed. ReqFile=%1, %2, ErrInfo=%3, ErrCode=%4")
                               .arg(Name(reqFile), detail, QStringLiteral("Cannot get tool number by tool name"),
                                    QString::number(code)),
                           true);
            return -83;
        }
    }

    QString error;
    const int code = UpdateToolOffset(number, values, error);
    if (code != 0) {
        CLogger::Error(QStringLiteral("Update tool offset failed. ReqFile=%1, %2, ErrInfo=%3")
                           .arg(Name(reqFile), detail, error),
                       true);
        return code;
    }
    DecrementSyncVar(reqFile);
    CLogger::Info(QStringLiteral("Update tool offset succeeded. ReqFile=%1, %2").arg(Name(reqFile), detail), true);
    return 0;
}

int CSiemensInteractive::UpdateToolOffset(int tool, tagDblVal* values, QString& error)
{
    const tagDblVal& diameter = values[0];
    const tagDblVal& length = values[1];
    double present = 0.0;
    if (length.isSet) {
        if (m_api->GetToolLengthOffset(tool, present) != 0) {
            error = QStringLiteral("Cannot get Tool[%1].Length").arg(tool);
            return -80;
        }
        const double sum = present + length.value;
        if (m_api->SetToolLengthOffset(tool, sum) != 0) {
            error = QStringLiteral("Cannot set Tool[%1].Length=%2").arg(tool).arg(Dbl(sum));
            return -80;
        }
    }
    if (diameter.isSet) {
        if (m_api->GetToolRadiusOffset(tool, present) != 0) {
            error = QStringLiteral("Cannot get Tool[%1].Radius").arg(tool);
            return -80;
        }
        // The NC keeps a radius; the request speaks of the diameter.
        const double sum = present + 0.5 * diameter.value;
        if (m_api->SetToolRadiusOffset(tool, sum) != 0) {
            error = QStringLiteral("Cannot set Tool[%1].Radius=%2").arg(tool).arg(Dbl(sum));
            return -80;
        }
    }
    return 0;
}

int CSiemensInteractive::WriteVar(const QString& reqFile, const QStringList& params)
{
    const QString failed = QStringLiteral("Write variable failed. ReqFile=%1, ErrInfo=%2");
    if (params.size() < 2) {
        CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid number of parameters")), true);
        return -83;
    }
    int index = 0;
    if (!ToIndex(params.at(0), index)) {
        CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid parameter Index")), true);
        return -83;
    }
    double value = 0.0;
    if (!CMiscUtility::QStr2Double(params.at(1).trimmed(), value)) {
        CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid parameter Value")), true);
        return -83;
    }
    const QString indexText = params.at(0).trimmed();
    const int code = m_api->WriteTmrVar(index, value);
    if (code != 0) {
        CLogger::Error(
            failed.arg(Name(reqFile), QStringLiteral("Cannot set TMR_VAR[%1]=%2").arg(indexText, Dbl(value))), true);
        return code;
    }
    DecrementSyncVar(reqFile);
    CLogger::Info(QStringLiteral("Write variable succeeded. ReqFile=%1, Index=%2, Value=%3")
                      .arg(Name(reqFile), indexText, Dbl(value)),
                  true);
    return 0;
}

int CSiemensInteractive::ReadVar(bool isNetServer, const QString& reqFile, const QStringList& params)
{
    const QString failed = QStringLiteral("Read variable failed. ReqFile=%1, ErrInfo=%2");
    if (params.size() < 2) {
        CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid number of parameters")), true);
        return -83;
    }
    int index = 0;
    if (!ToIndex(params.at(0), index)) {
        CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid parameter Index")), true);
        return -83;
    }
    const QString resFileName = params.at(1).trimmed();
    if (!IsBareFileName(resFileName) || IsRequestName(resFileName)) {
        CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Invalid parameter ResFileName")), true);
        return -83;
    }

    const QString indexText = params.at(0).trimmed();
    double value = 0.0;
    int code = m_api->ReadTmrVar(index, value);
    if (code != 0) {
        CLogger::Error(failed.arg(Name(reqFile), QStringLiteral("Cannot read TMR_VAR[%1]").arg(indexText)), true);
        return code;
    }

    const QString answer = QString::number(value, 'g', 6);
    const QString path =
        QStringLiteral("%1/%2").arg(isNetServer ? CZynNetServerHost::m_reqDir : m_applDir, resFileName);
    QString error;
    if (!CMiscUtility::WriteTextFile(path, QStringList{answer}, error)) {
        CLogger::Error(
            QStringLiteral("Read variable failed. ReqFile=%1, Index=%2, Value=%3, ErrInfo=Cannot write res file %4 : %5")
                .arg(Name(reqFile), indexText, Dbl(value), resFileName, error),
            true);
        return -82;
    }
    const QString succeeded = QStringLiteral("Read variable succeeded. ReqFile=%1, Index=%2, Value=%3, ResFile=%4")
                                  .arg(Name(reqFile), indexText, Dbl(value), resFileName);
    // The net server fetches the answer from its own folder.
    if (isNetServer) {
        CLogger::Info(succeeded, true);
        return 0;
    }

    const QString destination = QStringLiteral("%1/req/").arg(CAppCfg::m_instance.TargetPath());
    code = m_api->CopyFile(path, destination + resFileName);
    if (code != 0)
        CLogger::Error(QStringLiteral("Read variable failed. ReqFile=%1, Index=%2, Value=%3, ErrInfo=Cannot copy res "
                                      "file %4 to %5, ErrCode=%6")
                           .arg(Name(reqFile), indexText, Dbl(value), resFileName, destination, Hex(code)),
                       true);
    else
        CLogger::Info(succeeded, true);
    m_api->RemoveFile(path);
    return code;
}
