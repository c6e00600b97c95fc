#include "TestAreaDialog.h"

#include "SlGfwScreen.h"

#include <QWidget>

TestAreaDialog::TestAreaDialog(QObject* parent, const QString& name) : SlGfwHmiDialog(parent, name) {}

void TestAreaDialog::onSwitchToArea(const QString& area, const QString& dialog, QString& screen, bool& allowed)
{
    journal << QStringLiteral("switchToArea %1").arg(area);
    if (holdArea) {
        allowed = false;
        return;
    }
    SlGfwHmiDialog::onSwitchToArea(area, dialog, screen, allowed);
}

void TestAreaDialog::onShowMenu(const QString& menu, const QString& screen)
{
    journal << QStringLiteral("showMenu %1 %2").arg(menu, screen);
    if (keepKey4Disabled && menu == QLatin1String("myVr"))
        if (SlGfwScreen* s = screenRef(screen))
            if (QWidget* key = s->menuSoftkey(menu, 4))
                key->setEnabled(false);
}

void TestAreaDialog::onFunction(const QString& name, const QString& args, bool& handled)
{
    journal << QStringLiteral("dialog onFunction %1 %2").arg(name, args);
    handled = true;
}
