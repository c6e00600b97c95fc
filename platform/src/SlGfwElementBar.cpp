#include "SlGfwElementBar.h"

#include <QHBoxLayout>
#include <QLabel>

SlGfwElementBar::SlGfwElementBar(const QString& objectName, QWidget* parent)
    : QFrame(parent), m_layout(new QHBoxLayout(this))
{
    setObjectName(objectName);
    m_layout->setContentsMargins(6, 2, 6, 2);
    m_layout->setSpacing(12);
}

void SlGfwElementBar::setElements(const QVector<QString>& texts, const QVector<Qt::Alignment>& alignments)
{
    while (m_labels.size() > texts.size())
        delete m_labels.takeLast();
    while (m_labels.size() < texts.size()) {
        auto* label = new QLabel(this);
        label->setTextFormat(Qt::PlainText);
        label->setObjectName(QStringLiteral("element%1").arg(m_labels.size()));
        m_layout->addWidget(label, 1);
        m_labels.append(label);
    }
    for (int i = 0; i < texts.size(); ++i) {
        m_labels[i]->setText(texts.at(i));
        m_labels[i]->setAlignment(alignments.value(i, Qt::AlignLeft | Qt::AlignVCenter));
    }
}

QStringList SlGfwElementBar::texts() const
{
    QStringList result;
    for (const QLabel* l : m_labels)
        result << l->text();
    return result;
}
