#pragma once

#include "SlGfwPluginByMakroBaseV2.h"

// The test plug-in: the dialog "TestAreaDialog" and its forms.
class TestPlugin : public SlGfwPluginByMakroBaseV2
{
public:
    TestPlugin();
};
