#pragma once

#include <QString>
#include <QStringList>

class QObject;
class QWidget;
class SlGfwHmiDialog;

// What a plug-in offers to make screens of its own class.
class SlGfwScreenFactory
{
public:
    virtual ~SlGfwScreenFactory() = default;
    virtual QObject* createScreen(const QString& className, SlGfwHmiDialog* parent, const QString& name) = 0;
    virtual QStringList screenClasses() const = 0;
};
