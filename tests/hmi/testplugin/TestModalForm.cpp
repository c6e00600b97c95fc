#include "TestModalForm.h"

#include "SlGfwHmiDialog.h"
#include "SlGfwScreen.h"

TestModalForm::TestModalForm(QWidget* parent, const QString& name, Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags)
{
    setStatusBarVisible(true);
}

void TestModalForm::attachedToScreen(const QString& screen)
{
    setCaptionBarElementText(QStringLiteral("Modal depth %1").arg(m_depth), 0);
    SlGfwDialogForm::attachedToScreen(screen);
}

void TestModalForm::onFunction(const QString& name, const QString& args, bool& handled)
{
    SlGfwHmiDialog* d = dialog();
    SlGfwScreen* screen = d ? d->screenRef(d->activeScreen()) : nullptr;
    if (!screen) {
        SlGfwDialogForm::onFunction(name, args, handled);
        return;
    }
    if (name == QLatin1String("openNested")) {
        nestedResult = d->execModalScreen(QStringLiteral("screenNested"),
                                          QStringLiteral("-slgfwprop1 formNested.propBackScreen=%1 "
                                                         "-slgfwprop2 formNested.propDepth=%2")
                                              .arg(screen->name())
                                              .arg(m_depth + 1));
        setStatusBarElementText(QStringLiteral("nested: %1").arg(nestedResult.toString()), 0);
    } else {
        screen->setModalResult(QStringLiteral("%1@%2").arg(name).arg(m_depth));
        d->switchToScreen(m_backScreen);
    }
    handled = true;
}
