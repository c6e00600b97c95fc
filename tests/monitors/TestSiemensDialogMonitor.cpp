// An NC program's dialog: the program fills the dialog variables and raises the state word, the operator answers on the
// message screen, and the answer stands complete in the NC when the state word reads 2. harvel-hmi runs as a process,
// since the message holds its main thread until the operator has answered; NC and operator are driven through its socket.

#include "HmiMachine.h"

#include <QtTest>

namespace {
QString vint(int i) { return QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_DIALOG_VINT[%1]").arg(i); }
QString vstr(int i) { return QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_DIALOG_VSTR[%1]").arg(i); }
} // namespace

class TestSiemensDialogMonitor : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m.Install(false) && m.Start()); }
    void cleanupTestCase() { m.Stop(); }
    void dialogAnsweredThroughTheStateWord();

private:
    bool set(const QString& path, const QString& value) { return m.Ok({"nc", "set", path, value}); }

    NetLinkFixture::HmiMachine m;
};

void TestSiemensDialogMonitor::dialogAnsweredThroughTheStateWord()
{
    // A fault on the NC (op pattern), what the operator types and presses with which style, the line logged, and
    // what stands afterwards in TMR_DIALOG_VSTR[3], VINT[4] and the state word VINT[1].
    const struct { QStringList fault; QString typed, key, style, logged, answer; } rows[] = {
        {{}, "0.25 mm", "doYes", "3", "Process dialog succeeded. ClickedButton=6, InputName=Offset, InputValue=0.25 mm\n",
         "0.25 mm|6|2"},
        // The texts cannot be read: no dialog, the reason in the log.
        {{"read", vstr(1).chopped(3) + "*"}, "", "", "0", "Get dialog data failed. ErrCode=-78\n", "none|99|1"},
        // The answer's text cannot be written: neither the key nor the state word follows it.
        {{"write", vstr(3)}, "lost", "doOK", "1", "Set dialog data failed. ErrCode=-77\n", "none|99|1"},
        // The key cannot be written: the text stands, the state word does not turn.
        {{"write", vint(4)}, "kept", "doRetry", "5", "Set dialog data failed. ErrCode=-77\n", "kept|99|1"}};
    for (const auto& row : rows) {
        QVERIFY(m.Ok({"nc", "fault", "clear"}) && set(vint(4), "99") && set(vstr(3), "none") && set(vint(1), "0"));
        QVERIFY(row.fault.isEmpty() || m.Ok(QStringList{"nc", "fault"} + row.fault + QStringList{"--code", "5"}));
        // A subscription sees the latest value once per update period (100 ms on the template machine): a state
        // word taken off 1 and raised again within one period is no new request, on the NC as here. The program
        // dwells, as an NC program between two dialogs does.
        QTest::qWait(300);
        const QString text = "Insert probe T12: then press Yes  -slgfwprop3 formIMSG.propMsgStyle=0 " + row.key + row.style;
        const int logCount = m.Log().count(row.logged);
        QVERIFY(set(vstr(1), text) && set(vstr(2), "Offset") && set(vint(2), "1") && set(vint(3), row.style) && set(vint(1), "1"));
        if (!row.key.isEmpty()) {
            QTRY_VERIFY_WITH_TIMEOUT(m.Screen() == "screenIMSG" && m.Read("textMessage") == text, 20000);
            QCOMPARE(m.State().value("status").toVariant().toStringList(), (QStringList{"ID: 0", "Sender: CNC program"}));
            // Nothing is answered while the operator has not.
            QCOMPARE(m.Get(vint(1)), QStringLiteral("1"));
            QVERIFY(m.Hmi({"type", row.typed}) && m.Hmi({"key", row.key}));
        }
        QTRY_VERIFY2_WITH_TIMEOUT(m.Log().count(row.logged) == logCount + 1, qPrintable(m.Log()), 20000);
        QTRY_COMPARE_WITH_TIMEOUT(QStringList({m.Get(vstr(3)), m.Get(vint(4)), m.Get(vint(1))}).join('|'), row.answer, 20000);
    }
}

QTEST_MAIN(TestSiemensDialogMonitor)
#include "TestSiemensDialogMonitor.moc"
