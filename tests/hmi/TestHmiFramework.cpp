// The HMI framework stand-in with the test plug-in loaded as harvel-hmi
// loads plug-ins: creation by class name, property strings, modal screens,
// soft keys, form references and area switching; and the whole machine
// hosted in this process.
#include "HmiFramework.h"
#include "HmiHost.h"
#include "HmiPluginLibrary.h"
#include "HmiSystemConfig.h"
#include "HmiWindow.h"
#include "SlGfwAreaConfig.h"
#include "SlGfwDialogForm.h"
#include "SlGfwPluginByMakroBaseV2.h"
#include "SlGfwPropertyString.h"
#include "SlGfwScreen.h"
#include "TestAreaDialog.h"
#include "TestMainForm.h"
#include "TestModalForm.h"

#include <QtTest>

namespace {
HmiSystemConfig::Area testEntry(const QString& name = "TestArea")
{
    HmiSystemConfig::Area a;
    a.key = "AREA1";
    a.name = name;
    a.dialog = "TestAreaDialog";
    a.text = "Test";
    a.library = HMI_TEST_PLUGIN;
    a.cfg = HMI_TEST_AREA_CFG;
    return a;
}

bool writeFile(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(text) == text.size();
}

void warning(const char* pattern)
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(pattern));
}
} // namespace

class TestHmiFramework : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void pluginContractAndForms();
    void propertyStrings_data();
    void propertyStrings();
    void modalScreensNestTwoDeep();
    void softkeysEnableDisableAndRebuild();
    void areaSwitching();
    void configurations();
    void hostStartsWhatItCanAndReportsTheRest();

private:
    TestMainForm* mainForm() { return qobject_cast<TestMainForm*>(m_dialog->existingForm("formMain")); }
    HmiFramework* m_fw = nullptr;
    TestAreaDialog* m_dialog = nullptr;
    QString m_error;
};

void TestHmiFramework::init()
{
    m_fw = new HmiFramework;
    SlGfwAreaConfig machine = SlGfwAreaConfig::singleScreen("SlMachine", "screenMachine", "formMachine", "Plain");
    m_fw->addBuiltinArea("AreaMachine", "Machine", new SlGfwHmiDialog(nullptr, "SlMachine"), machine,
                         {{"Plain", [](const QString& name) { return new SlGfwDialogForm(nullptr, name); }}});
    QVERIFY2(m_fw->addPluginArea(testEntry(), m_error), qPrintable(m_error));
    m_dialog = qobject_cast<TestAreaDialog*>(m_fw->area(1).dialog.data());
    QVERIFY(m_dialog);
    QVERIFY(m_fw->activateArea("AreaMachine", m_error));
}

void TestHmiFramework::cleanup()
{
    delete m_fw;
    m_fw = nullptr;
    QCOMPARE(TestMainForm::instances, 0);
}

void TestHmiFramework::pluginContractAndForms()
{
    HmiPluginLibrary lib(HMI_TEST_PLUGIN);
    QVERIFY2(lib.load(m_error), qPrintable(m_error));
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
    QCOMPARE(registry->metaType("TestMainForm"), 16);
    QCOMPARE(registry->metaType("TestAreaDialog"), 2);
    QCOMPARE(registry->metaType("Unknown"), 0);
    QCOMPARE(lib.guiComponents()->guiComponentClasses(), QStringList{"TestAreaDialog"});
    QCOMPARE(lib.dialogForms()->dialogFormClasses(), (QStringList{"TestMainForm", "TestModalForm"}));
    QVERIFY(registry->panelFormClasses().isEmpty() && registry->screenClasses().isEmpty());
    // A dialog class is no form, and an unknown class is nothing at all.
    QVERIFY(!lib.dialogForms()->createDialogForm("TestAreaDialog", nullptr, "x"));
    QVERIFY(!lib.dialogForms()->createDialogForm("Unknown", nullptr, "x"));
    QVERIFY(plugin->registeredObjects().isEmpty());
    QScopedPointer<QWidget> form(lib.dialogForms()->createDialogForm("TestMainForm", nullptr, "formX"));
    QVERIFY(qobject_cast<TestMainForm*>(form.data()));
    QCOMPARE(form->objectName(), QStringLiteral("formX"));
    QCOMPARE(plugin->registeredObjects(), QList<QObject*>{form.data()});
    form.reset();
    QVERIFY(plugin->registeredObjects().isEmpty());

    // In an area, by the configuration's class names, counted by reference.
    QVERIFY(!m_dialog->formRef("formUnknown"));
    QCOMPARE(m_dialog->formRefCount("formUnknown"), 0);
    QVERIFY(m_fw->activateArea("TestArea", m_error));
    QCOMPARE(m_dialog->activeScreen(), QStringLiteral("screenMain"));
    TestMainForm* main = mainForm();
    QVERIFY(main);
    QCOMPARE(main->dialog(), m_dialog);
    QCOMPARE(main->attaches, QStringList{"screenMain||-1|0|"});
    QVERIFY(!m_dialog->existingForm("formModal"));

    // formRef makes a form whose screen was never shown; it stays unattached.
    SlGfwDialogForm* modal = m_dialog->formRef("formModal");
    QVERIFY(qobject_cast<TestModalForm*>(modal));
    QVERIFY(modal->attachedScreen().isEmpty());
    QCOMPARE(m_dialog->formRef("formModal"), modal);
    QCOMPARE(m_dialog->formRefCount("formModal"), 2);
    m_dialog->releaseFormRef(modal);
    QCOMPARE(m_dialog->formRefCount("formModal"), 1);
    m_dialog->releaseFormRef(modal);
    QCOMPARE(m_dialog->formRefCount("formModal"), 0);
    // One release too many is reported and does not go below zero.
    warning("releaseFormRef of form formModal");
    m_dialog->releaseFormRef(modal);
    QCOMPARE(m_dialog->formRefCount("formModal"), 0);
    // A form of another dialog is not counted here.
    SlGfwDialogForm stranger;
    warning("not of dialog");
    m_dialog->releaseFormRef(&stranger);
}

void TestHmiFramework::propertyStrings_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected"); // "form.prop=value" per element
    QTest::newRow("empty") << QString() << QStringList();
    QTest::newRow("blanks and equals in values")
        << "-slgfwprop1 f.propA=two words -slgfwprop2 f.propB=a=b c==d -slgfwprop3 f.propC="
        << QStringList{"f.propA=two words", "f.propB=a=b c==d", "f.propC="};
    QTest::newRow("marker text out of turn stays in the value")
        << "-slgfwprop1 f.propA=see -slgfwprop3 x -slgfwprop2 f.propB=-slgfwprop1 y"
        << QStringList{"f.propA=see -slgfwprop3 x", "f.propB=-slgfwprop1 y"};
    QTest::newRow("next marker without form.property= stays in the value")
        << "-slgfwprop1 f.propA=x -slgfwprop2 y -slgfwprop2 f.propB=z" << QStringList{"f.propA=x -slgfwprop2 y", "f.propB=z"};
    QTest::newRow("trailing blank of a template")
        << "-slgfwprop1 f.propCaption=Map axes -slgfwprop2 f.propBackScreen=screenSettings "
        << QStringList{"f.propCaption=Map axes", "f.propBackScreen=screenSettings"};
    QTest::newRow("line breaks and dots in values")
        << "-slgfwprop1 f.propText=line 1.\nline 2 -slgfwprop2 f.propPath=//NC/WKS.DIR/A.MPF"
        << QStringList{"f.propText=line 1.\nline 2", "f.propPath=//NC/WKS.DIR/A.MPF"};
    QTest::newRow("wrong first marker") << "-slgfwprop2 f.p=x" << QStringList{"error"};
    QTest::newRow("no value") << "-slgfwprop1 novalue" << QStringList{"error"};
}

void TestHmiFramework::propertyStrings()
{
    QFETCH(QString, text);
    QFETCH(QStringList, expected);
    QList<SlGfwPropertyString::Entry> entries;
    QStringList got{"error"};
    if (SlGfwPropertyString::parse(text, entries, m_error)) {
        got.clear();
        for (const auto& e : entries)
            got << QStringLiteral("%1.%2=%3").arg(e.form, e.property, e.value);
    }
    QCOMPARE(got, expected);
    if (QTest::currentDataTag() != QLatin1String("empty"))
        return;
    // Written before the attach, converted to the declared types.
    QVERIFY(m_fw->activateArea("TestArea", m_error));
    QVERIFY(m_dialog->switchToScreen("screenMain", "-slgfwprop1 formMain.propCaption=Query: a = b -slgfwprop2 formMain.propCount=42 "
                                                   "-slgfwprop3 formMain.propFlag=1 -slgfwprop4 formMain.propText=x -slgfwprop9 y"));
    QCOMPARE(mainForm()->attaches.last(), QStringLiteral("screenMain|Query: a = b|42|1|x -slgfwprop9 y"));
    QCOMPARE(mainForm()->captionBarElementText(0), QStringLiteral("Query: a = b"));
    // A number too large for the declared int is written as what the
    // conversion leaves; an undeclared property is reported and skipped.
    warning("declares no property propNope");
    QVERIFY(m_dialog->switchToScreen("screenMain", "-slgfwprop1 formMain.propCount=3000000000 "
                                                   "-slgfwprop2 formMain.propFlag=0 -slgfwprop3 formMain.propNope=1"));
    QCOMPARE(mainForm()->attaches.last(), QStringLiteral("screenMain|Query: a = b|0|0|x -slgfwprop9 y"));
}

void TestHmiFramework::modalScreensNestTwoDeep()
{
    QVERIFY(m_fw->activateArea("TestArea", m_error));
    QStringList seen;
    auto where = [this] { return QStringLiteral("%1/%2").arg(m_dialog->activeScreen()).arg(m_dialog->modalDepth()); };
    auto press = [this](const char* action) { return m_dialog->pressAction(action, m_error); };
    // Each step runs inside the event loop of the modal screen it finds.
    QTimer::singleShot(0, m_dialog, [&] {
        seen << where();
        QTimer::singleShot(0, m_dialog, [&] {
            seen << where();
            press("doOK");
        });
        press("openNested");
        seen << where();
        press("doCancel");
    });
    QVERIFY2(press("openModal"), qPrintable(m_error));
    QCOMPARE(seen, (QStringList{"screenModal/1", "screenNested/2", "screenModal/1"}));
    QCOMPARE(where(), QStringLiteral("screenMain/0"));
    QCOMPARE(mainForm()->lastModalResult, QVariant("doCancel@1"));
    QCOMPARE(qobject_cast<TestModalForm*>(m_dialog->existingForm("formModal"))->nestedResult, QVariant("doOK@2"));
    QCOMPARE(mainForm()->statusBarElementText(0), QStringLiteral("modal: doCancel@1"));
    // The opener comes back through its attach, as forms rely on.
    QCOMPARE(mainForm()->attaches.size(), 2);

    // Returning to the first opener ends both modal screens.
    QTimer::singleShot(0, m_dialog, [&] {
        QTimer::singleShot(0, m_dialog, [&] { m_dialog->switchToScreen("screenMain"); });
        press("openNested");
    });
    QVERIFY(press("openModal"));
    QCOMPARE(where(), QStringLiteral("screenMain/0"));
}

void TestHmiFramework::softkeysEnableDisableAndRebuild()
{
    QVERIFY(m_fw->activateArea("TestArea", m_error));
    SlGfwScreen* main = m_dialog->screenRef("screenMain");
    QVERIFY(!main->menuSoftkey("myVr", 2));
    QVERIFY(!main->menuSoftkey("myVr", 4, "notThisOne"));
    // Disabled by configuration: pressing it is refused with a reason.
    QVERIFY(!m_dialog->pressAction("off", m_error));
    QVERIFY2(m_error.contains("disabled"), qPrintable(m_error));
    // A key the form does not take reaches the dialog with its arguments.
    QVERIFY(m_dialog->pressAction("four", m_error));
    QCOMPARE(m_dialog->journal.last(), QStringLiteral("dialog onFunction four a b=c"));
    QVERIFY(m_dialog->pressAction("disableFour", m_error));
    QVERIFY(!main->menuSoftkey("myVr", 4)->isEnabled());
    QVERIFY(!m_dialog->pressSoftkey("myVr", 4, m_error));
    // Showing the screen again rebuilds its menus: the change is lost ...
    QVERIFY(m_dialog->switchToScreen("screenMain"));
    QVERIFY(main->menuSoftkey("myVr", 4)->isEnabled());
    QVERIFY(!main->menuSoftkey("myVr", 5)->isEnabled());
    // ... unless the dialog restores it when the menu is shown.
    m_dialog->keepKey4Disabled = true;
    m_dialog->journal.clear();
    m_dialog->showMenus();
    QVERIFY(!main->menuSoftkey("myVr", 4)->isEnabled());
    QCOMPARE(m_dialog->journal, (QStringList{"showMenu myVr screenMain", "showMenu myHu screenMain"}));
    // Shared keys of [dialog] and a screen's removal of one.
    QVERIFY(main->menuSoftkey("myHu", 2));
    QVERIFY(!m_dialog->screenRef("screenModal")->menuSoftkey("myHu", 2));
    // A link key switches screens without asking the form.
    QVERIFY(m_dialog->switchToScreen("screenNested"));
    QVERIFY(m_dialog->pressSoftkey("myHu", 1, m_error));
    QCOMPARE(m_dialog->activeScreen(), QStringLiteral("screenMain"));
}

void TestHmiFramework::areaSwitching()
{
    SlGfwHmiDialog* machine = m_fw->area(0).dialog;
    QCOMPARE(m_fw->currentAreaName(), QStringLiteral("AreaMachine"));
    QVERIFY(m_dialog->activeScreen().isEmpty());
    // The plug-in brings its own area to the front: the start screen shows.
    QVERIFY(m_dialog->switchToArea("TestArea", "TestAreaDialog", QString(), false));
    QCOMPARE(m_fw->currentAreaName(), QStringLiteral("TestArea"));
    QCOMPARE(m_dialog->activeScreen(), QStringLiteral("screenMain"));
    // The area in front may refuse to go.
    m_dialog->holdArea = true;
    QVERIFY(!m_fw->activateArea("AreaMachine", m_error));
    QVERIFY(m_error.contains("TestArea"));
    QCOMPARE(m_fw->currentAreaName(), QStringLiteral("TestArea"));
    QCOMPARE(m_dialog->journal.last(), QStringLiteral("switchToArea AreaMachine"));
    m_dialog->holdArea = false;
    QVERIFY(m_dialog->switchToArea("AreaMachine", "SlMachine", QString(), false));
    QCOMPARE(m_fw->currentDialog(), machine);
    QCOMPARE(machine->activeScreen(), QStringLiteral("screenMachine"));
    // Coming back: the screen stays attached, its menus are rebuilt.
    const int attaches = mainForm()->attaches.size();
    m_dialog->journal.clear();
    QVERIFY(machine->switchToArea("TestArea", QString(), QString(), false));
    QCOMPARE(mainForm()->attaches.size(), attaches);
    QVERIFY(m_dialog->journal.contains("showMenu myVr screenMain"));
    // Into a named screen of another area.
    QVERIFY(m_dialog->switchToArea("AreaMachine", QString(), QString(), false));
    QVERIFY(machine->switchToArea("TestArea", QString(), "screenNested", false));
    QCOMPARE(m_dialog->activeScreen(), QStringLiteral("screenNested"));
    warning("no area Nowhere");
    QVERIFY(!m_dialog->switchToArea("Nowhere", QString(), QString(), false));
}

void TestHmiFramework::configurations()
{
    // A broken plug-in or configuration gets an area of its own that shows why.
    HmiSystemConfig::Area missing = testEntry("Missing");
    missing.cfg = "/nonexistent/gone.ini";
    QVERIFY(!m_fw->addPluginArea(missing, m_error));
    QVERIFY2(m_error.contains("/nonexistent/gone.ini"), qPrintable(m_error));
    QTemporaryDir dir;
    const QString cfg = dir.filePath("bad.ini");
    QVERIFY(writeFile(cfg, "[dialog]\nclass = TestAreaDialog\n[screen s]\nform = f\nclass = TestMainForm\nmyVr9 = text:=x, action:=y\n"));
    HmiSystemConfig::Area badCfg = testEntry("BadCfg");
    badCfg.cfg = cfg;
    QVERIFY(!m_fw->addPluginArea(badCfg, m_error));
    QVERIFY2(m_error.contains(cfg + ":6"), qPrintable(m_error));
    HmiSystemConfig::Area wrongDialog = testEntry("WrongDialog");
    wrongDialog.dialog = "NoSuchDialog";
    QVERIFY(!m_fw->addPluginArea(wrongDialog, m_error));
    QCOMPARE(m_fw->areaCount(), 5);
    for (const char* name : {"Missing", "BadCfg", "WrongDialog"}) {
        const HmiFramework::Area& area = m_fw->area(m_fw->indexOfArea(name));
        QVERIFY(!area.error.isEmpty());
        QVERIFY(m_fw->activateArea(name, m_error));
        SlGfwDialogForm* form = area.dialog->existingForm("formError");
        QVERIFY(form);
        QCOMPARE(form->statusBarElementText(0), area.error);
    }
    QVERIFY(m_fw->activateArea("TestArea", m_error));
    QCOMPARE(m_dialog->activeScreen(), QStringLiteral("screenMain"));

    // What an area configuration gets wrong, each named.
    const QList<QPair<QString, QString>> bad{
        {"[screen s]\nform=f\nclass=C\n", "no [dialog]"},
        {"[dialog]\n[screen s]\nform=f\nclass=C\n", "names no class"},
        {"[dialog]\nclass=D\n[screen s]\nclass=C\n", "needs both"},
        {"[dialog]\nclass=D\n[screen s]\nform=f\nclass=C\nmyVr1 = text:=A\n", "neither action nor screen"},
        {"[dialog]\nclass=D\n[screen s]\nform=f\nclass=C\nmyHu1 = text:=A, colour:=b\n", "colour"},
        {"[dialog]\nclass=D\nmyHu1 = text:=A, screen:=elsewhere\n[screen s]\nform=f\nclass=C\n", "unknown screen elsewhere"},
        {"[dialog]\nclass=D\n[screen a]\nform=f\nclass=C\n[screen b]\nform=f\nclass=E\n", "form f is of class C"},
        {"[dialog]\nclass=D\nstartScreen=x\n[screen s]\nform=f\nclass=C\n", "start screen x"},
        {"[dialog]\nclass=D\n[screen s]\nform=f\nclass=C\nshared=no\n", "shared must be"},
        {"[dialog]\nclass=D\n[screen s]\nform=f\nclass=C\nmyVr2 = action:=a, enabled:=maybe\n", "enabled must be"}};
    for (const auto& b : bad) {
        SlGfwAreaConfig area;
        QVERIFY(!area.parse(b.first, m_error));
        QVERIFY2(m_error.contains(b.second), qPrintable(m_error));
    }

    // The product's own: modal screens keep only their own keys, the others the area's.
    SlGfwAreaConfig product;
    QVERIFY2(product.load(qEnvironmentVariable("HARVEL_SOURCE_DIR") + "/plugin/SiemensHarvel.ini", m_error), qPrintable(m_error));
    QCOMPARE(product.dialogClass(), QStringLiteral("SiemensHarvel"));
    QCOMPARE(product.startScreen(), QStringLiteral("screenLog"));
    QCOMPARE(product.formClass("formIMSG"), QStringLiteral("SiemensHarvelFormIMSG"));
    const QList<QStringList> keys{{"screenSettings", "myVr", "2", "saveSettings"}, {"screenSettings", "myHu", "3", "screenReport"},
                                  {"screenIMSG", "myVr", "8", "doOK"}, {"screenIMSG", "myHu", "1", ""},
                                  {"screenReport", "myVr", "3", "resetSize"}};
    for (const QStringList& key : keys) {
        QString action;
        for (const SlGfwAreaConfig::Softkey& k : product.screen(key[0])->softkeys)
            if (k.menu == key[1] && k.position == key[2].toInt())
                action = k.action;
        QCOMPARE(action, key[3]);
    }
}

void TestHmiFramework::hostStartsWhatItCanAndReportsTheRest()
{
    // The system configuration loads what it can. The library by its
    // absolute path: a copy would be a second library with the same classes
    // in this process. The user layer replaces an entry of the oem layer by its key.
    QTemporaryDir machine;
    const QString hmi = HmiSystemConfig::hmiFolder(machine.path());
    const QByteArray library = HMI_TEST_PLUGIN;
    QVERIFY(QDir().mkpath(hmi + "/Test/cfg") && QFile::copy(HMI_TEST_AREA_CFG, hmi + "/Test/cfg/testarea.ini"));
    QVERIFY(writeFile(hmi + "/cfg/systemconfiguration.ini",
                      "[areas]\nAREA1 = name:=TestArea, dialog:=TestAreaDialog, text:=Two, library:=" + library +
                          ", cfg:=Test/cfg/testarea.ini\nAREA2 = garbage\n"
                          "AREA3 = name:=Third, dialog:=TestAreaDialog, colour:=red, library:=x, cfg:=y\n"
                          "AREA4 = name:=Fourth, dialog:=TestAreaDialog, library:=none.so, cfg:=Test/cfg/testarea.ini\n"));
    QVERIFY(writeFile(HmiSystemConfig::hmiFolder(machine.path(), "user") + "/cfg/systemconfiguration.ini",
                      "[areas]\nAREA1 = name:=TestArea, dialog:=TestAreaDialog, text:=Mine, library:=" + library +
                          ", cfg:=Test/cfg/testarea.ini\n"));
    HmiHost host;
    const QStringList errors = host.start(machine.path());
    QCOMPARE(errors.size(), 3);
    QVERIFY(errors.at(0).contains("systemconfiguration.ini:3"));
    QVERIFY(errors.at(1).contains("colour"));
    QVERIFY(errors.at(2).contains("none.so"));
    HmiFramework* fw = host.framework();
    QCOMPARE(fw->areaCount(), 3);
    QCOMPARE(fw->area(1).text, QStringLiteral("Mine"));
    QVERIFY(fw->area(1).error.isEmpty() && !fw->area(2).error.isEmpty());
    QVERIFY(qobject_cast<TestAreaDialog*>(fw->area(1).dialog.data()));
    QVERIFY(host.nc());
    QCOMPARE(fw->currentAreaName(), QStringLiteral("AreaMachine"));
    QVERIFY(QFile::exists(CtlServer::socketPath(machine.path())));
    QVERIFY(QTest::qWaitForWindowActive(host.window()));

    // Both handlers answer in-process, the NC's and the panel's.
    const CtlResult nc = host.command({"nc", "program", "select", "//NC/MPF.DIR/MAIN.MPF"});
    QVERIFY2(nc.code == 0, qPrintable(nc.err));
    auto state = [&host] { return QJsonDocument::fromJson(host.command({"hmi", "state", "--json"}).out.toUtf8()).object(); };
    auto enabled = [&state](const QString& menu, int position) {
        for (const QJsonValue& k : state().value("softkeys").toObject().value(menu).toArray())
            if (k.toObject().value("position").toInt() == position)
                return k.toObject().value("enabled").toBool();
        return false;
    };
    // F10 brings the next area, Shift+F3 presses myVr 3 ("Disable 4").
    QTest::keyClick(host.window(), Qt::Key_F10);
    QCOMPARE(fw->currentAreaName(), QStringLiteral("TestArea"));
    QCOMPARE(state().value("screen").toString(), QStringLiteral("screenMain"));
    QVERIFY(enabled("myVr", 4));
    QTest::keyClick(host.window(), Qt::Key_F3, Qt::ShiftModifier);
    QVERIFY(!enabled("myVr", 4));
    // F1 presses myHu 1, the link to the main screen, which rebuilds its menus.
    QTest::keyClick(host.window(), Qt::Key_F1);
    QVERIFY(enabled("myVr", 4));

    // Quit is asked for after the answer.
    QSignalSpy quit(&host, &HmiHost::quitRequested);
    QCOMPARE(host.command({"quit"}).code, 0);
    QCOMPARE(quit.count(), 0);
    QCoreApplication::processEvents();
    QCOMPARE(quit.count(), 1);

    host.shutdown();
    QVERIFY(!host.framework());
    QVERIFY(!QFile::exists(CtlServer::socketPath(machine.path())));
    host.shutdown();
}

QTEST_MAIN(TestHmiFramework)
#include "TestHmiFramework.moc"
