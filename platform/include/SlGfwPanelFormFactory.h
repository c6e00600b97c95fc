#pragma once

#include <QString>
#include <QStringList>

class QObject;
class QWidget;
class SlGfwHmiDialog;

// What a plug-in offers to make panel forms.
class SlGfwPanelFormFactory
{
public:
    virtual ~SlGfwPanelFormFactory() = default;
    virtual QWidget* createPanelForm(const QString& className, QWidget* parent, const QString& name) = 0;
    virtual QStringList panelFormClasses() const = 0;
};
