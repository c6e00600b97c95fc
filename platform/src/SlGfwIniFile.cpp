#include "SlGfwIniFile.h"

#include <QFile>
#include <QRegularExpression>
#include <QTextStream>

QString SlGfwIniFile::Section::value(const QString& key, const QString& fallback) const
{
    for (const Entry& e : entries)
        if (e.key.compare(key, Qt::CaseInsensitive) == 0)
            return e.value;
    return fallback;
}

bool SlGfwIniFile::Section::contains(const QString& key) const
{
    for (const Entry& e : entries)
        if (e.key.compare(key, Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

bool SlGfwIniFile::load(const QString& path, QString& error)
{
    m_fileName = path;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        error = QStringLiteral("%1: cannot read: %2").arg(path, file.errorString());
        return false;
    }
    QTextStream in(&file);
    in.setCodec("UTF-8");
    return parse(in.readAll(), error);
}

bool SlGfwIniFile::parse(const QString& text, QString& error)
{
    m_sections.clear();
    const QString where = m_fileName.isEmpty() ? QStringLiteral("configuration") : m_fileName;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        const QString line = lines.at(i).trimmed();
        const int lineNo = i + 1;
        if (line.isEmpty() || line.startsWith(QLatin1Char(';')) || line.startsWith(QLatin1Char('#')))
            continue;
        if (line.startsWith(QLatin1Char('['))) {
            if (!line.endsWith(QLatin1Char(']'))) {
                error = QStringLiteral("%1:%2: section header without closing ']'").arg(where).arg(lineNo);
                return false;
            }
            Section s;
            s.name = line.mid(1, line.size() - 2).simplified();
            s.line = lineNo;
            m_sections.append(s);
            continue;
        }
        const int eq = line.indexOf(QLatin1Char('='));
        if (eq <= 0) {
            error = QStringLiteral("%1:%2: expected 'key = value', found '%3'").arg(where).arg(lineNo).arg(line);
            return false;
        }
        if (m_sections.isEmpty()) {
            error = QStringLiteral("%1:%2: '%3' stands before any [section]").arg(where).arg(lineNo).arg(line);
            return false;
        }
        Entry e;
        e.key = line.left(eq).trimmed();
        e.value = line.mid(eq + 1).trimmed();
        e.line = lineNo;
        m_sections.last().entries.append(e);
    }
    return true;
}

const SlGfwIniFile::Section* SlGfwIniFile::section(const QString& name) const
{
    for (const Section& s : m_sections)
        if (s.name.compare(name, Qt::CaseInsensitive) == 0)
            return &s;
    return nullptr;
}

bool SlGfwIniFile::splitSettings(const QString& text, QList<QPair<QString, QString>>& settings, QString& error)
{
    settings.clear();
    static const QRegularExpression start(QStringLiteral("(?:^|,)\\s*([A-Za-z][A-Za-z0-9_]*)\\s*:="));
    QRegularExpressionMatchIterator it = start.globalMatch(text);
    QList<QRegularExpressionMatch> matches;
    while (it.hasNext())
        matches.append(it.next());
    if (matches.isEmpty() || matches.first().capturedStart() != 0) {
        error = QStringLiteral("expected 'name:=value, ...', found '%1'").arg(text);
        return false;
    }
    for (int i = 0; i < matches.size(); ++i) {
        const int valueStart = matches.at(i).capturedEnd();
        const int valueEnd = i + 1 < matches.size() ? matches.at(i + 1).capturedStart() : text.size();
        settings.append({matches.at(i).captured(1), text.mid(valueStart, valueEnd - valueStart).trimmed()});
    }
    return true;
}
