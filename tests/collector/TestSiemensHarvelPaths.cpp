// The folders the component derives from the real path of its library.
#include "SiemensHarvel.h"

#include <QtTest>

class TestSiemensHarvelPaths : public QObject
{
    Q_OBJECT

private slots:
    void pathsFromTheLibrary()
    {
        // Nothing known of the library: the NCU's installation folder; installed
        // there, the two agree; elsewhere the configuration belongs beside the
        // application folder, whatever its name.
        const QList<QStringList> rows{
            {"", "/card/oem/sinumerik/hmi/NorvaneZYN/appl", "/card/oem/sinumerik/hmi/NorvaneZYN/cfg/TMRNC.INI"},
            {"/card/oem/sinumerik/hmi/NorvaneZYN/appl/libsiemensharvel.so", "/card/oem/sinumerik/hmi/NorvaneZYN/appl",
             "/card/oem/sinumerik/hmi/NorvaneZYN/cfg/TMRNC.INI"},
            {"/m/card/oem/sinumerik/hmi/Other/bin/libsiemensharvel.so", "/m/card/oem/sinumerik/hmi/Other/bin",
             "/m/card/oem/sinumerik/hmi/Other/cfg/TMRNC.INI"}};
        for (const QStringList& row : rows) {
            QString applDir, cfgFile;
            SiemensHarvel::GetPaths(row[0].isEmpty() ? QString() : row[0], applDir, cfgFile);
            QCOMPARE((QStringList{row[0], applDir, cfgFile}), row);
        }
    }
};

QTEST_GUILESS_MAIN(TestSiemensHarvelPaths)
#include "TestSiemensHarvelPaths.moc"
