#pragma once

#include <QString>
#include <QStringList>

class QObject;
class QWidget;
class SlGfwHmiDialog;

// What a plug-in offers to make gui components: the dialogs of its areas.
class SlGfwGuiComponentFactory
{
public:
    virtual ~SlGfwGuiComponentFactory() = default;
    virtual QObject* createGuiComponent(const QString& className, QObject* parent, const QString& name) = 0;
    virtual QStringList guiComponentClasses() const = 0;
};
