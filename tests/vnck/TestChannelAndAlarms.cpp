#include <QtTest>
class TestChannelAndAlarms : public QObject { Q_OBJECT };
QTEST_GUILESS_MAIN(TestChannelAndAlarms)
#include "TestChannelAndAlarms.moc"
