#include "SlAeQEventSink.h"

#include "VirtualNc.h"

#include <QTimer>

struct SlAeQEventSink::Raw
{
    int state;
    long id;
    QString text;
    unsigned int kind;
    bool channel;
    QDateTime time;
    qint64 due = 0; // on the sink's clock
};

namespace {
const QStringList& languages()
{
    static const QStringList list{QStringLiteral("eng"), QStringLiteral("deu"), QStringLiteral("fra"),
                                  QStringLiteral("ita"), QStringLiteral("esp"), QStringLiteral("chs")};
    return list;
}
constexpr unsigned int kNckSourceId = 1;
} // namespace

SlAeQEventSink::SlAeQEventSink(QObject* parent, const char* name) : QObject(parent)
{
    if (name)
        setObjectName(QString::fromLatin1(name));
    m_timer = new QTimer(this);
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this, &SlAeQEventSink::deliverDue);
    m_clock.start();
}

SlAeQEventSink::~SlAeQEventSink()
{
    fini();
}

long SlAeQEventSink::init(const QString& language)
{
    if (!VirtualNc::current())
        return E_NO_NC;
    if (!languages().contains(language.toLower()))
        return E_UNKNOWN_LANGUAGE;
    m_initialized = true;
    return 0;
}

long SlAeQEventSink::queryCategories(QVector<SlAeCategoryInfo>& categories)
{
    if (!m_initialized)
        return E_NOT_INITIALIZED;
    categories.clear();
    categories << SlAeCategoryInfo(CATEGORY_NCK, QStringLiteral("NCK alarms"))
               << SlAeCategoryInfo(CATEGORY_HMI, QStringLiteral("HMI alarms"));
    return 0;
}

long SlAeQEventSink::setReturnAttributes(unsigned int categoryId, QList<long>& attributes)
{
    if (!m_initialized)
        return E_NOT_INITIALIZED;
    if (categoryId != CATEGORY_NCK && categoryId != CATEGORY_HMI)
        return E_UNKNOWN_CATEGORY;
    m_returnAttributes.insert(categoryId, attributes);
    return 0;
}

long SlAeQEventSink::activate()
{
    if (!m_initialized)
        return E_NOT_INITIALIZED;
    VirtualNc* nc = VirtualNc::current();
    if (!nc)
        return E_NO_NC;
    if (m_active)
        return 0;
    m_active = true;
    // Queued even on one thread: events never arrive inside the call that
    // raised them, as with the real alarm server.
    connect(nc, &VirtualNc::alarmEvent, this, &SlAeQEventSink::onAlarm, Qt::QueuedConnection);
    for (const VirtualNc::Alarm& a : nc->alarms())
        enqueue(Raw{SlAeEvent::STATE_RAISED, a.id, a.text, a.kind, a.channel, a.raised}, 0);
    return 0;
}

long SlAeQEventSink::deactivate()
{
    if (VirtualNc* nc = VirtualNc::current())
        disconnect(nc, &VirtualNc::alarmEvent, this, &SlAeQEventSink::onAlarm);
    m_active = false;
    m_pending.clear();
    m_timer->stop();
    return 0;
}

long SlAeQEventSink::fini()
{
    deactivate();
    m_initialized = false;
    m_returnAttributes.clear();
    return 0;
}

void SlAeQEventSink::onAlarm(int state, long id, const QString& text, unsigned int kind, bool channel)
{
    // A channel alarm reaches the alarm list after the channel's own state
    // variables have been notified, one update period later.
    const VirtualNc* nc = VirtualNc::current();
    const qint64 delay = channel && state == SlAeEvent::STATE_RAISED && nc ? nc->updatePeriodMs() + 20 : 0;
    enqueue(Raw{state, id, text, kind, channel, QDateTime::currentDateTime()}, delay);
}

void SlAeQEventSink::enqueue(const Raw& raw, qint64 delayMs)
{
    Raw queued = raw;
    queued.due = m_clock.elapsed() + delayMs;
    // The alarm server keeps the order of the NC: what happened later never
    // overtakes a delayed event, it waits behind it.
    if (!m_pending.isEmpty())
        queued.due = qMax(queued.due, m_pending.last().due);
    m_pending << queued;
    scheduleDelivery();
}

void SlAeQEventSink::scheduleDelivery()
{
    if (m_pending.isEmpty())
        return;
    const int wait = int(qMax<qint64>(0, m_pending.first().due - m_clock.elapsed()));
    if (!m_timer->isActive() || m_timer->remainingTime() > wait)
        m_timer->start(wait);
}

void SlAeQEventSink::deliverDue()
{
    // Everything due by now goes out as one list, as the alarm server
    // reports what happened between two of its cycles.
    const qint64 now = m_clock.elapsed();
    QList<Raw> batch;
    while (!m_pending.isEmpty() && m_pending.first().due <= now)
        batch << m_pending.takeFirst();
    scheduleDelivery();
    if (!batch.isEmpty())
        deliver(batch);
}

void SlAeQEventSink::deliver(const QList<Raw>& batch)
{
    if (!m_active)
        return;
    const QList<long> wanted = m_returnAttributes.value(CATEGORY_NCK);
    QList<SlAeEvent*> events;
    for (const Raw& r : batch) {
        QHash<int, QVariant> attrs;
        for (long a : wanted) {
            switch (a) {
            case SlAeEvent::ATTR_MESSAGE_TEXT: attrs.insert(int(a), r.text); break;
            case SlAeEvent::ATTR_SOURCE_TEXT: attrs.insert(int(a), QStringLiteral("NCK")); break;
            case SlAeEvent::ATTR_CHANNEL: attrs.insert(int(a), r.channel ? 1u : 0u); break;
            case SlAeEvent::ATTR_KIND: attrs.insert(int(a), r.kind); break;
            default: break;
            }
        }
        events << new SlAeEvent(r.state, r.id, kNckSourceId, r.time, attrs);
    }
    emit newEvent(events);
    qDeleteAll(events);
}
