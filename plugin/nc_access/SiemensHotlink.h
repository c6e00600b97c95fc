#pragma once

#include "SiemensAPITypes.h"

#include "SlCapAdviseResultType.h"
#include "SlCapAdviseSpec.h"
#include "SlCapErrorEnum.h"
#include "SlCapSupplementInfoType.h"
#include "SlQCap.h"
#include "SlQCapHandle.h"

#include <QObject>
#include <QString>
#include <QVariant>
#include <QVector>

// One standing subscription to one or more NC variables. Whether it carries
// one variable or several, every notification comes out the same way: the
// subscription's id and one HotlinkResult per variable, in the order of the
// specs. Notifications arrive on the owner's thread, the first one after
// Advise has returned.
class CSiemensHotlink : public QObject
{
    Q_OBJECT
public:
    // Fill each spec with the name, SlCapData::standardUpdateRate(), 0.0 and
    // zeros. Nothing is subscribed before Advise.
    explicit CSiemensHotlink(const QVector<SlCapAdviseSpec>& specs);
    ~CSiemensHotlink() override;

    // Callers pass SlCapData::standardTimeout(); a subscription of several
    // variables always uses the standard time-out. Failures are logged.
    bool Advise(unsigned int timeout);
    void UnAdvise();

    // The id of the subscription, 0 before a good Advise.
    unsigned int HandleID() const { return m_handle.m_id; }

signals:
    void signalHotlinkResult(unsigned int handleID, const QVector<HotlinkResultType>& results);

public slots:
    void slotAdviseData(SlCapErrorEnum error, const QVariant& value, const SlCapSupplementInfoType& info);
    void slotMultiAdviseData(SlCapErrorEnum error, const QVector<SlCapAdviseResultType>& results);

private:
    QVector<SlCapAdviseSpec> m_specs;
    QString m_varNames; // joined with ";", for the log only
    SlQCap m_capSvc;
    SlQCapHandle m_handle;
};
