#pragma once

#include "SiemensAPITypes.h"

#include <QList>
#include <QString>

// The one way the plug-in speaks to the NC. The primitives (typed variable
// access, files, programs) belong to the back end; the operations in the
// plug-in's own vocabulary are built here once, from the path templates, so
// that every back end addresses the NC the same way.
//
// Every operation returning int gives 0 on success and a negative code
// otherwise; result arguments are written only on success.
//   -101 tool count unreadable, -103 tool number of the match unreadable,
//   -104 no tool of that name (or none at all), -105 axis types, -106 axis
//   names, -107 axis count, -108 no axes cached, -109 axis positions.
// The primitives' own codes (-77 write, -78 read, -81 PI service, -110 value
// type, file service codes) pass through unchanged.
class CSiemensAPI
{
public:
    CSiemensAPI();
    virtual ~CSiemensAPI();

    virtual QString TmrFileVarName() const;
    // Unlike the array accessors, first is put into the path as it stands.
    virtual QString TmrAxesPosVarName(int first, int count) const;

    virtual int ReadTmrFile(int& value);
    virtual int WriteTmrFile(int value);
    virtual int ReadTmrControl(int& value);
    virtual int WriteTmrControl(int value);
    virtual int ReadTmrState(int& value);
    virtual int WriteTmrState(int value);
    virtual int ReadTmrResult(int& value);
    virtual int WriteTmrResult(int value);
    virtual int ReadTmrError(int& value);
    virtual int WriteTmrError(int value);
    virtual int ReadTmrOp(int& value);
    virtual int WriteTmrOp(int value);
    virtual int ReadTmrProgram(QString& value);
    virtual int WriteTmrProgram(const QString& value);

    virtual int GetNumMachAxes(int& count);
    virtual int GetNumGeoAxes(int& count);
    virtual int GetNumAuxAxes(int& count);
    virtual int GetNumGlobalAxes(int& count);

    // row = axis column + frame number * GetNumMachAxes, passed unchanged.
    // A type outside tagWorkofsType returns 0 and touches nothing.
    virtual int GetWorkOffset(tagWorkofsType type, int row, double& value);
    virtual int SetWorkOffset(tagWorkofsType type, int row, double value);
    // Makes the settable frames the active ones (_N_SETUFR).
    virtual int ActivateWorkOffset() = 0;

    // The TMR arrays count from 0 here and from 1 on the NC.
    virtual int ReadTmrVint(int index, int& value);
    virtual int WriteTmrVint(int index, int value);
    virtual int ReadTmrVar(int index, double& value);
    virtual int WriteTmrVar(int index, double value);
    virtual int ReadTmrVar(int first, int count, QList<double>& values);
    virtual int WriteTmrVar(int first, int count, const QList<double>& values);
    virtual int ReadTmrData(int index, double& value);
    virtual int WriteTmrData(int index, double value);
    virtual int ReadTmrData(int first, int count, QList<double>& values);
    virtual int WriteTmrData(int first, int count, const QList<double>& values);
    virtual int WriteTmrCmds(int first, int count, const QList<double>& values);
    virtual int WriteTmrCmdsAx(int first, int count, const QList<double>& values);

    // R parameters and tool numbers go to the NC as the caller gives them.
    virtual int GetRVarCount(int& count);
    virtual int ReadRVar(int index, double& value);
    virtual int WriteRVar(int index, double value);
    virtual int ReadRVar(int first, int count, QList<double>& values);
    virtual int WriteRVar(int first, int count, const QList<double>& values);

    virtual int GetToolLengthOffset(int tool, double& value);
    virtual int SetToolLengthOffset(int tool, double value);
    virtual int GetToolRadiusOffset(int tool, double& value);
    virtual int SetToolRadiusOffset(int tool, double value);
    // Case-sensitive; -101, -103 or -104.
    virtual int GetToolNumberByName(const QString& name, int& number);

    // Both append to axes. allTypes false drops what IsAllowAxisType refuses
    // (spindles, unknown types); index keeps the place in the full list.
    virtual int GetAxes(QList<tagAxisInfo>& axes, bool allTypes);
    // The axis list is read once per process and never again, even after a
    // failed first read (then -108 for good).
    virtual int GetAxesPos(QList<tagAxisInfo>& axes, bool allTypes);

    virtual int GetProgramStatus(int& status);
    virtual int GetCncStatus(int& status);

    // File services: the file service's 32-bit codes, unchanged.
    virtual int CopyFile(const QString& from, const QString& to) = 0;
    // Names only, oldest first, no folders; suffix with its dot, any case,
    // empty for all files.
    virtual int ListFiles(const QString& folder, const QString& suffix, QList<QString>& files) = 0;
    virtual int PathExists(const QString& path, bool& exists) = 0;
    virtual int PathIsNC(const QString& path, bool& isNC) = 0;
    virtual int MoveFile(const QString& from, const QString& to) = 0;
    // suffix includes its dot: "/a/b.txt" with ".XML" becomes "/a/b.XML".
    virtual int RenameFileSuffix(const QString& file, const QString& suffix) = 0;
    virtual int CreateFolder(const QString& path) = 0;
    virtual int CreateFile(const QString& path) = 0;
    virtual int RemoveFile(const QString& path) = 0;

    // The selected program; logical gives the //NC/... form.
    virtual int GetCurrProgPath(QString& path, bool logical) = 0;
    // plain: logical path and the name without its suffix.
    virtual int GetCurrProgName(QString& name, bool plain) = 0;
    // The folder of the selected program, trailing slash kept.
    virtual int GetCurrWorkPieceName(QString& name, bool logical) = 0;
    virtual int GetCurrOpMode(int& mode) = 0;
    virtual int GetCurrProgEndCount(int& count) = 0;
    virtual int GetLogicalPath(const QString& path, QString& logicalPath) = 0;
    virtual int GetRealPath(const QString& path, QString& realPath) = 0;
    virtual int SelectProg(const QString& path, unsigned long channel) = 0;

    // The dialog handshake on TMR_DIALOG_VINT / TMR_DIALOG_VSTR.
    virtual int GetDialogData(int& msgType, int& msgStyle, QString& messageText, QString& inputName) = 0;
    virtual int SetDialogData(int clickedButton, const QString& inputValue) = 0;

    // The sphere centre exchange on TMR_FINDSPHERE.
    virtual int SetFindSphereInputs(double first, double second, int third) = 0;
    virtual int GetFindSphereResult(double& x, double& y, double& z) = 0;
    virtual int SetFindSphereState(int state) = 0;

    // Always 0: what cannot be read is logged and left as it was.
    virtual int GetMachineDef(tagMachDef& def, const QString& versionFile) = 0;
    // Always 0, always two records ("base", "part").
    virtual int GetRotabCenter(QList<tagRotabCenter>& centers) = 0;

    virtual int ReadInt(const QString& path, int& value) = 0;
    virtual int WriteInt(const QString& path, int value) = 0;
    virtual int ReadDouble(const QString& path, double& value) = 0;
    virtual int WriteDouble(const QString& path, double value) = 0;
    virtual int ReadString(const QString& path, QString& value) = 0;
    virtual int WriteString(const QString& path, const QString& value) = 0;
    // The ReadArray operations append to values.
    virtual int ReadArray(const QString& path, QList<double>& values) = 0;
    virtual int WriteArray(const QString& path, const QList<double>& values) = 0;
    virtual int ReadArray(const QString& path, QList<QString>& values) = 0;
    virtual int WriteArray(const QString& path, const QList<QString>& values) = 0;
    virtual int ReadArray(const QString& path, QList<int>& values) = 0;
    virtual int WriteArray(const QString& path, const QList<int>& values) = 0;

    virtual int GetWorkOffset(const QString& templ, int row, double& value);
    // Activates the offsets only after a good write.
    virtual int SetWorkOffset(const QString& templ, int row, double value);

    // oneBased: the index goes into the path as it stands (R parameters,
    // tools, frame rows); otherwise 1 is added for the NC's TMR arrays.
    int ReadEntry(const QString& templ, bool oneBased, int index, double& value);
    int ReadEntry(const QString& templ, bool oneBased, int index, int& value);
    int WriteEntry(const QString& templ, bool oneBased, int index, double value);
    int WriteEntry(const QString& templ, bool oneBased, int index, int value);

protected:
    // Path templates, filled by the back end's constructor.
    QString m_tmrFileVarName;
    QString m_tmrControlVarName;
    QString m_tmrStateVarName;
    QString m_tmrErrorVarName;
    QString m_tmrResultVarName;
    QString m_tmrOpVarName;
    QString m_tmrProgramVarName;
    QString m_toolCountVarName;
    QString m_toolIdentVarName;
    QString m_toolNoVarName;
    QString m_toolLengthVarName;
    QString m_toolRadiusVarName;
    QString m_tmrVarVarName;
    QString m_tmrVarArrayVarName;
    QString m_tmrVintVarName;
    QString m_tmrDataVarName;
    QString m_tmrDataArrayVarName;
    QString m_tmrCmdsArrayVarName;
    QString m_tmrCmdAxArrayVarName;
    QString m_numMachAxesVarName;
    QString m_numGeoAxesVarName;
    QString m_numAuxAxesVarName;
    QString m_numGlobAxesVarName;
    QString m_wofsFineVarName;
    QString m_wofsCoarseVarName;
    QString m_wofsRotationVarName;
    QString m_axesNameVarName;
    QString m_axesTypeVarName;
    QString m_axesPosVarName;
    QString m_progStatusVarName;
    QString m_cncStatusVarName;
    QString m_selectedProgVarName;
    QString m_opModeVarName;
    QString m_progEndCountVarName;
    QString m_rVarVarName;
    QString m_rVarArrayVarName;
    QString m_rVarCountVarName;

private:
    Q_DISABLE_COPY(CSiemensAPI)
};
