#pragma once

#include <QMetaType>
#include <QString>

// One target of a log export on a drive.
struct UsbStick
{
    QString path;        // the target folder as the file service knows it
    QString displayPath; // the drive's name, "/" and the rest, for the texts
};

Q_DECLARE_METATYPE(UsbStick)
