#pragma once

#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>

// Faults injected into the NC's services so that failure paths run through
// the real code. A rule names an operation and a subject pattern (a variable
// address or a path, '*' and '?' as wildcards, letter case ignored; an
// address pattern without brackets also matches every element) and makes
// the operation fail with a code, take a time, or both.
//
// Operations: read, write, advise (group "var"); copy, move, remove,
// create-file, create-folder, exist, is-nc, logical-path, real-path, select,
// list, list-async, init (group "file"); pi; check-def, activate-def; "*".
//
// The jobs of the definition file activation (check-def, activate-def) can
// also end as the operator or the NC ends them without an error code: a
// job cancelled, or a check that finds no file to activate.
class NcFaults
{
public:
    enum class JobOutcome {
        AsCoded,   // fails with the code, or runs when the code is 0
        Canceled,  // JobCompleted with bCanceled, the code (if any) as its one error
        EmptyList  // the check's JobData names no file
    };

    struct Rule
    {
        QString op;
        QString pattern = QStringLiteral("*");
        long code = 0;       // 0: the operation succeeds, only later
        int delayMs = 0;
        int remaining = -1;  // how many more times it applies; -1 for ever
        JobOutcome outcome = JobOutcome::AsCoded;
    };

    static QString outcomeName(JobOutcome outcome);

    static QStringList knownOps();
    static bool isKnownOp(const QString& op);

    void add(const Rule& rule);
    void clear();
    QList<Rule> rules() const;

    // The first rule that applies to op on subject; counts it down.
    bool match(const QString& op, const QString& subject, long& code, int& delayMs);
    bool match(const QString& op, const QStringList& subjects, long& code, int& delayMs);
    // The same, with the whole rule that applied.
    bool match(const QString& op, const QStringList& subjects, Rule& applied);
    // match, then waits the delay on the calling thread; returns the code.
    long apply(const QString& op, const QString& subject);
    long apply(const QString& op, const QStringList& subjects);

private:
    static bool opCovers(const QString& ruleOp, const QString& op);
    static bool patternMatches(const QString& pattern, const QString& subject);

    mutable QMutex m_mutex;
    QList<Rule> m_rules;
};
