#pragma once

#include <QList>
#include <QString>
#include <QVariant>

// A definition file of global user data (DEF.DIR/SGUD.DEF, MGUD.DEF,
// UGUD.DEF, GUD4.DEF ... GUD9.DEF) read as the NC reads it on activation:
//   %_N_UGUD_DEF              header, passed over wherever it stands
//   ;$PATH=/_N_DEF_DIR        comments from ';' on
//   DEF NCK INT TMR_FILE
//   DEF NCK REAL TMR_VAR[1000]
//   DEF NCK STRING[256] TMR_DIALOG_VSTR[3]
//   DEF CHAN BOOL FLAG=TRUE
//   M30                       program end; nothing after it counts
class GudDefinitionFile
{
public:
    enum Scope { Nck, Chan };
    struct Variable
    {
        QString name;          // upper case
        Scope scope = Nck;
        int type = QMetaType::Int; // Int, Double, Bool or QString
        int stringLength = 0;  // STRING[n]
        int size = 0;          // array elements, 0 for a scalar
        QList<QVariant> init;  // initial values, empty for the type's zero
        int line = 0;
    };
    struct Error
    {
        int line = 0;
        QString text;
    };

    // Which GUD block a file defines (UGUD.DEF: 3), -1 when it defines none.
    static int blockOfFile(const QString& fileName);
    // All lines are read; the file is good when errors stays empty.
    static void parse(const QString& text, QList<Variable>& variables, QList<Error>& errors);
    // The zero of a type, or a value converted to it; invalid when it does not convert.
    static QVariant convert(int type, const QVariant& value);
    static QString typeName(const Variable& v);
};
