#pragma once

#include <functional>

class HmiCommandTable;
class SlGfwHmiDialog;

// The `hmi` verb that opens a screen of the area in front the way one of its
// forms does, for screens no soft key leads to:
//   open SCREEN [PROPERTIES]   runs SCREEN modally with the property string,
//                              as SlGfwHmiDialog::execModalScreen
// The screen opens right after the answer, since its event loop must serve
// the next commands; the form's modal result goes back to nobody.
class HmiScreenCommands
{
public:
    static void registerWith(HmiCommandTable& table, std::function<SlGfwHmiDialog*()> currentDialog);
};
