// The platform widgets the forms build on: grid cells, palettes and
// signals, the line edit's signals, the form's bars and the PDF view.
#include "SlGfwBaseForm.h"
#include "SlGfwDialogForm.h"
#include "SlGfwLineEdit.h"
#include "SlGrCheckGridItem.h"
#include "SlGrComboGridItem.h"
#include "SlGrGrid.h"
#include "XpdfWidget.h"

#include <QComboBox>
#include <QLineEdit>

#include <QDir>
#include <QIcon>
#include <QPainter>
#include <QPdfWriter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

class TestHmiWidgets : public QObject
{
    Q_OBJECT

private slots:
    void gridCellsAndSignals();
    void gridPalettes();
    void lineEditNamesItsSource();
    void formBars();
    void pdfZoom();
    void imagesAreFoundOnTheCardFirst();
};

void TestHmiWidgets::gridCellsAndSignals()
{
    SlGrGrid grid(0, 3, nullptr, QStringLiteral("grid"));
    QCOMPARE(grid.appendRow(), 0);
    QCOMPARE(grid.appendRow(), 1);
    grid.setText(1, 2, QStringLiteral("path"));
    QCOMPARE(grid.text(1, 2), QStringLiteral("path"));
    grid.setText(5, 0, QStringLiteral("outside")); // no row 5: nothing happens
    QCOMPARE(grid.rowCount(), 2);

    auto* check = new SlGrCheckGridItem(QString(), true);
    auto* combo = new SlGrComboGridItem({QString(), QStringLiteral("X1"), QStringLiteral("Y1")});
    grid.setItem(0, 0, check);
    grid.setItem(0, 1, combo);
    QSignalSpy values(&grid, &SlGrGrid::valueChanged);

    // What a form puts into its grid is no edit of the operator's.
    check->setChecked(false);
    combo->setCurrentIndex(2);
    grid.setText(1, 2, QStringLiteral("other path"));
    QCOMPARE(values.count(), 0);
    QCOMPARE(combo->currentText(), QStringLiteral("Y1"));
    QCOMPARE(grid.text(0, 1), QStringLiteral("Y1"));
    combo->setCurrentIndex(7); // out of range: kept
    QCOMPARE(combo->currentIndex(), 2);

    // The operator's: a choice in the cell's editor, the space key on a
    // check cell, a text typed into a plain cell.
    const QModelIndex comboCell = grid.model()->index(0, 1);
    QWidget* editor = grid.itemDelegate()->createEditor(grid.viewport(), QStyleOptionViewItem(), comboCell);
    auto* box = qobject_cast<QComboBox*>(editor);
    QVERIFY(box);
    grid.itemDelegate()->setEditorData(box, comboCell);
    QCOMPARE(box->currentIndex(), 2);
    box->setCurrentIndex(1);
    grid.itemDelegate()->setModelData(box, grid.model(), comboCell);
    delete editor;
    QCOMPARE(combo->currentIndex(), 1);
    QCOMPARE(values.count(), 1);
    QCOMPARE(values.takeFirst(), QVariantList({0, 1}));

    grid.setCurrentCell(0, 0);
    QTest::keyClick(&grid, Qt::Key_Space);
    QVERIFY(check->isChecked());
    QCOMPARE(values.count(), 1);
    QCOMPARE(values.takeFirst(), QVariantList({0, 0}));

    const QModelIndex textCell = grid.model()->index(1, 2);
    QWidget* line = grid.itemDelegate()->createEditor(grid.viewport(), QStyleOptionViewItem(), textCell);
    QVERIFY(qobject_cast<QLineEdit*>(line));
    qobject_cast<QLineEdit*>(line)->setText(QStringLiteral("typed"));
    grid.itemDelegate()->setModelData(line, grid.model(), textCell);
    delete line;
    QCOMPARE(grid.text(1, 2), QStringLiteral("typed"));
    QCOMPARE(values.count(), 1);
    QCOMPARE(values.takeFirst(), QVariantList({1, 2}));

    QSignalSpy current(&grid, &SlGrGrid::currentChanged);
    grid.setCurrentCell(1, 2);
    QCOMPARE(current.count(), 1);
    QCOMPARE(current.takeFirst(), QVariantList({1, 2}));

    grid.removeRow(0);
    QCOMPARE(grid.rowCount(), 1);
}

void TestHmiWidgets::gridPalettes()
{
    SlGrGrid grid(2, 4);
    grid.setText(0, 0, QStringLiteral("1"));
    grid.setText(0, 3, QStringLiteral("DEF NCK INT TMR_FILE"));
    QPalette grey = grid.palette();
    grey.setColor(QPalette::Base, Qt::lightGray);
    grid.setColumnColorPalette(0, grey);
    QCOMPARE(grid.getCellColorPalette(0, 0).color(QPalette::Base), QColor(Qt::lightGray));
    QCOMPARE(grid.getCellColorPalette(1, 0).color(QPalette::Base), QColor(Qt::lightGray));
    QCOMPARE(grid.getCellColorPalette(0, 3).color(QPalette::Base), grid.palette().color(QPalette::Base));

    // A colour is no value: setting it must not look like an edit.
    QSignalSpy values(&grid, &SlGrGrid::valueChanged);
    QPalette p = grid.getCellColorPalette(0, 3);
    for (auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        p.setColor(group, QPalette::Text, Qt::darkGreen);
    grid.setCellColorPalette(0, 3, p);
    QCOMPARE(values.count(), 0);
    QCOMPARE(grid.getCellColorPalette(0, 3).color(QPalette::Inactive, QPalette::Text), QColor(Qt::darkGreen));
    QCOMPARE(grid.getCellColorPalette(1, 3).color(QPalette::Text), grid.palette().color(QPalette::Text));

    grid.setSelectionMode(SlGrGrid::SingleRow);
    QCOMPARE(grid.selectionBehavior(), QAbstractItemView::SelectRows);
    grid.setSelectionMode(SlGrGrid::NoSelection);
    QCOMPARE(grid.QTableWidget::selectionMode(), QAbstractItemView::NoSelection);
}

void TestHmiWidgets::lineEditNamesItsSource()
{
    SlGfwLineEdit edit;
    QSignalSpy spy(&edit, qOverload<const QString&, QWidget*>(&SlGfwLineEdit::textChanged));
    edit.setValue(12.5);
    QCOMPARE(edit.displayText(), QStringLiteral("12.5"));
    edit.setValue(QStringLiteral("G54"));
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.last().at(0).toString(), QStringLiteral("G54"));
    QCOMPARE(spy.last().at(1).value<QWidget*>(), &edit);
}

void TestHmiWidgets::formBars()
{
    SlGfwDialogForm form(nullptr, QStringLiteral("formX"));
    QSignalSpy status(&form, &SlGfwDialogForm::statusBarChanged);
    form.setStatusBarElementCount(2);
    form.setStatusBarElementAlignment(2, 1);
    form.setStatusBarElementText(QStringLiteral("right"), 1);
    QCOMPARE(form.statusBarElementAlignment(1), Qt::Alignment(Qt::AlignRight));
    QCOMPARE(form.statusBarElementText(1), QStringLiteral("right"));
    // A text beyond the count is kept rather than lost.
    form.setStatusBarElementText(QStringLiteral("third"), 2);
    QCOMPARE(form.statusBarElementCount(), 3);
    QCOMPARE(status.count(), 4);
    form.setCaptionBarElementAlignment(Qt::AlignCenter, 5); // no element 5: ignored
    QCOMPARE(form.captionBarElementCount(), 1);
}

void TestHmiWidgets::pdfZoom()
{
    QTemporaryDir dir;
    const QString pdf = dir.filePath(QStringLiteral("report.pdf"));
    {
        QPdfWriter writer(pdf);
        writer.setPageSize(QPageSize(QPageSize::A4));
        QPainter painter(&writer);
        painter.drawText(QPointF(100, 100), QStringLiteral("Report"));
        writer.newPage();
        painter.drawText(QPointF(100, 100), QStringLiteral("Page 2"));
    }
    XpdfWidget view(Qt::white, Qt::gray, false);
    view.resize(800, 600);
    view.show();
    view.init(QString());
    view.setZoom(XpdfWidget::zoomToWidth);
    QVERIFY(view.getFileName().isEmpty());
    QVERIFY(view.loadFile(dir.filePath(QStringLiteral("missing.pdf")), QString()) != XpdfWidget::pdfOk);
    QVERIFY(view.getFileName().isEmpty());

    QCOMPARE(view.loadFile(pdf, QString()), int(XpdfWidget::pdfOk));
    QCOMPARE(view.getFileName(), pdf);
    QCOMPARE(view.getNumPages(), 2);
    // Fit to width: the page (595 pt wide) fills the view's width.
    const double wide = view.getZoomPercent();
    QVERIFY2(wide > 100.0 && wide < 800.0 * 100.0 / 595.0, qPrintable(QString::number(wide)));
    view.resize(500, 600);
    QVERIFY(view.getZoomPercent() < wide);
    QCOMPARE(view.getZoom(), XpdfWidget::zoomToWidth);

    view.setZoom(view.getZoomPercent() * 1.15);
    QVERIFY(view.getZoom() > 0);

    view.closeFile();
    QVERIFY(view.getFileName().isEmpty());
    QCOMPARE(view.getNumPages(), 0);
}

void TestHmiWidgets::imagesAreFoundOnTheCardFirst()
{
    QString path;
    QVERIFY(!SlGfwBaseForm::searchImageFile(QStringLiteral("no_such_image.png"), path, true));
    // The file views' icons exist even on an empty card, and they differ.
    QVERIFY(SlGfwBaseForm::searchImageFile(QStringLiteral("fv_folder_closed.png"), path, true));
    QIcon closed;
    closed.addFile(path);
    QVERIFY(SlGfwBaseForm::searchImageFile(QStringLiteral("fv_folder_opened.png"), path, true));
    QIcon opened;
    opened.addFile(path);
    QVERIFY(!closed.isNull() && !opened.isNull());
    QVERIFY(closed.cacheKey() != opened.cacheKey());

    QTemporaryDir card;
    QVERIFY(QDir().mkpath(card.filePath(QStringLiteral("oem/ico1024"))));
    QVERIFY(QDir().mkpath(card.filePath(QStringLiteral("user"))));
    QImage(8, 8, QImage::Format_ARGB32).save(card.filePath(QStringLiteral("oem/ico1024/fv_file.png")));
    QImage(8, 8, QImage::Format_ARGB32).save(card.filePath(QStringLiteral("user/fv_file.png")));
    SlGfwBaseForm::setImageSearchPaths({card.filePath(QStringLiteral("user")), card.filePath(QStringLiteral("oem"))});
    QVERIFY(SlGfwBaseForm::searchImageFile(QStringLiteral("fv_file.png"), path, true));
    QCOMPARE(path, card.filePath(QStringLiteral("user/fv_file.png")));
    QVERIFY(QFile::remove(path));
    QVERIFY(SlGfwBaseForm::searchImageFile(QStringLiteral("fv_file.png"), path, true));
    QCOMPARE(path, card.filePath(QStringLiteral("oem/ico1024/fv_file.png")));
    // Without the resolution folders only the folder itself counts.
    QVERIFY(SlGfwBaseForm::searchImageFile(QStringLiteral("fv_file.png"), path, false));
    QVERIFY(path.startsWith(QLatin1Char(':')));
    SlGfwBaseForm::setImageSearchPaths({});
}

QTEST_MAIN(TestHmiWidgets)
#include "TestHmiWidgets.moc"
