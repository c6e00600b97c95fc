#include "SlGfwPropertyString.h"

#include <QRegularExpression>

namespace {
const QRegularExpression& elementStart()
{
    static const QRegularExpression re(QStringLiteral("[A-Za-z_][A-Za-z0-9_]*\\.[A-Za-z_][A-Za-z0-9_]*="));
    return re;
}

QString marker(int n)
{
    return QStringLiteral("-slgfwprop%1 ").arg(n);
}
}

bool SlGfwPropertyString::parse(const QString& text, QList<Entry>& entries, QString& error)
{
    entries.clear();
    if (text.trimmed().isEmpty())
        return true;
    if (!text.startsWith(marker(1))) {
        error = QStringLiteral("property text does not start with '%1': %2").arg(marker(1), text);
        return false;
    }
    int n = 1;
    int pos = marker(1).size();
    for (;;) {
        // The blank before the next marker separates two elements and
        // belongs to neither value.
        const QString next = QLatin1Char(' ') + marker(n + 1);
        int end = text.indexOf(next, pos);
        // Only a marker followed by "form.property=" starts an element; the
        // same words in a message text stay part of the value.
        while (end >= 0 && !elementStart().match(text, end + next.size(), QRegularExpression::NormalMatch,
                                                 QRegularExpression::AnchoredMatchOption).hasMatch())
            end = text.indexOf(next, end + 1);
        QString element = end < 0 ? text.mid(pos) : text.mid(pos, end - pos);
        if (end < 0) {
            // Templates may end in a blank; it is not part of the last value.
            while (element.endsWith(QLatin1Char(' ')))
                element.chop(1);
        }
        const int dot = element.indexOf(QLatin1Char('.'));
        const int eq = element.indexOf(QLatin1Char('='));
        if (dot <= 0 || eq <= dot + 1) {
            error = QStringLiteral("property %1 is not 'form.property=value': %2").arg(n).arg(element);
            return false;
        }
        Entry e;
        e.number = n;
        e.form = element.left(dot);
        e.property = element.mid(dot + 1, eq - dot - 1);
        e.value = element.mid(eq + 1);
        entries.append(e);
        if (end < 0)
            break;
        pos = end + next.size();
        ++n;
    }
    return true;
}
