#pragma once

#include <QFrame>
#include <QList>
#include <QVector>

class QHBoxLayout;
class QLabel;

// A caption or status bar: a row of text elements, each with its own
// alignment, as a form describes it.
class SlGfwElementBar : public QFrame
{
    Q_OBJECT
public:
    explicit SlGfwElementBar(const QString& objectName, QWidget* parent = nullptr);

    void setElements(const QVector<QString>& texts, const QVector<Qt::Alignment>& alignments);
    QStringList texts() const;

private:
    QHBoxLayout* m_layout;
    QList<QLabel*> m_labels;
};
