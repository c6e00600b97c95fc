#include "SiemensHarvelFormTest.h"

#include "Logger.h"
#include "MiscUtility.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwListWidget.h"

#include <QGridLayout>
#include <QListWidgetItem>

namespace {
const char* const kScreenName = "screenTest";
// The test level's mark in a log line, shortened to a bar on the list.
const char* const kTestMark = "| TST |";
} // namespace

SiemensHarvelFormTest::SiemensHarvelFormTest(QWidget* parent, const QString& name, Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags)
{
    setGeometricNavigationEnabled(false);

    auto* layout = new QGridLayout(this);
    m_pLogList = new SlGfwListWidget(this);
    m_pLogList->setObjectName(QStringLiteral("listLog"));
    m_pLogList->setAccessibleName(QStringLiteral("Test log"));
    m_pLogList->setFont(CMiscUtility::GetMonospaceFont());
    layout->addWidget(m_pLogList, 0, 0);

    setCaptionBarElementCount(1);
    setCaptionBarElementText(QStringLiteral("NC Harvel - Test"), 0);
    setStatusBarElementCount(1);
    setStatusBarElementAlignment(Qt::AlignLeft, 0);
    setStatusBarVisible(true);
}

SiemensHarvelFormTest::~SiemensHarvelFormTest() = default;

void SiemensHarvelFormTest::attachedToScreen(const QString& screen)
{
    if (m_refreshOnAttach)
        RefreshLogList(QString());
    SlGfwDialogForm::attachedToScreen(screen);
}

void SiemensHarvelFormTest::onFunction(const QString& name, const QString& args, bool& handled)
{
    if (name == QLatin1String("doTriggerFileCollect")) {
        // The return from the query must not refill the list: the new line
        // is added to it below.
        m_refreshOnAttach = false;
        if (CMiscUtility::ShowMessageDialog(dialog(), QLatin1String(kScreenName),
                                            QStringLiteral("Do you want to set TMR_FILE to 1 for collecting TMR "
                                                           "result file?"),
                                            QStringLiteral("Query"))) {
            const QString line = DoTriggerFileCollect();
            RefreshLogList(line);
        }
        m_refreshOnAttach = true;
        handled = true;
    }
    if (!handled)
        SlGfwDialogForm::onFunction(name, args, handled);
}

QString SiemensHarvelFormTest::DoTriggerFileCollect()
{
    const int ret = SetTmrFileVarOfDialog(1);
    if (ret == 0)
        return CLogger::Test(QStringLiteral("Trigger file collect succeeded"), true);
    return CLogger::Test(
        QStringLiteral("Trigger file collect failed. ErrInfo=Cannot set TMR_FILE to 1, ErrCode=%1").arg(ret), true);
}

int SiemensHarvelFormTest::SetTmrFileVarOfDialog(int value)
{
    // By name: the component may come from another copy of the library
    // than this form.
    SlGfwHmiDialog* hmiDialog = dialog();
    int ret = -100;
    if (!hmiDialog
        || !QMetaObject::invokeMethod(hmiDialog, "SetTmrFileVar", Qt::DirectConnection, Q_RETURN_ARG(int, ret),
                                      Q_ARG(int, value)))
        return -100;
    return ret;
}

void SiemensHarvelFormTest::RefreshLogList(const QString& line)
{
    if (!m_pLogList)
        return;
    int rows = 0;
    if (!line.isEmpty()) {
        QString text = line;
        text.replace(QLatin1String(kTestMark), QLatin1String("|"));
        text.remove(QLatin1Char('\n'));
        m_pLogList->addItem(text);
        rows = m_pLogList->count();
    } else {
        ClearLogList();
        QStringList lines;
        if (CLogger::ReadLog(lines)) {
            for (QString logLine : qAsConst(lines)) {
                if (!logLine.contains(QLatin1String(kTestMark)))
                    continue;
                logLine.replace(QLatin1String(kTestMark), QLatin1String("|"));
                m_pLogList->addItem(logLine);
                ++rows;
            }
        }
    }
    setStatusBarElementText(QStringLiteral("Rows %1").arg(rows), 0);
    m_pLogList->scrollToBottom();
}

void SiemensHarvelFormTest::ClearLogList()
{
    while (m_pLogList->count() > 0)
        delete m_pLogList->takeItem(0);
}
