// The net server's path fence on a whole machine: symbolic links in the
// served folders (the NC file system and the plug-in's application folder)
// must not lead a client out of them, whatever call names the path.

#include "HmiHost.h"
#include "NetLinkFixture.h"

#include <QDir>

using namespace NetLinkFixture;

class TestPathFence : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void linksAreFollowedToWhereTheyLead_data();
    void linksAreFollowedToWhereTheyLead();
    void aLinkSwappedBetweenTwoCalls();
    void uploadsStayInside();

private:
    QString ApplDir() const { return m_machine.path() + QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl"); }
    QString Nc() const { return m_machine.path() + QStringLiteral("/nc"); }
    ClientRun Client(const QStringList& args) { return RunClient(m_server, args); }
    static void Link(const QString& target, const QString& link) { QFile::remove(link); QVERIFY(QFile::link(target, link)); }
    static void Write(const QString& path, const QByteArray& content)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }
    // Every call that takes a path, for one path; refused means a
    // permission error and nothing fetched.
    void CheckEveryCall(const QString& path, bool refused, const QByteArray& content);

    QTemporaryDir m_machine;
    QTemporaryDir m_outside;
    QTemporaryDir m_local;
    QScopedPointer<HmiHost> m_host;
    QString m_server;
};

void TestPathFence::initTestCase()
{
    QVERIFY(m_machine.isValid() && m_outside.isValid() && m_local.isValid());
    QVERIFY(InstallPlugin(m_machine.path(), QStringLiteral("127.0.0.1:0")));
    m_host.reset(new HmiHost);
    const QStringList problems = m_host->start(m_machine.path());
    QVERIFY2(problems.isEmpty(), qPrintable(problems.join(QLatin1Char('\n'))));
    const quint16 port = ServerPort(QFileInfo(ApplDir()).canonicalFilePath());
    QVERIFY(port != 0);
    m_server = QStringLiteral("127.0.0.1:%1").arg(port);

    Write(m_outside.path() + QStringLiteral("/SECRET.MPF"), "outside");
    const QString mpf = Nc() + QStringLiteral("/MPF.DIR");
    QVERIFY(QDir().mkpath(mpf));
    Write(mpf + QStringLiteral("/REAL.MPF"), "inside");
    Link(m_outside.path(), mpf + QStringLiteral("/EVIL.DIR"));
    Link(m_outside.path() + QStringLiteral("/SECRET.MPF"), mpf + QStringLiteral("/PW.MPF"));
    Link(mpf + QStringLiteral("/PW.MPF"), mpf + QStringLiteral("/CHAIN.MPF"));
    Link(QStringLiteral("REAL.MPF"), mpf + QStringLiteral("/GOOD.MPF"));
    Link(mpf + QStringLiteral("/GOOD.MPF"), mpf + QStringLiteral("/GOOD2.MPF"));
    Link(m_outside.path() + QStringLiteral("/GONE.MPF"), mpf + QStringLiteral("/DANGLING.MPF"));
    Link(m_outside.path(), ApplDir() + QStringLiteral("/evil"));
    Link(Nc() + QStringLiteral("/MPF.DIR"), ApplDir() + QStringLiteral("/ncprograms"));
}

void TestPathFence::cleanupTestCase()
{
    if (m_host)
        m_host->shutdown();
    m_host.reset();
}

void TestPathFence::CheckEveryCall(const QString& path, bool refused, const QByteArray& content)
{
    const QString out = m_local.path() + QStringLiteral("/out");
    QFile::remove(out);
    const ClientRun exists = Client({QStringLiteral("exists"), path});
    const ClientRun download = Client({QStringLiteral("download"), path, out});
    const ClientRun select = Client({QStringLiteral("select"), path});
    for (const ClientRun& run : {exists, download, select}) {
        QCOMPARE(run.err.contains(QStringLiteral("permission denied")), refused);
        if (refused)
            QCOMPARE(run.exitCode, 2);
    }
    QFile file(out);
    QCOMPARE(file.open(QIODevice::ReadOnly), !refused);
    if (!refused) {
        QVERIFY2(exists.exitCode == 0 && download.exitCode == 0, qPrintable(exists.err + download.err));
        QCOMPARE(exists.out.trimmed(), QStringLiteral("yes"));
        QCOMPARE(file.readAll(), content);
    }
}

void TestPathFence::linksAreFollowedToWhereTheyLead_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("refused");
    QTest::newRow("NC link to a folder outside") << QStringLiteral("//NC/MPF.DIR/EVIL.DIR/SECRET.MPF") << true;
    QTest::newRow("NC link to a file outside") << QStringLiteral("//NC/MPF.DIR/PW.MPF") << true;
    QTest::newRow("NC chain of links leading out") << QStringLiteral("//NC/MPF.DIR/CHAIN.MPF") << true;
    QTest::newRow("NC link into nothing outside") << QStringLiteral("//NC/MPF.DIR/DANGLING.MPF") << true;
    QTest::newRow("NC missing file under a link outside") << QStringLiteral("//NC/MPF.DIR/EVIL.DIR/NONE.MPF") << true;
    QTest::newRow("NC chain staying inside") << QStringLiteral("//NC/MPF.DIR/GOOD2.MPF") << false;
    QTest::newRow("application folder link outside") << QStringLiteral("@APPL/evil/SECRET.MPF") << true;
    QTest::newRow("application folder link into the NC") << QStringLiteral("@APPL/ncprograms/REAL.MPF") << false;
}

void TestPathFence::linksAreFollowedToWhereTheyLead()
{
    QFETCH(QString, path);
    QFETCH(bool, refused);
    path.replace(QStringLiteral("@APPL"), QFileInfo(ApplDir()).canonicalFilePath());
    CheckEveryCall(path, refused, "inside");
}

void TestPathFence::aLinkSwappedBetweenTwoCalls()
{
    const QString link = Nc() + QStringLiteral("/MPF.DIR/SWAP.MPF");
    Link(QStringLiteral("REAL.MPF"), link);
    CheckEveryCall(QStringLiteral("//NC/MPF.DIR/SWAP.MPF"), false, "inside");
    Link(m_outside.path() + QStringLiteral("/SECRET.MPF"), link);
    CheckEveryCall(QStringLiteral("//NC/MPF.DIR/SWAP.MPF"), true, QByteArray());
}

void TestPathFence::uploadsStayInside()
{
    // The upload folder pointed outside: the file must not land there.
    const QString uploads = ApplDir() + QStringLiteral("/zyn/upload");
    QVERIFY(QDir(uploads).removeRecursively());
    QVERIFY(QDir().mkpath(m_outside.path() + QStringLiteral("/up")));
    Link(m_outside.path() + QStringLiteral("/up"), uploads);
    const QString macro = m_local.path() + QStringLiteral("/UPMAC.SPF");
    Write(macro, "G1 X1\n");
    const ClientRun run = Client({QStringLiteral("upload"), QStringLiteral("--type"), QStringLiteral("macro"), macro});
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.err.contains(QStringLiteral("permission denied")), qPrintable(run.err));
    QCOMPARE(QDir(m_outside.path() + QStringLiteral("/up")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    QVERIFY(!QFile::exists(Nc() + QStringLiteral("/SPF.DIR/UPMAC.SPF")));
}

QTEST_MAIN(TestPathFence)
#include "TestPathFence.moc"
