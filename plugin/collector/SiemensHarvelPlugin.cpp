#include "SiemensHarvelPlugin.h"

#include "SiemensHarvel.h"
#include "SiemensHarvelFormFileBrowser.h"
#include "SiemensHarvelFormFindSphereCenter.h"
#include "SiemensHarvelFormIMSG.h"
#include "SiemensHarvelFormLog.h"
#include "SiemensHarvelFormLogExport.h"
#include "SiemensHarvelFormMessage.h"
#include "SiemensHarvelFormReport.h"
#include "SiemensHarvelFormSettings.h"
#include "SiemensHarvelFormTest.h"
#include "SiemensHarvelFormUGUD.h"
#include "SiemensHarvelFormWofsMap.h"
#include "SlGfwDialogCreatorV2.h"
#include "SlGfwDialogFormCreatorV2.h"

namespace {
const char kVersionInfo[] = "@(#) $program_version_id:\n01.01.00.00\n";
} // namespace

const char* SL_MODULE::SL_VER_VERSION_INFO = kVersionInfo;

SiemensHarvelPlugin::SiemensHarvelPlugin() : SlGfwPluginByMakroBaseV2(QString())
{
    // The order is the HMI's order of lookup: the component first, then the
    // forms (report, test, log, log export, settings, sphere centre, file
    // browser, UGUD, work offset axes map, message, interactive message).
    registerCreator(new SlGfwDialogCreatorV2<SiemensHarvel>(QStringLiteral("SiemensHarvel")));
    registerCreator(new SlGfwDialogFormCreatorV2<SiemensHarvelFormReport>(QStringLiteral("SiemensHarvelFormReport")));
    registerCreator(new SlGfwDialogFormCreatorV2<SiemensHarvelFormTest>(QStringLiteral("SiemensHarvelFormTest")));
    registerCreator(new SlGfwDialogFormCreatorV2<SiemensHarvelFormLog>(QStringLiteral("SiemensHarvelFormLog")));
    registerCreator(
        new SlGfwDialogFormCreatorV2<SiemensHarvelFormLogExport>(QStringLiteral("SiemensHarvelFormLogExport")));
    registerCreator(
        new SlGfwDialogFormCreatorV2<SiemensHarvelFormSettings>(QStringLiteral("SiemensHarvelFormSettings")));
    registerCreator(new SlGfwDialogFormCreatorV2<SiemensHarvelFormFindSphereCenter>(
        QStringLiteral("SiemensHarvelFormFindSphereCenter")));
    registerCreator(new SlGfwDialogFormCreatorV2<SiemensHarvelFormFileBrowser>(
        QStringLiteral("SiemensHarvelFormFileBrowser")));
    registerCreator(new SlGfwDialogFormCreatorV2<SiemensHarvelFormUGUD>(QStringLiteral("SiemensHarvelFormUGUD")));
    registerCreator(
        new SlGfwDialogFormCreatorV2<SiemensHarvelFormWofsMap>(QStringLiteral("SiemensHarvelFormWofsMap")));
    registerCreator(
        new SlGfwDialogFormCreatorV2<SiemensHarvelFormMessage>(QStringLiteral("SiemensHarvelFormMessage")));
    registerCreator(new SlGfwDialogFormCreatorV2<SiemensHarvelFormIMSG>(QStringLiteral("SiemensHarvelFormIMSG")));
}

extern "C" Q_DECL_EXPORT SlGfwPlugin* sl_gfw_instantiate_plugin()
{
    return new SiemensHarvelPlugin;
}

extern "C" Q_DECL_EXPORT const char* slVerGetVersion()
{
    return kVersionInfo;
}
