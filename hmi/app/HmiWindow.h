#pragma once

#include <QPointer>
#include <QWidget>

class HmiFramework;
class QButtonGroup;
class QHBoxLayout;
class QLabel;
class QStackedWidget;
class SlGfwHmiDialog;
class VirtualNc;

// The operator panel: a header with the areas, the channel state and the
// alarm line; below it the screen of the area in front with its vertical
// soft keys (myVr) on the right and the horizontal ones (myHu) at the
// bottom. F1 to F8 press the horizontal keys, Shift+F1 to F8 the
// vertical ones, F10 brings the next area to the front.
class HmiWindow : public QWidget
{
    Q_OBJECT
public:
    HmiWindow(HmiFramework* framework, VirtualNc* nc, QWidget* parent = nullptr);

    // A notice in the header until the next one, for what the operator
    // should know but no screen shows (a refused area switch).
    void showNotice(const QString& text);
    QString notice() const;

private:
    void addArea(int index);
    void showActive();
    void refreshChannel();
    void refreshAlarm();
    void pressKey(const QString& menu, int position);
    void nextArea();

    HmiFramework* m_framework;
    QPointer<VirtualNc> m_nc;
    QHBoxLayout* m_areaButtons;
    QButtonGroup* m_areaGroup;
    QLabel* m_channel;
    QLabel* m_alarm;
    QLabel* m_notice;
    QStackedWidget* m_frames;
    QStackedWidget* m_vertical;
    QStackedWidget* m_horizontal;
};
