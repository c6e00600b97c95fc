#pragma once

#include "Logger.h"

#include <QElapsedTimer>
#include <QFile>
#include <QStringList>
#include <QTextStream>
#include <QThreadPool>
#include <QtTest>

// The plug-in's log, read back from the file the logger's worker writes.
class LogFile
{
public:
    void Start(const QString& path)
    {
        m_path = path;
        CLogger::Initialize(path, 10);
    }

    // The logger's pool thread ends here, not in a race with the exit of the
    // process, where the leak checker would count its thread data.
    static void Stop()
    {
        CLogger::UnInitialize();
        QThreadPool::globalInstance()->waitForDone();
    }

    QStringList Lines() const
    {
        QFile file(m_path);
        QStringList lines;
        if (file.open(QIODevice::ReadOnly | QIODevice::Text)) {
            QTextStream in(&file);
            in.setCodec("UTF-8");
            while (!in.atEnd())
                lines << in.readLine();
        }
        return lines;
    }

    bool Contains(const QString& text) const
    {
        return !Matching(text).isEmpty();
    }

    QStringList Matching(const QString& text) const
    {
        return Lines().filter(text);
    }

    // Everything logged since the last mark: a fresh marker line is logged
    // and waited for, so what stands before it is complete.
    QStringList SinceMark()
    {
        const QString marker = QStringLiteral("net link test mark %1").arg(++m_marks);
        CLogger::Info(marker, true);
        QStringList lines;
        QElapsedTimer waited;
        waited.start();
        while (waited.elapsed() < 20000) {
            lines = Lines();
            if (!lines.filter(marker).isEmpty())
                break;
            QTest::qWait(10);
        }
        const int begin = m_lastMarkLine;
        int end = lines.size();
        for (int i = 0; i < lines.size(); ++i) {
            if (lines.at(i).contains(marker))
                end = i;
        }
        m_lastMarkLine = end + 1;
        return lines.mid(begin, end - begin);
    }

private:
    QString m_path;
    int m_marks = 0;
    int m_lastMarkLine = 0;
};
