#include "NcAddress.h"

#include <QRegularExpression>

namespace {

bool isIdentifier(const QString& s)
{
    static const QRegularExpression re(QStringLiteral("^[A-Za-z_$][A-Za-z0-9_$]*$"));
    return re.match(s).hasMatch();
}

bool toNumber(const QString& s, int& value)
{
    if (s.isEmpty())
        return false;
    for (const QChar c : s)
        if (!c.isDigit())
            return false;
    bool ok = false;
    value = s.toInt(&ok);
    return ok;
}

} // namespace

bool NcAddress::parse(const QString& text, NcAddress& out, QString& why)
{
    out = NcAddress();
    const QString t = text.trimmed();
    if (!t.startsWith(QLatin1Char('/')) || t.startsWith(QLatin1String("//"))) {
        why = QStringLiteral("'%1' is no variable address: it must begin with a single '/'").arg(text);
        return false;
    }
    QString path = t;
    QString inner;
    const int open = t.indexOf(QLatin1Char('['));
    if (open >= 0) {
        if (!t.endsWith(QLatin1Char(']')) || t.indexOf(QLatin1Char('['), open + 1) >= 0
            || t.indexOf(QLatin1Char(']')) != t.size() - 1) {
            why = QStringLiteral("'%1': the index must stand in one pair of brackets at the end").arg(text);
            return false;
        }
        path = t.left(open);
        inner = t.mid(open + 1, t.size() - open - 2);
        out.hasBrackets = true;
    }

    const QStringList parts = path.mid(1).split(QLatin1Char('/'));
    if (parts.size() != 3) {
        why = QStringLiteral("'%1': an address has three parts (area, module or block, name)").arg(text);
        return false;
    }
    for (const QString& p : parts) {
        if (p.isEmpty() || p.contains(QLatin1Char(' '))) {
            why = QStringLiteral("'%1': empty or blank part in the address").arg(text);
            return false;
        }
    }
    const QString area = parts[0];
    if (area.compare(QLatin1String("NC"), Qt::CaseInsensitive) == 0) {
        out.area = DataBlock;
        out.block = parts[1].toUpper();
        if (!out.block.startsWith(QLatin1String("_N_")) || !out.block.endsWith(QLatin1String("_ACX"))) {
            why = QStringLiteral("'%1': '%2' is no data block of the NC (_N_..._ACX)").arg(text, parts[1]);
            return false;
        }
    } else if (area.compare(QLatin1String("Channel"), Qt::CaseInsensitive) == 0) {
        out.area = Channel;
    } else if (area.compare(QLatin1String("Nck"), Qt::CaseInsensitive) == 0) {
        out.area = Nck;
    } else if (area.compare(QLatin1String("Bag"), Qt::CaseInsensitive) == 0) {
        out.area = Bag;
    } else if (area.compare(QLatin1String("Tool"), Qt::CaseInsensitive) == 0) {
        out.area = Tool;
    } else {
        why = QStringLiteral("'%1': unknown area '%2' (NC, Channel, Nck, Bag, Tool)").arg(text, area);
        return false;
    }
    if (out.area != DataBlock)
        out.module = parts[1];
    out.name = parts[2];
    if (!isIdentifier(out.name) || (out.area != DataBlock && !isIdentifier(out.module))) {
        why = QStringLiteral("'%1': '%2' is no valid name").arg(text, out.name);
        return false;
    }
    out.m_bare = path;

    if (!out.hasBrackets)
        return true;
    const QStringList items = inner.split(QLatin1Char(','));
    for (int i = 0; i < items.size(); ++i) {
        const QString item = items[i].trimmed();
        int v = 0;
        if (item.isEmpty()) {
            why = QStringLiteral("'%1': empty index").arg(text);
            return false;
        }
        const QChar c = item[0].toLower();
        if (c == QLatin1Char('u') || c == QLatin1Char('c')) {
            int& slot = c == QLatin1Char('u') ? out.unit : out.column;
            if (slot >= 0 || !toNumber(item.mid(1), v) || !out.numbers.isEmpty()) {
                why = QStringLiteral("'%1': bad or misplaced '%2'").arg(text, item);
                return false;
            }
            slot = v;
        } else if (c == QLatin1Char('#')) {
            if (i != items.size() - 1 || !toNumber(item.mid(1), v)) {
                why = QStringLiteral("'%1': the count '#n' must be a number and come last").arg(text);
                return false;
            }
            out.count = v;
        } else if (toNumber(item, v)) {
            out.numbers << v;
        } else {
            why = QStringLiteral("'%1': '%2' is no index").arg(text, item);
            return false;
        }
    }
    return true;
}

QString NcAddress::key() const
{
    return m_bare.toLower();
}
