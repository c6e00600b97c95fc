#pragma once

#include <QString>

class QObject;
class QWidget;
class SlGfwHmiDialog;

// One entry of a plug-in's registry: knows one class by name and makes it.
// rtti says what kind of object it makes (1 gui component, 2 dialog,
// 10 dialog form, 11 panel form, 20 screen, 40 soft key, 80 dialog bar,
// 81 function block); each kind answers only its own create call.
class SlGfwCreatorBaseV2
{
public:
    explicit SlGfwCreatorBaseV2(const QString& className) : m_className(className) {}
    virtual ~SlGfwCreatorBaseV2() = default;

    virtual QObject* createScreen(SlGfwHmiDialog* parent, const QString& name) { return nullptr; }
    virtual QObject* createObject(QObject* parent, const QString& name) { return nullptr; }
    virtual QWidget* createWidget(QWidget* parent, const QString& name) { return nullptr; }
    virtual QString className() const { return m_className; }
    virtual int rtti() const = 0;

private:
    QString m_className;
};
