// The folders the component derives from the real path of its library.
#include "SiemensHarvel.h"

#include <QtTest>

class TestSiemensHarvelPaths : public QObject
{
    Q_OBJECT

private slots:
    void pathsFromTheLibrary_data();
    void pathsFromTheLibrary();
};

void TestSiemensHarvelPaths::pathsFromTheLibrary_data()
{
    QTest::addColumn<QString>("libFile");
    QTest::addColumn<QString>("applDir");
    QTest::addColumn<QString>("cfgFile");

    // Nothing known of the library: the NCU's installation folder.
    QTest::newRow("fall-back") << QString() << QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl")
                               << QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/cfg/TMRNC.INI");
    // Installed where the fall-back points, the two agree.
    QTest::newRow("ncu") << QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl/libsiemensharvel.so")
                         << QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl")
                         << QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/cfg/TMRNC.INI");
    // The configuration belongs beside the application folder, whatever its name.
    QTest::newRow("elsewhere") << QStringLiteral("/m/card/oem/sinumerik/hmi/Other/bin/libsiemensharvel.so")
                               << QStringLiteral("/m/card/oem/sinumerik/hmi/Other/bin")
                               << QStringLiteral("/m/card/oem/sinumerik/hmi/Other/cfg/TMRNC.INI");
}

void TestSiemensHarvelPaths::pathsFromTheLibrary()
{
    QFETCH(QString, libFile);
    QFETCH(QString, applDir);
    QFETCH(QString, cfgFile);
    QString derivedApplDir;
    QString derivedCfgFile;
    SiemensHarvel::GetPaths(libFile, derivedApplDir, derivedCfgFile);
    QCOMPARE(derivedApplDir, applDir);
    QCOMPARE(derivedCfgFile, cfgFile);
}

QTEST_GUILESS_MAIN(TestSiemensHarvelPaths)
#include "TestSiemensHarvelPaths.moc"
