#pragma once

#include <QString>
#include <QStringList>

class QObject;
class QWidget;
class SlGfwHmiDialog;

// What a plug-in offers to make the forms that lie on the screens of a dialog.
class SlGfwDialogFormFactory
{
public:
    virtual ~SlGfwDialogFormFactory() = default;
    virtual QWidget* createDialogForm(const QString& className, QWidget* parent, const QString& name) = 0;
    virtual QStringList dialogFormClasses() const = 0;
};
