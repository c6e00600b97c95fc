#pragma once

#include "SlGfwDialogForm.h"

#include <QVariant>

// A form shown modally. "openNested" runs the second modal screen on top
// of it; any other key leaves it with a result naming the key and its depth.
class TestModalForm : public SlGfwDialogForm
{
    Q_OBJECT
    Q_PROPERTY(QString propBackScreen MEMBER m_backScreen)
    Q_PROPERTY(int propDepth MEMBER m_depth)
public:
    using SlGfwDialogForm::SlGfwDialogForm;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    QVariant nestedResult;

private:
    QString m_backScreen;
    int m_depth = 0;
};
