#pragma once

#include "SlPmLogicalDrive.h"

#include <QList>
#include <QStringList>

class SlPmHelper
{
public:
    // The logical drives of the control: the network shares and the USB
    // ports. The caller owns and deletes each object. 0 on success.
    static long createLogicalDriveData(QList<SlPmLogicalDrive*>& drives, QStringList& names);
};
