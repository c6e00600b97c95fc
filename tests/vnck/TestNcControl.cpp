#include <QtTest>
class TestNcControl : public QObject { Q_OBJECT };
QTEST_GUILESS_MAIN(TestNcControl)
#include "TestNcControl.moc"
