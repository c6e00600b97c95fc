#include "SlGfwSoftkeyBar.h"

#include "SlGfwAreaConfig.h"
#include "SlGfwSoftkey.h"

#include <QBoxLayout>
#include <QFrame>

SlGfwSoftkeyBar::SlGfwSoftkeyBar(const QString& menu, Qt::Orientation orientation, QWidget* parent)
    : QWidget(parent),
      m_layout(new QBoxLayout(orientation == Qt::Vertical ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight, this))
{
    setObjectName(menu);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(3);
    for (int i = 0; i < SlGfwAreaConfig::kMenuSize; ++i) {
        auto* empty = new QFrame(this);
        empty->setObjectName(QStringLiteral("emptySoftkey"));
        empty->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
        m_layout->addWidget(empty, 1);
        m_slots.append(empty);
    }
}

void SlGfwSoftkeyBar::setKey(SlGfwSoftkey* key)
{
    const int index = key->position() - 1;
    if (index < 0 || index >= m_slots.size())
        return;
    QWidget* old = m_slots.at(index);
    key->setParent(this);
    key->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    // The layout hands back the item of the empty slot; it is ours.
    delete m_layout->replaceWidget(old, key);
    m_slots[index] = key;
    delete old;
    key->show();
}
