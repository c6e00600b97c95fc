#include "HmiWindow.h"

#include "HmiFramework.h"
#include "SlGfwAreaConfig.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwScreen.h"
#include "SlGfwSoftkey.h"
#include "VirtualNc.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>

namespace {
const char* kStyle = R"(
HmiWindow { background: #d8dde3; }
#header { background: #1f3b57; }
#header QLabel { color: white; }
#header QPushButton { color: #dfe7ef; background: #2c4f73; border: 1px solid #3d6790; padding: 4px 14px;
                      font-weight: bold; min-height: 22px; }
#header QPushButton:checked { background: #f0a30a; color: #1f1f1f; border-color: #f7c35c; }
#alarmLine { background: #f2f2f2; color: #b00000; font-weight: bold; padding: 2px 6px;
             border-bottom: 1px solid #9aa7b4; }
#alarmLine[alarm="true"] { background: #ffd9d9; }
#notice { color: #f7c35c; }
#captionBar { background: #4f7fae; border-bottom: 1px solid #2c4f73; min-height: 24px; }
#captionBar QLabel { color: white; font-weight: bold; }
#statusBar { background: #eef1f4; border-top: 1px solid #9aa7b4; min-height: 22px; }
#formError { color: #b00000; font-weight: bold; }
SlGfwSoftkey { background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #fbfbfb, stop:1 #d3d8de);
               border: 1px solid #7d8a97; border-radius: 3px; color: #102030; font-weight: bold; padding: 2px; }
SlGfwSoftkey:pressed { background: #f0a30a; }
SlGfwSoftkey:disabled { color: #a5adb5; background: #e3e6e9; border-color: #b8c0c8; }
#emptySoftkey { background: #c9d0d7; border: 1px solid #b3bcc5; border-radius: 3px; }
QLineEdit, QTextEdit { background: white; border: 1px solid #7d8a97; padding: 2px; }
QLineEdit:read-only, QTextEdit:read-only { background: #f7f8fa; }
QLineEdit:focus:!read-only, QTextEdit:focus:!read-only { border: 2px solid #f0a30a; padding: 1px; }
#myVr { min-width: 110px; max-width: 110px; }
#myHu { min-height: 46px; max-height: 46px; }
)";

QString channelState(VirtualNc* nc)
{
    if (!nc)
        return QStringLiteral("CHAN1  no NC");
    static const char* modes[] = {"JOG", "MDA", "AUTO"};
    static const char* states[] = {"Channel reset", "Channel active", "Channel interrupted"};
    const int mode = qBound(0, int(nc->operatingMode()), 2);
    const int state = qBound(0, int(nc->channelStatus()), 2);
    QString program = nc->selectedProgram();
    program = program.isEmpty() ? QStringLiteral("no program") : program.section(QLatin1Char('/'), -1);
    return QStringLiteral("CHAN1   %1   %2   %3").arg(QLatin1String(modes[mode]), QLatin1String(states[state]), program);
}
}

HmiWindow::HmiWindow(HmiFramework* framework, VirtualNc* nc, QWidget* parent)
    : QWidget(parent),
      m_framework(framework),
      m_nc(nc),
      m_areaButtons(new QHBoxLayout),
      m_areaGroup(new QButtonGroup(this)),
      m_channel(new QLabel(this)),
      m_alarm(new QLabel(this)),
      m_notice(new QLabel(this)),
      m_frames(new QStackedWidget(this)),
      m_vertical(new QStackedWidget(this)),
      m_horizontal(new QStackedWidget(this))
{
    setObjectName(QStringLiteral("HmiWindow"));
    setWindowTitle(QStringLiteral("Harvel - virtual operator panel"));
    setFixedSize(1024, 768);
    setStyleSheet(QLatin1String(kStyle));
    setAttribute(Qt::WA_StyledBackground);

    auto* header = new QWidget(this);
    header->setObjectName(QStringLiteral("header"));
    header->setAttribute(Qt::WA_StyledBackground);
    auto* headerLayout = new QHBoxLayout(header);
    headerLayout->setContentsMargins(6, 4, 10, 4);
    m_areaButtons->setSpacing(4);
    headerLayout->addLayout(m_areaButtons);
    headerLayout->addStretch(1);
    m_notice->setObjectName(QStringLiteral("notice"));
    headerLayout->addWidget(m_notice);
    headerLayout->addSpacing(16);
    m_channel->setObjectName(QStringLiteral("channelState"));
    QFont bold = m_channel->font();
    bold.setBold(true);
    m_channel->setFont(bold);
    headerLayout->addWidget(m_channel);
    m_areaGroup->setExclusive(true);

    m_alarm->setObjectName(QStringLiteral("alarmLine"));
    m_alarm->setTextFormat(Qt::PlainText);
    m_alarm->setMinimumHeight(24);

    for (QStackedWidget* stack : {m_frames, m_vertical, m_horizontal})
        stack->addWidget(new QWidget(stack));
    m_vertical->setObjectName(QStringLiteral("myVrStack"));
    m_horizontal->setObjectName(QStringLiteral("myHuStack"));

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 4);
    grid->setHorizontalSpacing(4);
    grid->setVerticalSpacing(4);
    grid->addWidget(header, 0, 0, 1, 2);
    grid->addWidget(m_alarm, 1, 0, 1, 2);
    grid->addWidget(m_frames, 2, 0);
    grid->addWidget(m_vertical, 2, 1);
    grid->addWidget(m_horizontal, 3, 0, 1, 2);
    grid->setRowStretch(2, 1);
    grid->setColumnStretch(0, 1);
    m_horizontal->setContentsMargins(4, 0, 4, 0);
    m_vertical->setContentsMargins(0, 4, 4, 0);

    for (int i = 0; i < SlGfwAreaConfig::kMenuSize; ++i) {
        const auto key = Qt::Key(Qt::Key_F1 + i);
        connect(new QShortcut(QKeySequence(key), this), &QShortcut::activated, this,
                [this, i] { pressKey(QStringLiteral("myHu"), i + 1); });
        connect(new QShortcut(QKeySequence(Qt::SHIFT + key), this), &QShortcut::activated, this,
                [this, i] { pressKey(QStringLiteral("myVr"), i + 1); });
    }
    connect(new QShortcut(QKeySequence(Qt::Key_F10), this), &QShortcut::activated, this, &HmiWindow::nextArea);

    for (int i = 0; i < framework->areaCount(); ++i)
        addArea(i);
    connect(framework, &HmiFramework::areaAdded, this, &HmiWindow::addArea);
    connect(framework, &HmiFramework::currentAreaChanged, this, &HmiWindow::showActive);
    connect(framework, &HmiFramework::activeScreenChanged, this, &HmiWindow::showActive);
    if (m_nc) {
        connect(m_nc, &VirtualNc::channelChanged, this, &HmiWindow::refreshChannel);
        connect(m_nc, &VirtualNc::alarmsChanged, this, &HmiWindow::refreshAlarm);
    }
    refreshChannel();
    refreshAlarm();
    showActive();
}

void HmiWindow::addArea(int index)
{
    const HmiFramework::Area& area = m_framework->area(index);
    auto* button = new QPushButton(area.text, this);
    button->setObjectName(QStringLiteral("area_%1").arg(area.name));
    button->setCheckable(true);
    button->setFocusPolicy(Qt::NoFocus);
    if (!area.error.isEmpty())
        button->setToolTip(area.error);
    m_areaGroup->addButton(button, index);
    m_areaButtons->addWidget(button);
    const QString name = area.name;
    connect(button, &QPushButton::clicked, this, [this, name] {
        QString error;
        if (!m_framework->activateArea(name, error))
            showNotice(error);
        showActive();
    });
    if (SlGfwHmiDialog* dialog = area.dialog) {
        for (const QString& screenName : dialog->screenNames()) {
            SlGfwScreen* screen = dialog->screenRef(screenName);
            m_frames->addWidget(screen->frame());
            m_vertical->addWidget(screen->menuBar(QStringLiteral("myVr")));
            m_horizontal->addWidget(screen->menuBar(QStringLiteral("myHu")));
        }
    }
}

void HmiWindow::showActive()
{
    const int index = m_framework->currentIndex();
    if (QAbstractButton* b = m_areaGroup->button(index))
        b->setChecked(true);
    SlGfwHmiDialog* dialog = m_framework->currentDialog();
    SlGfwScreen* screen = dialog ? dialog->screenRef(dialog->activeScreen()) : nullptr;
    if (!screen) {
        for (QStackedWidget* stack : {m_frames, m_vertical, m_horizontal})
            stack->setCurrentIndex(0);
        return;
    }
    m_frames->setCurrentWidget(screen->frame());
    m_vertical->setCurrentWidget(screen->menuBar(QStringLiteral("myVr")));
    m_horizontal->setCurrentWidget(screen->menuBar(QStringLiteral("myHu")));
}

void HmiWindow::showNotice(const QString& text)
{
    m_notice->setText(text);
}

QString HmiWindow::notice() const
{
    return m_notice->text();
}

void HmiWindow::refreshChannel()
{
    m_channel->setText(channelState(m_nc));
}

void HmiWindow::refreshAlarm()
{
    QString text;
    if (m_nc) {
        const QList<VirtualNc::Alarm> alarms = m_nc->alarms();
        if (!alarms.isEmpty()) {
            const VirtualNc::Alarm& last = alarms.last();
            text = QStringLiteral("%1  %2").arg(last.id).arg(last.text);
            if (alarms.size() > 1)
                text += QStringLiteral("   (+%1 more)").arg(alarms.size() - 1);
        }
    }
    m_alarm->setText(text);
    m_alarm->setProperty("alarm", !text.isEmpty());
    m_alarm->style()->unpolish(m_alarm);
    m_alarm->style()->polish(m_alarm);
}

void HmiWindow::pressKey(const QString& menu, int position)
{
    SlGfwHmiDialog* dialog = m_framework->currentDialog();
    SlGfwScreen* screen = dialog ? dialog->screenRef(dialog->activeScreen()) : nullptr;
    SlGfwSoftkey* key = screen ? screen->softkey(menu, position) : nullptr;
    // A disabled key does nothing, as on the panel.
    if (key && key->isEnabled())
        key->click();
}

void HmiWindow::nextArea()
{
    if (m_framework->areaCount() == 0)
        return;
    const int next = (m_framework->currentIndex() + 1) % m_framework->areaCount();
    QString error;
    if (!m_framework->activateArea(m_framework->area(next).name, error))
        showNotice(error);
}
