#include "HmiErrorForm.h"

#include <QLabel>
#include <QVBoxLayout>

HmiErrorForm::HmiErrorForm(const QString& area, const QString& error, QWidget* parent, const QString& name)
    : SlGfwDialogForm(parent, name)
{
    setCaptionBarElementText(QStringLiteral("%1 - not available").arg(area));
    setStatusBarVisible(true);
    setStatusBarElementText(error);
    auto* label = new QLabel(error, this);
    label->setObjectName(QStringLiteral("errorText"));
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignCenter);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label);
}
