#pragma once

#include "CtlServer.h"
#include "HmiCommandTable.h"
#include "HmiWidgetCommands.h"

#include <QJsonObject>
#include <QPointer>

class HmiFramework;
class HmiWindow;
class QWidget;

// The "hmi" commands of harvel-ctl: what a script needs to operate the
// screens as an operator would and to read what they show.
//   state [--json]                     area, screen, caption, status, soft keys
//   key ACTION | key --menu M --position N
//   type [--clear] TEXT                into the widget with the focus,
//                                      emptied first with --clear
//   focus NAME                         a widget of the form, by object name,
//                                      accessible name or the text of its label
//   read NAME                          the text a widget shows: a field's
//                                      value, a list's lines, a table's rows
//   screenshot FILE
//   area NAME                          the operator's area key
//   areas                              every area, and why one failed
// and the widget verbs of HmiWidgetCommands, all behind one table.
// A key is pressed after the answer has gone out: it may open a modal
// screen, whose event loop serves the next commands.
class HmiControl
{
public:
    HmiControl(HmiFramework* framework, HmiWindow* window);

    void registerWith(CtlServer* server);
    CtlResult handle(const QStringList& args);

    QJsonObject state() const;

private:
    CtlResult doState(const QStringList& args) const;
    CtlResult doKey(const QStringList& args);
    CtlResult doType(const QStringList& args);
    CtlResult doFocus(const QStringList& args);
    CtlResult doRead(const QStringList& args) const;
    CtlResult doScreenshot(const QStringList& args);
    CtlResult doArea(const QStringList& args);
    CtlResult doAreas(const QStringList& args) const;
    QWidget* activeForm() const;

    HmiFramework* m_framework;
    QPointer<HmiWindow> m_window;
    HmiWidgetCommands m_widgets;
    HmiCommandTable m_table;
};
