#include "TestMainForm.h"

#include "SlGfwHmiDialog.h"
#include "SlGfwLabel.h"
#include "SlGfwLineEdit.h"
#include "SlGfwScreen.h"
#include "SlGrCheckGridItem.h"
#include "SlGrGrid.h"

#include <QGridLayout>

int TestMainForm::instances = 0;

TestMainForm::TestMainForm(QWidget* parent, const QString& name, Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags), input(new SlGfwLineEdit(this))
{
    ++instances;
    setGeometricNavigationEnabled(false);
    setCaptionBarElementCount(1);
    setStatusBarElementCount(2);
    setStatusBarVisible(true);
    auto* layout = new QGridLayout(this);
    layout->addWidget(new SlGfwLabel(QStringLiteral("Part name: "), this), 0, 0);
    layout->addWidget(input, 0, 1);
    input->setObjectName(QStringLiteral("partName"));
    auto* parts = new SlGrGrid(1, 3, this, QStringLiteral("parts"));
    parts->setItem(0, 0, new SlGrCheckGridItem(QString(), true));
    parts->setText(0, 1, QStringLiteral("bracket"));
    parts->setText(0, 2, QStringLiteral("hidden path"));
    parts->setColumnHidden(2, true);
    layout->addWidget(parts, 1, 0, 1, 2);
    connect(input, qOverload<const QString&, QWidget*>(&SlGfwLineEdit::textChanged), this,
            [this](const QString& text, QWidget*) { setStatusBarElementText(text, 1); });
}

TestMainForm::~TestMainForm() { --instances; }

void TestMainForm::attachedToScreen(const QString& screen)
{
    attaches << QStringLiteral("%1|%2|%3|%4|%5").arg(screen, m_caption).arg(m_count).arg(m_flag ? 1 : 0).arg(m_text);
    setCaptionBarElementText(m_caption.isEmpty() ? QStringLiteral("Test main") : m_caption, 0);
    SlGfwDialogForm::attachedToScreen(screen);
}

void TestMainForm::onFunction(const QString& name, const QString& args, bool& handled)
{
    if (name == QLatin1String("openModal")) {
        lastModalResult = dialog()->execModalScreen(
            QStringLiteral("screenModal"), QStringLiteral("-slgfwprop1 formModal.propBackScreen=screenMain -slgfwprop2 formModal.propDepth=1"));
        setStatusBarElementText(QStringLiteral("modal: %1").arg(lastModalResult.toString()), 0);
        handled = true;
    } else if (name == QLatin1String("disableFour")) {
        if (QWidget* key = dialog()->screenRef(QStringLiteral("screenMain"))->menuSoftkey(QStringLiteral("myVr"), 4))
            key->setEnabled(false);
        handled = true;
    }
    if (!handled)
        SlGfwDialogForm::onFunction(name, args, handled);
}
