#include "TestModalForm.h"

#include "SlGfwHmiDialog.h"
#include "SlGfwScreen.h"

void TestModalForm::onFunction(const QString& name, const QString&, bool& handled)
{
    SlGfwHmiDialog* d = dialog();
    const QString screen = d->activeScreen();
    if (name == QLatin1String("openNested")) {
        nestedResult = d->execModalScreen(QStringLiteral("screenNested"),
                                          QStringLiteral("-slgfwprop1 formNested.propBackScreen=%1 "
                                                         "-slgfwprop2 formNested.propDepth=%2").arg(screen).arg(m_depth + 1));
    } else {
        d->screenRef(screen)->setModalResult(QStringLiteral("%1@%2").arg(name).arg(m_depth));
        d->switchToScreen(m_backScreen);
    }
    handled = true;
}
