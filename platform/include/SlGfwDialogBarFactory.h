#pragma once

#include <QString>
#include <QStringList>

class QObject;
class QWidget;
class SlGfwHmiDialog;

// What a plug-in offers to make dialog bars.
class SlGfwDialogBarFactory
{
public:
    virtual ~SlGfwDialogBarFactory() = default;
    virtual QWidget* createDialogBar(const QString& className, QWidget* parent, const QString& name) = 0;
    virtual QStringList dialogBarClasses() const = 0;
};
