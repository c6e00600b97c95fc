#include "GudDefinitionFile.h"

#include <QRegularExpression>
#include <QSet>

#include <cmath>

namespace {

constexpr int kMaxNameLength = 31;
constexpr int kMaxStringLength = 400;
constexpr int kMaxArraySize = 65535;

// Cuts a line at its comment, leaving ';' inside a quoted string alone.
QString stripComment(const QString& line)
{
    bool quoted = false;
    for (int i = 0; i < line.size(); ++i) {
        if (line[i] == QLatin1Char('"'))
            quoted = !quoted;
        else if (line[i] == QLatin1Char(';') && !quoted)
            return line.left(i);
    }
    return line;
}

// Splits at commas outside quotes and parentheses.
QStringList splitTopLevel(const QString& s)
{
    QStringList parts;
    int depth = 0;
    int bracket = 0;
    bool quoted = false;
    QString cur;
    for (const QChar c : s) {
        if (c == QLatin1Char('"'))
            quoted = !quoted;
        if (!quoted) {
            if (c == QLatin1Char('('))
                ++depth;
            else if (c == QLatin1Char(')'))
                --depth;
            else if (c == QLatin1Char('['))
                ++bracket;
            else if (c == QLatin1Char(']'))
                --bracket;
            else if (c == QLatin1Char(',') && depth == 0 && bracket == 0) {
                parts << cur.trimmed();
                cur.clear();
                continue;
            }
        }
        cur += c;
    }
    parts << cur.trimmed();
    return parts;
}

QVariant literal(const QString& text)
{
    const QString t = text.trimmed();
    if (t.size() >= 2 && t.startsWith(QLatin1Char('"')) && t.endsWith(QLatin1Char('"')))
        return t.mid(1, t.size() - 2);
    if (t.compare(QLatin1String("TRUE"), Qt::CaseInsensitive) == 0)
        return true;
    if (t.compare(QLatin1String("FALSE"), Qt::CaseInsensitive) == 0)
        return false;
    bool ok = false;
    const double d = t.toDouble(&ok);
    if (ok)
        return d;
    return QVariant();
}

const QSet<QString>& reservedWords()
{
    static const QSet<QString> words{
        QStringLiteral("DEF"), QStringLiteral("INT"), QStringLiteral("REAL"), QStringLiteral("BOOL"),
        QStringLiteral("CHAR"), QStringLiteral("STRING"), QStringLiteral("AXIS"), QStringLiteral("FRAME"),
        QStringLiteral("NCK"), QStringLiteral("CHAN"), QStringLiteral("IF"), QStringLiteral("ELSE"),
        QStringLiteral("ENDIF"), QStringLiteral("WHILE"), QStringLiteral("FOR"), QStringLiteral("TRUE"),
        QStringLiteral("FALSE"), QStringLiteral("M30"), QStringLiteral("M17"), QStringLiteral("RET")};
    return words;
}

} // namespace

int GudDefinitionFile::blockOfFile(const QString& fileName)
{
    const QString base = fileName.section(QLatin1Char('/'), -1).toUpper();
    if (base == QLatin1String("SGUD.DEF"))
        return 1;
    if (base == QLatin1String("MGUD.DEF"))
        return 2;
    if (base == QLatin1String("UGUD.DEF"))
        return 3;
    static const QRegularExpression gudN(QStringLiteral("^GUD([4-9])\\.DEF$"));
    const auto m = gudN.match(base);
    if (m.hasMatch())
        return m.captured(1).toInt();
    return -1;
}

QVariant GudDefinitionFile::convert(int type, const QVariant& value)
{
    if (!value.isValid()) {
        switch (type) {
        case QMetaType::Int: return 0;
        case QMetaType::Double: return 0.0;
        case QMetaType::Bool: return false;
        default: return QString();
        }
    }
    bool ok = false;
    switch (type) {
    case QMetaType::Int: {
        if (value.type() == QVariant::Bool)
            return value.toBool() ? 1 : 0;
        const double d = value.type() == QVariant::String ? value.toString().trimmed().toDouble(&ok)
                                                          : value.toDouble(&ok);
        // The NC rounds a real to the nearest integer on assignment.
        if (!ok || !std::isfinite(d) || d > 2147483647.0 || d < -2147483648.0)
            return QVariant();
        return static_cast<int>(qRound64(d));
    }
    case QMetaType::Double: {
        const double d = value.type() == QVariant::String ? value.toString().trimmed().toDouble(&ok)
                                                          : value.toDouble(&ok);
        // The NC's REAL has no NaN or infinity.
        return ok && std::isfinite(d) ? QVariant(d) : QVariant();
    }
    case QMetaType::Bool: {
        if (value.type() == QVariant::String) {
            const QString s = value.toString().trimmed();
            if (s.compare(QLatin1String("TRUE"), Qt::CaseInsensitive) == 0)
                return true;
            if (s.compare(QLatin1String("FALSE"), Qt::CaseInsensitive) == 0)
                return false;
            const double d = s.toDouble(&ok);
            return ok ? QVariant(d != 0.0) : QVariant();
        }
        const double d = value.toDouble(&ok);
        return ok ? QVariant(d != 0.0) : QVariant();
    }
    default:
        if (value.type() == QVariant::List)
            return QVariant();
        return value.toString();
    }
}

QString GudDefinitionFile::typeName(const Variable& v)
{
    switch (v.type) {
    case QMetaType::Int: return QStringLiteral("INT");
    case QMetaType::Double: return QStringLiteral("REAL");
    case QMetaType::Bool: return QStringLiteral("BOOL");
    default: return QStringLiteral("STRING[%1]").arg(v.stringLength);
    }
}

void GudDefinitionFile::parse(const QString& text, QList<Variable>& variables, QList<Error>& errors)
{
    static const QRegularExpression blockNo(QStringLiteral("^N\\d+\\s+"), QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression programEnd(QStringLiteral("^(M0?2|M30|M17|RET)$"), QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression head(
        QStringLiteral("^DEF\\s+(NCK|CHAN)\\s+((?:(?:LS|LK|PRLOC|APR\\s+\\d+|APW\\s+\\d+)\\s+)*)"
                       "(INT|REAL|BOOL|CHAR|STRING\\s*\\[\\s*(\\d+)\\s*\\]|AXIS|FRAME)(?![A-Za-z0-9_])\\s*(.*)$"),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression item(
        QStringLiteral("^([A-Za-z_][A-Za-z0-9_]*)\\s*(?:\\[([^\\]]*)\\])?\\s*(?:=\\s*(.*))?$"));

    QSet<QString> seen;
    for (const Variable& v : variables)
        seen.insert(v.name);
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        const int lineNo = i + 1;
        QString line = stripComment(lines[i]).trimmed();
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        line = line.trimmed();
        if (line.isEmpty())
            continue;
        // A header line (%_N_UGUD_DEF) belongs to the transfer format and is
        // passed over wherever it stands: files merged on the HMI put their
        // new definitions in front of the old header.
        if (line.startsWith(QLatin1Char('%')))
            continue;
        line.remove(blockNo);
        if (programEnd.match(line).hasMatch())
            break;
        const auto m = head.match(line);
        if (!m.hasMatch()) {
            if (line.startsWith(QLatin1String("DEF"), Qt::CaseInsensitive))
                errors << Error{lineNo, QStringLiteral("unknown data type or scope in '%1'").arg(line)};
            else
                errors << Error{lineNo, QStringLiteral("not a definition: '%1'").arg(line)};
            continue;
        }
        const QString typeWord = m.captured(3).toUpper();
        Variable proto;
        proto.scope = m.captured(1).compare(QLatin1String("CHAN"), Qt::CaseInsensitive) == 0 ? Chan : Nck;
        proto.line = lineNo;
        if (typeWord == QLatin1String("INT")) {
            proto.type = QMetaType::Int;
        } else if (typeWord == QLatin1String("REAL")) {
            proto.type = QMetaType::Double;
        } else if (typeWord == QLatin1String("BOOL")) {
            proto.type = QMetaType::Bool;
        } else if (typeWord == QLatin1String("CHAR")) {
            proto.type = QMetaType::QString;
            proto.stringLength = 1;
        } else if (typeWord.startsWith(QLatin1String("STRING"))) {
            proto.type = QMetaType::QString;
            proto.stringLength = m.captured(4).toInt();
            if (proto.stringLength < 1 || proto.stringLength > kMaxStringLength) {
                errors << Error{lineNo, QStringLiteral("STRING length %1 outside 1 to %2")
                                            .arg(m.captured(4)).arg(kMaxStringLength)};
                continue;
            }
        } else {
            errors << Error{lineNo, QStringLiteral("data type %1 is not supported in global user data here").arg(typeWord)};
            continue;
        }
        const QString rest = m.captured(5).trimmed();
        if (rest.isEmpty()) {
            errors << Error{lineNo, QStringLiteral("definition without a name")};
            continue;
        }
        for (const QString& part : splitTopLevel(rest)) {
            const auto im = item.match(part);
            if (!im.hasMatch()) {
                errors << Error{lineNo, QStringLiteral("invalid name or initial value '%1'").arg(part)};
                continue;
            }
            Variable v = proto;
            v.name = im.captured(1).toUpper();
            if (v.name.size() > kMaxNameLength) {
                errors << Error{lineNo, QStringLiteral("name %1 longer than %2 characters").arg(v.name).arg(kMaxNameLength)};
                continue;
            }
            if (reservedWords().contains(v.name)) {
                errors << Error{lineNo, QStringLiteral("%1 is a reserved word").arg(v.name)};
                continue;
            }
            if (im.capturedLength(2) > 0 || part.contains(QLatin1Char('['))) {
                const QString dims = im.captured(2).trimmed();
                if (dims.contains(QLatin1Char(','))) {
                    errors << Error{lineNo, QStringLiteral("%1: only one array dimension is supported").arg(v.name)};
                    continue;
                }
                bool ok = false;
                v.size = dims.toInt(&ok);
                if (!ok || v.size < 1 || v.size > kMaxArraySize) {
                    errors << Error{lineNo, QStringLiteral("%1: array size '%2' outside 1 to %3").arg(v.name, dims).arg(kMaxArraySize)};
                    continue;
                }
            }
            const QString init = im.captured(3).trimmed();
            bool bad = false;
            if (!init.isEmpty()) {
                QStringList values;
                if (init.startsWith(QLatin1Char('(')) && init.endsWith(QLatin1Char(')')))
                    values = splitTopLevel(init.mid(1, init.size() - 2));
                else
                    values << init;
                if (values.size() > qMax(1, v.size) || (v.size == 0 && init.startsWith(QLatin1Char('(')))) {
                    errors << Error{lineNo, QStringLiteral("%1: too many initial values").arg(v.name)};
                    continue;
                }
                for (const QString& s : values) {
                    const QVariant c = convert(v.type, literal(s));
                    if (!c.isValid() || (v.type == QMetaType::QString && c.toString().size() > v.stringLength)) {
                        errors << Error{lineNo, QStringLiteral("%1: initial value '%2' does not fit %3").arg(v.name, s, typeName(v))};
                        bad = true;
                        break;
                    }
                    v.init << c;
                }
            }
            if (bad)
                continue;
            if (seen.contains(v.name)) {
                errors << Error{lineNo, QStringLiteral("%1 is defined twice").arg(v.name)};
                continue;
            }
            seen.insert(v.name);
            variables << v;
        }
    }
}
