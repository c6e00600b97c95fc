// The two HMI helpers of CMiscUtility against the platform's dialog: the
// query screen run modally, and soft keys switched on and off.
#include "MiscUtility.h"
#include "SlGfwAreaConfig.h"
#include "SlGfwAreaHost.h"
#include "SlGfwDialogForm.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwScreen.h"

#include <QTimer>
#include <QtTest>

namespace {
// A query form as the area's "screenMessage" holds one: any key closes it,
// only "doOK" answers "OK".
class QueryForm : public SlGfwDialogForm
{
    Q_OBJECT
    Q_PROPERTY(QString propCaption MEMBER caption)
    Q_PROPERTY(QString propBackScreen MEMBER backScreen)
    Q_PROPERTY(QString propMessage MEMBER message)
public:
    using SlGfwDialogForm::SlGfwDialogForm;
    void onFunction(const QString& name, const QString& args, bool& handled) override
    {
        SlGfwScreen* screen = dialog()->screenRef(dialog()->activeScreen());
        screen->setModalResult(name == QLatin1String("doOK") ? QStringLiteral("OK") : QString());
        dialog()->switchToScreen(backScreen);
        handled = true;
    }
    QString caption, backScreen, message;
};

class Host : public SlGfwAreaHost
{
public:
    SlGfwDialogForm* createDialogForm(SlGfwHmiDialog*, const QString& className, const QString& formName,
                                      QString&) override
    {
        if (className == QLatin1String("QueryForm"))
            return new QueryForm(nullptr, formName);
        return new SlGfwDialogForm(nullptr, formName);
    }
    bool switchToArea(SlGfwHmiDialog*, const QString&, const QString&, const QString&, bool) override { return false; }
};

const char* kArea = "[dialog]\nclass = D\nstartScreen = screenTest\n"
                    "[screen screenTest]\nform = formTest\nclass = Plain\n"
                    "myVr1 = text:=Run, action:=doRun\nmyHu3 = text:=Net, action:=net\n"
                    "[screen screenMessage]\nform = formMessage\nclass = QueryForm\n"
                    "myVr7 = text:=Cancel, action:=doCancel\nmyVr8 = text:=OK, action:=doOK\n";
}

class TestMiscUtilityHmi : public QObject
{
    Q_OBJECT

private slots:
    void showMessageDialogAndSetSoftKeyEnable();
};

void TestMiscUtilityHmi::showMessageDialogAndSetSoftKeyEnable()
{
    Host host;
    SlGfwAreaConfig cfg;
    QString error;
    QVERIFY2(cfg.parse(QString::fromLatin1(kArea), error), qPrintable(error));
    SlGfwHmiDialog dialog(nullptr, "D");
    dialog.setupArea("Area", cfg, &host);
    QVERIFY(dialog.switchToScreen("screenTest"));
    QVERIFY(!CMiscUtility::ShowMessageDialog(nullptr, "screenTest", "?", "Query"));
    // Only OK answers true. Texts that read like properties of the screen are passed unchanged.
    const QString message = "Set TMR_FILE = 1 for %2 files? -slgfwprop4 x";
    for (const char* key : {"doOK", "doCancel"}) {
        QString shownOn;
        QTimer::singleShot(0, &dialog, [&] {
            shownOn = dialog.activeScreen();
            dialog.pressAction(key, error);
        });
        QCOMPARE(CMiscUtility::ShowMessageDialog(&dialog, "screenTest", message, "A query"), key == QLatin1String("doOK"));
        QCOMPARE(shownOn, QStringLiteral("screenMessage"));
        QCOMPARE(dialog.activeScreen(), QStringLiteral("screenTest"));
        auto* form = qobject_cast<QueryForm*>(dialog.existingForm("formMessage"));
        QVERIFY(form);
        QCOMPARE(QStringList({form->message, form->caption, form->backScreen}), QStringList({message, "A query", "screenTest"}));
    }

    QWidget* run = dialog.screenRef("screenTest")->menuSoftkey("myVr", 1);
    QVERIFY(run && run->isEnabled());
    CMiscUtility::SetSoftKeyEnable(&dialog, "screenTest", 1, false, "myVr");
    QVERIFY(!run->isEnabled());
    // The menu counts: position 1 of myHu is not the run key.
    CMiscUtility::SetSoftKeyEnable(&dialog, "screenTest", 1, true, "myHu");
    QVERIFY(!run->isEnabled());
    CMiscUtility::SetSoftKeyEnable(&dialog, "screenTest", 1, true, "myVr");
    QVERIFY(run->isEnabled());
    // A screen other than the one shown is reached as well.
    QWidget* ok = dialog.screenRef("screenMessage")->menuSoftkey("myVr", 8);
    CMiscUtility::SetSoftKeyEnable(&dialog, "screenMessage", 8, false, "myVr");
    QVERIFY(!ok->isEnabled());
    // Missing pieces do nothing.
    CMiscUtility::SetSoftKeyEnable(nullptr, "screenTest", 1, false, "myVr");
    CMiscUtility::SetSoftKeyEnable(&dialog, "screenNone", 1, false, "myVr");
    CMiscUtility::SetSoftKeyEnable(&dialog, "screenTest", 2, false, "myVr");
    QVERIFY(run->isEnabled());
}

QTEST_MAIN(TestMiscUtilityHmi)
#include "TestMiscUtilityHmi.moc"
