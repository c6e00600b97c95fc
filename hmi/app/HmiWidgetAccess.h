#pragma once

#include <QJsonObject>
#include <QString>

class QAbstractItemView;
class QModelIndex;
class QWidget;

// How a script finds a widget of a form and reads it as the operator sees
// it. A new kind of widget becomes readable by `hmi read` and `hmi widgets`
// through text() alone.
class HmiWidgetAccess
{
public:
    // By object name, then accessible name, then the text of the label in
    // front of it; with buttonText also by a button's own text. A label
    // itself counts by its object name only when it is to be read.
    static QWidget* find(QWidget* form, const QString& name, bool labels, bool buttonText = false);

    // What the operator sees of a widget, as text; false for a kind of
    // widget that has no text to read.
    static bool text(QWidget* widget, QString& text);

    // Whether the operator can change what the widget holds.
    static bool isReadOnly(const QWidget* widget);
    // Whether the operator can tick a cell or open an editor on it.
    static bool isCellEditable(const QAbstractItemView* view, const QModelIndex& index);

    // name, class, visible, enabled, readOnly and text, for `hmi widgets`.
    static QJsonObject describe(QWidget* widget, const QWidget* form);
};
