#pragma once

#include "NodeInfoArray.h"
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
class CSiemensInteractive : public QObject
{
    Q_OBJECT
public:
    CSiemensInteractive(const QString& applDir, CSiemensAPI* api);
    ~CSiemensInteractive() override;

    int Initialize();
    void ReceivedReqFile(const QString& reqFile);

public slots:
    void slotTimer();
    void slotListReqFilesFinished(long asyncId, NodeInfoArray& nodes, long nError);
    void slotListReqFilesCanceled(long asyncId);

private:
    CSiemensAPI* m_api = nullptr;
    QString m_applDir;
};
