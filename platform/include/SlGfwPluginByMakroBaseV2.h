#pragma once

#include "SlGfwCreatorBaseV2.h"
#include "SlGfwDialogBarFactory.h"
#include "SlGfwDialogFormFactory.h"
#include "SlGfwFunctionBlockFactory.h"
#include "SlGfwGuiComponentFactory.h"
#include "SlGfwPanelFormFactory.h"
#include "SlGfwPlugin.h"
#include "SlGfwScreenFactory.h"
#include "SlGfwSoftkeyFactory.h"

#include <QVector>

// A plug-in that is nothing but a registry of creators: the derived class
// registers one creator per class in its constructor, and every create call
// looks the class up by name and kind. The plug-in owns the creators.
class SlGfwPluginByMakroBaseV2 : public SlGfwPlugin,
                                 public SlGfwGuiComponentFactory,
                                 public SlGfwDialogFormFactory,
                                 public SlGfwPanelFormFactory,
                                 public SlGfwScreenFactory,
                                 public SlGfwSoftkeyFactory,
                                 public SlGfwDialogBarFactory,
                                 public SlGfwFunctionBlockFactory
{
public:
    explicit SlGfwPluginByMakroBaseV2(const QString& name = QString());
    ~SlGfwPluginByMakroBaseV2() override;

    long queryInterface(const QUuid& id, void** result) override;

    QObject* createGuiComponent(const QString& className, QObject* parent, const QString& name) override;
    QStringList guiComponentClasses() const override;
    QWidget* createDialogForm(const QString& className, QWidget* parent, const QString& name) override;
    QStringList dialogFormClasses() const override;
    QWidget* createPanelForm(const QString& className, QWidget* parent, const QString& name) override;
    QStringList panelFormClasses() const override;
    QObject* createScreen(const QString& className, SlGfwHmiDialog* parent, const QString& name) override;
    QStringList screenClasses() const override;
    QWidget* createSoftkey(const QString& className, QWidget* parent, const QString& name) override;
    QStringList softkeyClasses() const override;
    QWidget* createDialogBar(const QString& className, QWidget* parent, const QString& name) override;
    QStringList dialogBarClasses() const override;
    QWidget* createFunctionBlock(const QString& className, QWidget* parent, const QString& name) override;
    QStringList functionBlockClasses() const override;

    // The platform's kind code of a class: 1, 2, 3 components, 16 dialog
    // form, 17 panel form, 32 screen, 64 soft key, 128 dialog bar, 129
    // function block; 0 for a class the plug-in does not know.
    int metaType(const QString& className) const;

    int creatorCount() const { return m_creators.size(); }

protected:
    // Takes ownership.
    void registerCreator(SlGfwCreatorBaseV2* creator);

private:
    SlGfwCreatorBaseV2* findCreator(int rtti, const QString& className) const;
    QStringList classesOf(int rtti) const;
    QWidget* createWidgetOf(int rtti, const QString& className, QWidget* parent, const QString& name);

    QVector<SlGfwCreatorBaseV2*> m_creators;
};
