#pragma once

#include <QString>
#include <QTemporaryDir>

class HmiHost;

// A virtual machine in a temporary folder with the plug-in installed by the
// install script, hosted in the benchmark's process, as the benchmarks that
// run the whole chain need it.
class BenchMachine
{
public:
    // netServer true installs with the net server on a free port of
    // 127.0.0.1. On false, error says why.
    bool Install(bool netServer, QString& error);

    // Starts the operator interface on the machine; with the net server
    // installed, also fails when it did not come up.
    bool Start(HmiHost& host, QString& error);

    QString Path() const { return m_dir.path(); }
    QString ApplDir() const;
    QString CfgDir() const;

    // The port the net server started on, asked of the library the plug-in
    // has loaded, without loading it a second time; 0 if it is not running.
    unsigned short ServerPort() const;

private:
    QTemporaryDir m_dir;
    bool m_netServer = false;
};
