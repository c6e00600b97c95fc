#include "MachineFixture.h"
#include "NcFaults.h"
#include "SlPmHelper.h"
#include "SlQFileSvc.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QThread>

namespace {
const long kInUse = long(int(0x8300c4bcu));
const long kTooLong = long(int(0x81501031u));
}

class TestFileService : public QObject
{
    Q_OBJECT
private slots:
    void operations();
    void listingAndDrives();
};

void TestFileService::operations()
{
    MachineFixture m;
    SlQFileSvc svc;
    QString out;
    QCOMPARE(svc.getRealPath("//NC/WKS.DIR/A.WPD/B.MPF", out), SlQFileSvc::E_NOT_INITIALIZED);
    QCOMPARE(svc.init(), 0L);
    const QList<QPair<QString, QString>> real{{"//NC/WKS.DIR/A.WPD/B.MPF", "nc/WKS.DIR/A.WPD/B.MPF"},
                                              {"//127.0.0.1/telmor/req/x.req", "net/127.0.0.1/telmor/req/x.req"},
                                              {"/card/oem/x", "card/oem/x"}};
    for (const auto& p : real) {
        QCOMPARE(svc.getRealPath(p.first, out), 0L);
        QCOMPARE(out, m.path(p.second));
    }
    const QList<QPair<QString, QString>> logical{{m.path("nc/MPF.DIR/MAIN.MPF"), "//NC/MPF.DIR/MAIN.MPF"},
                                                 {"/_N_WKS_DIR/_N_TELMOR_WPD/_N_RESULT_MPF", "//NC/WKS.DIR/TELMOR.WPD/RESULT.MPF"},
                                                 {m.path("net/127.0.0.1/telmor/a.txt"), "//127.0.0.1/telmor/a.txt"}};
    for (const auto& p : logical) {
        QCOMPARE(svc.getLogicalPath(p.first, out), 0L);
        QCOMPARE(out, p.second);
    }
    bool isNc = false, exists = true;
    for (const QString p : {"//NC/SPF.DIR", "//127.0.0.1/telmor", "/tmp"}) {
        QCOMPARE(svc.isPathNC(p, isNc), 0L);
        QCOMPARE(isNc, p.startsWith("//NC"));
    }
    QCOMPARE(svc.getRealPath("relative/path", out), SlQFileSvc::E_INVALID_PATH);
    QCOMPARE(svc.getRealPath("//NC/WKS.DIR/../../etc", out), SlQFileSvc::E_INVALID_PATH);
    QCOMPARE(svc.exist("//10.0.0.9/nowhere/x", isNc), SlQFileSvc::E_NOT_MOUNTED);

    QCOMPARE(svc.copyFile("//NC/MPF.DIR/NONE.MPF", "//NC/MPF.DIR/X.MPF", true), SlQFileSvc::E_NOT_FOUND);
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/NOSUCH.DIR/X.MPF", true), SlQFileSvc::E_NOT_FOUND);
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/MPF.DIR/COPY.MPF", true), 0L);
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/MPF.DIR/COPY.MPF", false), SlQFileSvc::E_ALREADY_EXISTS);
    QCOMPARE(svc.copyFile("//NC/MPF.DIR", "//NC/SPF.DIR/X.SPF", true), SlQFileSvc::E_IS_A_FOLDER);
    QCOMPARE(svc.createFolder("//NC/WKS.DIR/TELMOR.WPD", true), SlQFileSvc::E_ALREADY_EXISTS);
    QCOMPARE(svc.createFolder("//NC/WKS.DIR/NOEXT", true), SlQFileSvc::E_INVALID_PATH);
    QCOMPARE(svc.createFolder("//NC/WKS.DIR/NEW.WPD", false), 0L);
    QCOMPARE(svc.createFile("//NC/WKS.DIR/NEW.WPD/A.MPF", false), 0L);
    QCOMPARE(svc.createFile("//NC/WKS.DIR/NEW.WPD/A.MPF", false), SlQFileSvc::E_ALREADY_EXISTS);
    QCOMPARE(svc.createFile("//NC/WKS.DIR/NEW.WPD/BAD NAME.MPF", false), SlQFileSvc::E_INVALID_PATH);
    QCOMPARE(svc.remove("//NC/WKS.DIR/NEW.WPD/NONE.MPF"), SlQFileSvc::E_NOT_FOUND);
    QCOMPARE(svc.select("//NC/DEF.DIR/UGUD.DEF", 1), SlQFileSvc::E_NOT_SELECTABLE);
    QCOMPARE(svc.select("//NC/MPF.DIR/MAIN.MPF", 2), SlQFileSvc::E_NOT_SELECTABLE);
    QCOMPARE(svc.select("//NC/MPF.DIR/NONE.MPF", 1), SlQFileSvc::E_NOT_FOUND);
    // Names the NC cannot hold; outside the NC the host's file system decides.
    const QString name25(25, 'P');
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/SPF.DIR/" + QString(24, 'P') + ".SPF", true), 0L);
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/SPF.DIR/" + name25 + ".SPF", true), kTooLong);
    QVERIFY(!QFile::exists(m.path("nc/SPF.DIR/" + name25 + ".SPF")));
    QCOMPARE(svc.createFolder("//NC/WKS.DIR/" + name25 + ".WPD", true), SlQFileSvc::E_NAME_TOO_LONG);
    QCOMPARE(svc.moveFile("//NC/MPF.DIR/MAIN.MPF", "//NC/MPF.DIR/" + name25 + ".MPF", true), SlQFileSvc::E_NAME_TOO_LONG);
    QVERIFY(QFile::exists(m.path("nc/MPF.DIR/MAIN.MPF")));
    QCOMPARE(svc.createFile("//127.0.0.1/telmor/" + name25 + ".txt", true), 0L);
    QCOMPARE(svc.createFile("//127.0.0.1/telmor/" + QString(256, 'x'), true), SlQFileSvc::E_NAME_TOO_LONG);

    QVERIFY(MachineFixture::writeFile(m.path("net/127.0.0.1/telmor/A.TXT"), "payload"));
    QCOMPARE(svc.moveFile("//127.0.0.1/telmor/A.TXT", "//NC/WKS.DIR/TELMOR.WPD/A.TXT", true), 0L);
    QVERIFY(!QFile::exists(m.path("net/127.0.0.1/telmor/A.TXT")));
    QCOMPARE(MachineFixture::readFile(m.path("nc/WKS.DIR/TELMOR.WPD/A.TXT")), QByteArray("payload"));
    QVERIFY(MachineFixture::writeFile(m.path("net/127.0.0.1/telmor/B.TXT"), "second"));
    QCOMPARE(svc.moveFile("//127.0.0.1/telmor/B.TXT", "//NC/WKS.DIR/TELMOR.WPD/A.TXT", false), SlQFileSvc::E_ALREADY_EXISTS);
    QCOMPARE(MachineFixture::readFile(m.path("net/127.0.0.1/telmor/B.TXT")), QByteArray("second"));
    QCOMPARE(svc.moveFile("//127.0.0.1/telmor/B.TXT", "//NC/WKS.DIR/TELMOR.WPD/A.TXT", true), 0L);
    QCOMPARE(MachineFixture::readFile(m.path("nc/WKS.DIR/TELMOR.WPD/A.TXT")), QByteArray("second"));
    QCOMPARE(svc.remove("//NC/WKS.DIR/TELMOR.WPD/A.TXT"), 0L);
    QCOMPARE(svc.exist("//NC/WKS.DIR/TELMOR.WPD/A.TXT", exists), 0L);
    QVERIFY(!exists);

    // The selected program, once started, is in use until the channel is reset.
    QVERIFY(MachineFixture::writeFile(m.path("nc/WKS.DIR/TELMOR.WPD/PROBE.MPF"), "old\n"));
    QVERIFY(MachineFixture::writeFile(m.path("nc/MPF.DIR/NEW.MPF"), "new\n"));
    QCOMPARE(svc.select("//NC/WKS.DIR/TELMOR.WPD/PROBE.MPF", 1), 0L);
    QVariant sel;
    QCOMPARE(m.nc->read("/Channel/ProgramInfo/selectedWorkPProg[u1,1]", sel), SL_CAP_OK);
    QCOMPARE(sel.toString(), QStringLiteral("/_N_WKS_DIR/_N_TELMOR_WPD/_N_PROBE_MPF"));
    QVERIFY(m.nc->startProgram());
    const QString probe = "//NC/WKS.DIR/TELMOR.WPD/PROBE.MPF";
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/NEW.MPF", probe, true), kInUse);
    QCOMPARE(svc.remove(probe), kInUse);
    QCOMPARE(svc.remove("//NC/WKS.DIR/TELMOR.WPD"), kInUse);
    QCOMPARE(svc.moveFile("//NC/MPF.DIR/NEW.MPF", probe, true), kInUse);
    QCOMPARE(svc.select("//NC/MPF.DIR/NEW.MPF", 1), SlQFileSvc::E_CHANNEL_ACTIVE);
    QVERIFY(m.nc->stopProgram());
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/NEW.MPF", probe, true), kInUse);
    QCOMPARE(MachineFixture::readFile(m.path("nc/WKS.DIR/TELMOR.WPD/PROBE.MPF")), QByteArray("old\n"));
    QVERIFY(m.nc->resetProgram());
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/NEW.MPF", probe, true), 0L);
    QCOMPARE(MachineFixture::readFile(m.path("nc/WKS.DIR/TELMOR.WPD/PROBE.MPF")), QByteArray("new\n"));

    // Injected faults: on init once.
    m.nc->faults().add({"init", "*", long(int(0x81509999u)), 0, 1});
    SlQFileSvc other;
    QCOMPARE(other.init(), long(int(0x81509999u)));
    QCOMPARE(other.init(), 0L);
    // A code on the target path of a copy only.
    m.nc->faults().add({"copy", "//NC/SPF.DIR/*", kTooLong, 0, -1});
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/WKS.DIR/TELMOR.WPD/X.MPF", true), 0L);
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/SPF.DIR/X.SPF", true), kTooLong);
    QVERIFY(!QFile::exists(m.path("nc/SPF.DIR/X.SPF")));
    // The group "file" covers every file operation.
    m.nc->faults().add({"file", "//127.0.0.1/*", long(int(0x81500001u)), 0, 2});
    QCOMPARE(svc.exist("//127.0.0.1/telmor", exists), long(int(0x81500001u)));
    QCOMPARE(svc.createFolder("//127.0.0.1/telmor/out", true), long(int(0x81500001u)));
    QCOMPARE(svc.createFolder("//127.0.0.1/telmor/out", true), 0L);
    // A delay alone lets the operation succeed, later.
    m.nc->faults().add({"exist", "//NC/MPF.DIR/MAIN.MPF", 0, 150, 1});
    QElapsedTimer t;
    t.start();
    QCOMPARE(svc.exist("//NC/MPF.DIR/MAIN.MPF", exists), 0L);
    QVERIFY(t.elapsed() >= 150 && exists);
    m.nc->faults().add({"select", "*", kInUse, 0, -1});
    QCOMPARE(svc.select("//NC/MPF.DIR/MAIN.MPF", 1), kInUse);
    m.nc->faults().clear();
    QCOMPARE(svc.select("//NC/MPF.DIR/MAIN.MPF", 1), 0L);
    QCOMPARE(m.nc->selectedProgram(), QStringLiteral("//NC/MPF.DIR/MAIN.MPF"));
}

void TestFileService::listingAndDrives()
{
    MachineFixture m;
    SlQFileSvc svc;
    QCOMPARE(svc.init(), 0L);
    QVERIFY(MachineFixture::writeFile(m.path("net/127.0.0.1/telmor/req/b.req"), "12345"));
    QVERIFY(QDir().mkpath(m.path("net/127.0.0.1/telmor/req/x.req")));
    QVector<NodeInfo> nodes;
    QCOMPARE(svc.listFolder("//127.0.0.1/telmor/req", nodes), 0L);
    QCOMPARE(nodes.size(), 2);
    QCOMPARE(nodes[0].m_name, QStringLiteral("x.req"));
    QVERIFY(nodes[0].m_isFolder && !nodes[1].m_isFolder);
    QCOMPARE(nodes[1].m_path, QStringLiteral("//127.0.0.1/telmor/req/b.req"));
    QCOMPARE(nodes[1].m_size, 5LL);
    QCOMPARE(nodes[1].m_lastWriteTime, int(QFileInfo(m.path("net/127.0.0.1/telmor/req/b.req")).lastModified().toSecsSinceEpoch()));
    QCOMPARE(svc.listFolder("//NC/NOSUCH.DIR", nodes), SlQFileSvc::E_NOT_FOUND);
    QCOMPARE(svc.listFolder("//NC/MPF.DIR/MAIN.MPF", nodes), SlQFileSvc::E_NOT_A_FOLDER);

    // Asynchronous: answered later, on the owner's thread.
    QThread* seenThread = nullptr;
    QMap<long, long> errors;
    QStringList names;
    connect(&svc, &SlQFileSvc::listCompleted, this, [&](long id, NodeInfoArray& nodes, long error) {
        seenThread = QThread::currentThread();
        errors.insert(id, error);
        for (const NodeInfo& n : nodes)
            names << n.m_name;
    });
    long id1 = 0, id2 = 0;
    QCOMPARE(svc.listFolderEx("//NC", id1), 0L);
    QCOMPARE(svc.listFolderEx("//NC/NOSUCH.DIR", id2), 0L);
    QVERIFY(id1 > 0 && id2 > 0 && id1 != id2);
    QCOMPARE(errors.size(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(errors.size(), 2, 5000);
    QCOMPARE(seenThread, QThread::currentThread());
    QCOMPARE(errors.value(id1), 0L);
    QCOMPARE(errors.value(id2), SlQFileSvc::E_NOT_FOUND);
    QVERIFY(names.contains("WKS.DIR") && names.contains("DEF.DIR"));

    // A USB stick is there once mounted, and told to those registered for its drive.
    bool exists = true;
    QCOMPARE(svc.exist("//ACTTCU/FRONT/log", exists), SlQFileSvc::E_NOT_MOUNTED);
    QList<SlPmLogicalDrive*> drives;
    QStringList driveNames;
    QCOMPARE(SlPmHelper::createLogicalDriveData(drives, driveNames), 0L);
    QStringList seen;
    for (SlPmLogicalDrive* d : drives) {
        if (d->isEESTcu())
            seen << d->eesPath() + (d->isMounted() ? " mounted " : " ") + d->displayText(true);
        if (d->isNet())
            seen << d->eesPath() + " " + d->netDriveType();
    }
    qDeleteAll(drives);
    QCOMPARE(seen, (QStringList{"//127.0.0.1/telmor smb", "//ACTTCU/FRONT SL_PM_SK_LOCAL_TCU_USB"}));

    QSignalSpy mounted(&svc, &SlQFileSvc::driveMounted);
    QSignalSpy unmounted(&svc, &SlQFileSvc::driveUnmounted);
    QCOMPARE(svc.registerForDriveNotifications({"//ACTTCU/FRONT"}), 0L);
    QVERIFY(m.nc->mountUsb("FRONT"));
    QVERIFY(m.nc->mountUsb("OTHER")); // not registered: no signal
    QTRY_COMPARE_WITH_TIMEOUT(mounted.count(), 1, 5000);
    QCOMPARE(mounted.first().at(0).toString(), QStringLiteral("//ACTTCU/FRONT"));
    QCOMPARE(svc.createFolder("//ACTTCU/FRONT/logs", true), 0L);
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/MAIN.MPF", "//ACTTCU/FRONT/logs/MAIN.MPF", true), 0L);
    QVERIFY(QFile::exists(m.path("usb/FRONT/logs/MAIN.MPF")));
    QVERIFY(!m.nc->mountUsb("FRONT"));
    QVERIFY(m.nc->unmountUsb("FRONT"));
    QTRY_COMPARE_WITH_TIMEOUT(unmounted.count(), 1, 5000);
    QCOMPARE(svc.listFolder("//ACTTCU/FRONT", nodes), SlQFileSvc::E_NOT_MOUNTED);
    QCOMPARE(svc.unregisterFromDriveNotifications(), 0L);
    QVERIFY(m.nc->mountUsb("FRONT"));
    QTest::qWait(50);
    QCOMPARE(mounted.count() + unmounted.count(), 2);

    // fini cancels what is under way.
    m.nc->faults().add({"list-async", "//NC*", 0, 300, 1});
    QSignalSpy canceled(&svc, &SlQFileSvc::canceled);
    QCOMPARE(svc.listFolderEx("//NC", id1), 0L);
    QCOMPARE(svc.fini(), 0L);
    QCOMPARE(canceled.count(), 1);
    QCOMPARE(canceled.first().at(0).toLongLong(), qlonglong(id1));
    QTest::qWait(500);
    QCOMPARE(errors.size(), 2);
    QCOMPARE(svc.listFolderEx("//NC", id1), SlQFileSvc::E_NOT_INITIALIZED);
}

QTEST_GUILESS_MAIN(TestFileService)
#include "TestFileService.moc"
