#include "HmiMachineForm.h"

#include "VirtualNc.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {
QString channelText(int status)
{
    switch (status) {
    case VirtualNc::ChannelActive: return QStringLiteral("Channel active");
    case VirtualNc::ChannelInterrupted: return QStringLiteral("Channel interrupted");
    default: return QStringLiteral("Channel reset");
    }
}

QString programText(int status)
{
    switch (status) {
    case VirtualNc::ProgramStopped: return QStringLiteral("stopped");
    case VirtualNc::ProgramRunning: return QStringLiteral("running");
    case VirtualNc::ProgramWaiting: return QStringLiteral("waiting");
    case VirtualNc::ProgramInterrupted: return QStringLiteral("interrupted");
    default: return QStringLiteral("aborted");
    }
}

QString modeText(int mode)
{
    switch (mode) {
    case VirtualNc::ModeMda: return QStringLiteral("MDA");
    case VirtualNc::ModeAuto: return QStringLiteral("AUTO");
    default: return QStringLiteral("JOG");
    }
}
}

QString HmiMachineForm::areaConfiguration()
{
    return QStringLiteral(
        "[dialog]\n"
        "class = SlMachine\n"
        "startScreen = screenMachine\n"
        "[screen screenMachine]\n"
        "form = formMachine\n"
        "class = HmiMachineForm\n"
        "myVr1 = text:=Cycle\\nstart, action:=cycleStart\n"
        "myVr2 = text:=Cycle\\nstop, action:=cycleStop\n"
        "myVr3 = text:=Reset, action:=reset\n"
        "myVr5 = text:=JOG, action:=modeJog\n"
        "myVr6 = text:=MDA, action:=modeMda\n"
        "myVr7 = text:=AUTO, action:=modeAuto\n"
        "myHu1 = text:=Machine, action:=showMachine, screen:=screenMachine\n");
}

HmiMachineForm::HmiMachineForm(VirtualNc* nc, QWidget* parent, const QString& name)
    : SlGfwDialogForm(parent, name),
      m_nc(nc),
      m_channel(new QLabel(this)),
      m_program(new QLabel(this)),
      m_mode(new QLabel(this)),
      m_endCount(new QLabel(this)),
      m_axes(new QTableWidget(0, 3, this)),
      m_alarms(new QListWidget(this))
{
    setCaptionBarElementCount(2);
    setCaptionBarElementText(QStringLiteral("Machine"), 0);
    setCaptionBarElementAlignment(Qt::AlignRight | Qt::AlignVCenter, 1);
    setStatusBarVisible(true);
    setStatusBarElementCount(1);

    m_channel->setObjectName(QStringLiteral("channelState"));
    m_program->setObjectName(QStringLiteral("selectedProgram"));
    m_mode->setObjectName(QStringLiteral("operatingMode"));
    m_endCount->setObjectName(QStringLiteral("endCount"));
    m_axes->setObjectName(QStringLiteral("axes"));
    m_alarms->setObjectName(QStringLiteral("alarms"));

    auto* channelBox = new QGroupBox(QStringLiteral("Channel 1"), this);
    auto* channelForm = new QFormLayout(channelBox);
    channelForm->addRow(QStringLiteral("State:"), m_channel);
    channelForm->addRow(QStringLiteral("Mode:"), m_mode);
    channelForm->addRow(QStringLiteral("Program:"), m_program);
    channelForm->addRow(QStringLiteral("Program ends:"), m_endCount);

    m_axes->setHorizontalHeaderLabels({QStringLiteral("Axis"), QStringLiteral("Position"), QStringLiteral("Type")});
    m_axes->verticalHeader()->hide();
    m_axes->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    m_axes->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_axes->setSelectionMode(QAbstractItemView::NoSelection);
    m_axes->setFocusPolicy(Qt::NoFocus);
    QFont big = m_axes->font();
    big.setPointSizeF(big.pointSizeF() * 1.6);
    big.setBold(true);
    m_axes->setFont(big);
    m_axes->verticalHeader()->setDefaultSectionSize(QFontMetrics(big).height() + 10);
    // Rows share the height like the position display of a panel.
    m_axes->verticalHeader()->setSectionResizeMode(QHeaderView::Stretch);

    auto* alarmBox = new QGroupBox(QStringLiteral("Alarms"), this);
    auto* alarmLayout = new QVBoxLayout(alarmBox);
    alarmLayout->addWidget(m_alarms);
    m_alarms->setFocusPolicy(Qt::NoFocus);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(channelBox);
    layout->addWidget(m_axes, 3);
    layout->addWidget(alarmBox, 1);

    if (m_nc) {
        connect(m_nc, &VirtualNc::channelChanged, this, &HmiMachineForm::refreshChannel);
        connect(m_nc, &VirtualNc::variablesChanged, this, &HmiMachineForm::refreshAxes);
        connect(m_nc, &VirtualNc::alarmsChanged, this, &HmiMachineForm::refreshAlarms);
    } else {
        setStatusBarElementText(QStringLiteral("No NC: the machine folder could not be opened"));
    }
    refreshChannel();
    refreshAxes();
    refreshAlarms();
}

void HmiMachineForm::attachedToScreen(const QString& screen)
{
    refreshChannel();
    refreshAxes();
    refreshAlarms();
    SlGfwDialogForm::attachedToScreen(screen);
}

void HmiMachineForm::onFunction(const QString& name, const QString& args, bool& handled)
{
    if (!m_nc) {
        SlGfwDialogForm::onFunction(name, args, handled);
        return;
    }
    QString why;
    bool ok = true;
    handled = true;
    if (name == QLatin1String("cycleStart"))
        ok = m_nc->startProgram(&why);
    else if (name == QLatin1String("cycleStop"))
        ok = m_nc->stopProgram(&why);
    else if (name == QLatin1String("reset"))
        ok = m_nc->resetProgram(&why);
    else if (name == QLatin1String("modeJog"))
        ok = m_nc->setOperatingMode(VirtualNc::ModeJog, &why);
    else if (name == QLatin1String("modeMda"))
        ok = m_nc->setOperatingMode(VirtualNc::ModeMda, &why);
    else if (name == QLatin1String("modeAuto"))
        ok = m_nc->setOperatingMode(VirtualNc::ModeAuto, &why);
    else
        handled = false;
    if (handled)
        setStatusBarElementText(ok ? QString() : why);
    else
        SlGfwDialogForm::onFunction(name, args, handled);
    refreshChannel();
}

void HmiMachineForm::refreshChannel()
{
    if (!m_nc) {
        m_channel->setText(QStringLiteral("no NC"));
        return;
    }
    m_channel->setText(QStringLiteral("%1, program %2").arg(channelText(m_nc->channelStatus()),
                                                             programText(m_nc->programStatus())));
    m_mode->setText(modeText(m_nc->operatingMode()));
    const QString program = m_nc->selectedProgram();
    m_program->setText(program.isEmpty() ? QStringLiteral("none selected") : program);
    m_endCount->setText(QString::number(m_nc->programEndCount()));
    setCaptionBarElementText(QStringLiteral("%1  %2").arg(m_nc->controlModel(), modeText(m_nc->operatingMode())), 1);
}

void HmiMachineForm::refreshAxes()
{
    if (!m_nc)
        return;
    const QList<VirtualNc::Axis> axes = m_nc->axes();
    m_axes->setRowCount(axes.size());
    for (int i = 0; i < axes.size(); ++i) {
        const VirtualNc::Axis& a = axes.at(i);
        const QString unit = a.type == VirtualNc::AxisLinear ? QStringLiteral("mm") : QStringLiteral("°");
        const QString type = a.type == VirtualNc::AxisLinear   ? QStringLiteral("linear")
                             : a.type == VirtualNc::AxisRotary ? QStringLiteral("rotary")
                                                               : QStringLiteral("spindle");
        const QStringList cells = {a.name, QStringLiteral("%1 %2").arg(a.position, 0, 'f', 3).arg(unit), type};
        for (int c = 0; c < cells.size(); ++c) {
            QTableWidgetItem* item = m_axes->item(i, c);
            if (!item) {
                item = new QTableWidgetItem;
                item->setTextAlignment(c == 1 ? Qt::AlignRight | Qt::AlignVCenter : Qt::AlignLeft | Qt::AlignVCenter);
                m_axes->setItem(i, c, item);
            }
            item->setText(cells.at(c));
        }
    }
}

void HmiMachineForm::refreshAlarms()
{
    m_alarms->clear();
    if (!m_nc)
        return;
    for (const VirtualNc::Alarm& a : m_nc->alarms())
        m_alarms->addItem(QStringLiteral("%1  %2  %3").arg(a.id).arg(a.text, a.raised.toString(QStringLiteral("hh:mm:ss"))));
}
