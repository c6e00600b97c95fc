#include "NcFaults.h"

#include <QMutexLocker>
#include <QRegularExpression>
#include <QThread>

namespace {
const QStringList& varOps()
{
    static const QStringList ops{QStringLiteral("read"), QStringLiteral("write"), QStringLiteral("advise")};
    return ops;
}
const QStringList& fileOps()
{
    static const QStringList ops{QStringLiteral("copy"), QStringLiteral("move"), QStringLiteral("remove"),
                                 QStringLiteral("create-file"), QStringLiteral("create-folder"),
                                 QStringLiteral("exist"), QStringLiteral("is-nc"), QStringLiteral("logical-path"),
                                 QStringLiteral("real-path"), QStringLiteral("select"), QStringLiteral("list"),
                                 QStringLiteral("list-async"), QStringLiteral("init")};
    return ops;
}
} // namespace

QStringList NcFaults::knownOps()
{
    QStringList all = varOps() + fileOps();
    all << QStringLiteral("pi") << QStringLiteral("check-def") << QStringLiteral("activate-def")
        << QStringLiteral("var") << QStringLiteral("file") << QStringLiteral("*");
    return all;
}

bool NcFaults::isKnownOp(const QString& op)
{
    return knownOps().contains(op);
}

void NcFaults::add(const Rule& rule)
{
    QMutexLocker lock(&m_mutex);
    m_rules << rule;
}

void NcFaults::clear()
{
    QMutexLocker lock(&m_mutex);
    m_rules.clear();
}

QList<NcFaults::Rule> NcFaults::rules() const
{
    QMutexLocker lock(&m_mutex);
    return m_rules;
}

bool NcFaults::opCovers(const QString& ruleOp, const QString& op)
{
    if (ruleOp == op || ruleOp == QLatin1String("*"))
        return true;
    if (ruleOp == QLatin1String("var"))
        return varOps().contains(op);
    if (ruleOp == QLatin1String("file"))
        return fileOps().contains(op);
    return false;
}

bool NcFaults::patternMatches(const QString& pattern, const QString& subject)
{
    const QString s = subject.trimmed();
    // '*' spans '/' too: a pattern names addresses and paths alike.
    QString rx = QRegularExpression::escape(pattern);
    rx.replace(QLatin1String("\\*"), QLatin1String(".*")).replace(QLatin1String("\\?"), QLatin1String("."));
    const QRegularExpression re(QRegularExpression::anchoredPattern(rx), QRegularExpression::CaseInsensitiveOption);
    if (re.match(s).hasMatch())
        return true;
    // An address pattern without brackets stands for the whole variable.
    const int bracket = s.indexOf(QLatin1Char('['));
    return bracket > 0 && !pattern.contains(QLatin1Char('[')) && re.match(s.left(bracket)).hasMatch();
}

bool NcFaults::match(const QString& op, const QString& subject, long& code, int& delayMs)
{
    return match(op, QStringList{subject}, code, delayMs);
}

QString NcFaults::outcomeName(JobOutcome outcome)
{
    switch (outcome) {
    case JobOutcome::Canceled: return QStringLiteral("cancel");
    case JobOutcome::EmptyList: return QStringLiteral("empty");
    default: return QString();
    }
}

bool NcFaults::match(const QString& op, const QStringList& subjects, long& code, int& delayMs)
{
    Rule applied;
    if (!match(op, subjects, applied))
        return false;
    code = applied.code;
    delayMs = applied.delayMs;
    return true;
}

bool NcFaults::match(const QString& op, const QStringList& subjects, Rule& applied)
{
    QMutexLocker lock(&m_mutex);
    if (m_rules.isEmpty())
        return false;
    for (int i = 0; i < m_rules.size(); ++i) {
        Rule& r = m_rules[i];
        if (!opCovers(r.op, op))
            continue;
        bool hit = false;
        for (const QString& s : subjects)
            hit = hit || patternMatches(r.pattern, s);
        if (!hit)
            continue;
        applied = r;
        if (r.remaining > 0 && --r.remaining == 0)
            m_rules.removeAt(i);
        return true;
    }
    return false;
}

long NcFaults::apply(const QString& op, const QString& subject)
{
    return apply(op, QStringList{subject});
}

long NcFaults::apply(const QString& op, const QStringList& subjects)
{
    long code = 0;
    int delayMs = 0;
    if (!match(op, subjects, code, delayMs))
        return 0;
    if (delayMs > 0)
        QThread::msleep(static_cast<unsigned long>(delayMs));
    return code;
}
