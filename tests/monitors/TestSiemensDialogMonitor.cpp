// An NC program's dialog: the program fills the dialog variables and raises
// the state word, the operator answers on the message screen, and the
// answer stands complete in the NC when the state word reads 2. harvel-hmi
// runs as a process, since the message holds its main thread until the
// operator has answered; NC and operator are driven through its socket.

#include "CtlClient.h"
#include "NetLinkFixture.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdlib>

namespace {
const QString kVint = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_DIALOG_VINT[%1]");
const QString kVstr = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_DIALOG_VSTR[%1]");
} // namespace

class TestSiemensDialogMonitor : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void dialogAnsweredThroughTheStateWord();
    void failuresLeaveTheStateWordAtOne();

private:
    CtlResult Ctl(const QStringList& args) { return CtlClient::call(m_machine.path(), args, 20000); }
    QString Get(const QString& path) { return Ctl({QStringLiteral("nc"), QStringLiteral("get"), path}).out.trimmed(); }
    bool Set(const QString& path, const QString& value)
    {
        return Ctl({QStringLiteral("nc"), QStringLiteral("set"), path, value}).code == 0;
    }
    // What the NC program does: the texts and numbers, then the state word.
    bool AskDialog(const QString& text, const QString& inputName, int type, int style);
    bool ShowsMessage(const QString& text);
    QString Log() const;
    int LogCount(const QString& text) const { return Log().count(text); }

    QTemporaryDir m_machine;
    QProcess m_hmi;
};

void TestSiemensDialogMonitor::initTestCase()
{
    QVERIFY(m_machine.isValid());
    const QString install = QStringLiteral("HARVEL_BUILD_DIR='%1' bash '%2' '%3' >/dev/null")
                                .arg(NetLinkFixture::BinaryDir(), QStringLiteral(HARVEL_INSTALL_SCRIPT),
                                     m_machine.path());
    QVERIFY(std::system(install.toLocal8Bit().constData()) == 0);
    m_hmi.start(NetLinkFixture::BinaryDir() + QStringLiteral("/bin/harvel-hmi"),
                {QStringLiteral("--machine"), m_machine.path(), QStringLiteral("--headless")});
    QVERIFY(m_hmi.waitForStarted(20000));
    QTRY_VERIFY_WITH_TIMEOUT(Ctl({QStringLiteral("hmi"), QStringLiteral("areas")}).code == 0, 60000);
}

void TestSiemensDialogMonitor::cleanupTestCase()
{
    if (m_hmi.state() == QProcess::Running) {
        Ctl({QStringLiteral("quit")});
        QVERIFY(m_hmi.waitForFinished(60000));
    }
}

bool TestSiemensDialogMonitor::AskDialog(const QString& text, const QString& inputName, int type, int style)
{
    if (!Set(kVint.arg(1), QStringLiteral("0")))
        return false;
    // A subscription sees the latest value once per update period (100 ms on
    // the template machine): a state word taken off 1 and raised again
    // within one period is no new request, on the NC as here. The program
    // dwells, as an NC program between two dialogs does.
    QTest::qWait(300);
    return Set(kVstr.arg(1), text) && Set(kVstr.arg(2), inputName) && Set(kVint.arg(2), QString::number(type))
           && Set(kVint.arg(3), QString::number(style)) && Set(kVint.arg(1), QStringLiteral("1"));
}

bool TestSiemensDialogMonitor::ShowsMessage(const QString& text)
{
    const QJsonObject state = QJsonDocument::fromJson(
        Ctl({QStringLiteral("hmi"), QStringLiteral("state"), QStringLiteral("--json")}).out.toUtf8()).object();
    return state.value(QStringLiteral("screen")).toString() == QLatin1String("screenIMSG")
           && Ctl({QStringLiteral("hmi"), QStringLiteral("read"), QStringLiteral("textMessage")}).out.trimmed() == text;
}

QString TestSiemensDialogMonitor::Log() const
{
    QFile log(m_machine.path() + QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl/logs/SiemensHarvel.log"));
    return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
}

void TestSiemensDialogMonitor::dialogAnsweredThroughTheStateWord()
{
    QVERIFY(Set(kVint.arg(4), QStringLiteral("0")));
    const QString text = QStringLiteral("Insert probe T12: then press Yes  -slgfwprop3 formIMSG.propMsgStyle=0");
    QVERIFY(AskDialog(text, QStringLiteral("Offset"), 1, 3));
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(text), 20000);
    const QJsonObject state = QJsonDocument::fromJson(
        Ctl({QStringLiteral("hmi"), QStringLiteral("state"), QStringLiteral("--json")}).out.toUtf8()).object();
    QCOMPARE(state.value(QStringLiteral("status")).toVariant().toStringList(),
             QStringList({QStringLiteral("ID: 0"), QStringLiteral("Sender: CNC program")}));
    // Nothing is answered while the operator has not.
    QCOMPARE(Get(kVint.arg(1)), QStringLiteral("1"));

    QCOMPARE(Ctl({QStringLiteral("hmi"), QStringLiteral("type"), QStringLiteral("0.25 mm")}).code, 0);
    QCOMPARE(Ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("doYes")}).code, 0);
    QTRY_COMPARE_WITH_TIMEOUT(Get(kVint.arg(1)), QStringLiteral("2"), 20000);
    QCOMPARE(Get(kVstr.arg(3)), QStringLiteral("0.25 mm"));
    QCOMPARE(Get(kVint.arg(4)), QStringLiteral("6"));
    const QString succeeded =
        QStringLiteral("Process dialog succeeded. ClickedButton=6, InputName=Offset, InputValue=0.25 mm\n");
    QTRY_VERIFY2_WITH_TIMEOUT(LogCount(succeeded) == 1, qPrintable(Log()), 20000);
}

void TestSiemensDialogMonitor::failuresLeaveTheStateWordAtOne()
{
    auto fault = [this](const QString& op, const QString& pattern) {
        return Ctl({QStringLiteral("nc"), QStringLiteral("fault"), op, pattern, QStringLiteral("--code"),
                    QStringLiteral("5")}).code == 0;
    };
    auto clearFaults = [this] {
        return Ctl({QStringLiteral("nc"), QStringLiteral("fault"), QStringLiteral("clear")}).code == 0;
    };

    // The texts cannot be read: no dialog, the reason in the log.
    QVERIFY(fault(QStringLiteral("read"), QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_DIALOG_VSTR*")));
    QVERIFY(AskDialog(QStringLiteral("Unreadable"), QString(), 0, 0));
    QTRY_VERIFY2_WITH_TIMEOUT(
        LogCount(QStringLiteral("Get dialog data failed. ErrCode=-78\n")) == 1, qPrintable(Log()), 20000);
    QCOMPARE(Get(kVint.arg(1)), QStringLiteral("1"));
    QVERIFY(clearFaults());

    // The answer's text cannot be written: neither the key nor the state
    // word follows it.
    QVERIFY(Set(kVint.arg(4), QStringLiteral("99")));
    QVERIFY(fault(QStringLiteral("write"), kVstr.arg(3)));
    QVERIFY(AskDialog(QStringLiteral("Text write fails"), QStringLiteral("Value"), 1, 1));
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(QStringLiteral("Text write fails")), 20000);
    QCOMPARE(Ctl({QStringLiteral("hmi"), QStringLiteral("type"), QStringLiteral("lost")}).code, 0);
    QCOMPARE(Ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("doOK")}).code, 0);
    QTRY_VERIFY2_WITH_TIMEOUT(
        LogCount(QStringLiteral("Set dialog data failed. ErrCode=-77\n")) == 1, qPrintable(Log()), 20000);
    QCOMPARE(Get(kVint.arg(4)), QStringLiteral("99"));
    QCOMPARE(Get(kVint.arg(1)), QStringLiteral("1"));
    QVERIFY(clearFaults());

    // The key cannot be written: the text stands, the state word does not
    // turn.
    QVERIFY(fault(QStringLiteral("write"), kVint.arg(4)));
    QVERIFY(AskDialog(QStringLiteral("Key write fails"), QStringLiteral("Value"), 1, 5));
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(QStringLiteral("Key write fails")), 20000);
    QCOMPARE(Ctl({QStringLiteral("hmi"), QStringLiteral("type"), QStringLiteral("kept")}).code, 0);
    QCOMPARE(Ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("doRetry")}).code, 0);
    QTRY_VERIFY2_WITH_TIMEOUT(
        LogCount(QStringLiteral("Set dialog data failed. ErrCode=-77\n")) == 2, qPrintable(Log()), 20000);
    QCOMPARE(Get(kVstr.arg(3)), QStringLiteral("kept"));
    QCOMPARE(Get(kVint.arg(4)), QStringLiteral("99"));
    QCOMPARE(Get(kVint.arg(1)), QStringLiteral("1"));
    QVERIFY(clearFaults());
}

QTEST_MAIN(TestSiemensDialogMonitor)
#include "TestSiemensDialogMonitor.moc"
