#pragma once

#include "SlGfwPluginByMakroBaseV2.h"

// The registry the HMI asks by class name for the area's component and its
// forms. The platform's base does the lookups; this class only registers.
class SiemensHarvelPlugin : public SlGfwPluginByMakroBaseV2
{
public:
    SiemensHarvelPlugin();
};

namespace SL_MODULE {
// The same text as slVerGetVersion, where the HMI's version display reads it.
extern Q_DECL_EXPORT const char* SL_VER_VERSION_INFO;
} // namespace SL_MODULE

extern "C" {
Q_DECL_EXPORT SlGfwPlugin* sl_gfw_instantiate_plugin();
Q_DECL_EXPORT const char* slVerGetVersion();
}
