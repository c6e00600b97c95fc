#include "TestPlugin.h"

#include "SlGfwDialogCreatorV2.h"
#include "SlGfwDialogFormCreatorV2.h"
#include "TestAreaDialog.h"
#include "TestMainForm.h"
#include "TestModalForm.h"

TestPlugin::TestPlugin()
{
    registerCreator(new SlGfwDialogCreatorV2<TestAreaDialog>(QStringLiteral("TestAreaDialog")));
    registerCreator(new SlGfwDialogFormCreatorV2<TestMainForm>(QStringLiteral("TestMainForm")));
    registerCreator(new SlGfwDialogFormCreatorV2<TestModalForm>(QStringLiteral("TestModalForm")));
}

extern "C" Q_DECL_EXPORT SlGfwPlugin* sl_gfw_instantiate_plugin()
{
    return new TestPlugin;
}

extern "C" Q_DECL_EXPORT const char* slVerGetVersion()
{
    return "@(#) $program_version_id:\n09.08.07.06\n";
}
