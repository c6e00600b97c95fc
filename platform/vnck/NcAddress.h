#pragma once

#include <QList>
#include <QString>

// One variable address in the NC's notation, taken apart:
//   /NC/_N_NC_GD3_ACX/TMR_VAR[10,3]          data block, name, [first,count]
//   /Channel/Parameter/r[u1,9,#3]            area, module, name, [unit,row,#count]
//   /Tool/Compensation/edgeData[u1,c12,15]   column (tool number) before the row
//   /Nck/Configuration/nckType[1]
// Parsing checks only the notation; whether the variable exists and the
// numbers fit is the NC's to say.
class NcAddress
{
public:
    enum Area { Invalid, DataBlock, Channel, Nck, Bag, Tool };

    static bool parse(const QString& text, NcAddress& out, QString& why);

    Area area = Invalid;
    QString block;   // DataBlock: "_N_NC_GD3_ACX", upper case
    QString module;  // Channel, Nck, Bag, Tool: "State", "Configuration", ...
    QString name;    // the variable, as written
    bool hasBrackets = false;
    int unit = -1;   // u<n>, -1 when absent
    int column = -1; // c<n>, -1 when absent
    QList<int> numbers; // the plain numbers, in order
    int count = -1;  // #<n>, -1 when absent

    // The variable without its brackets, lower case: the key of its definition.
    QString key() const;
    // The address without its brackets, as written.
    QString bare() const { return m_bare; }

private:
    QString m_bare;
};
