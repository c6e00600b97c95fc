// The platform widgets the forms build on (grid cells, palettes and
// signals, the line edit's signals, the form's bars, the PDF view, images),
// and the widget verbs of `hmi` on a real form: each must reach the widget
// by the operator's path (so the signals screens listen to fire) and refuse
// what an operator could not do.
#include "HmiCommandTable.h"
#include "HmiWidgetCommands.h"
#include "SlGfwBaseForm.h"
#include "SlGfwDialogForm.h"
#include "SlGfwLineEdit.h"
#include "SlGfwTreeWidget.h"
#include "SlGrCheckGridItem.h"
#include "SlGrComboGridItem.h"
#include "SlGrGrid.h"
#include "XpdfWidget.h"

#include <QPdfWriter>
#include <QtTest>
#include <QtWidgets>

class TestHmiWidgets : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { delete m_form; }
    void buttonsAndCombos();
    void gridCells();
    void treeItems();
    void readoutAndRefusals();
    void gridCellsAndSignals();
    void gridPalettes();
    void lineEditAndFormBars();
    void pdfZoom();
    void imagesAreFoundOnTheCardFirst();

private:
    CtlResult run(const QStringList& args)
    {
        const CtlResult r = m_table.dispatch(args);
        QCoreApplication::processEvents(); // the posted operation
        return r;
    }

    QWidget* m_form = nullptr;
    HmiCommandTable m_table;
    HmiWidgetCommands m_commands{[this] { return m_form; }};
    QStringList m_events;
    SlGrGrid* m_grid = nullptr;
    SlGfwTreeWidget* m_tree = nullptr;
};

void TestHmiWidgets::init()
{
    m_events.clear();
    m_commands.registerWith(m_table);
    m_form = new QWidget;
    m_form->setObjectName(QStringLiteral("form"));
    auto* layout = new QGridLayout(m_form);
    auto* ok = new QPushButton(QStringLiteral("&Refresh"), m_form);
    auto* off = new QPushButton(QStringLiteral("Off"), m_form);
    off->setEnabled(false);
    auto* all = new QCheckBox(QStringLiteral("Select All"), m_form);
    auto* usb = new QRadioButton(QStringLiteral("USB"), m_form);
    auto* net = new QRadioButton(QStringLiteral("ZYN Net"), m_form);
    usb->setChecked(true);
    auto* mode = new QComboBox(m_form);
    mode->addItems({QStringLiteral("FINE"), QStringLiteral("COARSE")});
    layout->addWidget(new QLabel(QStringLiteral("Work offset:"), m_form), 0, 0);
    layout->addWidget(mode, 0, 1);
    layout->addWidget(ok, 1, 0);
    layout->addWidget(off, 1, 1);
    layout->addWidget(all, 2, 0);
    layout->addWidget(usb, 3, 0);
    layout->addWidget(net, 3, 1);
    m_grid = new SlGrGrid(2, 3, m_form, QStringLiteral("grid"));
    m_grid->setItem(0, 0, new SlGrCheckGridItem(QString(), false));
    m_grid->setItem(0, 1, new SlGrComboGridItem({QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")}));
    m_grid->setText(0, 2, QStringLiteral("free"));
    m_grid->setText(1, 2, QStringLiteral("fixed"));
    m_grid->item(1, 2)->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    layout->addWidget(m_grid, 4, 0, 1, 2);
    m_tree = new SlGfwTreeWidget(m_form);
    m_tree->setObjectName(QStringLiteral("drives"));
    auto* nc = new SlGfwTreeWidgetItem(m_tree);
    auto* mpf = new SlGfwTreeWidgetItem(nc);
    auto* main = new SlGfwTreeWidgetItem(mpf);
    nc->setText(0, QStringLiteral("//NC"));
    mpf->setText(0, QStringLiteral("MPF.DIR"));
    main->setText(0, QStringLiteral("MAIN.MPF"));
    layout->addWidget(m_tree, 5, 0, 1, 2);

    connect(ok, &QPushButton::clicked, this, [this] { m_events << QStringLiteral("refresh"); });
    connect(all, &QCheckBox::toggled, this, [this](bool on) { m_events << QStringLiteral("all %1").arg(on); });
    connect(net, &QRadioButton::toggled, this, [this](bool on) { m_events << QStringLiteral("net %1").arg(on); });
    connect(mode, qOverload<int>(&QComboBox::activated), this,
            [this, mode](int) { m_events << QStringLiteral("mode %1").arg(mode->currentText()); });
    connect(m_grid, &SlGrGrid::valueChanged, this, [this](int r, int c) {
        m_events << QStringLiteral("value %1 %2 %3").arg(r).arg(c).arg(m_grid->item(r, c)->text());
    });
    connect(m_tree, &SlGfwTreeWidget::itemExpanded, this,
            [this](SlGfwTreeWidgetItem* i) { m_events << QStringLiteral("expanded %1").arg(i->text(0)); });
    connect(m_tree, &SlGfwTreeWidget::itemClicked, this,
            [this](SlGfwTreeWidgetItem* i, int) { m_events << QStringLiteral("clicked %1").arg(i->text(0)); });
    connect(m_tree, &SlGfwTreeWidget::itemDoubleClicked, this,
            [this](SlGfwTreeWidgetItem* i, int) { m_events << QStringLiteral("double %1").arg(i->text(0)); });
    m_form->resize(600, 700);
    m_form->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_form));
}

void TestHmiWidgets::buttonsAndCombos()
{
    QCOMPARE(run({"click", "Refresh"}).code, 0); // by its text, the accelerator ignored
    QCOMPARE(run({"check", "Select All", "on"}).code, 0);
    QCOMPARE(run({"check", "Select All", "on"}).code, 0); // already on: no second toggle
    QCOMPARE(run({"check", "ZYN Net", "on"}).code, 0);
    QCOMPARE(run({"choose", "Work offset", "COARSE"}).code, 0);
    QCOMPARE(m_events, QStringList({"refresh", "all 1", "net 1", "mode COARSE"}));

    QVERIFY(run({"click", "Off"}).err.contains("disabled"));
    QVERIFY(run({"check", "ZYN Net", "off"}).err.contains("choosing another"));
    QVERIFY(run({"choose", "Work offset", "MEDIUM"}).err.contains("FINE, COARSE"));
    QVERIFY(run({"click", "Work offset"}).err.contains("no button"));
    QCOMPARE(m_events.size(), 4);
}

void TestHmiWidgets::gridCells()
{
    QCOMPARE(run({"cell", "grid", "0", "0", "--check", "on"}).code, 0);
    QCOMPARE(run({"cell", "grid", "0", "1", "--choose", "3"}).code, 0);
    QCOMPARE(run({"cell", "grid", "0", "2", "--text", "a b"}).code, 0);
    QCOMPARE(run({"cell", "grid", "1", "2"}).code, 0);
    QCOMPARE(m_grid->currentRow(), 1);
    QVERIFY(static_cast<SlGrCheckGridItem*>(m_grid->item(0, 0))->isChecked());
    QCOMPARE(m_events, QStringList({"value 0 0 ", "value 0 1 3", "value 0 2 a b"}));

    QVERIFY(run({"cell", "grid", "1", "2", "--text", "x"}).err.contains("read-only"));
    QVERIFY(run({"cell", "grid", "0", "2", "--check", "on"}).err.contains("no check box"));
    QVERIFY(run({"cell", "grid", "0", "1", "--choose", "9"}).err.contains("1, 2, 3"));
    QVERIFY(run({"cell", "grid", "0", "2", "--choose", "1"}).err.contains("offers no choice"));
    QVERIFY(run({"cell", "grid", "5", "0"}).err.contains("2 rows, 3 columns"));
    QCOMPARE(run({"cell", "grid", "x", "0"}).code, 2);
    QCOMPARE(m_events.size(), 3);
}

void TestHmiWidgets::treeItems()
{
    QCOMPARE(run({"tree", "drives", "expand", "//NC"}).code, 0);
    QCOMPARE(run({"tree", "drives", "select", "//NC/MPF.DIR/MAIN.MPF"}).code, 0); // opens the folder on the way
    QCOMPARE(run({"tree", "drives", "activate", "//NC/MPF.DIR/MAIN.MPF"}).code, 0);
    QCOMPARE(run({"tree", "drives", "collapse", "//NC"}).code, 0);
    QVERIFY(!m_tree->topLevelItem(0)->isExpanded());
    QCOMPARE(m_tree->currentItem()->text(0), QStringLiteral("MAIN.MPF"));
    QCOMPARE(m_events, QStringList({"expanded //NC", "expanded MPF.DIR", "clicked MAIN.MPF", "clicked MAIN.MPF",
                                    "double MAIN.MPF"}));
    QVERIFY(run({"tree", "drives", "select", "//NC/SPF.DIR"}).err.contains("no item"));
}

void TestHmiWidgets::readoutAndRefusals()
{
    const CtlResult r = run({"widgets", "--json"});
    QCOMPARE(r.code, 0);
    QMap<QString, QJsonObject> byName;
    for (const QJsonValue& v : QJsonDocument::fromJson(r.out.toUtf8()).array())
        byName.insert(v.toObject().value("name").toString(), v.toObject());
    QVERIFY(byName.contains("grid") && byName.contains("drives"));
    QCOMPARE(byName["grid"].value("readOnly").toBool(), false);
    QCOMPARE(byName["drives"].value("readOnly").toBool(), true);
    QCOMPARE(byName["drives"].value("text").toString(), QStringLiteral("//NC\n  MPF.DIR\n    MAIN.MPF"));
    QVERIFY(r.out.contains("\"enabled\":false")); // the disabled button is listed too

    m_grid->hide();
    QVERIFY(run({"cell", "grid", "0", "2"}).err.contains("hidden"));
    QCOMPARE(run({"nothing"}).code, 2);
    QVERIFY(run({"click", "Nowhere"}).err.contains("no widget named or labelled 'Nowhere'"));
    m_form->hide();
    QWidget* form = m_form;
    m_form = nullptr;
    QCOMPARE(run({"widgets"}).err, QStringLiteral("no form is shown"));
    m_form = form;
}

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

    // The cell's editor opens on the current choice (the operator's edits
    // themselves are the widget commands' test).
    const QModelIndex comboCell = grid.model()->index(0, 1);
    QScopedPointer<QWidget> editor(grid.itemDelegate()->createEditor(grid.viewport(), QStyleOptionViewItem(), comboCell));
    grid.itemDelegate()->setEditorData(editor.data(), comboCell);
    QCOMPARE(editor->property("currentIndex"), QVariant(2));

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

void TestHmiWidgets::lineEditAndFormBars()
{
    SlGfwLineEdit edit;
    QSignalSpy spy(&edit, qOverload<const QString&, QWidget*>(&SlGfwLineEdit::textChanged));
    edit.setValue(12.5);
    QCOMPARE(edit.displayText(), QStringLiteral("12.5"));
    edit.setValue(QStringLiteral("G54"));
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.last().at(0).toString(), QStringLiteral("G54"));
    QCOMPARE(spy.last().at(1).value<QWidget*>(), &edit);

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
