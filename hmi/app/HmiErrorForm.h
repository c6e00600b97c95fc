#pragma once

#include "SlGfwDialogForm.h"

// Stands in an area whose plug-in or configuration failed, so the operator
// sees the reason where the area's screens would be.
class HmiErrorForm : public SlGfwDialogForm
{
    Q_OBJECT
public:
    HmiErrorForm(const QString& area, const QString& error, QWidget* parent = nullptr,
                 const QString& name = QString());
};
