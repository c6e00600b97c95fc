#pragma once

#include "SiemensAPITypes.h"

#include <QObject>
#include <QVector>

class CSiemensAPI;
class CSiemensNC;
class CSiemensHotlink;

// Collects a measurement result: when the NC program raises TMR_FILE to 1,
// the result file is copied to a time-stamped journal, the program is
// released and the net server is told that a journal lies ready. The file
// is passed on byte for byte; nothing here reads it.
class CSiemensTmrResultMonitor : public QObject
{
    Q_OBJECT
public:
    // nc may be null; then no status text is shown.
    CSiemensTmrResultMonitor(CSiemensAPI* api, CSiemensNC* nc);
    ~CSiemensTmrResultMonitor() override;

    int Initialize();
    int CreateHotlink();
    int CreateTmrResultFile();
    int HandleTmrResultFile();

public slots:
    void slotHotlinkResult(unsigned int handleID, const QVector<HotlinkResultType>& results);

private:
    CSiemensAPI* m_pAPI = nullptr;
    CSiemensNC* m_pNC = nullptr;
    CSiemensHotlink* m_pHotlink = nullptr;
};
