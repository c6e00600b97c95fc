// The registry the HMI asks for the area's classes: all twelve, in the
// order of lookup, each under its kind.
#include "SlGfwPlugin.h"
#include "SlGfwPluginByMakroBaseV2.h"

#include <QLibrary>
#include <QScopedPointer>
#include <QtTest>

class TestPluginRegistration : public QObject
{
    Q_OBJECT

private slots:
    void registersAllTwelveClassesInOrder();
};

void TestPluginRegistration::registersAllTwelveClassesInOrder()
{
    // Class name and metaType: 2 for the component (a dialog), 16 for a form.
    const QList<QPair<QString, int>> expected{
        {QStringLiteral("SiemensHarvel"), 2},
        {QStringLiteral("SiemensHarvelFormReport"), 16},
        {QStringLiteral("SiemensHarvelFormTest"), 16},
        {QStringLiteral("SiemensHarvelFormLog"), 16},
        {QStringLiteral("SiemensHarvelFormLogExport"), 16},
        {QStringLiteral("SiemensHarvelFormSettings"), 16},
        {QStringLiteral("SiemensHarvelFormFindSphereCenter"), 16},
        {QStringLiteral("SiemensHarvelFormFileBrowser"), 16},
        {QStringLiteral("SiemensHarvelFormUGUD"), 16},
        {QStringLiteral("SiemensHarvelFormWofsMap"), 16},
        {QStringLiteral("SiemensHarvelFormMessage"), 16},
        {QStringLiteral("SiemensHarvelFormIMSG"), 16},
    };

    QLibrary library(QString::fromLocal8Bit(qgetenv("HARVEL_BINARY_DIR")) + QStringLiteral("/lib/libsiemensharvel.so"));
    QVERIFY2(library.load(), qPrintable(library.errorString()));
    using Instantiate = SlGfwPlugin* (*)();
    auto instantiate = reinterpret_cast<Instantiate>(library.resolve("sl_gfw_instantiate_plugin"));
    QVERIFY(instantiate);
    QScopedPointer<SlGfwPlugin> plugin(instantiate());
    auto* registry = dynamic_cast<SlGfwPluginByMakroBaseV2*>(plugin.data());
    QVERIFY(registry);

    QStringList registered = registry->guiComponentClasses() + registry->dialogFormClasses();
    QStringList missing;
    for (const auto& entry : expected) {
        if (!registered.contains(entry.first))
            missing << entry.first;
        QVERIFY2(registry->metaType(entry.first) == entry.second || missing.contains(entry.first),
                 qPrintable(QStringLiteral("%1 has metaType %2, not %3")
                                .arg(entry.first).arg(registry->metaType(entry.first)).arg(entry.second)));
    }
    QVERIFY2(missing.isEmpty(), qPrintable(QStringLiteral("not registered: %1").arg(missing.join(QStringLiteral(", ")))));

    QStringList order;
    for (const auto& entry : expected)
        order << entry.first;
    QCOMPARE(registered, order);
    QCOMPARE(registry->metaType(QStringLiteral("SiemensHarvelFormUnknown")), 0);
    QVERIFY(registry->panelFormClasses().isEmpty() && registry->screenClasses().isEmpty() &&
            registry->softkeyClasses().isEmpty() && registry->dialogBarClasses().isEmpty() &&
            registry->functionBlockClasses().isEmpty());
}

QTEST_MAIN(TestPluginRegistration)
#include "TestPluginRegistration.moc"
