#pragma once

#include "CtlServer.h"

#include <functional>

class HmiCommandTable;
class QWidget;

// The `hmi` verbs that operate a form's widgets the way an operator does:
// press a button, tick a box, pick from a combo, work a grid's cells and a
// tree's items, and list every widget with its state.
//   click NAME                      a button, also by its own text
//   check NAME on|off               a check box or radio button
//   choose NAME TEXT                a combo box's entry
//   cell NAME ROW COL [--check on|off | --choose TEXT | --text TEXT]
//   tree NAME expand|collapse|select|activate PATH
//   widgets [--json]
// Everything is checked before the answer goes out; the operation itself
// runs right after, like a soft key, because what it sets off may open a
// modal screen whose event loop serves the next commands.
class HmiWidgetCommands
{
public:
    explicit HmiWidgetCommands(std::function<QWidget*()> activeForm);

    void registerWith(HmiCommandTable& table);

private:
    CtlResult doClick(const QStringList& args) const;
    CtlResult doCheck(const QStringList& args) const;
    CtlResult doChoose(const QStringList& args) const;
    CtlResult doCell(const QStringList& args) const;
    CtlResult doTree(const QStringList& args) const;
    CtlResult doWidgets(const QStringList& args) const;

    // The operable widget NAME of the shown form, or a failure that says
    // why there is none.
    CtlResult locate(const QString& name, bool buttonText, QWidget*& widget) const;

    std::function<QWidget*()> m_activeForm;
};
