#include "VirtualNc.h"

#include "GudDefinitionFile.h"
#include "MachineConfig.h"
#include "NcAddress.h"
#include "NcControl.h"
#include "NcFaults.h"
#include "NcFileSystem.h"
#include "NcProgramRunner.h"
#include "SlPmActivateDefFiles.h"
#include "SlQFileSvc.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QLockFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QMutex>
#include <QMutexLocker>
#include <QPointer>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTimer>

#include <atomic>

namespace {

QMutex g_currentMutex;
VirtualNc* g_current = nullptr;

constexpr int kEdgeParameters = 25;
constexpr int kSelectedProgramLength = 160;
constexpr int kToolNameLength = 32;
constexpr int kSaveDelayMs = 200;
constexpr int kParseCacheSize = 4096;

const QString kStateFile = QStringLiteral("state/nc.json");

bool isEmptyDir(const QString& dir)
{
    const QDir d(dir);
    return !d.exists() || d.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).isEmpty();
}

bool writeText(const QString& path, const QString& text, QString& error)
{
    QSaveFile f(path);
    if (!f.open(QIODevice::WriteOnly) || f.write(text.toUtf8()) < 0 || !f.commit()) {
        error = QStringLiteral("cannot write %1: %2").arg(path, f.errorString());
        return false;
    }
    return true;
}

QJsonValue toJson(const QVariant& v)
{
    switch (v.type()) {
    case QVariant::Bool: return v.toBool();
    case QVariant::Int: return v.toInt();
    case QVariant::Double: return v.toDouble();
    default: return v.toString();
    }
}

} // namespace

// ---------------------------------------------------------------------------

class VirtualNcPrivate
{
public:
    enum Shape { Scalar, Rows, Axes, Edge, MachineData, Gud };

    struct Var
    {
        int type = QMetaType::Int;
        int stringLength = 0;
        bool readOnly = false;
        bool retained = false;
        Shape shape = Scalar;
        bool isArray = false; // GUD and machine data arrays
        int lo = 1;           // number of the first row or element
        QVector<QVariant> data;
    };

    // A resolved address: which elements of which variable.
    struct Slice
    {
        QString key;
        Var* var = nullptr;
        int first = 0; // index into data
        int count = 1;
        bool list = false;
    };

    explicit VirtualNcPrivate(VirtualNc* owner) : q(owner) {}

    VirtualNc* q;
    QString dir;
    QThreadPool background;
    MachineConfig cfg;
    NcFaults faults;
    std::unique_ptr<NcFileSystem> fs;
    NcProgramRunner* runner = nullptr;
    // One process runs a machine at a time; two would overwrite each
    // other's retained data.
    std::unique_ptr<QLockFile> lock;

    mutable QMutex mutex;
    QHash<QString, Var> vars;
    QHash<QString, NcAddress> parsed;
    // The defined global user data, per block name ("_N_NC_GD3_ACX"), in
    // definition order.
    QMap<QString, QList<GudDefinitionFile::Variable>> gudDefs;
    QString selectedInternal; // "/_N_WKS_DIR/_N_A_WPD/_N_B_MPF"
    QList<VirtualNc::Alarm> alarms;
    QHash<QString, QVector<QVariant>> activeFrames;
    int setufrCount = 0;

    std::atomic<bool> dirty{false};
    QTimer* saveTimer = nullptr;
    // Only a machine that opened completely writes its state: a failed open
    // must leave the files it could not read as they are.
    bool opened = false;

    // -- building ----------------------------------------------------------
    Var& define(const QString& address, int type, Shape shape, const QVector<QVariant>& data, bool readOnly,
                bool retained = false, int lo = 1, int stringLength = 0)
    {
        Var v;
        v.type = type;
        v.shape = shape;
        v.data = data;
        v.readOnly = readOnly;
        v.retained = retained;
        v.lo = lo;
        v.stringLength = stringLength;
        v.isArray = shape == Rows || shape == Axes || shape == Edge || data.size() > 1;
        return vars[address.toLower()] = v;
    }
    Var& scalar(const QString& address, const QVariant& value, bool readOnly = true, bool retained = false)
    {
        return define(address, static_cast<int>(value.type()), Scalar, {value}, readOnly, retained);
    }
    static QVector<QVariant> filled(int n, const QVariant& v) { return QVector<QVariant>(n, v); }

    void build();
    QString gudKey(const QString& block, const QString& name) const
    {
        return QStringLiteral("/nc/%1/%2").arg(block, name).toLower();
    }
    void defineGud(const QString& block, const GudDefinitionFile::Variable& def, const Var* previous);

    // -- access ------------------------------------------------------------
    SlCapErrorEnum resolve(const QString& address, Slice& s, QString& why);
    QVariant sliceValue(const Slice& s) const
    {
        if (!s.list)
            return s.var->data.at(s.first);
        QVariantList out;
        out.reserve(s.count);
        for (int i = 0; i < s.count; ++i)
            out << s.var->data.at(s.first + i);
        return out;
    }
    SlCapErrorEnum assign(Slice& s, const QVariant& value, QString& why, bool& changed);
    void setInternal(const QString& key, const QVariant& v, bool& changed)
    {
        Var& var = vars[key];
        if (var.data.value(0) != v || var.data.value(0).type() != v.type()) {
            var.data[0] = v;
            changed = true;
        }
    }
    int intValue(const QString& key) const { return vars.value(key).data.value(0).toInt(); }

    // -- persistence ---------------------------------------------------------
    bool loadState(QString& error);
    bool saveStateLocked(QString& error) const;
    void markDirty() { dirty = true; }

    // -- signals, emitted outside the lock -----------------------------------
    void emitChanges(bool variables, bool channel)
    {
        if (variables)
            emit q->variablesChanged();
        if (channel)
            emit q->channelChanged();
    }

    bool selectedIsBusy(const QString& realPath) const;
};

void VirtualNcPrivate::build()
{
    const int axes = cfg.axes.size();
    const int tools = cfg.tools.size();

    // NCK and mode group
    scalar(QStringLiteral("/Nck/Configuration/nckType"), cfg.nckType);
    scalar(QStringLiteral("/Nck/Configuration/numGlobMachAxes"), axes);
    scalar(QStringLiteral("/Bag/State/opMode"), int(VirtualNc::ModeAuto));

    // channel 1
    scalar(QStringLiteral("/Channel/Configuration/numMachAxes"), axes);
    scalar(QStringLiteral("/Channel/Configuration/numGeoAxes"), cfg.geoAxes);
    scalar(QStringLiteral("/Channel/Configuration/numAuxAxes"), axes - cfg.geoAxes);
    scalar(QStringLiteral("/Channel/Configuration/numRParams"), cfg.rParameters);
    scalar(QStringLiteral("/Channel/State/chanStatus"), int(VirtualNc::ChannelReset));
    scalar(QStringLiteral("/Channel/State/acProg"), int(VirtualNc::ProgramAborted));
    scalar(QStringLiteral("/Channel/State/chanAlarm"), 0);
    scalar(QStringLiteral("/Channel/State/stopCond"), 0);
    scalar(QStringLiteral("/Channel/State/ncProgEndCounter"), 0, true, true);
    define(QStringLiteral("/Channel/ProgramInfo/selectedWorkPProg"), QMetaType::QString, Scalar, {QString()}, true,
           false, 1, kSelectedProgramLength);

    QVector<QVariant> names, types, positions;
    for (const MachineConfig::Axis& a : cfg.axes) {
        names << a.name;
        types << a.type;
        positions << a.position;
    }
    define(QStringLiteral("/Channel/GeometricAxis/name"), QMetaType::QString, Axes, names, true, false, 1, 32);
    define(QStringLiteral("/Channel/GeometricAxis/type"), QMetaType::Int, Axes, types, true);
    define(QStringLiteral("/Channel/GeometricAxis/actProgPos"), QMetaType::Double, Axes, positions, true);

    // R0 .. R(n-1)
    define(QStringLiteral("/Channel/Parameter/r"), QMetaType::Double, Rows, filled(cfg.rParameters, 0.0), false,
           true, 0);
    // Settable frames: row = axis column + frame number * axes, so frame f
    // holds rows f*axes+1 .. f*axes+axes.
    for (const char* frame : {"linShift", "linShiftFine", "rotation"}) {
        const QString key = QStringLiteral("/Channel/UserFrame/%1").arg(QLatin1String(frame));
        define(key, QMetaType::Double, Rows, filled(cfg.userFrames * axes, 0.0), false, true, 1);
        activeFrames[key.toLower()] = filled(cfg.userFrames * axes, 0.0);
    }

    // tools
    QVector<QVariant> idents, numbers;
    for (const MachineConfig::Tool& t : cfg.tools) {
        idents << t.name;
        numbers << t.number;
        QVector<QVariant> edge = filled(kEdgeParameters, 0.0);
        // $TC_DP1 type (120 end mill, 200 drill, 710 3D probe), DP3 length, DP6 radius
        edge[0] = t.name.contains(QLatin1String("PROBE")) ? 710.0 : t.name.contains(QLatin1String("DRILL")) ? 200.0 : 120.0;
        edge[2] = t.length;
        edge[5] = t.radius;
        define(QStringLiteral("/Tool/Compensation/edgeData#%1").arg(t.number), QMetaType::Double, Edge, edge, false,
               true, 1);
    }
    scalar(QStringLiteral("/Tool/Catalogue/numTools"), tools);
    if (tools > 0) {
        define(QStringLiteral("/Tool/Catalogue/toolIdent"), QMetaType::QString, Rows, idents, true, false, 1,
               kToolNameLength);
        define(QStringLiteral("/Tool/Catalogue/toolNo"), QMetaType::Int, Rows, numbers, true, false, 1);
    }

    // machine data
    define(QStringLiteral("/NC/_N_NC_TEA_ACX/$MN_SCALING_SYSTEM_IS_METRIC"), QMetaType::Bool, MachineData,
           {cfg.metric}, true);
    define(QStringLiteral("/NC/_N_CH_TEA_ACX/$MCS_TECHNOLOGY"), QMetaType::Int, MachineData, {cfg.technology}, true);
    QVector<QVariant> base, joint;
    for (int i = 0; i < 3; ++i) {
        base << cfg.baseTool.value(i);
        joint << cfg.jointOffset.value(i);
    }
    define(QStringLiteral("/NC/_N_CH_TEA_ACX/$MC_TRAFO5_BASE_TOOL_1"), QMetaType::Double, MachineData, base, true);
    define(QStringLiteral("/NC/_N_CH_TEA_ACX/$MC_TRAFO5_JOINT_OFFSET_1"), QMetaType::Double, MachineData, joint, true);
}

void VirtualNcPrivate::defineGud(const QString& block, const GudDefinitionFile::Variable& def, const Var* previous)
{
    Var v;
    v.type = def.type;
    v.stringLength = def.stringLength;
    v.shape = Gud;
    v.isArray = def.size > 0;
    v.retained = true;
    v.lo = 1;
    const int n = qMax(1, def.size);
    v.data = filled(n, GudDefinitionFile::convert(def.type, QVariant()));
    for (int i = 0; i < def.init.size() && i < n; ++i)
        v.data[i] = def.init[i];
    if (previous && previous->type == v.type && previous->data.size() == n && previous->stringLength == v.stringLength)
        v.data = previous->data;
    vars[gudKey(block, def.name)] = v;
}

SlCapErrorEnum VirtualNcPrivate::resolve(const QString& address, Slice& s, QString& why)
{
    // Subscriptions and request loops ask for the same few addresses over
    // and over; their parsed form is kept.
    NcAddress a;
    const auto cached = parsed.constFind(address);
    if (cached != parsed.constEnd()) {
        a = cached.value();
    } else {
        if (!NcAddress::parse(address, a, why))
            return SL_CAP_ERR_SYNTAX;
        if (parsed.size() >= kParseCacheSize)
            parsed.clear();
        parsed.insert(address, a);
    }

    s.key = a.key();
    if (a.area == NcAddress::Tool && a.name.compare(QLatin1String("edgeData"), Qt::CaseInsensitive) == 0) {
        if (a.column < 0) {
            why = QStringLiteral("%1: edge data need the tool number as c<T>").arg(address);
            return SL_CAP_ERR_SYNTAX;
        }
        s.key += QStringLiteral("#%1").arg(a.column);
        if (!vars.contains(s.key) && vars.contains(QStringLiteral("/tool/catalogue/numtools"))) {
            why = QStringLiteral("%1: there is no tool T%2").arg(address).arg(a.column);
            return SL_CAP_ERR_RANGE;
        }
    }
    auto it = vars.find(s.key);
    if (it == vars.end()) {
        if (a.area == NcAddress::DataBlock && a.block.contains(QLatin1String("_GD"))) {
            static const QRegularExpression gd(QStringLiteral("_GD(\\d)_"));
            const int n = gd.match(a.block).captured(1).toInt();
            const QString file = n == 1 ? QStringLiteral("SGUD.DEF") : n == 2 ? QStringLiteral("MGUD.DEF")
                                 : n == 3 ? QStringLiteral("UGUD.DEF") : QStringLiteral("GUD%1.DEF").arg(n);
            why = QStringLiteral("%1 is not defined in %2; activate //NC/DEF.DIR/%3 with its definition first")
                      .arg(a.name.toUpper(), a.block, file);
        } else {
            why = QStringLiteral("%1: no such variable on this NC").arg(a.bare());
        }
        return SL_CAP_ERR_UNKNOWN_ITEM;
    }
    Var& v = it.value();
    s.var = &v;
    const int size = v.data.size();
    const bool channelArea = a.area == NcAddress::Channel || a.area == NcAddress::Bag || a.area == NcAddress::Tool
                             || a.area == NcAddress::DataBlock;
    if (a.unit == 0 || a.unit > 1 || (a.unit > 0 && !channelArea && a.area != NcAddress::Nck)) {
        why = QStringLiteral("%1: unit %2 does not exist, this control has one channel and one mode group")
                  .arg(address).arg(a.unit);
        return SL_CAP_ERR_RANGE;
    }
    if (a.count == 0) {
        why = QStringLiteral("%1: a count of 0").arg(address);
        return SL_CAP_ERR_RANGE;
    }
    auto range = [&](int firstNo, int count, bool list) -> SlCapErrorEnum {
        const int last = v.lo + size - 1;
        if (firstNo < v.lo || count < 1 || firstNo > last || count > last - firstNo + 1) {
            why = QStringLiteral("%1: %2 outside %3 to %4")
                      .arg(address)
                      .arg(count > 1 ? QStringLiteral("%1 to %2").arg(firstNo).arg(qint64(firstNo) + count - 1)
                                     : QString::number(firstNo))
                      .arg(v.lo)
                      .arg(last);
            return SL_CAP_ERR_RANGE;
        }
        s.first = firstNo - v.lo;
        s.count = count;
        s.list = list;
        return SL_CAP_OK;
    };
    const QList<int>& n = a.numbers;
    const bool hasCount = a.count > 0;

    switch (v.shape) {
    case Scalar:
        if (n.size() > 1 || (n.size() == 1 && n[0] != 1) || a.count > 1 || a.column >= 0) {
            why = QStringLiteral("%1: %2 has a single value (row 1)").arg(address, a.name);
            return SL_CAP_ERR_RANGE;
        }
        return range(v.lo, 1, false);
    case Rows:
        if (a.column >= 0 || n.size() > 1) {
            why = QStringLiteral("%1: %2 takes [u1,row] or [u1,row,#count]").arg(address, a.name);
            return SL_CAP_ERR_SYNTAX;
        }
        return range(n.isEmpty() ? v.lo : n[0], hasCount ? a.count : 1, hasCount);
    case Edge:
        if (n.size() != 1) {
            why = QStringLiteral("%1: edge data take [u1,c<T>,parameter]").arg(address);
            return SL_CAP_ERR_SYNTAX;
        }
        return range(n[0], hasCount ? a.count : 1, hasCount);
    case Axes:
        // [u1, first axis, column, #count]: the column chooses the view of the
        // axis data and does not move the axes.
        if (a.column >= 0 || n.size() > 2 || (n.size() == 2 && (n[1] < 1 || n[1] > 2))) {
            why = QStringLiteral("%1: %2 takes [u1,axis,column,#count] with column 1 or 2").arg(address, a.name);
            return SL_CAP_ERR_RANGE;
        }
        return range(n.isEmpty() ? 1 : n[0], hasCount ? a.count : 1, hasCount);
    case MachineData:
        if (!v.isArray) {
            if (!n.isEmpty() || hasCount) {
                why = QStringLiteral("%1: %2 is no array").arg(address, a.name);
                return SL_CAP_ERR_RANGE;
            }
            return range(1, 1, false);
        }
        if (n.isEmpty())
            return range(1, size, true);
        if (n.size() > 1) {
            why = QStringLiteral("%1: machine data arrays take [u1,index] or [u1,first,#count]").arg(address);
            return SL_CAP_ERR_SYNTAX;
        }
        return range(n[0], hasCount ? a.count : 1, hasCount);
    case Gud:
        if (a.column > 1) {
            why = QStringLiteral("%1: global user data have no column %2").arg(address).arg(a.column);
            return SL_CAP_ERR_RANGE;
        }
        if (!v.isArray) {
            if (!n.isEmpty() || hasCount) {
                why = QStringLiteral("%1: %2 is not an array").arg(address, a.name.toUpper());
                return SL_CAP_ERR_RANGE;
            }
            return range(1, 1, false);
        }
        if (n.isEmpty() && !hasCount)
            return range(1, size, true);
        if (n.size() == 1 && !hasCount)
            return range(n[0], 1, false);
        if (n.size() == 1 && hasCount)
            return range(n[0], a.count, true);
        if (n.size() == 2 && !hasCount) {
            if (n[1] == 0) {
                why = QStringLiteral("%1: a count of 0").arg(address);
                return SL_CAP_ERR_RANGE;
            }
            return range(n[0], n[1], true);
        }
        why = QStringLiteral("%1: %2 takes [index] or [first,count]").arg(address, a.name.toUpper());
        return SL_CAP_ERR_SYNTAX;
    }
    why = QStringLiteral("%1: not addressable").arg(address);
    return SL_CAP_ERR_UNKNOWN_ITEM;
}

SlCapErrorEnum VirtualNcPrivate::assign(Slice& s, const QVariant& value, QString& why, bool& changed)
{
    QVariantList items;
    if (value.type() == QVariant::List || value.type() == QVariant::StringList)
        items = value.toList();
    else
        items << value;
    if (items.size() != s.count) {
        why = QStringLiteral("%1 takes %2 value(s), got %3").arg(s.key).arg(s.count).arg(items.size());
        return SL_CAP_ERR_TYPE;
    }
    QVector<QVariant> converted;
    converted.reserve(items.size());
    for (const QVariant& item : items) {
        const QVariant c = GudDefinitionFile::convert(s.var->type, item);
        if (!c.isValid()) {
            why = QStringLiteral("'%1' does not convert to the type of %2").arg(item.toString(), s.key);
            return SL_CAP_ERR_TYPE;
        }
        if (s.var->type == QMetaType::QString && s.var->stringLength > 0 && c.toString().size() > s.var->stringLength) {
            why = QStringLiteral("a string of %1 characters does not fit %2 (STRING[%3])")
                      .arg(c.toString().size()).arg(s.key).arg(s.var->stringLength);
            return SL_CAP_ERR_STRING_LENGTH;
        }
        converted << c;
    }
    for (int i = 0; i < converted.size(); ++i) {
        QVariant& slot = s.var->data[s.first + i];
        if (slot != converted[i]) {
            slot = converted[i];
            changed = true;
        }
    }
    if (changed && s.var->retained)
        markDirty();
    return SL_CAP_OK;
}

bool VirtualNcPrivate::selectedIsBusy(const QString& realPath) const
{
    QMutexLocker lock(&mutex);
    if (selectedInternal.isEmpty() || intValue(QStringLiteral("/channel/state/chanstatus")) == VirtualNc::ChannelReset)
        return false;
    const QString selReal = QFileInfo(fs->locate(selectedInternal).real).absoluteFilePath();
    const QString p = QFileInfo(realPath).absoluteFilePath();
    // A folder that holds the running program is in use as well.
    return p == selReal || selReal.startsWith(p + QLatin1Char('/'));
}

bool VirtualNcPrivate::loadState(QString& error)
{
    QFile f(QDir(dir).filePath(kStateFile));
    if (!f.exists())
        return true;
    if (!f.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read %1: %2").arg(f.fileName(), f.errorString());
        return false;
    }
    QJsonParseError perr;
    const QJsonDocument doc = QJsonDocument::fromJson(f.readAll(), &perr);
    if (!doc.isObject()) {
        error = QStringLiteral("%1 is damaged (%2); move it away to start with fresh retained data")
                    .arg(f.fileName(), perr.errorString());
        return false;
    }
    const QJsonObject root = doc.object();
    const QJsonObject gud = root.value(QStringLiteral("gud")).toObject();
    for (auto b = gud.begin(); b != gud.end(); ++b) {
        QList<GudDefinitionFile::Variable> defs;
        for (const QJsonValue& jv : b.value().toArray()) {
            const QJsonObject o = jv.toObject();
            GudDefinitionFile::Variable d;
            d.name = o.value(QStringLiteral("name")).toString();
            d.type = o.value(QStringLiteral("type")).toInt();
            d.stringLength = o.value(QStringLiteral("length")).toInt();
            d.size = o.value(QStringLiteral("size")).toInt();
            if (d.name.isEmpty() || (d.type != QMetaType::Int && d.type != QMetaType::Double
                                     && d.type != QMetaType::Bool && d.type != QMetaType::QString)) {
                error = QStringLiteral("%1: bad definition in block %2").arg(f.fileName(), b.key());
                return false;
            }
            defs << d;
            defineGud(b.key(), d, nullptr);
        }
        gudDefs[b.key()] = defs;
    }
    const QJsonObject values = root.value(QStringLiteral("values")).toObject();
    for (auto it = values.begin(); it != values.end(); ++it) {
        auto v = vars.find(it.key());
        const QJsonArray arr = it.value().toArray();
        // Retained data of a variable that changed its shape in machine.ini
        // start over rather than land in the wrong element.
        if (v == vars.end() || !v->retained || arr.size() != v->data.size())
            continue;
        for (int i = 0; i < arr.size(); ++i) {
            const QVariant c = GudDefinitionFile::convert(v->type, arr[i].toVariant());
            if (c.isValid())
                v->data[i] = c;
        }
    }
    const QJsonObject frames = root.value(QStringLiteral("activeFrames")).toObject();
    for (auto it = frames.begin(); it != frames.end(); ++it) {
        auto af = activeFrames.find(it.key());
        const QJsonArray arr = it.value().toArray();
        if (af != activeFrames.end() && arr.size() == af->size())
            for (int i = 0; i < arr.size(); ++i)
                (*af)[i] = arr[i].toDouble();
    }
    setufrCount = root.value(QStringLiteral("setufrCount")).toInt();
    selectedInternal = root.value(QStringLiteral("selected")).toString();
    vars[QStringLiteral("/channel/programinfo/selectedworkpprog")].data[0] = selectedInternal;
    vars[QStringLiteral("/bag/state/opmode")].data[0] = root.value(QStringLiteral("opMode")).toInt(VirtualNc::ModeAuto);
    for (const QJsonValue& u : root.value(QStringLiteral("usbMounted")).toArray())
        if (QFileInfo(QStringLiteral("%1/usb/%2").arg(dir, u.toString())).isDir())
            fs->setUsbMounted(u.toString(), true);
    return true;
}

bool VirtualNcPrivate::saveStateLocked(QString& error) const
{
    QJsonObject root;
    QJsonObject gud;
    for (auto b = gudDefs.begin(); b != gudDefs.end(); ++b) {
        QJsonArray defs;
        for (const GudDefinitionFile::Variable& d : b.value())
            defs << QJsonObject{{QStringLiteral("name"), d.name},
                                {QStringLiteral("type"), d.type},
                                {QStringLiteral("length"), d.stringLength},
                                {QStringLiteral("size"), d.size}};
        gud.insert(b.key(), defs);
    }
    root.insert(QStringLiteral("gud"), gud);
    QJsonObject values;
    for (auto it = vars.begin(); it != vars.end(); ++it) {
        if (!it->retained)
            continue;
        QJsonArray arr;
        for (const QVariant& v : it->data)
            arr << toJson(v);
        values.insert(it.key(), arr);
    }
    root.insert(QStringLiteral("values"), values);
    QJsonObject frames;
    for (auto it = activeFrames.begin(); it != activeFrames.end(); ++it) {
        QJsonArray arr;
        for (const QVariant& v : it.value())
            arr << v.toDouble();
        frames.insert(it.key(), arr);
    }
    root.insert(QStringLiteral("activeFrames"), frames);
    root.insert(QStringLiteral("setufrCount"), setufrCount);
    root.insert(QStringLiteral("selected"), selectedInternal);
    root.insert(QStringLiteral("opMode"), intValue(QStringLiteral("/bag/state/opmode")));
    root.insert(QStringLiteral("usbMounted"), QJsonArray::fromStringList(fs->mountedUsb()));

    QDir().mkpath(QDir(dir).filePath(QStringLiteral("state")));
    return writeText(QDir(dir).filePath(kStateFile), QString::fromUtf8(QJsonDocument(root).toJson(QJsonDocument::Compact)), error);
}

// ---------------------------------------------------------------------------

VirtualNc::VirtualNc(QObject* parent) : QObject(parent), d(new VirtualNcPrivate(this)) {}

VirtualNc::~VirtualNc()
{
    {
        QMutexLocker lock(&g_currentMutex);
        if (g_current == this)
            g_current = nullptr;
    }
    // A listing still running reads the file system and faults of this NC.
    d->background.waitForDone();
    saveState();
}

QThreadPool* VirtualNc::backgroundPool() const
{
    return &d->background;
}

namespace {

// Lays out a machine in dir without touching anything already there, so an
// installation put into card/ before the first start stays as it is.
bool fillMachine(const QString& machineDir, VirtualNc::Variant variant, QString& error)
{
    const QDir root(machineDir);
    for (const char* sub : {"nc/MPF.DIR", "nc/SPF.DIR", "nc/WKS.DIR/TELMOR.WPD", "nc/DEF.DIR", "nc/CMA.DIR",
                            "nc/CUS.DIR", "net/127.0.0.1/telmor/req", "usb/FRONT", "card", "state"}) {
        if (!root.mkpath(QLatin1String(sub))) {
            error = QStringLiteral("cannot create %1 in %2").arg(QLatin1String(sub), machineDir);
            return false;
        }
    }
    const QList<QPair<QString, QString>> files{
        {QStringLiteral("machine.ini"), MachineConfig::templateIni()},
        {QStringLiteral("nc/DEF.DIR/UGUD.DEF"), MachineConfig::templateUgud(variant == VirtualNc::Variant::Commissioned)},
        {QStringLiteral("nc/DEF.DIR/SGUD.DEF"), QStringLiteral("%_N_SGUD_DEF\n;$PATH=/_N_DEF_DIR\nM30\n")},
        {QStringLiteral("nc/DEF.DIR/MGUD.DEF"), QStringLiteral("%_N_MGUD_DEF\n;$PATH=/_N_DEF_DIR\nM30\n")},
        {QStringLiteral("nc/MPF.DIR/MAIN.MPF"),
         QStringLiteral("; MAIN: a slow pass round the table in G54, and back to the start\n"
                        "N10 G17 G90 G54 G0 X0 Y0 Z100\n"
                        "N20 G1 X200 F200\n"
                        "N30 Y150\n"
                        "N40 X0\n"
                        "N50 Y0\n"
                        "N60 G0 Z250\n"
                        "N70 M30\n")},
        {QStringLiteral("card/versions.xml"),
         QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<info>\n  <Version>04.95.00.00</Version>\n</info>\n")}};
    for (const auto& f : files)
        if (!QFileInfo::exists(root.filePath(f.first)) && !writeText(root.filePath(f.first), f.second, error))
            return false;
    return true;
}

// A folder without machine.ini and without NC data of its own becomes a new
// machine; anything else is either a machine or not ours to fill.
bool isNewMachine(const QString& dir)
{
    const QDir d(dir);
    return !d.exists(QStringLiteral("machine.ini")) && !d.exists(QStringLiteral("nc"))
           && !d.exists(QStringLiteral("state"));
}

} // namespace

bool VirtualNc::createMachine(const QString& machineDir, Variant variant, QString& error)
{
    if (!isEmptyDir(machineDir)) {
        error = QStringLiteral("%1 is not empty; a machine is only made in an empty folder").arg(machineDir);
        return false;
    }
    return fillMachine(machineDir, variant, error);
}

VirtualNc* VirtualNc::open(const QString& machineDir, QString& error, Variant variant, QObject* parent)
{
    const QString dir = QDir(machineDir).absolutePath();
    const bool fresh = isNewMachine(dir);
    if (fresh && !fillMachine(dir, variant, error))
        return nullptr;

    QScopedPointer<VirtualNc> nc(new VirtualNc(parent));
    VirtualNcPrivate* d = nc->d.data();
    d->dir = dir;
    if (!d->cfg.load(QDir(dir).filePath(QStringLiteral("machine.ini")), error))
        return nullptr;
    QDir().mkpath(QDir(dir).filePath(QStringLiteral("state")));
    d->lock.reset(new QLockFile(QDir(dir).filePath(QStringLiteral("state/nc.lock"))));
    if (!d->lock->tryLock(0)) {
        qint64 pid = 0;
        QString host, app;
        d->lock->getLockInfo(&pid, &host, &app);
        error = d->lock->error() == QLockFile::LockFailedError
                    ? QStringLiteral("the machine in %1 is already running (process %2, %3)").arg(dir).arg(pid).arg(app)
                    : QStringLiteral("cannot lock %1/state/nc.lock").arg(dir);
        return nullptr;
    }
    d->fs.reset(new NcFileSystem(dir));
    d->fs->setBusyCheck([d](const QString& real) { return d->selectedIsBusy(real); });
    d->runner = new NcProgramRunner(*nc, nc.data());
    d->build();
    if (!d->loadState(error))
        return nullptr;
    if (fresh && variant == Variant::Commissioned) {
        QStringList errors;
        nc->activateDefinitions({QStringLiteral("//NC/DEF.DIR/UGUD.DEF")}, 0, errors);
        if (!errors.isEmpty()) {
            error = errors.join(QLatin1Char('\n'));
            return nullptr;
        }
    }

    // Retained data reach the disk shortly after a change, from whatever
    // thread made it, without a write per variable access.
    d->saveTimer = new QTimer(nc.data());
    d->saveTimer->setInterval(kSaveDelayMs);
    connect(d->saveTimer, &QTimer::timeout, nc.data(), [d] {
        if (d->dirty.exchange(false)) {
            QMutexLocker lock(&d->mutex);
            QString e;
            if (!d->saveStateLocked(e))
                qWarning("virtual NC: %s", qPrintable(e));
        }
    });
    d->saveTimer->start();
    d->opened = true;
    if (fresh)
        nc->saveState();
    nc->makeCurrent();
    return nc.take();
}

VirtualNc* VirtualNc::current()
{
    QMutexLocker lock(&g_currentMutex);
    return g_current;
}

void VirtualNc::makeCurrent()
{
    QMutexLocker lock(&g_currentMutex);
    g_current = this;
}

QString VirtualNc::machineDir() const
{
    return d->dir;
}

int VirtualNc::updatePeriodMs() const
{
    return d->cfg.updatePeriodMs;
}

bool VirtualNc::saveState(QString* error)
{
    if (!d->opened) {
        if (error)
            *error = QStringLiteral("the machine is not open");
        return false;
    }
    QMutexLocker lock(&d->mutex);
    QString e;
    d->dirty = false;
    if (!d->saveStateLocked(e)) {
        if (error)
            *error = e;
        return false;
    }
    return true;
}

void VirtualNc::registerControl(CtlServer* server)
{
    QPointer<VirtualNc> self(this);
    server->registerHandler(QStringLiteral("nc"), [self](const QStringList& args) {
        if (!self)
            return CtlResult::fail(QStringLiteral("the virtual NC of this host is closed"));
        return self->control(args);
    });
}

CtlResult VirtualNc::control(const QStringList& args)
{
    return NcControl::run(*this, args);
}

// ---- variables ---------------------------------------------------------------

SlCapErrorEnum VirtualNc::read(const QString& address, QVariant& value, QString* why)
{
    QString w;
    QMutexLocker lock(&d->mutex);
    VirtualNcPrivate::Slice s;
    const SlCapErrorEnum e = d->resolve(address, s, w);
    if (e != SL_CAP_OK) {
        if (why)
            *why = w;
        return e;
    }
    value = d->sliceValue(s);
    return SL_CAP_OK;
}

SlCapErrorEnum VirtualNc::write(const QString& address, const QVariant& value, QString* why)
{
    QString w;
    bool changed = false;
    SlCapErrorEnum e;
    {
        QMutexLocker lock(&d->mutex);
        VirtualNcPrivate::Slice s;
        e = d->resolve(address, s, w);
        if (e == SL_CAP_OK && s.var->readOnly) {
            w = QStringLiteral("%1 is read-only").arg(address);
            e = SL_CAP_ERR_READ_ONLY;
        }
        if (e == SL_CAP_OK)
            e = d->assign(s, value, w, changed);
    }
    if (e != SL_CAP_OK && why)
        *why = w;
    if (changed)
        emit variablesChanged();
    return e;
}

SlCapErrorEnum VirtualNc::set(const QString& address, const QString& text, QString* why)
{
    QString w;
    bool changed = false;
    bool channel = false;
    SlCapErrorEnum e;
    {
        QMutexLocker lock(&d->mutex);
        VirtualNcPrivate::Slice s;
        e = d->resolve(address, s, w);
        if (e == SL_CAP_OK) {
            QVariant value = text;
            if (s.count > 1) {
                static const QRegularExpression sep(QStringLiteral("[,\\s]+"));
                const QStringList parts = s.var->type == QMetaType::QString
                                              ? text.split(QLatin1Char('\n'))
                                              : text.trimmed().split(sep, Qt::SkipEmptyParts);
                value = QVariant(parts);
            }
            e = d->assign(s, value, w, changed);
            channel = changed && (s.key.startsWith(QLatin1String("/channel/state/")) || s.key.startsWith(QLatin1String("/bag/")));
            if (changed && s.key == QLatin1String("/bag/state/opmode"))
                d->markDirty();
        }
    }
    if (e != SL_CAP_OK && why)
        *why = w;
    d->emitChanges(changed, channel);
    return e;
}

QString VirtualNc::formatValue(const QVariant& value)
{
    switch (value.type()) {
    case QVariant::List:
    case QVariant::StringList: {
        QStringList lines;
        for (const QVariant& v : value.toList())
            lines << formatValue(v);
        return lines.join(QLatin1Char('\n'));
    }
    case QVariant::Double:
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    case QVariant::Bool:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    default:
        return value.toString();
    }
}

// ---- machine area ------------------------------------------------------------

QString VirtualNc::controlModel() const
{
    switch (d->cfg.nckType) {
    case 10700: return QStringLiteral("840D sl");
    case 15000: return QStringLiteral("840Di sl");
    case 16000: return QStringLiteral("828D");
    default: return QStringLiteral("nckType %1").arg(d->cfg.nckType);
    }
}

QList<VirtualNc::Axis> VirtualNc::axes() const
{
    QMutexLocker lock(&d->mutex);
    QList<Axis> out;
    const auto& names = d->vars.value(QStringLiteral("/channel/geometricaxis/name")).data;
    const auto& types = d->vars.value(QStringLiteral("/channel/geometricaxis/type")).data;
    const auto& pos = d->vars.value(QStringLiteral("/channel/geometricaxis/actprogpos")).data;
    for (int i = 0; i < names.size(); ++i)
        out << Axis{names[i].toString(), types.value(i).toInt(), pos.value(i).toDouble()};
    return out;
}

QString VirtualNc::selectedProgram() const
{
    QMutexLocker lock(&d->mutex);
    return NcFileSystem::fromNcInternal(d->selectedInternal);
}

VirtualNc::ChannelStatus VirtualNc::channelStatus() const
{
    QMutexLocker lock(&d->mutex);
    return static_cast<ChannelStatus>(d->intValue(QStringLiteral("/channel/state/chanstatus")));
}

VirtualNc::ProgramStatus VirtualNc::programStatus() const
{
    QMutexLocker lock(&d->mutex);
    return static_cast<ProgramStatus>(d->intValue(QStringLiteral("/channel/state/acprog")));
}

VirtualNc::OperatingMode VirtualNc::operatingMode() const
{
    QMutexLocker lock(&d->mutex);
    return static_cast<OperatingMode>(d->intValue(QStringLiteral("/bag/state/opmode")));
}

bool VirtualNc::setOperatingMode(OperatingMode mode, QString* why)
{
    bool changed = false;
    {
        QMutexLocker lock(&d->mutex);
        if (mode < ModeJog || mode > ModeAuto) {
            if (why)
                *why = QStringLiteral("operating mode %1 does not exist (0 JOG, 1 MDA, 2 AUTO)").arg(int(mode));
            return false;
        }
        // The mode group changes mode only in reset, as on the machine.
        if (d->intValue(QStringLiteral("/channel/state/chanstatus")) != ChannelReset
            && d->intValue(QStringLiteral("/bag/state/opmode")) != mode) {
            if (why)
                *why = QStringLiteral("the operating mode changes only while the channel is in reset");
            return false;
        }
        d->setInternal(QStringLiteral("/bag/state/opmode"), int(mode), changed);
        if (changed)
            d->markDirty();
    }
    d->emitChanges(changed, changed);
    return true;
}

int VirtualNc::programEndCount() const
{
    QMutexLocker lock(&d->mutex);
    return d->intValue(QStringLiteral("/channel/state/ncprogendcounter"));
}

long VirtualNc::selectProgram(const QString& ncPath, QString* why)
{
    bool changed = false;
    {
        QMutexLocker lock(&d->mutex);
        const NcFileSystem::Location loc = d->fs->locate(ncPath);
        auto fail = [&](long code, const QString& text) {
            if (why)
                *why = text;
            return code;
        };
        if (loc.error)
            return fail(loc.error, QStringLiteral("%1 is no usable path").arg(ncPath));
        if (loc.kind != NcFileSystem::Nc)
            return fail(SlQFileSvc::E_NOT_SELECTABLE, QStringLiteral("%1 is not in the NC's file system").arg(ncPath));
        const QFileInfo fi(loc.real);
        if (!fi.isFile())
            return fail(SlQFileSvc::E_NOT_FOUND, QStringLiteral("%1 does not exist").arg(loc.logical));
        const QString ext = fi.suffix().toUpper();
        if (ext != QLatin1String("MPF") && ext != QLatin1String("SPF"))
            return fail(SlQFileSvc::E_NOT_SELECTABLE, QStringLiteral("%1 is no part program (MPF, SPF)").arg(loc.logical));
        if (d->intValue(QStringLiteral("/channel/state/chanstatus")) != ChannelReset)
            return fail(SlQFileSvc::E_CHANNEL_ACTIVE, QStringLiteral("the channel is not in reset"));
        d->selectedInternal = NcFileSystem::toNcInternal(loc.logical);
        d->setInternal(QStringLiteral("/channel/programinfo/selectedworkpprog"), d->selectedInternal, changed);
        d->markDirty();
    }
    d->emitChanges(changed, true);
    return 0;
}

bool VirtualNc::startProgram(QString* why)
{
    bool changed = false;
    bool fromReset = false;
    {
        QMutexLocker lock(&d->mutex);
        if (d->intValue(QStringLiteral("/bag/state/opmode")) != ModeAuto) {
            if (why)
                *why = QStringLiteral("cycle start needs operating mode AUTO");
            return false;
        }
        if (d->selectedInternal.isEmpty() || !QFileInfo(d->fs->locate(d->selectedInternal).real).isFile()) {
            if (why)
                *why = QStringLiteral("no program is selected, or the selected one no longer exists");
            return false;
        }
        fromReset = d->intValue(QStringLiteral("/channel/state/chanstatus")) == ChannelReset;
        d->setInternal(QStringLiteral("/channel/state/chanstatus"), int(ChannelActive), changed);
        d->setInternal(QStringLiteral("/channel/state/acprog"), int(ProgramRunning), changed);
        d->setInternal(QStringLiteral("/channel/state/stopcond"), 0, changed);
    }
    d->emitChanges(changed, changed);
    d->runner->cycleStart(fromReset);
    return true;
}

bool VirtualNc::stopProgram(QString* why)
{
    bool changed = false;
    {
        QMutexLocker lock(&d->mutex);
        if (d->intValue(QStringLiteral("/channel/state/chanstatus")) != ChannelActive) {
            if (why)
                *why = QStringLiteral("no program is running");
            return false;
        }
        d->setInternal(QStringLiteral("/channel/state/chanstatus"), int(ChannelInterrupted), changed);
        d->setInternal(QStringLiteral("/channel/state/acprog"), int(ProgramStopped), changed);
        d->setInternal(QStringLiteral("/channel/state/stopcond"), 2, changed);
    }
    d->emitChanges(changed, changed);
    d->runner->hold();
    return true;
}

bool VirtualNc::resetProgram(QString*)
{
    bool changed = false;
    QList<Alarm> cleared;
    {
        QMutexLocker lock(&d->mutex);
        d->setInternal(QStringLiteral("/channel/state/chanstatus"), int(ChannelReset), changed);
        d->setInternal(QStringLiteral("/channel/state/acprog"), int(ProgramAborted), changed);
        d->setInternal(QStringLiteral("/channel/state/stopcond"), 0, changed);
        // Channel alarms are cleared with RESET.
        for (int i = d->alarms.size() - 1; i >= 0; --i)
            if (d->alarms[i].channel)
                cleared.prepend(d->alarms.takeAt(i));
        if (!cleared.isEmpty())
            d->setInternal(QStringLiteral("/channel/state/chanalarm"), 0, changed);
    }
    d->emitChanges(changed, changed);
    d->runner->abort();
    for (const Alarm& a : cleared)
        emit alarmEvent(20, a.id, a.text, a.kind, a.channel);
    if (!cleared.isEmpty())
        emit alarmsChanged();
    return true;
}

bool VirtualNc::endProgram(QString* why)
{
    bool changed = false;
    {
        QMutexLocker lock(&d->mutex);
        if (d->intValue(QStringLiteral("/channel/state/chanstatus")) != ChannelActive) {
            if (why)
                *why = QStringLiteral("no program is running, so none can reach its end");
            return false;
        }
        d->setInternal(QStringLiteral("/channel/state/chanstatus"), int(ChannelReset), changed);
        d->setInternal(QStringLiteral("/channel/state/acprog"), int(ProgramAborted), changed);
        d->setInternal(QStringLiteral("/channel/state/ncprogendcounter"),
                       d->intValue(QStringLiteral("/channel/state/ncprogendcounter")) + 1, changed);
        d->markDirty();
    }
    d->emitChanges(changed, changed);
    d->runner->abort();
    return true;
}

void VirtualNc::setAxisPositions(const QVector<double>& positions)
{
    bool changed = false;
    {
        QMutexLocker lock(&d->mutex);
        QVector<QVariant>& data = d->vars[QStringLiteral("/channel/geometricaxis/actprogpos")].data;
        for (int i = 0; i < data.size() && i < positions.size(); ++i) {
            changed = changed || data[i].toDouble() != positions[i];
            data[i] = positions[i];
        }
    }
    d->emitChanges(changed, false);
}

const MachineConfig& VirtualNc::config() const
{
    return d->cfg;
}

NcProgramRunner& VirtualNc::programRunner() const
{
    return *d->runner;
}

QList<VirtualNc::Alarm> VirtualNc::alarms() const
{
    QMutexLocker lock(&d->mutex);
    return d->alarms;
}

void VirtualNc::raiseAlarm(long id, const QString& text, unsigned int kind, bool channel)
{
    bool changed = false;
    Alarm a{id, text, kind, channel, QDateTime::currentDateTime()};
    {
        QMutexLocker lock(&d->mutex);
        for (int i = 0; i < d->alarms.size(); ++i)
            if (d->alarms[i].id == id)
                d->alarms.removeAt(i--);
        d->alarms << a;
        if (channel) {
            d->setInternal(QStringLiteral("/channel/state/chanalarm"), 1, changed);
            // An alarm that stops the channel interrupts the running program.
            if (kind != 2 && d->intValue(QStringLiteral("/channel/state/chanstatus")) == ChannelActive) {
                d->setInternal(QStringLiteral("/channel/state/chanstatus"), int(ChannelInterrupted), changed);
                d->setInternal(QStringLiteral("/channel/state/acprog"), int(ProgramInterrupted), changed);
            }
        }
    }
    d->emitChanges(changed, changed);
    emit alarmEvent(21, a.id, a.text, a.kind, a.channel);
    emit alarmsChanged();
}

bool VirtualNc::clearAlarm(long id)
{
    bool changed = false;
    Alarm gone;
    bool found = false;
    {
        QMutexLocker lock(&d->mutex);
        for (int i = 0; i < d->alarms.size(); ++i) {
            if (d->alarms[i].id == id) {
                gone = d->alarms.takeAt(i);
                found = true;
                break;
            }
        }
        if (!found)
            return false;
        bool anyChannel = false;
        for (const Alarm& a : d->alarms)
            anyChannel = anyChannel || a.channel;
        if (!anyChannel)
            d->setInternal(QStringLiteral("/channel/state/chanalarm"), 0, changed);
    }
    d->emitChanges(changed, changed);
    emit alarmEvent(20, gone.id, gone.text, gone.kind, gone.channel);
    emit alarmsChanged();
    return true;
}

// ---- USB ---------------------------------------------------------------------

QStringList VirtualNc::usbSticks() const
{
    return QDir(QDir(d->dir).filePath(QStringLiteral("usb"))).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
}

bool VirtualNc::isUsbMounted(const QString& name) const
{
    return d->fs->isUsbMounted(name);
}

bool VirtualNc::mountUsb(const QString& name, QString* why)
{
    static const QRegularExpression re(QStringLiteral("^[A-Za-z0-9_]{1,32}$"));
    if (!re.match(name).hasMatch()) {
        if (why)
            *why = QStringLiteral("'%1' is no stick name (letters, digits, '_')").arg(name);
        return false;
    }
    if (d->fs->isUsbMounted(name)) {
        if (why)
            *why = QStringLiteral("USB stick %1 is already mounted").arg(name);
        return false;
    }
    // Plugging in a stick that was never seen brings a new, empty one.
    if (!QDir(d->dir).mkpath(QStringLiteral("usb/") + name)) {
        if (why)
            *why = QStringLiteral("cannot create the folder of stick %1").arg(name);
        return false;
    }
    d->fs->setUsbMounted(name, true);
    d->markDirty();
    emit driveChanged(QStringLiteral("//ACTTCU/") + name, true);
    return true;
}

bool VirtualNc::unmountUsb(const QString& name, QString* why)
{
    if (!d->fs->isUsbMounted(name)) {
        if (why)
            *why = QStringLiteral("USB stick %1 is not mounted").arg(name);
        return false;
    }
    d->fs->setUsbMounted(name, false);
    d->markDirty();
    emit driveChanged(QStringLiteral("//ACTTCU/") + name, false);
    return true;
}

// ---- definition files --------------------------------------------------------

QVector<long> VirtualNc::activateDefinitions(const QStringList& ncPaths, int mode, QStringList& errorTexts)
{
    QVector<long> codes;
    bool activated = false;
    for (const QString& path : ncPaths) {
        const NcFileSystem::Location loc = d->fs->locate(path);
        const int blockNo = GudDefinitionFile::blockOfFile(loc.real);
        if (loc.error || loc.kind != NcFileSystem::Nc || !QFileInfo(loc.real).isFile()) {
            codes << SlPmActivateDefFiles::E_FILE_NOT_FOUND;
            errorTexts << QStringLiteral("%1: no such file on the NC").arg(path);
            continue;
        }
        if (blockNo < 0 || !loc.logical.startsWith(QLatin1String("//NC/DEF.DIR/"), Qt::CaseInsensitive)) {
            codes << SlPmActivateDefFiles::E_NOT_A_DEFINITION_FILE;
            errorTexts << QStringLiteral("%1: not a definition file of global user data").arg(path);
            continue;
        }
        QFile f(loc.real);
        if (!f.open(QIODevice::ReadOnly)) {
            codes << SlPmActivateDefFiles::E_UNREADABLE;
            errorTexts << QStringLiteral("%1: %2").arg(path, f.errorString());
            continue;
        }
        QList<GudDefinitionFile::Variable> defs;
        QList<GudDefinitionFile::Error> errors;
        GudDefinitionFile::parse(QString::fromUtf8(f.readAll()), defs, errors);
        if (!errors.isEmpty()) {
            // The NC keeps the old definitions when a file has errors.
            for (const GudDefinitionFile::Error& e : errors) {
                codes << SlPmActivateDefFiles::E_SYNTAX;
                errorTexts << QStringLiteral("%1 line %2: %3").arg(path).arg(e.line).arg(e.text);
            }
            continue;
        }
        const QString ncBlock = QStringLiteral("_N_NC_GD%1_ACX").arg(blockNo);
        const QString chBlock = QStringLiteral("_N_CH_GD%1_ACX").arg(blockNo);
        QMutexLocker lock(&d->mutex);
        QHash<QString, VirtualNcPrivate::Var> previous;
        for (const QString& block : {ncBlock, chBlock}) {
            for (const GudDefinitionFile::Variable& old : d->gudDefs.value(block)) {
                const QString key = d->gudKey(block, old.name);
                previous.insert(key, d->vars.take(key));
            }
            d->gudDefs.remove(block);
        }
        for (const GudDefinitionFile::Variable& def : defs) {
            const QString block = def.scope == GudDefinitionFile::Chan ? chBlock : ncBlock;
            const QString key = d->gudKey(block, def.name);
            const bool keep = (mode & SlPmActivateDefFiles::MODE_KEEP_VALUES) && previous.contains(key);
            d->defineGud(block, def, keep ? &previous[key] : nullptr);
            d->gudDefs[block] << def;
        }
        activated = true;
    }
    if (activated) {
        d->markDirty();
        saveState();
        emit definitionsActivated();
        emit variablesChanged();
    }
    return codes;
}

QStringList VirtualNc::definedVariables(const QString& block) const
{
    QMutexLocker lock(&d->mutex);
    QString name = block.section(QLatin1Char('/'), -1).toUpper();
    QStringList out;
    for (const GudDefinitionFile::Variable& v : d->gudDefs.value(name))
        out << v.name;
    return out;
}

// ---- work offsets ------------------------------------------------------------

long VirtualNc::activateUserFrames(QString*)
{
    {
        QMutexLocker lock(&d->mutex);
        for (auto it = d->activeFrames.begin(); it != d->activeFrames.end(); ++it)
            it.value() = d->vars.value(it.key()).data;
        ++d->setufrCount;
        d->markDirty();
    }
    emit channelChanged();
    return 0;
}

int VirtualNc::userFrameActivations() const
{
    QMutexLocker lock(&d->mutex);
    return d->setufrCount;
}

double VirtualNc::activeFrameValue(const QString& component, int row) const
{
    QMutexLocker lock(&d->mutex);
    const auto frame = d->activeFrames.value(QStringLiteral("/channel/userframe/") + component.toLower());
    return frame.value(row - 1).toDouble();
}

NcFaults& VirtualNc::faults() const
{
    return d->faults;
}

NcFileSystem& VirtualNc::fileSystem() const
{
    return *d->fs;
}
