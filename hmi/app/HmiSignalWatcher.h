#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGINT and SIGTERM into an orderly quit of the event loop, so the
// machine's retained data is saved and the control socket removed when a
// script or Ctrl+C ends harvel-hmi. The handler only writes to a pipe; the
// quit itself happens on the main thread.
class HmiSignalWatcher : public QObject
{
    Q_OBJECT
public:
    explicit HmiSignalWatcher(QObject* parent = nullptr);
    ~HmiSignalWatcher() override;

signals:
    void terminationRequested(int signal);

private:
    static void handle(int signal);
    void readSignal();

    QSocketNotifier* m_notifier = nullptr;
};
