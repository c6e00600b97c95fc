#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class SlGfwIniFile;

// What the operator interface knows of one area: the dialog class, its
// screens, the form on each screen and the soft keys of the menus "myVr"
// (vertical, right) and "myHu" (horizontal, bottom).
//
// File format (an ini file the area's owner installs):
//
//   [dialog]
//   class       = SiemensHarvel          ; gui component made for the area
//   startScreen = screenLog              ; shown when the area opens
//   myHu1       = text:=Log, screen:=screenLog   ; keys shared by every screen
//
//   [screen screenLog]
//   form  = formLog                      ; the form's logical name
//   class = SiemensHarvelFormLog         ; its class, made by the plug-in
//   myVr1 = text:=Refresh, action:=refreshLog
//   myVr8 = text:=OK, action:=doOK, enabled:=false
//
// A soft key is "<menu><position> = text:=..., action:=..., screen:=...,
// args:=..., enabled:=true|false". action is the name the form receives in
// onFunction; screen makes the key switch to that screen of the area. A
// "\n" in the text breaks the key's label into two lines. A screen's own
// key replaces the shared key of the same position; "myVr3 = none" removes
// a shared key from one screen, "shared = false" in a screen's section all
// of them (a modal screen that must be left through its own keys).
class SlGfwAreaConfig
{
public:
    struct Softkey
    {
        QString menu;
        int position = 0;
        QString text;
        QString action;
        QString screen;
        QString args;
        bool enabled = true;
    };
    struct Screen
    {
        QString name;
        QString form;
        QString formClass;
        QList<Softkey> softkeys;
    };

    static const int kMenuSize = 8;
    static QStringList menus();

    bool load(const QString& path, QString& error);
    bool parse(const QString& text, QString& error);

    QString fileName() const { return m_fileName; }
    QString dialogClass() const { return m_dialogClass; }
    QString startScreen() const { return m_startScreen; }
    const QList<Screen>& screens() const { return m_screens; }
    const Screen* screen(const QString& name) const;
    // The class of a form by its logical name, empty if no screen holds it.
    QString formClass(const QString& form) const;

    // A configuration of one screen whose form the host itself provides;
    // used when an area's own configuration cannot be read, to show why.
    static SlGfwAreaConfig singleScreen(const QString& dialogClass, const QString& screen,
                                        const QString& form, const QString& formClass);

private:
    bool build(const SlGfwIniFile& ini, QString& error);
    bool parseSoftkey(const QString& key, const QString& value, const QString& where, Softkey& sk,
                      bool& removed, QString& error) const;

    QString m_fileName;
    QString m_dialogClass;
    QString m_startScreen;
    QList<Screen> m_screens;
};
