#include "SiemensAPI.h"

#include "MiscUtility.h"

namespace {

// Raw values the NC reports beyond the types we know would otherwise become
// enumerators that do not exist.
tagAxisType ToAxisType(int raw)
{
    return raw >= 0 && raw <= AXIS_SPINDLE ? static_cast<tagAxisType>(raw) : AXIS_UNKNOWN;
}

} // namespace

CSiemensAPI::CSiemensAPI() = default;

CSiemensAPI::~CSiemensAPI() = default;

QString CSiemensAPI::TmrFileVarName() const
{
    return m_tmrFileVarName;
}

QString CSiemensAPI::TmrAxesPosVarName(int first, int count) const
{
    return m_axesPosVarName.arg(first).arg(count);
}

int CSiemensAPI::ReadTmrFile(int& value)
{
    return ReadInt(m_tmrFileVarName, value);
}

int CSiemensAPI::WriteTmrFile(int value)
{
    return WriteInt(m_tmrFileVarName, value);
}

int CSiemensAPI::ReadTmrControl(int& value)
{
    return ReadInt(m_tmrControlVarName, value);
}

int CSiemensAPI::WriteTmrControl(int value)
{
    return WriteInt(m_tmrControlVarName, value);
}

int CSiemensAPI::ReadTmrState(int& value)
{
    return ReadInt(m_tmrStateVarName, value);
}

int CSiemensAPI::WriteTmrState(int value)
{
    return WriteInt(m_tmrStateVarName, value);
}

int CSiemensAPI::ReadTmrResult(int& value)
{
    return ReadInt(m_tmrResultVarName, value);
}

int CSiemensAPI::WriteTmrResult(int value)
{
    return WriteInt(m_tmrResultVarName, value);
}

int CSiemensAPI::ReadTmrError(int& value)
{
    return ReadInt(m_tmrErrorVarName, value);
}

int CSiemensAPI::WriteTmrError(int value)
{
    return WriteInt(m_tmrErrorVarName, value);
}

int CSiemensAPI::ReadTmrOp(int& value)
{
    return ReadInt(m_tmrOpVarName, value);
}

int CSiemensAPI::WriteTmrOp(int value)
{
    return WriteInt(m_tmrOpVarName, value);
}

int CSiemensAPI::ReadTmrProgram(QString& value)
{
    return ReadString(m_tmrProgramVarName, value);
}

int CSiemensAPI::WriteTmrProgram(const QString& value)
{
    return WriteString(m_tmrProgramVarName, value);
}

int CSiemensAPI::GetNumMachAxes(int& count)
{
    return ReadInt(m_numMachAxesVarName, count);
}

int CSiemensAPI::GetNumGeoAxes(int& count)
{
    return ReadInt(m_numGeoAxesVarName, count);
}

int CSiemensAPI::GetNumAuxAxes(int& count)
{
    return ReadInt(m_numAuxAxesVarName, count);
}

int CSiemensAPI::GetNumGlobalAxes(int& count)
{
    return ReadInt(m_numGlobAxesVarName, count);
}

int CSiemensAPI::GetWorkOffset(tagWorkofsType type, int row, double& value)
{
    switch (type) {
    case WORKOFS_COARSE:
        return GetWorkOffset(m_wofsCoarseVarName, row, value);
    case WORKOFS_FINE:
        return GetWorkOffset(m_wofsFineVarName, row, value);
    case WORKOFS_ROTATION:
        return GetWorkOffset(m_wofsRotationVarName, row, value);
    }
    return 0;
}

int CSiemensAPI::SetWorkOffset(tagWorkofsType type, int row, double value)
{
    switch (type) {
    case WORKOFS_COARSE:
        return SetWorkOffset(m_wofsCoarseVarName, row, value);
    case WORKOFS_FINE:
        return SetWorkOffset(m_wofsFineVarName, row, value);
    case WORKOFS_ROTATION:
        return SetWorkOffset(m_wofsRotationVarName, row, value);
    }
    return 0;
}

int CSiemensAPI::ReadTmrVint(int index, int& value)
{
    return ReadEntry(m_tmrVintVarName, false, index, value);
}

int CSiemensAPI::WriteTmrVint(int index, int value)
{
    return WriteEntry(m_tmrVintVarName, false, index, value);
}

int CSiemensAPI::ReadTmrVar(int index, double& value)
{
    return ReadEntry(m_tmrVarVarName, false, index, value);
}

int CSiemensAPI::WriteTmrVar(int index, double value)
{
    return WriteEntry(m_tmrVarVarName, false, index, value);
}

int CSiemensAPI::ReadTmrVar(int first, int count, QList<double>& values)
{
    return ReadArray(m_tmrVarArrayVarName.arg(first + 1).arg(count), values);
}

int CSiemensAPI::WriteTmrVar(int first, int count, const QList<double>& values)
{
    return WriteArray(m_tmrVarArrayVarName.arg(first + 1).arg(count), values);
}

int CSiemensAPI::ReadTmrData(int index, double& value)
{
    return ReadEntry(m_tmrDataVarName, false, index, value);
}

int CSiemensAPI::WriteTmrData(int index, double value)
{
    return WriteEntry(m_tmrDataVarName, false, index, value);
}

int CSiemensAPI::ReadTmrData(int first, int count, QList<double>& values)
{
    return ReadArray(m_tmrDataArrayVarName.arg(first + 1).arg(count), values);
}

int CSiemensAPI::WriteTmrData(int first, int count, const QList<double>& values)
{
    return WriteArray(m_tmrDataArrayVarName.arg(first + 1).arg(count), values);
}

int CSiemensAPI::WriteTmrCmds(int first, int count, const QList<double>& values)
{
    return WriteArray(m_tmrCmdsArrayVarName.arg(first + 1).arg(count), values);
}

int CSiemensAPI::WriteTmrCmdsAx(int first, int count, const QList<double>& values)
{
    return WriteArray(m_tmrCmdAxArrayVarName.arg(first + 1).arg(count), values);
}

int CSiemensAPI::GetRVarCount(int& count)
{
    return ReadInt(m_rVarCountVarName, count);
}

int CSiemensAPI::ReadRVar(int index, double& value)
{
    return ReadEntry(m_rVarVarName, true, index, value);
}

int CSiemensAPI::WriteRVar(int index, double value)
{
    return WriteEntry(m_rVarVarName, true, index, value);
}

int CSiemensAPI::ReadRVar(int first, int count, QList<double>& values)
{
    return ReadArray(m_rVarArrayVarName.arg(first).arg(count), values);
}

int CSiemensAPI::WriteRVar(int first, int count, const QList<double>& values)
{
    return WriteArray(m_rVarArrayVarName.arg(first).arg(count), values);
}

int CSiemensAPI::GetToolLengthOffset(int tool, double& value)
{
    return ReadEntry(m_toolLengthVarName, true, tool, value);
}

int CSiemensAPI::SetToolLengthOffset(int tool, double value)
{
    return WriteEntry(m_toolLengthVarName, true, tool, value);
}

int CSiemensAPI::GetToolRadiusOffset(int tool, double& value)
{
    return ReadEntry(m_toolRadiusVarName, true, tool, value);
}

int CSiemensAPI::SetToolRadiusOffset(int tool, double value)
{
    return WriteEntry(m_toolRadiusVarName, true, tool, value);
}

int CSiemensAPI::GetToolNumberByName(const QString& name, int& number)
{
    int count = 0;
    if (ReadInt(m_toolCountVarName, count) != 0)
        return -101;
    if (count < 1)
        return -104;

    for (int i = 1; i <= count; ++i) {
        QString ident;
        // One unreadable catalogue entry must not hide the tools behind it.
        if (ReadString(m_toolIdentVarName.arg(i), ident) != 0)
            continue;
        if (ident != name)
            continue;
        int found = 0;
        if (ReadInt(m_toolNoVarName.arg(i), found) != 0)
            return -103;
        number = found;
        return 0;
    }
    return -104;
}

int CSiemensAPI::GetAxes(QList<tagAxisInfo>& axes, bool allTypes)
{
    int count = 0;
    if (GetNumMachAxes(count) != 0 || count < 1)
        return -107;

    QList<QString> names;
    if (ReadArray(m_axesNameVarName.arg(2).arg(count), names) != 0 || names.size() != count)
        return -106;

    QList<int> types;
    if (ReadArray(m_axesTypeVarName.arg(2).arg(count), types) != 0 || types.size() != count)
        return -105;

    for (int i = 0; i < count; ++i) {
        const tagAxisType type = ToAxisType(types.at(i));
        if (!allTypes && !CMiscUtility::IsAllowAxisType(type))
            continue;
        tagAxisInfo axis;
        axis.index = i;
        axis.type = type;
        axis.name = names.at(i);
        axis.value = 0.0;
        axes.append(axis);
    }
    return 0;
}

int CSiemensAPI::GetAxesPos(QList<tagAxisInfo>& axes, bool allTypes)
{
    // The axis configuration does not change while the HMI runs, so it is
    // read once for the whole process. A failed first read is not retried:
    // the position monitor polls this and would otherwise hammer a dead NC.
    static QList<tagAxisInfo> allAxesList;
    static bool isGeted = false;
    if (!isGeted) {
        isGeted = true;
        const int ret = GetAxes(allAxesList, true);
        if (ret != 0)
            return ret;
    }
    if (allAxesList.isEmpty())
        return -108;

    QList<double> positions;
    if (ReadArray(m_axesPosVarName.arg(2).arg(allAxesList.size()), positions) != 0
        || positions.size() != allAxesList.size())
        return -109;

    for (int i = 0; i < allAxesList.size(); ++i) {
        if (!allTypes && !CMiscUtility::IsAllowAxisType(allAxesList.at(i).type))
            continue;
        tagAxisInfo axis = allAxesList.at(i);
        axis.value = positions.at(i);
        axes.append(axis);
    }
    return 0;
}

int CSiemensAPI::GetProgramStatus(int& status)
{
    return ReadInt(m_progStatusVarName, status);
}

int CSiemensAPI::GetCncStatus(int& status)
{
    return ReadInt(m_cncStatusVarName, status);
}

int CSiemensAPI::GetWorkOffset(const QString& templ, int row, double& value)
{
    return ReadEntry(templ, true, row, value);
}

int CSiemensAPI::SetWorkOffset(const QString& templ, int row, double value)
{
    const int ret = WriteEntry(templ, true, row, value);
    if (ret != 0)
        return ret;
    return ActivateWorkOffset();
}

int CSiemensAPI::ReadEntry(const QString& templ, bool oneBased, int index, double& value)
{
    return ReadDouble(templ.arg(oneBased ? index : index + 1), value);
}

int CSiemensAPI::ReadEntry(const QString& templ, bool oneBased, int index, int& value)
{
    return ReadInt(templ.arg(oneBased ? index : index + 1), value);
}

int CSiemensAPI::WriteEntry(const QString& templ, bool oneBased, int index, double value)
{
    return WriteDouble(templ.arg(oneBased ? index : index + 1), value);
}

int CSiemensAPI::WriteEntry(const QString& templ, bool oneBased, int index, int value)
{
    return WriteInt(templ.arg(oneBased ? index : index + 1), value);
}
