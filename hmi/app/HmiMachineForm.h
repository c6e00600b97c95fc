#pragma once

#include "SlGfwDialogForm.h"

#include <QPointer>

class QLabel;
class QListWidget;
class QTableWidget;
class VirtualNc;

// The form of the machine area: what the channel does, where the axes
// stand, which program is selected and which alarms are pending, with the
// machine control panel's cycle start, cycle stop, reset and mode keys as
// soft keys.
class HmiMachineForm : public SlGfwDialogForm
{
    Q_OBJECT
public:
    // The area configuration of AreaMachine, for the host to install.
    static QString areaConfiguration();

    HmiMachineForm(VirtualNc* nc, QWidget* parent = nullptr, const QString& name = QString());

    void attachedToScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

private:
    void refreshChannel();
    void refreshAxes();
    void refreshAlarms();

    QPointer<VirtualNc> m_nc;
    QLabel* m_channel;
    QLabel* m_program;
    QLabel* m_mode;
    QLabel* m_endCount;
    QTableWidget* m_axes;
    QListWidget* m_alarms;
};
