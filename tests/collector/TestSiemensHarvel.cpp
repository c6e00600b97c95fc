// The component installed into a machine folder and started by the
// operator interface, as the HMI starts it on the NCU: its start, its
// states and its registration, seen from the outside.
#include "HmiFramework.h"
#include "HmiHost.h"
#include "NetLinkFixture.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwPluginByMakroBaseV2.h"
#include "VirtualNc.h"

#include <QtTest>

namespace {
const QString kTitle = QStringLiteral("SiemensHarvel (Build 20260528) for NCU");
}

class TestSiemensHarvel : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_machine.reset(new QTemporaryDir); m_host.reset(new HmiHost); }
    void cleanup() { m_host->shutdown(); }

    void startsWithBannerAndConfigurationAndRegisters();
    void withoutConfigurationOnlyTheLogAndTheAreaStart();

private:
    QString applDir() const { return m_machine->path() + "/card/oem/sinumerik/hmi/NorvaneZYN/appl"; }
    QString cfgFile() const { return m_machine->path() + "/card/oem/sinumerik/hmi/NorvaneZYN/cfg/TMRNC.INI"; }
    QString log() const
    {
        QFile file(applDir() + "/logs/SiemensHarvel.log");
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    QString tmrGet(const QString& name) { return m_host->nc()->control({"get", "/NC/_N_NC_GD3_ACX/" + name}).out.trimmed(); }
    SlGfwHmiDialog* component() const
    {
        HmiFramework* framework = m_host->framework();
        const int index = framework ? framework->indexOfArea(QStringLiteral("Norvane")) : -1;
        return index < 0 ? nullptr : framework->area(index).dialog.data();
    }
    // The test holds no copy of the plug-in's code, so it reaches the
    // component's operations by name, as any other host could.
    int callInt(const char* method, QGenericArgument a, QGenericArgument b = {}, QGenericArgument c = {})
    {
        int result = 12345;
        return QMetaObject::invokeMethod(component(), method, Qt::DirectConnection, Q_RETURN_ARG(int, result), a, b, c) ? result
                                                                                                                      : 54321;
    }

    QScopedPointer<QTemporaryDir> m_machine;
    QScopedPointer<HmiHost> m_host;
};

void TestSiemensHarvel::startsWithBannerAndConfigurationAndRegisters()
{
    QVERIFY(NetLinkFixture::InstallPlugin(m_machine->path()));
    QCOMPARE(m_host->start(m_machine->path()), QStringList());

    const CtlResult areas = m_host->command({"hmi", "areas"});
    QVERIFY2(areas.out.contains(QLatin1String("Norvane")), qPrintable(areas.out));
    QCOMPARE(component()->metaObject()->className(), "SiemensHarvel");

    const QString libFile = QFileInfo(applDir() + QStringLiteral("/libsiemensharvel.so")).canonicalFilePath();
    QStringList expected{QString(76, QLatin1Char('=')) + QLatin1Char('\n'), QStringLiteral("Starting ") + kTitle,
                         QStringLiteral(", LibFile = %1, ApplDir = %2, CfgFile = %3\n")
                             .arg(libFile, QFileInfo(applDir()).canonicalFilePath(), QFileInfo(cfgFile()).canonicalFilePath()),
                         // The settings' nine lines in their order are the configuration's
                         // own test; here the first and the last after the banner.
                         QStringLiteral("Target Path = //127.0.0.1/telmor\n"), QStringLiteral("ZYN Net Server Port = 8510\n")};
    // The logger's worker writes in passes; wait for the last line.
    QTRY_VERIFY_WITH_TIMEOUT(log().contains(expected.last()), 20000);
    const QString text = log();
    for (QString& part : expected)
        part = QRegularExpression::escape(part);
    QVERIFY2(QRegularExpression("^" + expected.join(".*"), QRegularExpression::DotMatchesEverythingOption).match(text).hasMatch(),
             qPrintable(text));
    QVERIFY(!text.contains(QLatin1String("Cannot start")));

    // Running: the screens' operations reach the NC.
    QCOMPARE(callInt("SetTmrFileVar", Q_ARG(int, 1)), 0);
    QCOMPARE(tmrGet("TMR_FILE"), QStringLiteral("1"));
    QCOMPARE(callInt("SetFindSphereInputs", Q_ARG(double, 12.5), Q_ARG(double, 3), Q_ARG(int, 1)), 0);
    QCOMPARE(tmrGet("TMR_FINDSPHERE[1,3]"), QStringLiteral("12.5\n3\n1"));

    // The area is the operator's to enter. Without a running net server
    // its key 3 is off, the others stay as configured.
    const CtlResult area = m_host->command({"hmi", "area", "Norvane"});
    QVERIFY2(area.code == 0, qPrintable(area.err));
    const QJsonObject state = QJsonDocument::fromJson(m_host->command({"hmi", "state", "--json"}).out.toUtf8()).object();
    QCOMPARE(state.value("area").toString(), QStringLiteral("Norvane"));
    QStringList keys;
    for (const QJsonValue& key : state.value("softkeys").toObject().value("myHu").toArray())
        keys << QString::number(key.toObject().value("position").toInt()) + (key.toObject().value("enabled").toBool() ? "" : " off");
    QCOMPARE(keys, (QStringList{"1", "2", "3 off", "4", "8"}));

    // What the HMI finds in the library: the lookups are the platform's;
    // what this plug-in decides is what it registers, under which kind.
    m_host->shutdown();
    QLibrary library(applDir() + QStringLiteral("/libsiemensharvel.so"));
    QVERIFY2(library.load(), qPrintable(library.errorString()));

    auto version = reinterpret_cast<SlVerGetVersionFn>(library.resolve("slVerGetVersion"));
    auto info = reinterpret_cast<const char* const*>(library.resolve("_ZN9SL_MODULE19SL_VER_VERSION_INFOE"));
    QVERIFY(version && info);
    QCOMPARE(version(), "@(#) $program_version_id:\n01.01.00.00\n");
    QCOMPARE(*info, version());

    auto instantiate = reinterpret_cast<SlGfwInstantiatePluginFn>(library.resolve("sl_gfw_instantiate_plugin"));
    QVERIFY(instantiate);
    QScopedPointer<SlGfwPlugin> plugin(instantiate());
    QVERIFY(plugin && plugin->pluginName().isEmpty());
    void* iface = nullptr;
    QCOMPARE(plugin->queryInterface(SL_GFW_IID_GUI_COMPONENT_FACTORY(), &iface), 0L);
    auto* registry = dynamic_cast<SlGfwPluginByMakroBaseV2*>(plugin.data());
    QVERIFY(iface && registry);
    // The component a dialog (2), its eleven forms (16), in the order of lookup.
    QStringList forms;
    for (const char* form : {"Report", "Test", "Log", "LogExport", "Settings", "FindSphereCenter", "FileBrowser", "UGUD",
                             "WofsMap", "Message", "IMSG"})
        forms << QStringLiteral("SiemensHarvelForm") + form;
    QCOMPARE(registry->guiComponentClasses(), QStringList{"SiemensHarvel"});
    QCOMPARE(registry->dialogFormClasses(), forms);
    QCOMPARE(registry->metaType("SiemensHarvel"), 2);
    for (const QString& form : forms)
        QCOMPARE(registry->metaType(form), 16);
    QCOMPARE(registry->metaType("SiemensHarvelFormUnknown"), 0);
    QVERIFY(registry->panelFormClasses().isEmpty() && registry->screenClasses().isEmpty()
            && registry->softkeyClasses().isEmpty() && registry->dialogBarClasses().isEmpty()
            && registry->functionBlockClasses().isEmpty());
}

void TestSiemensHarvel::withoutConfigurationOnlyTheLogAndTheAreaStart()
{
    QVERIFY(NetLinkFixture::InstallPlugin(m_machine->path()));
    QVERIFY(QFile::remove(cfgFile()));
    QCOMPARE(m_host->start(m_machine->path()), QStringList());
    QVERIFY(component());

    QTRY_VERIFY_WITH_TIMEOUT(log().contains(QStringLiteral("Cannot start ") + kTitle), 20000);
    const QString text = log();
    const QString realCfg = QFileInfo(QFileInfo(cfgFile()).path()).canonicalFilePath() + QStringLiteral("/TMRNC.INI");
    QVERIFY2(text.contains(QStringLiteral("The ini file %1 does not exist").arg(realCfg)), qPrintable(text));
    QVERIFY(!text.contains(QLatin1String("Target Path = ")));

    // No NC service: what the screens call is refused, and the NC untouched.
    QCOMPARE(callInt("SetTmrFileVar", Q_ARG(int, 1)), -100);
    QCOMPARE(callInt("SetFindSphereInputs", Q_ARG(double, 12.5), Q_ARG(double, 3), Q_ARG(int, 1)), -100);
    QCOMPARE(tmrGet("TMR_FILE"), QStringLiteral("0"));

    const CtlResult area = m_host->command({"hmi", "area", "Norvane"});
    QVERIFY2(area.code == 0, qPrintable(area.err));
}

QTEST_MAIN(TestSiemensHarvel)
#include "TestSiemensHarvel.moc"
