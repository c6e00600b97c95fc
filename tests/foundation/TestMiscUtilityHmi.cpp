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
    void init();
    void cleanup();
    void showMessageDialogAnswersOnlyOkWithTrue_data();
    void showMessageDialogAnswersOnlyOkWithTrue();
    void setSoftKeyEnable();

private:
    Host m_host;
    SlGfwHmiDialog* m_dialog = nullptr;
};

void TestMiscUtilityHmi::init()
{
    SlGfwAreaConfig cfg;
    QString error;
    QVERIFY2(cfg.parse(QString::fromLatin1(kArea), error), qPrintable(error));
    m_dialog = new SlGfwHmiDialog(nullptr, QStringLiteral("D"));
    m_dialog->setupArea(QStringLiteral("Area"), cfg, &m_host);
    QVERIFY(m_dialog->switchToScreen(QStringLiteral("screenTest")));
}

void TestMiscUtilityHmi::cleanup()
{
    delete m_dialog;
}

void TestMiscUtilityHmi::showMessageDialogAnswersOnlyOkWithTrue_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("answer");
    QTest::newRow("OK") << QStringLiteral("doOK") << true;
    QTest::newRow("Cancel") << QStringLiteral("doCancel") << false;
}

void TestMiscUtilityHmi::showMessageDialogAnswersOnlyOkWithTrue()
{
    QFETCH(QString, key);
    QFETCH(bool, answer);
    QVERIFY(!CMiscUtility::ShowMessageDialog(nullptr, QStringLiteral("screenTest"), QStringLiteral("?"), QStringLiteral("Query")));

    QString shownOn;
    QTimer::singleShot(0, m_dialog, [&] {
        shownOn = m_dialog->activeScreen();
        QString error;
        m_dialog->pressAction(key, error);
    });
    // Texts that read like properties of the screen are passed unchanged.
    const QString message = QStringLiteral("Set TMR_FILE = 1 for %2 files? -slgfwprop4 x");
    QCOMPARE(CMiscUtility::ShowMessageDialog(m_dialog, QStringLiteral("screenTest"), message, QStringLiteral("A query")),
             answer);
    QCOMPARE(shownOn, QStringLiteral("screenMessage"));
    QCOMPARE(m_dialog->activeScreen(), QStringLiteral("screenTest"));
    auto* form = qobject_cast<QueryForm*>(m_dialog->existingForm(QStringLiteral("formMessage")));
    QVERIFY(form);
    QCOMPARE(form->message, message);
    QCOMPARE(form->caption, QStringLiteral("A query"));
    QCOMPARE(form->backScreen, QStringLiteral("screenTest"));
}

void TestMiscUtilityHmi::setSoftKeyEnable()
{
    QWidget* run = m_dialog->screenRef(QStringLiteral("screenTest"))->menuSoftkey(QStringLiteral("myVr"), 1);
    QVERIFY(run && run->isEnabled());
    CMiscUtility::SetSoftKeyEnable(m_dialog, QStringLiteral("screenTest"), 1, false, QStringLiteral("myVr"));
    QVERIFY(!run->isEnabled());
    // The menu counts: position 1 of myHu is not the run key.
    CMiscUtility::SetSoftKeyEnable(m_dialog, QStringLiteral("screenTest"), 1, true, QStringLiteral("myHu"));
    QVERIFY(!run->isEnabled());
    CMiscUtility::SetSoftKeyEnable(m_dialog, QStringLiteral("screenTest"), 1, true, QStringLiteral("myVr"));
    QVERIFY(run->isEnabled());
    // A screen other than the one shown is reached as well.
    QWidget* ok = m_dialog->screenRef(QStringLiteral("screenMessage"))->menuSoftkey(QStringLiteral("myVr"), 8);
    CMiscUtility::SetSoftKeyEnable(m_dialog, QStringLiteral("screenMessage"), 8, false, QStringLiteral("myVr"));
    QVERIFY(!ok->isEnabled());
    // Missing pieces do nothing.
    CMiscUtility::SetSoftKeyEnable(nullptr, QStringLiteral("screenTest"), 1, false, QStringLiteral("myVr"));
    CMiscUtility::SetSoftKeyEnable(m_dialog, QStringLiteral("screenNone"), 1, false, QStringLiteral("myVr"));
    CMiscUtility::SetSoftKeyEnable(m_dialog, QStringLiteral("screenTest"), 2, false, QStringLiteral("myVr"));
    QVERIFY(run->isEnabled());
}

QTEST_MAIN(TestMiscUtilityHmi)
#include "TestMiscUtilityHmi.moc"
