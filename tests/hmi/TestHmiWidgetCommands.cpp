// The widget verbs of `hmi` on a real form: each must reach the widget by
// the operator's path (so the signals screens listen to fire) and refuse
// what an operator could not do.
#include "HmiCommandTable.h"
#include "HmiWidgetCommands.h"
#include "SlGfwTreeWidget.h"
#include "SlGrCheckGridItem.h"
#include "SlGrComboGridItem.h"
#include "SlGrGrid.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QtTest>

class TestHmiWidgetCommands : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { delete m_form; }
    void buttonsAndCombos();
    void gridCells();
    void treeItems();
    void readoutAndRefusals();

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

void TestHmiWidgetCommands::init()
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

void TestHmiWidgetCommands::buttonsAndCombos()
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

void TestHmiWidgetCommands::gridCells()
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

void TestHmiWidgetCommands::treeItems()
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

void TestHmiWidgetCommands::readoutAndRefusals()
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

QTEST_MAIN(TestHmiWidgetCommands)
#include "TestHmiWidgetCommands.moc"
