#include "MachineFixture.h"
#include "NcFaults.h"
#include "SlPmHelper.h"
#include "SlQFileSvc.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QThread>

class TestFileService : public QObject
{
    Q_OBJECT
private slots:
    void logicalAndRealPaths();
    void codesOfRefusedOperations();
    void namesTooLongForTheNc();
    void runningProgramIsInUse();
    void moveAndRemoveKeepContents();
    void listingSynchronous();
    void listingAsynchronousOnOwnersThread();
    void listingCanceled();
    void usbSticksMountAndNotify();
    void injectedFaults();
};

void TestFileService::logicalAndRealPaths()
{
    MachineFixture m;
    SlQFileSvc svc;
    QString out;
    QCOMPARE(svc.getRealPath("//NC/WKS.DIR/A.WPD/B.MPF", out), SlQFileSvc::E_NOT_INITIALIZED);
    QCOMPARE(svc.init(), 0L);
    QCOMPARE(svc.getRealPath("//NC/WKS.DIR/A.WPD/B.MPF", out), 0L);
    QCOMPARE(out, m.path("nc/WKS.DIR/A.WPD/B.MPF"));
    QCOMPARE(svc.getRealPath("//127.0.0.1/telmor/req/x.req", out), 0L);
    QCOMPARE(out, m.path("net/127.0.0.1/telmor/req/x.req"));
    QCOMPARE(svc.getRealPath("/card/oem/x", out), 0L);
    QCOMPARE(out, m.path("card/oem/x"));
    QCOMPARE(svc.getLogicalPath(m.path("nc/MPF.DIR/MAIN.MPF"), out), 0L);
    QCOMPARE(out, QStringLiteral("//NC/MPF.DIR/MAIN.MPF"));
    QCOMPARE(svc.getLogicalPath("/_N_WKS_DIR/_N_TELMOR_WPD/_N_RESULT_MPF", out), 0L);
    QCOMPARE(out, QStringLiteral("//NC/WKS.DIR/TELMOR.WPD/RESULT.MPF"));
    QCOMPARE(svc.getLogicalPath(m.path("net/127.0.0.1/telmor/a.txt"), out), 0L);
    QCOMPARE(out, QStringLiteral("//127.0.0.1/telmor/a.txt"));
    bool isNc = false;
    QCOMPARE(svc.isPathNC("//NC/SPF.DIR", isNc), 0L);
    QVERIFY(isNc);
    QCOMPARE(svc.isPathNC("//127.0.0.1/telmor", isNc), 0L);
    QVERIFY(!isNc);
    QCOMPARE(svc.isPathNC("/tmp", isNc), 0L);
    QVERIFY(!isNc);
    QCOMPARE(svc.getRealPath("relative/path", out), SlQFileSvc::E_INVALID_PATH);
    QCOMPARE(svc.getRealPath("//NC/WKS.DIR/../../etc", out), SlQFileSvc::E_INVALID_PATH);
    bool exists = true;
    QCOMPARE(svc.exist("//10.0.0.9/nowhere/x", exists), SlQFileSvc::E_NOT_MOUNTED);
    QCOMPARE(svc.fini(), 0L);
}

void TestFileService::codesOfRefusedOperations()
{
    MachineFixture m;
    SlQFileSvc svc;
    QCOMPARE(svc.init(), 0L);
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
    QCOMPARE(svc.select("//NC/MPF.DIR/MAIN.MPF", 1), 0L);
    QCOMPARE(m.nc->selectedProgram(), QStringLiteral("//NC/MPF.DIR/MAIN.MPF"));
    QVariant sel;
    QCOMPARE(m.nc->read("/Channel/ProgramInfo/selectedWorkPProg[u1,1]", sel), SL_CAP_OK);
    QCOMPARE(sel.toString(), QStringLiteral("/_N_MPF_DIR/_N_MAIN_MPF"));
}

void TestFileService::namesTooLongForTheNc()
{
    MachineFixture m;
    SlQFileSvc svc;
    QCOMPARE(svc.init(), 0L);
    const QString name24(24, QLatin1Char('P'));
    const QString name25(25, QLatin1Char('P'));
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/SPF.DIR/" + name24 + ".SPF", true), 0L);
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/SPF.DIR/" + name25 + ".SPF", true), long(int(0x81501031u)));
    QVERIFY(!QFile::exists(m.path("nc/SPF.DIR/" + name25 + ".SPF")));
    QCOMPARE(svc.createFolder("//NC/WKS.DIR/" + name25 + ".WPD", true), SlQFileSvc::E_NAME_TOO_LONG);
    QCOMPARE(svc.moveFile("//NC/MPF.DIR/MAIN.MPF", "//NC/MPF.DIR/" + name25 + ".MPF", true), SlQFileSvc::E_NAME_TOO_LONG);
    QVERIFY(QFile::exists(m.path("nc/MPF.DIR/MAIN.MPF")));
    // Outside the NC the host's file system decides.
    QCOMPARE(svc.createFile("//127.0.0.1/telmor/" + name25 + ".txt", true), 0L);
    QCOMPARE(svc.createFile("//127.0.0.1/telmor/" + QString(256, QLatin1Char('x')), true), SlQFileSvc::E_NAME_TOO_LONG);
}

void TestFileService::runningProgramIsInUse()
{
    MachineFixture m;
    SlQFileSvc svc;
    QCOMPARE(svc.init(), 0L);
    QVERIFY(MachineFixture::writeFile(m.path("nc/WKS.DIR/TELMOR.WPD/PROBE.MPF"), "old\n"));
    QVERIFY(MachineFixture::writeFile(m.path("nc/MPF.DIR/NEW.MPF"), "new\n"));
    QCOMPARE(svc.select("//NC/WKS.DIR/TELMOR.WPD/PROBE.MPF", 1), 0L);
    QVERIFY(m.nc->startProgram());
    const long inUse = long(int(0x8300c4bcu));
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/NEW.MPF", "//NC/WKS.DIR/TELMOR.WPD/PROBE.MPF", true), inUse);
    QCOMPARE(svc.remove("//NC/WKS.DIR/TELMOR.WPD/PROBE.MPF"), inUse);
    QCOMPARE(svc.remove("//NC/WKS.DIR/TELMOR.WPD"), inUse);
    QCOMPARE(svc.moveFile("//NC/MPF.DIR/NEW.MPF", "//NC/WKS.DIR/TELMOR.WPD/PROBE.MPF", true), inUse);
    QCOMPARE(svc.select("//NC/MPF.DIR/NEW.MPF", 1), SlQFileSvc::E_CHANNEL_ACTIVE);
    QCOMPARE(MachineFixture::readFile(m.path("nc/WKS.DIR/TELMOR.WPD/PROBE.MPF")), QByteArray("old\n"));
    // Stopped is not reset: still in use.
    QVERIFY(m.nc->stopProgram());
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/NEW.MPF", "//NC/WKS.DIR/TELMOR.WPD/PROBE.MPF", true), inUse);
    QVERIFY(m.nc->resetProgram());
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/NEW.MPF", "//NC/WKS.DIR/TELMOR.WPD/PROBE.MPF", true), 0L);
    QCOMPARE(MachineFixture::readFile(m.path("nc/WKS.DIR/TELMOR.WPD/PROBE.MPF")), QByteArray("new\n"));
}

void TestFileService::moveAndRemoveKeepContents()
{
    MachineFixture m;
    SlQFileSvc svc;
    QCOMPARE(svc.init(), 0L);
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
    bool exists = true;
    QCOMPARE(svc.exist("//NC/WKS.DIR/TELMOR.WPD/A.TXT", exists), 0L);
    QVERIFY(!exists);
}

void TestFileService::listingSynchronous()
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
    QVERIFY(nodes[0].m_isFolder);
    QCOMPARE(nodes[1].m_path, QStringLiteral("//127.0.0.1/telmor/req/b.req"));
    QVERIFY(!nodes[1].m_isFolder);
    QCOMPARE(nodes[1].m_size, 5LL);
    QCOMPARE(nodes[1].m_lastWriteTime, int(QFileInfo(m.path("net/127.0.0.1/telmor/req/b.req")).lastModified().toSecsSinceEpoch()));
    QCOMPARE(svc.listFolder("//NC/NOSUCH.DIR", nodes), SlQFileSvc::E_NOT_FOUND);
    QCOMPARE(svc.listFolder("//NC/MPF.DIR/MAIN.MPF", nodes), SlQFileSvc::E_NOT_A_FOLDER);
}

void TestFileService::listingAsynchronousOnOwnersThread()
{
    MachineFixture m;
    SlQFileSvc svc;
    QCOMPARE(svc.init(), 0L);
    QThread* seenThread = nullptr;
    QList<long> ids;
    QList<long> errors;
    QStringList names;
    connect(&svc, &SlQFileSvc::listCompleted, this, [&](long id, NodeInfoArray& nodes, long error) {
        seenThread = QThread::currentThread();
        ids << id;
        errors << error;
        for (const NodeInfo& n : nodes)
            names << n.m_name;
    });
    long id1 = 0, id2 = 0;
    QCOMPARE(svc.listFolderEx("//NC", id1), 0L);
    QCOMPARE(svc.listFolderEx("//NC/NOSUCH.DIR", id2), 0L);
    QVERIFY(id1 > 0 && id2 > 0 && id1 != id2);
    QCOMPARE(ids.size(), 0); // never inside the call
    QTRY_COMPARE_WITH_TIMEOUT(ids.size(), 2, 5000);
    QCOMPARE(seenThread, QThread::currentThread());
    const int at1 = ids.indexOf(id1);
    QCOMPARE(errors[at1], 0L);
    QCOMPARE(errors[ids.indexOf(id2)], SlQFileSvc::E_NOT_FOUND);
    QVERIFY(names.contains("WKS.DIR") && names.contains("DEF.DIR"));
}

void TestFileService::listingCanceled()
{
    MachineFixture m;
    SlQFileSvc svc;
    QCOMPARE(svc.init(), 0L);
    m.nc->faults().add({"list-async", "//NC*", 0, 300, 1});
    QSignalSpy done(&svc, &SlQFileSvc::listCompleted);
    QSignalSpy canceled(&svc, &SlQFileSvc::canceled);
    long id = 0;
    QCOMPARE(svc.listFolderEx("//NC", id), 0L);
    QCOMPARE(svc.fini(), 0L);
    QCOMPARE(canceled.count(), 1);
    QCOMPARE(canceled.first().at(0).toLongLong(), qlonglong(id));
    QTest::qWait(500);
    QCOMPARE(done.count(), 0);
    QCOMPARE(svc.listFolderEx("//NC", id), SlQFileSvc::E_NOT_INITIALIZED);
}

void TestFileService::usbSticksMountAndNotify()
{
    MachineFixture m;
    SlQFileSvc svc;
    QCOMPARE(svc.init(), 0L);
    bool exists = true;
    QCOMPARE(svc.exist("//ACTTCU/FRONT/log", exists), SlQFileSvc::E_NOT_MOUNTED);
    QList<SlPmLogicalDrive*> drives;
    QStringList names;
    QCOMPARE(SlPmHelper::createLogicalDriveData(drives, names), 0L);
    int usb = 0, net = 0;
    for (SlPmLogicalDrive* d : drives) {
        if (d->isEESTcu()) {
            ++usb;
            QCOMPARE(d->eesPath(), QStringLiteral("//ACTTCU/FRONT"));
            QVERIFY(!d->isMounted());
            QCOMPARE(d->displayText(true), QStringLiteral("SL_PM_SK_LOCAL_TCU_USB"));
        }
        if (d->isNet()) {
            ++net;
            QCOMPARE(d->eesPath(), QStringLiteral("//127.0.0.1/telmor"));
            QCOMPARE(d->netDriveType(), QStringLiteral("smb"));
        }
    }
    qDeleteAll(drives);
    QCOMPARE(usb, 1);
    QCOMPARE(net, 1);

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
    QVector<NodeInfo> nodes;
    QCOMPARE(svc.listFolder("//ACTTCU/FRONT", nodes), SlQFileSvc::E_NOT_MOUNTED);
    QCOMPARE(svc.unregisterFromDriveNotifications(), 0L);
    QVERIFY(m.nc->mountUsb("FRONT"));
    QTest::qWait(50);
    QCOMPARE(mounted.count(), 1);
    QCOMPARE(mounted.count() + unmounted.count(), 2);
}

void TestFileService::injectedFaults()
{
    MachineFixture m;
    SlQFileSvc svc;
    m.nc->faults().add({"init", "*", long(int(0x81509999u)), 0, 1});
    QCOMPARE(svc.init(), long(int(0x81509999u)));
    QCOMPARE(svc.init(), 0L);
    // A code on the target path of a copy only.
    m.nc->faults().add({"copy", "//NC/SPF.DIR/*", long(int(0x81501031u)), 0, -1});
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/WKS.DIR/TELMOR.WPD/X.MPF", true), 0L);
    QCOMPARE(svc.copyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/SPF.DIR/X.SPF", true), long(int(0x81501031u)));
    QVERIFY(!QFile::exists(m.path("nc/SPF.DIR/X.SPF")));
    // The group "file" covers every file operation.
    m.nc->faults().add({"file", "//127.0.0.1/*", long(int(0x81500001u)), 0, 2});
    bool exists = false;
    QCOMPARE(svc.exist("//127.0.0.1/telmor", exists), long(int(0x81500001u)));
    QCOMPARE(svc.createFolder("//127.0.0.1/telmor/out", true), long(int(0x81500001u)));
    QCOMPARE(svc.createFolder("//127.0.0.1/telmor/out", true), 0L);
    // A delay alone lets the operation succeed, later.
    m.nc->faults().add({"exist", "//NC/MPF.DIR/MAIN.MPF", 0, 150, 1});
    QElapsedTimer t;
    t.start();
    QCOMPARE(svc.exist("//NC/MPF.DIR/MAIN.MPF", exists), 0L);
    QVERIFY(t.elapsed() >= 150);
    QVERIFY(exists);
    m.nc->faults().add({"select", "*", long(int(0x8300c4bcu)), 0, -1});
    QCOMPARE(svc.select("//NC/MPF.DIR/MAIN.MPF", 1), long(int(0x8300c4bcu)));
    m.nc->faults().clear();
    QCOMPARE(svc.select("//NC/MPF.DIR/MAIN.MPF", 1), 0L);
}

QTEST_GUILESS_MAIN(TestFileService)
#include "TestFileService.moc"
