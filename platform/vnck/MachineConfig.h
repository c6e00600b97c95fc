#pragma once

#include <QList>
#include <QString>
#include <QVector>

// What the NC of a machine folder is, from DIR/machine.ini: control type,
// technology, unit system, axes, tool catalogue, numbers of R parameters and
// settable frames, rotary table machine data, hotlink update period.
class MachineConfig
{
public:
    struct Axis
    {
        QString name;
        int type = 0;      // 0 linear, 1 rotary, 2 spindle
        double position = 0.0;
    };
    struct Tool
    {
        QString name;
        int number = 0;
        double length = 0.0;
        double radius = 0.0;
    };

    int nckType = 10700;   // 840D sl
    int technology = 2;    // milling
    bool metric = true;
    QList<Axis> axes;
    int geoAxes = 3;
    int rParameters = 300;
    int userFrames = 100;  // G500 and G505..G599 plus G54..G57 share these
    QList<Tool> tools;
    QVector<double> baseTool{0.0, 0.0, 0.0};    // MD24550 $MC_TRAFO5_BASE_TOOL_1
    QVector<double> jointOffset{0.0, 0.0, 0.0}; // MD24560 $MC_TRAFO5_JOINT_OFFSET_1
    int updatePeriodMs = 100;
    // Programmed motion: G0 moves each axis at this rate (mm/min, deg/min).
    double rapidTraverse = 10000.0;
    // The simulated touch probe: a calibration sphere on the table (machine
    // coordinates of its centre, its radius) and the radius of the probe's
    // ball. A measuring move switches where the ball meets the sphere.
    QVector<double> probeSphere{1.234, -0.567, 222.5, 12.5};
    double probeBallRadius = 3.0;

    bool load(const QString& iniPath, QString& error);

    // The commissioned 5-axis milling machine with a spindle among its axes.
    static QString templateIni();
    // UGUD.DEF of the template: the plug-in's definitions, or none.
    static QString templateUgud(bool withDefinitions);
};
