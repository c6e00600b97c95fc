#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// Which areas the operator interface offers, as the machine's card says.
//
// Each layer of the card may hold
//   DIR/card/<layer>/sinumerik/hmi/cfg/systemconfiguration.ini
// with the layers read in the order siemens, addon, oem, user; a later
// layer replaces an entry of the same key. The section [areas] lists one
// area per key, in the order of the keys:
//
//   [areas]
//   AREA500 = name:=Norvane, dialog:=SiemensHarvel, text:=Harvel,
//             library:=NorvaneZYN/appl/libsiemensharvel.so,
//             cfg:=NorvaneZYN/cfg/SiemensHarvel.ini
//
// (on one line). library and cfg are relative to DIR/card/oem/sinumerik/hmi
// unless absolute. library is the plug-in that makes the dialog and its
// forms; cfg its area configuration (SlGfwAreaConfig). text is the area's
// label in the header, the name if missing.
class HmiSystemConfig
{
public:
    struct Area
    {
        QString key;
        QString name;
        QString dialog;
        QString text;
        QString library;
        QString cfg;
        QString source; // file:line, for messages
    };

    static QStringList layers();
    static QString hmiFolder(const QString& machineDir, const QString& layer = QStringLiteral("oem"));

    // Reads every layer; an entry that cannot be understood is left out and
    // its reason added to errors, so one bad line costs only its own area.
    void load(const QString& machineDir, QStringList& errors);
    const QList<Area>& areas() const { return m_areas; }

private:
    QList<Area> m_areas;
};
