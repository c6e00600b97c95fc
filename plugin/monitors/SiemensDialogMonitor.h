#pragma once

#include "SiemensAPITypes.h"

#include <QObject>
#include <QVector>

class CSiemensAPI;
class CSiemensNC;
class CSiemensHotlink;

// Gives an NC program a dialog on the HMI: the program fills the dialog
// variables and raises the state word to 1, the operator answers on the
// message screen, and the answer is written back before the state word
// turns 2.
class CSiemensDialogMonitor : public QObject
{
    Q_OBJECT
public:
    CSiemensDialogMonitor(CSiemensAPI* api, CSiemensNC* nc);
    ~CSiemensDialogMonitor() override;

    int Initialize();
    int CreateDialogHandle();

public slots:
    void slotDialogHandle(unsigned int handleID, const QVector<HotlinkResultType>& results);

private:
    CSiemensAPI* m_pAPI = nullptr;
    CSiemensNC* m_pNC = nullptr;
    CSiemensHotlink* m_pHotlink = nullptr;
};
