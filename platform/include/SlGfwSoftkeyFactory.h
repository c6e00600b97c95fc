#pragma once

#include <QString>
#include <QStringList>

class QObject;
class QWidget;
class SlGfwHmiDialog;

// What a plug-in offers to make soft keys of its own class.
class SlGfwSoftkeyFactory
{
public:
    virtual ~SlGfwSoftkeyFactory() = default;
    virtual QWidget* createSoftkey(const QString& className, QWidget* parent, const QString& name) = 0;
    virtual QStringList softkeyClasses() const = 0;
};
