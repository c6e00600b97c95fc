#pragma once

#include "SlGrHeader.h"

#include <QHash>
#include <QPalette>
#include <QTableWidget>

// The platform's table. Cells hold QTableWidgetItem, SlGrCheckGridItem or
// SlGrComboGridItem. Colours go by palette: one per column, and one per
// cell over it; a cell's palette gives its background (Base) and its text
// colour (Text).
//
// valueChanged means an operator's edit: a text typed into a cell, an
// entry chosen in a combo cell, a tick given or taken. A form fills its
// grid by code without hearing its own changes back, so a handler of the
// operator's edits cannot overwrite what the form has just put in.
class SlGrGrid : public QTableWidget
{
    Q_OBJECT
public:
    // The selection modes of setSelectionMode(int).
    enum GridSelection { NoSelection = 0, SingleCell = 1, SingleRow = 2, MultiRow = 3 };

    SlGrGrid(int rows, int columns, QWidget* parent = nullptr, const QString& name = QString());

    SlGrHeader* horizontalHeader() const;
    SlGrHeader* verticalHeader() const;

    // Adds an empty row at the end and returns its index.
    int appendRow();
    QString text(int row, int column) const;
    // Makes a plain cell if there is none.
    void setText(int row, int column, const QString& text);

    void setColumnColorPalette(int column, const QPalette& palette);
    QPalette columnColorPalette(int column) const;
    QPalette getCellColorPalette(int row, int column) const;
    void setCellColorPalette(int row, int column, const QPalette& palette);

    void setColumnAlignment(int column, Qt::Alignment alignment);
    Qt::Alignment columnAlignment(int column) const;

    void setSelectionMode(int mode);
    int gridSelectionMode() const { return m_selection; }

    // Space between columns and between rows, in pixels.
    void setColumnDistance(int pixels);
    void setRowDistance(int pixels);
    int columnDistance() const { return m_columnDistance; }
    int rowDistance() const { return m_rowDistance; }

    static const int CellPaletteRole = Qt::UserRole + 100;

signals:
    void valueChanged(int row, int column);
    void currentChanged(int row, int column);

private:
    friend class SlGrGridDelegate;

    QHash<int, QPalette> m_columnPalettes;
    QHash<int, Qt::Alignment> m_columnAlignments;
    int m_selection = SingleCell;
    int m_columnDistance = 0;
    int m_rowDistance = 0;
    // Above 0 while the cell editor or a click of the operator writes into
    // the model; the changes made meanwhile are the operator's.
    int m_operatorEdit = 0;
};
