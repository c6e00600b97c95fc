#pragma once

#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariant>
#include <QVector>

// Records of the NC vocabulary shared by the NC access layer, the
// configuration and the screens.

enum tagWorkofsType
{
    WORKOFS_COARSE = 0,
    WORKOFS_FINE = 1,
    WORKOFS_ROTATION = 2
};

enum tagAxisType
{
    AXIS_UNKNOWN = -1,
    AXIS_LINEAR = 0,
    AXIS_ROTARY = 1,
    AXIS_SPINDLE = 2
};

struct tagAxisInfo
{
    int index = 0;               // place in the channel's full axis array
    tagAxisType type = AXIS_UNKNOWN;
    QString name;
    double value = 0.0;
};

// What the measurement application is told about the machine it stands on;
// read once at start and printed as the machine configuration document.
struct tagMachDef
{
    QString model;     // control name, empty for a control we do not know
    QString cncType;   // "Turning", "Milling", "Grinding" or empty
    QString version;   // software version of the HMI
    bool isMetric = true;
    QList<tagAxisInfo> axes; // every axis of the channel, positions 0.0
};

// One point and direction of the rotary table ("base" or "part").
struct tagRotabCenter
{
    QString name;
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double i = 0.0;
    double j = 0.0;
    double k = 0.0;
};

// One subscribed variable in one notification of a hotlink.
struct HotlinkResult
{
    QString varName;          // as subscribed, not as the service names it
    unsigned int errCode = 0; // SlCapErrorEnum of this variable, 0 when good
    bool flag = false;        // this notification carries a value for it
    QVariant value;
};

typedef HotlinkResult HotlinkResultType;

Q_DECLARE_METATYPE(HotlinkResultType)
Q_DECLARE_METATYPE(QVector<HotlinkResultType>)
