#pragma once

#include "SlCapAdviseResultType.h"
#include "SlCapAdviseSpec.h"
#include "SlCapData.h"
#include "SlCapErrorEnum.h"
#include "SlCapSupplementInfoType.h"
#include "SlQCapHandle.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QVariant>
#include <QVector>

class QTimer;

// Client of the NC variable service. Reads and writes block the caller;
// subscriptions notify on the thread that owns this object: the current value
// right after advise, then at most once per update period with the latest
// value. Usable from any thread; one object belongs to one thread.
class SlQCap : public QObject
{
    Q_OBJECT
public:
    explicit SlQCap(const char* clientName = nullptr, QObject* parent = nullptr);
    explicit SlQCap(const QString& clientName, QObject* parent = nullptr);
    ~SlQCap() override;

    QString clientName() const { return m_clientName; }

    SlCapErrorEnum read(const QString& item, QVariant& data,
                        unsigned int timeout = SlCapData::standardTimeout(),
                        unsigned long long flags = 0, SlCapSupplementInfoType* supplement = nullptr);
    // An array or [first,count] range takes a QVariantList of exactly that length.
    SlCapErrorEnum write(const QString& item, const QVariant& data,
                         unsigned int timeout = SlCapData::standardTimeout(),
                         unsigned long long flags = 0, SlCapSupplementInfoType* supplement = nullptr);

    SlCapErrorEnum advise(const QString& item, SlQCapHandle& handle,
                          unsigned int updateRate = SlCapData::standardUpdateRate(),
                          double hysteresis = 0.0,
                          unsigned int timeout = SlCapData::standardTimeout(),
                          unsigned long long context = 0);
    SlCapErrorEnum multiAdvise(const QVector<SlCapAdviseSpec>& specs, SlQCapHandle& handle,
                               unsigned int timeout = SlCapData::standardTimeout());
    SlCapErrorEnum unadvise(SlQCapHandle& handle);

signals:
    void adviseData(SlCapErrorEnum error, const QVariant& data, const SlCapSupplementInfoType& supplement);
    void multiAdviseData(SlCapErrorEnum error, const QVector<SlCapAdviseResultType>& results);

private:
    struct Subscription
    {
        unsigned int id = 0;
        bool multi = false;
        QVector<SlCapAdviseSpec> specs;
        QVector<SlCapErrorEnum> lastErrors;
        QVector<QVariant> lastValues;
        int periodMs = 100;
        bool delivered = false; // the first notification went out
        bool dirty = true;
        QElapsedTimer sinceLast;
    };

    void onNcChanged();
    void deliverDue();
    void schedule();
    bool deliver(Subscription& sub);
    void attachToNc();

    QString m_clientName;
    QHash<unsigned int, Subscription> m_subscriptions;
    QTimer* m_timer = nullptr;
};
