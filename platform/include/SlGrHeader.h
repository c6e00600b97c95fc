#pragma once

#include <QHeaderView>

// The row or column header of an SlGrGrid.
class SlGrHeader : public QHeaderView
{
    Q_OBJECT
public:
    explicit SlGrHeader(Qt::Orientation orientation, QWidget* parent = nullptr);

    void setLabel(int section, const QString& text);
    QString label(int section) const;
};
