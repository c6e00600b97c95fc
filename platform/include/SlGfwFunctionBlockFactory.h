#pragma once

#include <QString>
#include <QStringList>

class QObject;
class QWidget;
class SlGfwHmiDialog;

// What a plug-in offers to make function blocks.
class SlGfwFunctionBlockFactory
{
public:
    virtual ~SlGfwFunctionBlockFactory() = default;
    virtual QWidget* createFunctionBlock(const QString& className, QWidget* parent, const QString& name) = 0;
    virtual QStringList functionBlockClasses() const = 0;
};
