#pragma once

#include "SlAeCategoryInfo.h"
#include "SlAeEvent.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QObject>
#include <QVector>

class QTimer;

// Receives the alarm stream. After activate, newEvent brings first the alarms
// already active, then each raise and clear, on the sink's thread, in the
// order they happened. Events that are due together come as one list.
// Results: 0, or negative on failure.
class SlAeQEventSink : public QObject
{
    Q_OBJECT
public:
    enum Category { CATEGORY_NCK = 1, CATEGORY_HMI = 2 };
    static constexpr long E_NOT_INITIALIZED = -2;
    static constexpr long E_UNKNOWN_LANGUAGE = -3;
    static constexpr long E_UNKNOWN_CATEGORY = -4;
    static constexpr long E_NO_NC = -5;

    explicit SlAeQEventSink(QObject* parent = nullptr, const char* name = nullptr);
    ~SlAeQEventSink() override;

    long init(const QString& language);
    long queryCategories(QVector<SlAeCategoryInfo>& categories);
    long setReturnAttributes(unsigned int categoryId, QList<long>& attributes);
    long activate();
    long deactivate();
    long fini();

signals:
    void newEvent(const QList<SlAeEvent*>& events);

private:
    struct Raw;
    void onAlarm(int state, long id, const QString& text, unsigned int kind, bool channel);
    void enqueue(const Raw& raw, qint64 delayMs);
    void scheduleDelivery();
    void deliverDue();
    void deliver(const QList<Raw>& batch);

    bool m_initialized = false;
    bool m_active = false;
    QHash<unsigned int, QList<long>> m_returnAttributes;
    QList<Raw> m_pending; // in the order the NC raised and cleared
    QTimer* m_timer = nullptr;
    QElapsedTimer m_clock;
};
