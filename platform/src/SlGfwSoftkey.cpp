#include "SlGfwSoftkey.h"

SlGfwSoftkey::SlGfwSoftkey(const QString& menu, int position, const QString& text, const QString& action,
                           QWidget* parent)
    : QPushButton(text, parent), m_menu(menu), m_position(position), m_action(action), m_defaultText(text)
{
    // A soft key must not take the focus: forms act on the widget the
    // operator was in when the key was pressed.
    setFocusPolicy(Qt::NoFocus);
    setObjectName(QStringLiteral("%1%2").arg(menu).arg(position));
}

void SlGfwSoftkey::setEnabledByDefault(bool enabled)
{
    m_defaultEnabled = enabled;
    setEnabled(enabled);
}

void SlGfwSoftkey::reset()
{
    setText(m_defaultText);
    setEnabled(m_defaultEnabled);
}
