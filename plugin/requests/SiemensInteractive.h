#pragma once

#include "NodeInfoArray.h"
#include "SiemensAPITypes.h"
#include "SlQFileSvc.h"

#include <QAtomicInt>
#include <QElapsedTimer>
#include <QObject>
#include <QQueue>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVector>

class CSiemensAPI;

// One parsed request file: its first line.
struct tagReqData
{
    int reqCode = 0;
    int machineId = 0;
    bool needSave = false;
    QStringList params;
};

// An optional double: "#" in a request stands for no value.
struct tagDblVal
{
    bool isSet = false;
    double value = 0.0;
};

// Finds, parses and carries out the request files of the measurement
// application: work offsets, tool offsets and the exchange array. Whether
// files come from the net server or are polled from the target folder is
// fixed when the object is made. All work runs on the HMI's thread, cut
// into slices of 500 ms.
//
// Results: 0, -80 tool offset, -81 work offset or axis count, -82 file,
// -83 invalid request, or a code handed up from the NC access.
class CSiemensInteractive : public QObject
{
    Q_OBJECT
public:
    CSiemensInteractive(const QString& applDir, CSiemensAPI* api);
    ~CSiemensInteractive() override;

    int Initialize();
    void ReceivedReqFile(const QString& reqFile);

    void HandleReqFiles4TargetFolder();
    void HandleReqFiles4ZynNetServer();
    void FilterAndSortReqFiles(QVector<NodeInfo>& nodes);

    int ProcessReqFile(bool isNetServer, const QString& reqFile);
    int ParseReqFile(bool isNetServer, const QString& reqFile, tagReqData& data);
    int ReadReqFile(bool isNetServer, const QString& reqFile, QString& firstLine, QString& error);
    int DecrementSyncVar(const QString& reqFile);

    int UpdateWorkOffset(const QString& reqFile, const QStringList& params);
    int UpdateWorkOffset(QString& gCode, tagDblVal* values, bool isRot, bool isAdd, QString& error);
    int UpdateWorkOffset(int row, double value, tagWorkofsType type, bool isAdd, QString& error);
    int UpdateToolOffset(const QString& reqFile, const QStringList& params);
    int UpdateToolOffset(int tool, tagDblVal* values, QString& error);
    int WriteVar(const QString& reqFile, const QStringList& params);
    int ReadVar(bool isNetServer, const QString& reqFile, const QStringList& params);

    bool IsNetServer() const { return m_isNetServer; }

public slots:
    void slotTimer();
    void slotListReqFilesFinished(long asyncId, NodeInfoArray& nodes, long nError);
    void slotListReqFilesCanceled(long asyncId);

private:
    QTimer m_timer;
    QString m_applDir;
    CSiemensAPI* m_api = nullptr;
    SlQFileSvc m_fileSvc;
    long m_listId = 0;
    QAtomicInt m_isListing;
    bool m_isNetServer = false;
    QQueue<QString> m_reqFiles;
    QElapsedTimer m_elapsed;
};
