#include "HmiScreenCommands.h"

#include "HmiCommandTable.h"
#include "SlGfwHmiDialog.h"

#include <QPointer>

void HmiScreenCommands::registerWith(HmiCommandTable& table, std::function<SlGfwHmiDialog*()> currentDialog)
{
    table.add(QStringLiteral("open"), QStringLiteral("open SCREEN [PROPERTIES]"),
              [currentDialog](const QStringList& args) {
                  if (args.isEmpty() || args.size() > 2)
                      return CtlResult::fail(QStringLiteral("usage: hmi open SCREEN [PROPERTIES]"), 2);
                  SlGfwHmiDialog* dialog = currentDialog();
                  if (!dialog)
                      return CtlResult::fail(QStringLiteral("no area is shown"));
                  const QString screen = args.first();
                  if (!dialog->screenNames().contains(screen))
                      return CtlResult::fail(QStringLiteral("area %1 has no screen %2; it has: %3")
                                                 .arg(dialog->areaName(), screen,
                                                      dialog->screenNames().join(QStringLiteral(", "))));
                  const QString properties = args.value(1);
                  QPointer<SlGfwHmiDialog> guard(dialog);
                  QMetaObject::invokeMethod(
                      dialog,
                      [guard, screen, properties] {
                          if (guard)
                              guard->execModalScreen(screen, properties);
                      },
                      Qt::QueuedConnection);
                  return CtlResult::ok();
              });
}
