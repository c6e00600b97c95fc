#pragma once

#include <QWidget>

class QBoxLayout;
class SlGfwSoftkey;

// The eight places of one menu, vertical (myVr) or horizontal (myHu). A
// place without a key stays an empty, dark slot as on the panel.
class SlGfwSoftkeyBar : public QWidget
{
    Q_OBJECT
public:
    SlGfwSoftkeyBar(const QString& menu, Qt::Orientation orientation, QWidget* parent = nullptr);

    // Takes the key into the bar at its position.
    void setKey(SlGfwSoftkey* key);

private:
    QBoxLayout* m_layout;
    QList<QWidget*> m_slots;
};
