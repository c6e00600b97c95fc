#pragma once

#include <QString>

class SlGfwDialogForm;
class SlGfwHmiDialog;

// What a dialog needs from the operator interface that runs it: forms made
// by class name (the plug-in that owns the area makes them) and the switch
// between areas. harvel-hmi implements it; a dialog without a host works
// on its own screens but cannot leave its area.
class SlGfwAreaHost
{
public:
    virtual ~SlGfwAreaHost() = default;

    virtual SlGfwDialogForm* createDialogForm(SlGfwHmiDialog* dialog, const QString& className,
                                              const QString& formName, QString& error) = 0;
    virtual bool switchToArea(SlGfwHmiDialog* caller, const QString& area, const QString& dialog,
                              const QString& screen, bool flag) = 0;
};
