#pragma once

#include "SlGfwHmiDialog.h"

#include <QStringList>

// The dialog of the test area. It keeps a journal of the hooks the
// platform calls, can refuse to let its area go, and re-disables one key
// whenever its menu is shown, as a plug-in restores its keys.
class TestAreaDialog : public SlGfwHmiDialog
{
    Q_OBJECT
public:
    TestAreaDialog(QObject* parent, const QString& name);

    void onSwitchToArea(const QString& area, const QString& dialog, QString& screen, bool& allowed) override;
    void onShowMenu(const QString& menu, const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    QStringList journal;
    bool holdArea = false;
    // While set, position 4 of myVr stays disabled on every showing.
    bool keepKey4Disabled = false;
};
