#include "MachineConfig.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <algorithm>

namespace {

bool numericKeyLess(const QString& a, const QString& b)
{
    return a.toInt() < b.toInt();
}

QStringList listValue(const QSettings& ini, const QString& key)
{
    const QVariant v = ini.value(key);
    QStringList items = v.type() == QVariant::StringList ? v.toStringList() : v.toString().split(QLatin1Char(','));
    for (QString& s : items)
        s = s.trimmed();
    return items;
}

bool readList(const QSettings& ini, const QString& key, QVector<double>& out, QString& error)
{
    if (!ini.contains(key))
        return true;
    const QStringList items = listValue(ini, key);
    if (items.size() != out.size()) {
        error = QStringLiteral("%1 needs %2 numbers, got '%3'").arg(key).arg(out.size()).arg(items.join(QLatin1Char(',')));
        return false;
    }
    for (int i = 0; i < items.size(); ++i) {
        bool ok = false;
        out[i] = items[i].toDouble(&ok);
        if (!ok) {
            error = QStringLiteral("%1: '%2' is no number").arg(key, items[i]);
            return false;
        }
    }
    return true;
}

bool readReal(const QSettings& ini, const QString& key, double& out, QString& error)
{
    if (!ini.contains(key))
        return true;
    bool ok = false;
    const double v = ini.value(key).toString().trimmed().toDouble(&ok);
    if (!ok) {
        error = QStringLiteral("%1: '%2' is no number").arg(key, ini.value(key).toString());
        return false;
    }
    out = v;
    return true;
}

bool readInt(const QSettings& ini, const QString& key, int& out, int min, int max, QString& error)
{
    if (!ini.contains(key))
        return true;
    bool ok = false;
    const int v = ini.value(key).toString().trimmed().toInt(&ok);
    if (!ok || v < min || v > max) {
        error = QStringLiteral("%1 must be a whole number from %2 to %3, not '%4'")
                    .arg(key).arg(min).arg(max).arg(ini.value(key).toString());
        return false;
    }
    out = v;
    return true;
}

} // namespace

bool MachineConfig::load(const QString& iniPath, QString& error)
{
    if (!QFileInfo(iniPath).isFile()) {
        error = QStringLiteral("%1 does not exist").arg(iniPath);
        return false;
    }
    QSettings ini(iniPath, QSettings::IniFormat);
    if (ini.status() != QSettings::NoError) {
        error = QStringLiteral("%1 is not a readable ini file").arg(iniPath);
        return false;
    }
    *this = MachineConfig();
    QString e;
    if (!readInt(ini, QStringLiteral("Control/NckType"), nckType, 0, 99999, e)
        || !readInt(ini, QStringLiteral("Control/Technology"), technology, 0, 9, e)
        || !readInt(ini, QStringLiteral("Channel/GeoAxes"), geoAxes, 0, 3, e)
        || !readInt(ini, QStringLiteral("Channel/RParameters"), rParameters, 1, 32535, e)
        || !readInt(ini, QStringLiteral("Channel/UserFrames"), userFrames, 1, 100, e)
        || !readInt(ini, QStringLiteral("Hotlink/UpdatePeriodMs"), updatePeriodMs, 1, 60000, e)
        || !readList(ini, QStringLiteral("RotaryTable/BaseTool"), baseTool, e)
        || !readList(ini, QStringLiteral("RotaryTable/JointOffset"), jointOffset, e)) {
        error = QStringLiteral("%1: %2").arg(iniPath, e);
        return false;
    }
    if (!readReal(ini, QStringLiteral("Channel/RapidTraverse"), rapidTraverse, e)
        || !readReal(ini, QStringLiteral("Probe/BallRadius"), probeBallRadius, e)
        || !readList(ini, QStringLiteral("Probe/Sphere"), probeSphere, e)) {
        error = QStringLiteral("%1: %2").arg(iniPath, e);
        return false;
    }
    if (rapidTraverse <= 0 || probeBallRadius < 0 || probeSphere[3] <= 0) {
        error = QStringLiteral("%1: RapidTraverse and the sphere's radius must be greater than 0, BallRadius not negative")
                    .arg(iniPath);
        return false;
    }
    const QString metricText = ini.value(QStringLiteral("Control/Metric"), QStringLiteral("true")).toString().trimmed();
    metric = metricText.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 || metricText == QLatin1String("1");

    static const QRegularExpression nameRe(QStringLiteral("^[A-Za-z_][A-Za-z0-9_]{0,31}$"));
    ini.beginGroup(QStringLiteral("Axes"));
    QStringList keys = ini.childKeys();
    std::sort(keys.begin(), keys.end(), numericKeyLess);
    QSet<QString> names;
    for (const QString& k : keys) {
        const QStringList f = listValue(ini, k);
        Axis a;
        a.name = f.value(0);
        const QString type = f.value(1).toLower();
        if (type == QLatin1String("linear"))
            a.type = 0;
        else if (type == QLatin1String("rotary"))
            a.type = 1;
        else if (type == QLatin1String("spindle"))
            a.type = 2;
        else
            a.type = -1;
        bool ok = true;
        if (f.size() > 2)
            a.position = f[2].toDouble(&ok);
        if (!nameRe.match(a.name).hasMatch() || a.type < 0 || !ok || names.contains(a.name)) {
            error = QStringLiteral("%1: axis %2 must be 'NAME, linear|rotary|spindle[, position]' with a unique name, not '%3'")
                        .arg(iniPath, k, f.join(QStringLiteral(", ")));
            return false;
        }
        names.insert(a.name);
        axes << a;
    }
    ini.endGroup();
    if (axes.isEmpty()) {
        error = QStringLiteral("%1: no axes in [Axes]").arg(iniPath);
        return false;
    }
    geoAxes = qMin(geoAxes, axes.size());

    ini.beginGroup(QStringLiteral("Tools"));
    keys = ini.childKeys();
    std::sort(keys.begin(), keys.end(), numericKeyLess);
    QSet<int> numbers;
    for (const QString& k : keys) {
        const QStringList f = listValue(ini, k);
        Tool t;
        bool okN = false, okL = false, okR = false;
        t.name = f.value(0);
        t.number = f.value(1).toInt(&okN);
        t.length = f.value(2).toDouble(&okL);
        t.radius = f.value(3).toDouble(&okR);
        if (f.size() != 4 || t.name.isEmpty() || t.name.size() > 32 || !okN || !okL || !okR || t.number < 1
            || numbers.contains(t.number)) {
            error = QStringLiteral("%1: tool %2 must be 'NAME, number, length, radius' with a unique number, not '%3'")
                        .arg(iniPath, k, f.join(QStringLiteral(", ")));
            return false;
        }
        numbers.insert(t.number);
        tools << t;
    }
    ini.endGroup();
    return true;
}

QString MachineConfig::templateIni()
{
    return QStringLiteral(
        "; The virtual machine's NC. Edit while no host runs it; retained data\n"
        "; (GUD values, R parameters, offsets, tool wear, counters) live in state/.\n"
        "\n"
        "[Control]\n"
        "; nckType: 10700 is a SINUMERIK 840D sl\n"
        "NckType=10700\n"
        "; $MCS_TECHNOLOGY: 1 turning, 2 milling, 3 and 4 grinding\n"
        "Technology=2\n"
        "; basic system, $MN_SCALING_SYSTEM_IS_METRIC\n"
        "Metric=true\n"
        "\n"
        "[Axes]\n"
        "; channel axes in order: name, linear|rotary|spindle, start position\n"
        "1=X, linear, 0\n"
        "2=Y, linear, 0\n"
        "3=Z, linear, 250\n"
        "4=A, rotary, 0\n"
        "5=SP1, spindle, 0\n"
        "6=C, rotary, 0\n"
        "\n"
        "[Channel]\n"
        "GeoAxes=3\n"
        "; R0 to R299\n"
        "RParameters=300\n"
        "; settable frames G500, G54..G57, G505..G599\n"
        "UserFrames=100\n"
        "; G0 rate of every axis, mm/min (deg/min for rotary axes)\n"
        "RapidTraverse=10000\n"
        "\n"
        "[Tools]\n"
        "; catalogue entry: name, T number, length, radius\n"
        "1=END_MILL_D10, 1, 105.25, 5\n"
        "2=DRILL_8, 8, 98.4, 4\n"
        "3=PROBE_3D, 12, 120, 3\n"
        "4=FACE_MILL_D63, 20, 80.5, 31.5\n"
        "\n"
        "[RotaryTable]\n"
        "; MD24550 $MC_TRAFO5_BASE_TOOL_1 and MD24560 $MC_TRAFO5_JOINT_OFFSET_1\n"
        "BaseTool=0, 0, 185.5\n"
        "JointOffset=12.5, -3.25, 100\n"
        "\n"
        "[Probe]\n"
        "; the simulated touch probe: a calibration sphere on the table (centre\n"
        "; X, Y, Z in machine coordinates, radius) and the probe's ball radius\n"
        "Sphere=1.234, -0.567, 222.5, 12.5\n"
        "BallRadius=3\n"
        "\n"
        "[Hotlink]\n"
        "UpdatePeriodMs=100\n");
}

QString MachineConfig::templateUgud(bool withDefinitions)
{
    QString text = QStringLiteral("%_N_UGUD_DEF\n;$PATH=/_N_DEF_DIR\n");
    if (withDefinitions) {
        text += QStringLiteral(
            "; NC Velmar Variables\n"
            "DEF NCK INT TMR_FILE\n"
            "DEF NCK INT TMR_VINT[5]\n"
            "DEF NCK REAL TMR_VAR[1000]\n"
            "DEF NCK BOOL TMR_PRGISMETRIC\n"
            "DEF NCK INT TMR_DIALOG_VINT[4]\n"
            "DEF NCK STRING[256] TMR_DIALOG_VSTR[3]\n"
            "DEF NCK REAL TMR_FINDSPHERE[7]\n");
    }
    text += QStringLiteral("M30\n");
    return text;
}
