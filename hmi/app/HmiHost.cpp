#include "HmiHost.h"

#include "HmiControl.h"
#include "HmiFramework.h"
#include "HmiMachineForm.h"
#include "HmiSystemConfig.h"
#include "HmiWindow.h"
#include "SlGfwBaseForm.h"
#include "SlGfwHmiDialog.h"
#include "VirtualNc.h"

#include <QApplication>
#include <QDir>
#include <QTimer>

void HmiHost::prepareApplication()
{
    // Qt's own loop instead of GLib's: every net request is handed to this
    // thread and waited for, and GLib's loop costs more per wake-up (more
    // sources checked, more locking). A value set by the user is kept.
    if (!qEnvironmentVariableIsSet("QT_NO_GLIB"))
        qputenv("QT_NO_GLIB", "1");
}

HmiHost::HmiHost(QObject* parent) : QObject(parent) {}

HmiHost::~HmiHost()
{
    shutdown();
}

QStringList HmiHost::start(const QString& machineDir)
{
    QStringList problems;
    m_machineDir = QDir(machineDir).absolutePath();

    QString error;
    m_nc = VirtualNc::open(m_machineDir, error);
    if (!m_nc)
        problems << QStringLiteral("the machine area runs without NC: %1").arg(error);

    QStringList images;
    for (const QString& layer : {QStringLiteral("user"), QStringLiteral("oem"), QStringLiteral("addon"), QStringLiteral("siemens")})
        images << QDir(HmiSystemConfig::hmiFolder(m_machineDir, layer)).filePath(QStringLiteral("ico"));
    SlGfwBaseForm::setImageSearchPaths(images);

    m_ctl = std::make_unique<CtlServer>();
    if (!m_ctl->listen(m_machineDir, error))
        problems << QStringLiteral("no control socket, harvel-ctl cannot reach this machine: %1").arg(error);
    if (m_nc)
        m_nc->registerControl(m_ctl.get());

    m_framework = std::make_unique<HmiFramework>();
    SlGfwAreaConfig machineConfig;
    if (machineConfig.parse(HmiMachineForm::areaConfiguration(), error)) {
        VirtualNc* nc = m_nc;
        m_framework->addBuiltinArea(QStringLiteral("AreaMachine"), QStringLiteral("Machine"),
                                    new SlGfwHmiDialog(nullptr, QStringLiteral("SlMachine")), machineConfig,
                                    {{QStringLiteral("HmiMachineForm"), [nc](const QString& name) {
                                          return new HmiMachineForm(nc, nullptr, name);
                                      }}});
    } else {
        problems << error;
    }
    problems << m_framework->loadConfiguredAreas(m_machineDir);

    m_window = std::make_unique<HmiWindow>(m_framework.get(), m_nc);
    m_control = std::make_unique<HmiControl>(m_framework.get(), m_window.get());
    m_control->registerWith(m_ctl.get());
    m_ctl->registerHandler(QStringLiteral("quit"), [this](const QStringList&) {
        // After the answer has gone out.
        QMetaObject::invokeMethod(this, &HmiHost::quitRequested, Qt::QueuedConnection);
        return CtlResult::ok();
    });
    m_framework->activateArea(QStringLiteral("AreaMachine"), error);
    m_window->show();
    m_window->activateWindow();
    QApplication::setActiveWindow(m_window.get());
    return problems;
}

void HmiHost::shutdown()
{
    // Dialogs end while the window that shows them and the NC still exist.
    if (m_framework)
        m_framework->shutdown();
    if (m_ctl)
        m_ctl->close();
    m_control.reset();
    m_window.reset();
    m_framework.reset();
    m_ctl.reset();
    delete m_nc;
    m_nc = nullptr;
}

CtlResult HmiHost::command(const QStringList& args)
{
    if (!m_ctl)
        return CtlResult::fail(QStringLiteral("the machine is not started"));
    return m_ctl->dispatch(args);
}
