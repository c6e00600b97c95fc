#pragma once

#include "UsbStick.h"

#include <QList>
#include <QMetaType>
#include <QStringList>

// What the operator chose on the export screen. It travels back to the log
// screen as the modal result, in a QVariant.
struct LogExportInfo
{
    QStringList logFiles;      // full paths
    int exportType = 0;        // 0 USB stick, 1 net client
    QList<UsbStick> usbSticks; // type 0: one entry
    QStringList netClients;    // type 1: the clients' peer strings
};

Q_DECLARE_METATYPE(LogExportInfo)
