// The HMI framework stand-in with the test plug-in loaded as harvel-hmi
// loads plug-ins: creation by class name, property strings, modal screens,
// soft keys, form references and area switching.
#include "HmiFramework.h"
#include "HmiPluginLibrary.h"
#include "SlGfwAreaConfig.h"
#include "SlGfwDialogForm.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwPluginByMakroBaseV2.h"
#include "SlGfwPropertyString.h"
#include "SlGfwScreen.h"
#include "SlGfwSoftkey.h"
#include "TestAreaDialog.h"
#include "TestMainForm.h"
#include "TestModalForm.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

namespace {
HmiSystemConfig::Area testEntry()
{
    HmiSystemConfig::Area a;
    a.key = QStringLiteral("AREA1");
    a.name = QStringLiteral("TestArea");
    a.dialog = QStringLiteral("TestAreaDialog");
    a.text = QStringLiteral("Test");
    a.library = QStringLiteral(HMI_TEST_PLUGIN);
    a.cfg = QStringLiteral(HMI_TEST_AREA_CFG);
    return a;
}

bool writeFile(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(text) == text.size();
}
}

class TestHmiFramework : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void pluginContract();
    void formsAreMadeByClassNameOnFirstUse();
    void formRefCounting();
    void propertyStringParsing_data();
    void propertyStringParsing();
    void propertiesAreWrittenBeforeAttach();
    void modalScreensNestTwoDeep();
    void returningToTheFirstOpenerEndsBothModalScreens();
    void softkeysEnableDisableAndRebuild();
    void areaSwitching();
    void brokenPluginOrConfigurationGetsItsOwnArea();
    void systemConfigurationLoadsWhatItCan();
    void areaConfigurationErrors_data();
    void areaConfigurationErrors();
    void productAreaConfigurationReads();

private:
    HmiFramework* m_fw = nullptr;
    TestAreaDialog* m_dialog = nullptr;
};

void TestHmiFramework::init()
{
    m_fw = new HmiFramework;
    SlGfwAreaConfig machine = SlGfwAreaConfig::singleScreen(QStringLiteral("SlMachine"), QStringLiteral("screenMachine"),
                                                            QStringLiteral("formMachine"), QStringLiteral("Plain"));
    m_fw->addBuiltinArea(QStringLiteral("AreaMachine"), QStringLiteral("Machine"),
                         new SlGfwHmiDialog(nullptr, QStringLiteral("SlMachine")), machine,
                         {{QStringLiteral("Plain"), [](const QString& name) { return new SlGfwDialogForm(nullptr, name); }}});
    QString error;
    QVERIFY2(m_fw->addPluginArea(testEntry(), error), qPrintable(error));
    m_dialog = qobject_cast<TestAreaDialog*>(m_fw->area(1).dialog.data());
    QVERIFY(m_dialog);
    QVERIFY(m_fw->activateArea(QStringLiteral("AreaMachine"), error));
}

void TestHmiFramework::cleanup()
{
    delete m_fw;
    m_fw = nullptr;
    QCOMPARE(TestMainForm::instances, 0);
}

void TestHmiFramework::pluginContract()
{
    HmiPluginLibrary lib(QStringLiteral(HMI_TEST_PLUGIN));
    QString error;
    QVERIFY2(lib.load(error), qPrintable(error));
    QCOMPARE(lib.version(), QStringLiteral("09.08.07.06"));
    SlGfwPlugin* plugin = lib.plugin();

    QCOMPARE(plugin->queryInterface(SL_GFW_IID_PLUGIN(), nullptr), -1L);
    void* iface = reinterpret_cast<void*>(0x1);
    QCOMPARE(plugin->queryInterface(QUuid::createUuid(), &iface), SL_GFW_E_NOINTERFACE);
    QVERIFY(!iface);
    for (const QUuid& id : {SL_GFW_IID_PLUGIN(), SL_GFW_IID_GUI_COMPONENT_FACTORY(), SL_GFW_IID_DIALOG_FORM_FACTORY(),
                            SL_GFW_IID_PANEL_FORM_FACTORY(), SL_GFW_IID_SCREEN_FACTORY(), SL_GFW_IID_SOFTKEY_FACTORY(),
                            SL_GFW_IID_DIALOG_BAR_FACTORY(), SL_GFW_IID_FUNCTION_BLOCK_FACTORY()}) {
        QCOMPARE(plugin->queryInterface(id, &iface), 0L);
        QVERIFY(iface);
    }

    auto* registry = dynamic_cast<SlGfwPluginByMakroBaseV2*>(plugin);
    QVERIFY(registry);
    QCOMPARE(registry->metaType(QStringLiteral("TestMainForm")), 16);
    QCOMPARE(registry->metaType(QStringLiteral("TestAreaDialog")), 2);
    QCOMPARE(registry->metaType(QStringLiteral("Unknown")), 0);
    QCOMPARE(lib.guiComponents()->guiComponentClasses(), QStringList{QStringLiteral("TestAreaDialog")});
    QCOMPARE(lib.dialogForms()->dialogFormClasses(),
             QStringList({QStringLiteral("TestMainForm"), QStringLiteral("TestModalForm")}));
    QVERIFY(registry->panelFormClasses().isEmpty());
    QVERIFY(registry->screenClasses().isEmpty());

    // A dialog class is no form, and an unknown class is nothing at all.
    QVERIFY(!lib.dialogForms()->createDialogForm(QStringLiteral("TestAreaDialog"), nullptr, QStringLiteral("x")));
    QVERIFY(!lib.dialogForms()->createDialogForm(QStringLiteral("Unknown"), nullptr, QStringLiteral("x")));
    QVERIFY(plugin->registeredObjects().isEmpty());
    QScopedPointer<QWidget> form(lib.dialogForms()->createDialogForm(QStringLiteral("TestMainForm"), nullptr,
                                                                     QStringLiteral("formX")));
    QVERIFY(qobject_cast<TestMainForm*>(form.data()));
    QCOMPARE(form->objectName(), QStringLiteral("formX"));
    QCOMPARE(plugin->registeredObjects(), QList<QObject*>{form.data()});
    form.reset();
    QVERIFY(plugin->registeredObjects().isEmpty());
}

void TestHmiFramework::formsAreMadeByClassNameOnFirstUse()
{
    QString error;
    QVERIFY(m_fw->activateArea(QStringLiteral("TestArea"), error));
    QCOMPARE(m_dialog->activeScreen(), QStringLiteral("screenMain"));
    auto* main = qobject_cast<TestMainForm*>(m_dialog->existingForm(QStringLiteral("formMain")));
    QVERIFY(main);
    QCOMPARE(main->dialog(), m_dialog);
    QCOMPARE(main->hooks, QStringList{QStringLiteral("attached screenMain")});
    QVERIFY(!m_dialog->existingForm(QStringLiteral("formModal")));

    // formRef makes a form whose screen was never shown; it stays unattached.
    SlGfwDialogForm* modal = m_dialog->formRef(QStringLiteral("formModal"));
    QVERIFY(qobject_cast<TestModalForm*>(modal));
    QVERIFY(modal->attachedScreen().isEmpty());
    QCOMPARE(m_dialog->formRef(QStringLiteral("formModal")), modal);
    m_dialog->releaseFormRef(modal);
    m_dialog->releaseFormRef(modal);
}

void TestHmiFramework::formRefCounting()
{
    QVERIFY(!m_dialog->formRef(QStringLiteral("formUnknown")));
    QCOMPARE(m_dialog->formRefCount(QStringLiteral("formUnknown")), 0);

    SlGfwDialogForm* a = m_dialog->formRef(QStringLiteral("formMain"));
    SlGfwDialogForm* b = m_dialog->formRef(QStringLiteral("formMain"));
    QVERIFY(a && a == b);
    QCOMPARE(m_dialog->formRefCount(QStringLiteral("formMain")), 2);
    m_dialog->releaseFormRef(a);
    QCOMPARE(m_dialog->formRefCount(QStringLiteral("formMain")), 1);
    m_dialog->releaseFormRef(b);
    QCOMPARE(m_dialog->formRefCount(QStringLiteral("formMain")), 0);
    // One release too many is reported and does not go below zero.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("releaseFormRef of form formMain")));
    m_dialog->releaseFormRef(a);
    QCOMPARE(m_dialog->formRefCount(QStringLiteral("formMain")), 0);
    // A form of another dialog is not counted here.
    SlGfwDialogForm stranger;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("not of dialog")));
    m_dialog->releaseFormRef(&stranger);
}

void TestHmiFramework::propertyStringParsing_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected"); // "form.prop=value" per element
    QTest::newRow("empty") << QString() << QStringList();
    QTest::newRow("blanks and equals in values")
        << QStringLiteral("-slgfwprop1 f.propA=two words -slgfwprop2 f.propB=a=b c==d -slgfwprop3 f.propC=")
        << QStringList{QStringLiteral("f.propA=two words"), QStringLiteral("f.propB=a=b c==d"), QStringLiteral("f.propC=")};
    QTest::newRow("marker text out of turn stays in the value")
        << QStringLiteral("-slgfwprop1 f.propA=see -slgfwprop3 x -slgfwprop2 f.propB=-slgfwprop1 y")
        << QStringList{QStringLiteral("f.propA=see -slgfwprop3 x"), QStringLiteral("f.propB=-slgfwprop1 y")};
    QTest::newRow("next marker without form.property= stays in the value")
        << QStringLiteral("-slgfwprop1 f.propA=x -slgfwprop2 y -slgfwprop2 f.propB=z")
        << QStringList{QStringLiteral("f.propA=x -slgfwprop2 y"), QStringLiteral("f.propB=z")};
    QTest::newRow("trailing blank of a template")
        << QStringLiteral("-slgfwprop1 f.propCaption=Map axes -slgfwprop2 f.propBackScreen=screenSettings ")
        << QStringList{QStringLiteral("f.propCaption=Map axes"), QStringLiteral("f.propBackScreen=screenSettings")};
    QTest::newRow("line breaks and dots in values")
        << QStringLiteral("-slgfwprop1 f.propText=line 1.\nline 2 -slgfwprop2 f.propPath=//NC/WKS.DIR/A.MPF")
        << QStringList{QStringLiteral("f.propText=line 1.\nline 2"), QStringLiteral("f.propPath=//NC/WKS.DIR/A.MPF")};
}

void TestHmiFramework::propertyStringParsing()
{
    QFETCH(QString, text);
    QFETCH(QStringList, expected);
    QList<SlGfwPropertyString::Entry> entries;
    QString error;
    QVERIFY2(SlGfwPropertyString::parse(text, entries, error), qPrintable(error));
    QStringList got;
    for (const auto& e : entries)
        got << QStringLiteral("%1.%2=%3").arg(e.form, e.property, e.value);
    QCOMPARE(got, expected);

    QVERIFY(!SlGfwPropertyString::parse(QStringLiteral("-slgfwprop2 f.p=x"), entries, error));
    QVERIFY(!SlGfwPropertyString::parse(QStringLiteral("-slgfwprop1 novalue"), entries, error));
}

void TestHmiFramework::propertiesAreWrittenBeforeAttach()
{
    QString error;
    QVERIFY(m_fw->activateArea(QStringLiteral("TestArea"), error));
    auto* main = qobject_cast<TestMainForm*>(m_dialog->existingForm(QStringLiteral("formMain")));
    QVERIFY(m_dialog->switchToScreen(
        QStringLiteral("screenMain"),
        QStringLiteral("-slgfwprop1 formMain.propCaption=Query: a = b -slgfwprop2 formMain.propCount=42 "
                       "-slgfwprop3 formMain.propFlag=1 -slgfwprop4 formMain.propText=x -slgfwprop9 y")));
    QCOMPARE(main->attaches.last(), QStringLiteral("Query: a = b|42|1|x -slgfwprop9 y"));
    QCOMPARE(main->captionBarElementText(0), QStringLiteral("Query: a = b"));

    // A number too large for the declared int is written as what the
    // conversion leaves; an undeclared property is reported and skipped.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("declares no property propNope")));
    QVERIFY(m_dialog->switchToScreen(QStringLiteral("screenMain"),
                                     QStringLiteral("-slgfwprop1 formMain.propCount=3000000000 "
                                                    "-slgfwprop2 formMain.propFlag=0 -slgfwprop3 formMain.propNope=1")));
    QCOMPARE(main->attaches.last(), QStringLiteral("Query: a = b|0|0|x -slgfwprop9 y"));
}

void TestHmiFramework::modalScreensNestTwoDeep()
{
    QString error;
    QVERIFY(m_fw->activateArea(QStringLiteral("TestArea"), error));
    auto* main = qobject_cast<TestMainForm*>(m_dialog->existingForm(QStringLiteral("formMain")));
    QStringList seen;
    auto where = [this] { return QStringLiteral("%1/%2").arg(m_dialog->activeScreen()).arg(m_dialog->modalDepth()); };
    // Each step runs inside the event loop of the modal screen it finds.
    QTimer::singleShot(0, m_dialog, [&] {
        seen << where();
        QTimer::singleShot(0, m_dialog, [&] {
            seen << where();
            QString e;
            m_dialog->pressAction(QStringLiteral("doOK"), e);
        });
        QString e;
        m_dialog->pressAction(QStringLiteral("openNested"), e);
        seen << where();
        m_dialog->pressAction(QStringLiteral("doCancel"), e);
    });
    QVERIFY2(m_dialog->pressAction(QStringLiteral("openModal"), error), qPrintable(error));

    QCOMPARE(seen, QStringList({QStringLiteral("screenModal/1"), QStringLiteral("screenNested/2"),
                                QStringLiteral("screenModal/1")}));
    QCOMPARE(where(), QStringLiteral("screenMain/0"));
    QCOMPARE(main->lastModalResult, QVariant(QStringLiteral("doCancel@1")));
    auto* modal = qobject_cast<TestModalForm*>(m_dialog->existingForm(QStringLiteral("formModal")));
    QCOMPARE(modal->nestedResult, QVariant(QStringLiteral("doOK@2")));
    QCOMPARE(main->statusBarElementText(0), QStringLiteral("modal: doCancel@1"));
    // The opener comes back through its attach, as forms rely on.
    QCOMPARE(main->hooks.filter(QStringLiteral("attached")).size(), 2);
}

void TestHmiFramework::returningToTheFirstOpenerEndsBothModalScreens()
{
    QString error;
    QVERIFY(m_fw->activateArea(QStringLiteral("TestArea"), error));
    QTimer::singleShot(0, m_dialog, [&] {
        QTimer::singleShot(0, m_dialog, [&] { m_dialog->switchToScreen(QStringLiteral("screenMain")); });
        QString e;
        m_dialog->pressAction(QStringLiteral("openNested"), e);
    });
    QVERIFY(m_dialog->pressAction(QStringLiteral("openModal"), error));
    QCOMPARE(m_dialog->activeScreen(), QStringLiteral("screenMain"));
    QCOMPARE(m_dialog->modalDepth(), 0);
}

void TestHmiFramework::softkeysEnableDisableAndRebuild()
{
    QString error;
    QVERIFY(m_fw->activateArea(QStringLiteral("TestArea"), error));
    SlGfwScreen* main = m_dialog->screenRef(QStringLiteral("screenMain"));
    QVERIFY(main);
    QVERIFY(!main->menuSoftkey(QStringLiteral("myVr"), 2));
    QVERIFY(!main->menuSoftkey(QStringLiteral("myVr"), 4, QStringLiteral("notThisOne")));

    // Disabled by configuration: pressing it is refused with a reason.
    QVERIFY(!m_dialog->pressAction(QStringLiteral("off"), error));
    QVERIFY2(error.contains(QLatin1String("disabled")), qPrintable(error));

    // A key the form does not take reaches the dialog with its arguments.
    QVERIFY(m_dialog->pressAction(QStringLiteral("four"), error));
    QCOMPARE(m_dialog->journal.last(), QStringLiteral("dialog onFunction four a b=c"));

    QVERIFY(m_dialog->pressAction(QStringLiteral("disableFour"), error));
    QVERIFY(!main->menuSoftkey(QStringLiteral("myVr"), 4)->isEnabled());
    QVERIFY(!m_dialog->pressSoftkey(QStringLiteral("myVr"), 4, error));

    // Showing the screen again rebuilds its menus: the change is lost.
    QVERIFY(m_dialog->switchToScreen(QStringLiteral("screenMain")));
    QVERIFY(main->menuSoftkey(QStringLiteral("myVr"), 4)->isEnabled());
    QVERIFY(!main->menuSoftkey(QStringLiteral("myVr"), 5)->isEnabled());

    // ... unless the dialog restores it when the menu is shown.
    m_dialog->keepKey4Disabled = true;
    m_dialog->journal.clear();
    m_dialog->showMenus();
    QVERIFY(!main->menuSoftkey(QStringLiteral("myVr"), 4)->isEnabled());
    QCOMPARE(m_dialog->journal, QStringList({QStringLiteral("showMenu myVr screenMain"),
                                             QStringLiteral("showMenu myHu screenMain")}));

    // Shared keys of [dialog] and a screen's removal of one.
    QVERIFY(main->menuSoftkey(QStringLiteral("myHu"), 2));
    QVERIFY(!m_dialog->screenRef(QStringLiteral("screenModal"))->menuSoftkey(QStringLiteral("myHu"), 2));
    // A link key switches screens without asking the form.
    QVERIFY(m_dialog->switchToScreen(QStringLiteral("screenNested")));
    QVERIFY(m_dialog->pressSoftkey(QStringLiteral("myHu"), 1, error));
    QCOMPARE(m_dialog->activeScreen(), QStringLiteral("screenMain"));
}

void TestHmiFramework::areaSwitching()
{
    QString error;
    SlGfwHmiDialog* machine = m_fw->area(0).dialog;
    QCOMPARE(m_fw->currentAreaName(), QStringLiteral("AreaMachine"));
    QVERIFY(m_dialog->activeScreen().isEmpty());

    // The plug-in brings its own area to the front: the start screen shows.
    QVERIFY(m_dialog->switchToArea(QStringLiteral("TestArea"), QStringLiteral("TestAreaDialog"), QString(), false));
    QCOMPARE(m_fw->currentAreaName(), QStringLiteral("TestArea"));
    QCOMPARE(m_dialog->activeScreen(), QStringLiteral("screenMain"));

    // The area in front may refuse to go.
    m_dialog->holdArea = true;
    QVERIFY(!m_fw->activateArea(QStringLiteral("AreaMachine"), error));
    QVERIFY(error.contains(QLatin1String("TestArea")));
    QCOMPARE(m_fw->currentAreaName(), QStringLiteral("TestArea"));
    QCOMPARE(m_dialog->journal.last(), QStringLiteral("switchToArea AreaMachine"));

    m_dialog->holdArea = false;
    QVERIFY(m_dialog->switchToArea(QStringLiteral("AreaMachine"), QStringLiteral("SlMachine"), QString(), false));
    QCOMPARE(m_fw->currentDialog(), machine);
    QCOMPARE(machine->activeScreen(), QStringLiteral("screenMachine"));

    // Coming back: the screen stays attached, its menus are rebuilt.
    auto* main = qobject_cast<TestMainForm*>(m_dialog->existingForm(QStringLiteral("formMain")));
    const int attaches = main->attaches.size();
    m_dialog->journal.clear();
    QVERIFY(machine->switchToArea(QStringLiteral("TestArea"), QString(), QString(), false));
    QCOMPARE(main->attaches.size(), attaches);
    QVERIFY(m_dialog->journal.contains(QStringLiteral("showMenu myVr screenMain")));

    // Into a named screen of another area.
    QVERIFY(m_dialog->switchToArea(QStringLiteral("AreaMachine"), QString(), QString(), false));
    QVERIFY(machine->switchToArea(QStringLiteral("TestArea"), QString(), QStringLiteral("screenNested"), false));
    QCOMPARE(m_dialog->activeScreen(), QStringLiteral("screenNested"));

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("no area Nowhere")));
    QVERIFY(!m_dialog->switchToArea(QStringLiteral("Nowhere"), QString(), QString(), false));
}

void TestHmiFramework::brokenPluginOrConfigurationGetsItsOwnArea()
{
    HmiSystemConfig::Area missing = testEntry();
    missing.name = QStringLiteral("Missing");
    missing.library = QStringLiteral("/nonexistent/libnothing.so");
    QString error;
    QVERIFY(!m_fw->addPluginArea(missing, error));
    QVERIFY2(error.contains(QLatin1String("/nonexistent/libnothing.so")), qPrintable(error));

    QTemporaryDir dir;
    const QString cfg = dir.filePath(QStringLiteral("bad.ini"));
    QVERIFY(writeFile(cfg, "[dialog]\nclass = TestAreaDialog\n[screen s]\nform = f\nclass = TestMainForm\nmyVr9 = text:=x, action:=y\n"));
    HmiSystemConfig::Area badCfg = testEntry();
    badCfg.name = QStringLiteral("BadCfg");
    badCfg.cfg = cfg;
    QVERIFY(!m_fw->addPluginArea(badCfg, error));
    QVERIFY2(error.contains(cfg + QStringLiteral(":6")), qPrintable(error));

    HmiSystemConfig::Area wrongDialog = testEntry();
    wrongDialog.name = QStringLiteral("WrongDialog");
    wrongDialog.dialog = QStringLiteral("NoSuchDialog");
    QVERIFY(!m_fw->addPluginArea(wrongDialog, error));

    // Each broken area shows its reason on its screen; the good one works.
    QCOMPARE(m_fw->areaCount(), 5);
    for (const QString& name : {QStringLiteral("Missing"), QStringLiteral("BadCfg"), QStringLiteral("WrongDialog")}) {
        const HmiFramework::Area& area = m_fw->area(m_fw->indexOfArea(name));
        QVERIFY(!area.error.isEmpty());
        QVERIFY(m_fw->activateArea(name, error));
        SlGfwDialogForm* form = area.dialog->existingForm(QStringLiteral("formError"));
        QVERIFY(form);
        QCOMPARE(form->statusBarElementText(0), area.error);
    }
    QVERIFY(m_fw->activateArea(QStringLiteral("TestArea"), error));
    QCOMPARE(m_dialog->activeScreen(), QStringLiteral("screenMain"));
}

void TestHmiFramework::systemConfigurationLoadsWhatItCan()
{
    QTemporaryDir machine;
    const QString hmi = HmiSystemConfig::hmiFolder(machine.path());
    // The library by its absolute path: a copy would be a second library
    // with the same classes in this process.
    const QByteArray library = QByteArrayLiteral(HMI_TEST_PLUGIN);
    QVERIFY(QDir().mkpath(hmi + QStringLiteral("/Test/cfg")));
    QVERIFY(QFile::copy(QStringLiteral(HMI_TEST_AREA_CFG), hmi + QStringLiteral("/Test/cfg/testarea.ini")));
    QVERIFY(writeFile(hmi + QStringLiteral("/cfg/systemconfiguration.ini"),
                      "[areas]\n"
                      "AREA1 = name:=Second, dialog:=TestAreaDialog, text:=Two, library:=" + library +
                          ", cfg:=Test/cfg/testarea.ini\n"
                      "AREA2 = garbage\n"
                      "AREA3 = name:=Third, dialog:=TestAreaDialog, colour:=red, library:=x, cfg:=y\n"
                      "AREA4 = name:=Fourth, dialog:=TestAreaDialog, library:=none.so, cfg:=Test/cfg/testarea.ini\n"));
    // The user layer replaces an entry of the oem layer by its key.
    QVERIFY(writeFile(HmiSystemConfig::hmiFolder(machine.path(), QStringLiteral("user")) +
                          QStringLiteral("/cfg/systemconfiguration.ini"),
                      "[areas]\nAREA1 = name:=Second, dialog:=TestAreaDialog, text:=Mine, library:=" + library +
                          ", cfg:=Test/cfg/testarea.ini\n"));

    HmiFramework fw;
    const QStringList errors = fw.loadConfiguredAreas(machine.path());
    QCOMPARE(errors.size(), 3);
    QVERIFY(errors.at(0).contains(QLatin1String("systemconfiguration.ini:3")));
    QVERIFY(errors.at(1).contains(QLatin1String("colour")));
    QVERIFY(errors.at(2).contains(QLatin1String("none.so")));
    QCOMPARE(fw.areaCount(), 2);
    QCOMPARE(fw.area(0).text, QStringLiteral("Mine"));
    QVERIFY(fw.area(0).error.isEmpty());
    QVERIFY(qobject_cast<TestAreaDialog*>(fw.area(0).dialog.data()));
    QVERIFY(!fw.area(1).error.isEmpty());
}

void TestHmiFramework::areaConfigurationErrors_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("fragment");
    QTest::newRow("no dialog") << QStringLiteral("[screen s]\nform=f\nclass=C\n") << QStringLiteral("no [dialog]");
    QTest::newRow("no class") << QStringLiteral("[dialog]\n[screen s]\nform=f\nclass=C\n") << QStringLiteral("names no class");
    QTest::newRow("screen without form") << QStringLiteral("[dialog]\nclass=D\n[screen s]\nclass=C\n") << QStringLiteral("needs both");
    QTest::newRow("key without action") << QStringLiteral("[dialog]\nclass=D\n[screen s]\nform=f\nclass=C\nmyVr1 = text:=A\n")
                                        << QStringLiteral("neither action nor screen");
    QTest::newRow("unknown key setting") << QStringLiteral("[dialog]\nclass=D\n[screen s]\nform=f\nclass=C\nmyHu1 = text:=A, colour:=b\n")
                                         << QStringLiteral("colour");
    QTest::newRow("link to nowhere") << QStringLiteral("[dialog]\nclass=D\nmyHu1 = text:=A, screen:=elsewhere\n[screen s]\nform=f\nclass=C\n")
                                     << QStringLiteral("unknown screen elsewhere");
    QTest::newRow("one form, two classes") << QStringLiteral("[dialog]\nclass=D\n[screen a]\nform=f\nclass=C\n[screen b]\nform=f\nclass=E\n")
                                           << QStringLiteral("form f is of class C");
    QTest::newRow("start screen missing") << QStringLiteral("[dialog]\nclass=D\nstartScreen=x\n[screen s]\nform=f\nclass=C\n")
                                          << QStringLiteral("start screen x");
    QTest::newRow("bad shared") << QStringLiteral("[dialog]\nclass=D\n[screen s]\nform=f\nclass=C\nshared=no\n")
                                << QStringLiteral("shared must be");
    QTest::newRow("bad enabled") << QStringLiteral("[dialog]\nclass=D\n[screen s]\nform=f\nclass=C\nmyVr2 = action:=a, enabled:=maybe\n")
                                 << QStringLiteral("enabled must be");
}

void TestHmiFramework::areaConfigurationErrors()
{
    QFETCH(QString, text);
    QFETCH(QString, fragment);
    SlGfwAreaConfig cfg;
    QString error;
    QVERIFY(!cfg.parse(text, error));
    QVERIFY2(error.contains(fragment), qPrintable(error));
}

void TestHmiFramework::productAreaConfigurationReads()
{
    SlGfwAreaConfig cfg;
    QString error;
    QVERIFY2(cfg.load(qEnvironmentVariable("HARVEL_SOURCE_DIR") + QStringLiteral("/plugin/SiemensHarvel.ini"), error),
             qPrintable(error));
    QCOMPARE(cfg.dialogClass(), QStringLiteral("SiemensHarvel"));
    QCOMPARE(cfg.startScreen(), QStringLiteral("screenLog"));
    QCOMPARE(cfg.formClass(QStringLiteral("formIMSG")), QStringLiteral("SiemensHarvelFormIMSG"));
    // Modal screens keep only their own keys, the others the area's.
    auto has = [&cfg](const QString& screen, const QString& menu, int position, const QString& action) {
        for (const SlGfwAreaConfig::Softkey& k : cfg.screen(screen)->softkeys)
            if (k.menu == menu && k.position == position)
                return k.action == action;
        return action.isEmpty();
    };
    QVERIFY(has(QStringLiteral("screenSettings"), QStringLiteral("myVr"), 2, QStringLiteral("saveSettings")));
    QVERIFY(has(QStringLiteral("screenSettings"), QStringLiteral("myHu"), 3, QStringLiteral("screenReport")));
    QVERIFY(has(QStringLiteral("screenIMSG"), QStringLiteral("myVr"), 8, QStringLiteral("doOK")));
    QVERIFY(has(QStringLiteral("screenIMSG"), QStringLiteral("myHu"), 1, QString()));
    QVERIFY(has(QStringLiteral("screenReport"), QStringLiteral("myVr"), 3, QStringLiteral("resetSize")));
}

QTEST_MAIN(TestHmiFramework)
#include "TestHmiFramework.moc"
