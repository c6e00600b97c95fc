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
        const QString ncu = "/card/oem/sinumerik/hmi/NorvaneZYN";
        for (const QStringList& row : QList<QStringList>{{"", ncu + "/appl", ncu + "/cfg/TMRNC.INI"},
                                                         {ncu + "/appl/libsiemensharvel.so", ncu + "/appl", ncu + "/cfg/TMRNC.INI"},
                                                         {"/m/card/oem/sinumerik/hmi/Other/bin/libsiemensharvel.so",
                                                          "/m/card/oem/sinumerik/hmi/Other/bin", "/m/card/oem/sinumerik/hmi/Other/cfg/TMRNC.INI"}}) {
            QString applDir, cfgFile;
            SiemensHarvel::GetPaths(row[0], applDir, cfgFile);
            QCOMPARE((QStringList{row[0], applDir, cfgFile}), row);
        }
    }
};

QTEST_GUILESS_MAIN(TestSiemensHarvelPaths)
#include "TestSiemensHarvelPaths.moc"
