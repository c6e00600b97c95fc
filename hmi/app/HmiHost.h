#pragma once

#include "CtlServer.h"

#include <QObject>
#include <QStringList>

#include <memory>

class HmiControl;
class HmiFramework;
class HmiWindow;
class VirtualNc;

// One whole virtual machine in this process, as harvel-hmi runs it: the
// folder's NC, the control socket, the machine area, the configured
// areas with their plug-ins, the panel window and the "hmi" commands.
// Tests of a plug-in in its world host it the same way.
class HmiHost : public QObject
{
    Q_OBJECT
public:
    explicit HmiHost(QObject* parent = nullptr);
    ~HmiHost() override;

    // Chooses the main thread's event loop; call before QApplication.
    static void prepareApplication();

    // Starts everything that can start and shows the window; the messages
    // of what failed, each complete, for the caller to report.
    QStringList start(const QString& machineDir);
    // Ends the dialogs, then the socket and the NC, in that order.
    void shutdown();

    QString machineDir() const { return m_machineDir; }
    VirtualNc* nc() const { return m_nc; }
    HmiFramework* framework() const { return m_framework.get(); }
    HmiWindow* window() const { return m_window.get(); }
    CtlServer* controlServer() const { return m_ctl.get(); }

    // A command as harvel-ctl sends it ("hmi", "state", ...), in-process.
    CtlResult command(const QStringList& args);

signals:
    // "harvel-ctl quit" was received.
    void quitRequested();

private:
    QString m_machineDir;
    VirtualNc* m_nc = nullptr;
    std::unique_ptr<CtlServer> m_ctl;
    std::unique_ptr<HmiFramework> m_framework;
    std::unique_ptr<HmiWindow> m_window;
    std::unique_ptr<HmiControl> m_control;
};
