#pragma once

#include "VirtualNc.h"

#include <QScopedPointer>
#include <QTemporaryDir>
#include <QtTest>

// A machine folder of its own for each test, opened as the process's NC.
struct MachineFixture
{
    QTemporaryDir tmp;
    QScopedPointer<VirtualNc> nc;

    explicit MachineFixture(VirtualNc::Variant variant = VirtualNc::Variant::Commissioned) { open(variant); }
    QString dir() const { return tmp.path() + "/machine"; }
    QString path(const QString& rel) const { return dir() + '/' + rel; }
    bool open(VirtualNc::Variant variant = VirtualNc::Variant::Commissioned)
    {
        nc.reset();
        QString error;
        nc.reset(VirtualNc::open(dir(), error, variant));
        if (!nc)
            qWarning("cannot open machine: %s", qPrintable(error));
        return nc;
    }
    static bool writeFile(const QString& path, const QByteArray& data)
    {
        QFile f(path);
        return f.open(QIODevice::WriteOnly) && f.write(data) == data.size();
    }
    static QByteArray readFile(const QString& path)
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
};
