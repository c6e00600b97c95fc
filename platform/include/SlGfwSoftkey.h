#pragma once

#include <QPushButton>

// One soft key of a screen's menu. Its text, action and enable state come
// from the area's configuration; a form may disable or enable it while the
// menu stands, and the next showing of the menu restores the configured
// state, as the operator panel rebuilds its bars.
class SlGfwSoftkey : public QPushButton
{
    Q_OBJECT
public:
    SlGfwSoftkey(const QString& menu, int position, const QString& text, const QString& action,
                 QWidget* parent = nullptr);

    QString menu() const { return m_menu; }
    int position() const { return m_position; }
    QString action() const { return m_action; }

    QString targetScreen() const { return m_targetScreen; }
    void setTargetScreen(const QString& screen) { m_targetScreen = screen; }
    QString args() const { return m_args; }
    void setArgs(const QString& args) { m_args = args; }

    bool isEnabledByDefault() const { return m_defaultEnabled; }
    void setEnabledByDefault(bool enabled);

    // Back to the configured text and enable state.
    void reset();

private:
    QString m_menu;
    int m_position;
    QString m_action;
    QString m_defaultText;
    QString m_targetScreen;
    QString m_args;
    bool m_defaultEnabled = true;
};
