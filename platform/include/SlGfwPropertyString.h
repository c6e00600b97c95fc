#pragma once

#include <QList>
#include <QString>

// The properties an opener hands to a screen in one text:
//   "-slgfwprop1 formX.propA=value -slgfwprop2 formX.propB=other value"
// Values go in unquoted and may hold blanks, equals signs and anything
// else, so the text is cut only at the markers, and only at the marker
// with the next running number that is followed by "form.property=": a
// value that happens to contain " -slgfwprop7 " stays whole.
class SlGfwPropertyString
{
public:
    struct Entry
    {
        int number = 0;
        QString form;
        QString property;
        QString value;
    };

    // False with a reason for text that does not start with "-slgfwprop1 "
    // or holds an element without "form.property=". Empty text is no
    // properties and fine.
    static bool parse(const QString& text, QList<Entry>& entries, QString& error);
};
