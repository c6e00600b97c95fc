#include <QtTest>
class TestFileService : public QObject { Q_OBJECT };
QTEST_GUILESS_MAIN(TestFileService)
#include "TestFileService.moc"
