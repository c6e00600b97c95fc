#pragma once

#include <QList>
#include <QString>
#include <QVector>
#include <memory>

// Turns the text of a part program into blocks for NcProgramRunner, in the
// subset of the SINUMERIK language the virtual NC runs (docs/virtual-nc.md).
// Parsing never fails as a whole: a line that cannot be read becomes an
// error block carrying its alarm, so that the program runs up to it and
// stops there, as the NC's interpreter does.
class NcProgramParser
{
public:
    struct Expr;
    using ExprPtr = std::shared_ptr<const Expr>;
    struct Expr
    {
        enum Kind { Number, String, Name, Index, Call, Unary, Binary };
        Kind kind = Number;
        double number = 0.0;
        QString text;         // String: the literal; Name, Index, Call: upper-case name; Unary, Binary: operator
        QList<ExprPtr> args;  // Index: the indices; Call: the arguments; Unary: one; Binary: two
    };

    // One word of a block: an address or assignment ("X10", "G1", "F=_FEED",
    // "R1=5", "TMR_FILE=1", "TMR_FINDSPHERE[3]=2"), a keyword ("STOPRE",
    // "SUPA", "RET") or a procedure call ("MSG(...)", "WRITE(...)").
    struct Word
    {
        enum Kind { Set, Keyword, Call };
        Kind kind = Set;
        QString name;         // upper case
        QList<ExprPtr> index; // Set to NAME[...]
        ExprPtr value;        // Set
        QList<ExprPtr> args;  // Call
    };

    struct Definition
    {
        QString name;
        int size = 0;         // elements of an array, 0 for a single value
        ExprPtr init;
    };

    struct Block
    {
        enum Kind { Empty, Normal, Def, If, Else, EndIf, While, EndWhile, Goto, IfGoto, Error };
        Kind kind = Empty;
        int line = 0;         // from 1
        QString number;       // "N120", empty without one
        QString label;        // upper case, without the colon
        QList<Word> words;    // Normal
        ExprPtr condition;    // If, IfGoto, While
        QString target;       // Goto, IfGoto: label or block number, upper case
        int direction = 0;    // Goto, IfGoto: 1 forward (GOTOF), -1 back (GOTOB), 0 forward then back (GOTO)
        int partner = -1;     // If: its Else or EndIf; Else: its EndIf; While: its EndWhile; EndWhile: its While
        int type = 0;         // Def: QMetaType of the variables
        int stringLength = 0; // Def of STRING[n]
        QList<Definition> definitions;
        long alarm = 0;       // Error: the alarm the block raises
        QString error;        // Error: its text, after "Channel 1 block ..."
    };

    // The blocks of text, one per line, with the partners of IF, ELSE,
    // ENDIF, WHILE and ENDWHILE filled in.
    static QVector<Block> parse(const QString& text);
    // The blocks of one line alone (no nesting check).
    static Block parseLine(const QString& line, int lineNo);
};
