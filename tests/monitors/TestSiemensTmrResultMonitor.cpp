// The hand-over of measurement results as an NC program sees it, with the plug-in in a virtual machine: journals
// under the target path without a net server, to a subscribed harvel-client with one, and what each failing file
// or variable operation leaves behind.

#include "ResultHandoverFixture.h"

#include <QRandomGenerator>

namespace {
const QString kResult = QStringLiteral("//NC/WKS.DIR/TELMOR.WPD/RESULT.MPF");
const QString kJournalDir = QStringLiteral("//127.0.0.1/telmor/Journal");
QString LocalPath(ResultHandoverFixture& m, const QString& logical) { return QString(logical).replace(kJournalDir, m.TargetJournalDir()); }
} // namespace

class TestSiemensTmrResultMonitor : public QObject
{
    Q_OBJECT

private slots:
    void withoutNetServerJournalsPileUpUnderTheTarget();
    void withNetServerTheClientGetsTheJournal();
};

void TestSiemensTmrResultMonitor::withoutNetServerJournalsPileUpUnderTheTarget()
{
    ResultHandoverFixture m;
    QVERIFY(m.Install(QString()));
    QCOMPARE(m.Start(), QStringList());
    // The NC program finds a file to write, in a folder made for it.
    QVERIFY(QFileInfo(m.ResultFile()).isFile() && QFileInfo(m.ResultFile()).size() == 0);
    // No journal folder can be made: the result is not taken and the NC program keeps waiting.
    QVERIFY(m.Fault("create-folder", "*/Journal", "0x81501005") && m.Deliver("first result"));
    QTRY_VERIFY_WITH_TIMEOUT(
        m.Log().contains("Handle TMR result file failed. ErrInfo=Cannot create folder " + kJournalDir + ", ErrCode=0x81501005\n"), 20000);
    QVERIFY(m.TmrFile() == "1" && !QFileInfo::exists(m.TargetJournalDir()));
    // Any value but 1 is left alone.
    QVERIFY(m.SetTmrFile(2));
    QTest::qWait(500);
    QVERIFY(m.TmrFile() == "2" && !QFileInfo::exists(m.TargetJournalDir()) && m.SetTmrFile(0));
    // TMR_FILE cannot be reset: the journal is made all the same and the failure is only a warning.
    QVERIFY(m.Fault("write", ResultHandoverFixture::kTmrFile, "0x80320005") && m.Deliver("second result"));
    QTRY_VERIFY_WITH_TIMEOUT(!m.LastJournal().isEmpty(), 20000);
    const QString second = m.LastJournal();
    QVERIFY2(QRegularExpression("^" + QRegularExpression::escape(kJournalDir) + "/Telmor\\d{14}\\.cna$").match(second).hasMatch(),
             qPrintable(second));
    QVERIFY(m.Log().contains(QRegularExpression("\\| WAR \\| \\w+ \\| Handle TMR result file failed\\. ErrInfo=Cannot set "
                                                "TMR_FILE to 0, ErrCode=-77\n")));
    QCOMPARE(m.Files(m.TargetJournalDir(), "*"), QStringList{QFileInfo(second).fileName()});
    QCOMPARE(m.ReadFile(LocalPath(m, second)), QByteArray("second result"));
    QVERIFY(m.TmrFile() == "1" && m.SetTmrFile(0));
    // A failed rename has released the program already; its result stays as the uncommitted .cnp and is not
    // announced as a journal.
    QVERIFY(m.Fault("move", "*/Journal/*", "0x81501005") && m.Deliver("third result"));
    QTRY_COMPARE_WITH_TIMEOUT(m.TmrFile(), "0", 20000);
    const QRegularExpression moveFailed(
        QStringLiteral("\\| ERR \\| \\w+ \\| Handle TMR result file failed\\. ErrInfo=Cannot rename result file "
                       "(%1/Telmor\\d{14}\\.cn)p to \\1a, ErrCode=0x81501005\n")
            .arg(QRegularExpression::escape(kJournalDir)));
    QTRY_VERIFY_WITH_TIMEOUT(moveFailed.match(m.Log()).hasMatch(), 20000);
    const QString uncommitted = LocalPath(m, moveFailed.match(m.Log()).captured(1));
    QCOMPARE(m.ReadFile(uncommitted + 'p'), QByteArray("third result"));
    QVERIFY(!QFileInfo::exists(uncommitted + 'a') && m.LastJournal() == second);
    // A second result within the same second takes the same name: the leftovers of an earlier one under the next
    // seconds' names are replaced.
    const QDateTime now = QDateTime::currentDateTime();
    for (int s = 0; s < 30; ++s) {
        const QString base = m.TargetJournalDir() + "/Telmor" + now.addSecs(s).toString("yyyyMMddhhmmss") + ".cn";
        QVERIFY(m.WriteFile(base + 'p', "stale copy") && m.WriteFile(base + 'a', "stale journal"));
    }
    QVERIFY(m.Deliver("fourth result"));
    QTRY_VERIFY_WITH_TIMEOUT(m.LastJournal() != second, 20000);
    const QString fourth = LocalPath(m, m.LastJournal());
    QCOMPARE(m.ReadFile(fourth), QByteArray("fourth result"));
    QVERIFY(!QFileInfo::exists(fourth.chopped(1) + 'p') && m.TmrFile() == "0");
    for (const QString& name : m.Files(m.TargetJournalDir(), "*"))
        QVERIFY(QFile::remove(m.TargetJournalDir() + '/' + name));
    // A failed copy keeps the program waiting; nothing lies in the folder.
    QVERIFY(m.Fault("copy", "*/Journal/*", "0x81501003") && m.Deliver("fifth result"));
    const QRegularExpression copyFailed(
        QStringLiteral("\\| ERR \\| \\w+ \\| Handle TMR result file failed\\. ErrInfo=Cannot copy result file %1 to "
                       "%2/Telmor\\d{14}\\.cnp, ErrCode=0x81501003\n")
            .arg(QRegularExpression::escape(kResult), QRegularExpression::escape(kJournalDir)));
    QTRY_VERIFY_WITH_TIMEOUT(copyFailed.match(m.Log()).hasMatch(), 20000);
    QVERIFY(m.TmrFile() == "1" && m.Files(m.TargetJournalDir(), "*").isEmpty());
    // Nothing of this went to a net server.
    QVERIFY(!m.Log().contains(QStringLiteral("Send TMR result file failed")) && !QFileInfo::exists(m.NetJournalDir()));
    // The HMI restarts while the program waits: the 1 that stands is taken. (The log cannot be followed further:
    // the logger runs once a process.)
    m.Stop();
    QCOMPARE(m.Start(), QStringList());
    QTRY_COMPARE_WITH_TIMEOUT(m.TmrFile(), "0", 20000);
    const QStringList journals = m.Files(m.TargetJournalDir(), "*");
    QVERIFY2(journals.size() == 1 && journals.first().endsWith(QLatin1String(".cna")), qPrintable(journals.join(' ')));
    QCOMPARE(m.ReadFile(m.TargetJournalDir() + '/' + journals.first()), QByteArray("fifth result"));
    m.Stop();
}

void TestSiemensTmrResultMonitor::withNetServerTheClientGetsTheJournal()
{
    ResultHandoverFixture m;
    QVERIFY(m.Install("127.0.0.1:0"));
    QCOMPARE(m.Start(), QStringList());
    QVERIFY2(m.ServerPort() != 0, qPrintable(m.Log()));
    // Nobody listens: the journal is made in the net server's folder, the failed notice is logged, and the journal
    // waits there for a client.
    QVERIFY(m.Deliver("alpha"));
    QTRY_COMPARE_WITH_TIMEOUT(m.TmrFile(), "0", 20000);
    QTRY_VERIFY_WITH_TIMEOUT(!m.LastJournal().isEmpty(), 20000);
    const QString alpha = QFileInfo(m.LastJournal()).fileName();
    QCOMPARE(m.LastJournal(), m.NetJournalDir() + '/' + alpha);
    QTRY_VERIFY_WITH_TIMEOUT(
        m.Log().contains(QStringLiteral("Send TMR result file failed. ResultFile=%1, ErrInfo=No available clients\n").arg(alpha)), 20000);
    QVERIFY(!QFileInfo::exists(m.TargetJournalDir()));

    QTemporaryDir received;
    QProcess client;
    m.StartWatch(client, QStringLiteral("127.0.0.1:%1").arg(m.ServerPort()), received.path());
    QTRY_COMPARE_WITH_TIMEOUT(m.ReadFile(received.path() + '/' + alpha), QByteArray("alpha"), 20000);
    // A subscribed client holds the next one as it was written, byte for byte, and nothing is logged as failed for it.
    QByteArray beta(300 * 1024, Qt::Uninitialized);
    QRandomGenerator::global()->fillRange(reinterpret_cast<quint32*>(beta.data()), beta.size() / 4);
    QVERIFY(m.Deliver(beta));
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(m.LastJournal()).fileName() != alpha, 20000);
    const QString betaName = QFileInfo(m.LastJournal()).fileName();
    QTRY_COMPARE_WITH_TIMEOUT(m.ReadFile(received.path() + '/' + betaName), beta, 20000);
    QVERIFY(!m.Log().contains(QStringLiteral("ResultFile=%1, ErrInfo=No available clients").arg(betaName))
            && m.Files(m.NetJournalDir(), "*.cnp").isEmpty());
    client.kill();
    client.waitForFinished();
    m.Stop();
}

QTEST_MAIN(TestSiemensTmrResultMonitor)
#include "TestSiemensTmrResultMonitor.moc"
