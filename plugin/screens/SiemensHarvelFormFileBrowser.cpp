#include "SiemensHarvelFormFileBrowser.h"

#include "FileBrowserWidget.h"
#include "MiscUtility.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwScreen.h"

#include <QGridLayout>
#include <QVariant>

namespace {
const char* const kScreenName = "screenFileBrowser";
const char* const kMenuName = "myVr";
const int kOKPosition = 8;
} // namespace

SiemensHarvelFormFileBrowser::SiemensHarvelFormFileBrowser(QWidget* parent, const QString& name,
                                                           Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags)
{
    // The tree takes the arrow keys itself.
    setGeometricNavigationEnabled(false);

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_pBrowser = new FileBrowserWidget(this);
    m_pBrowser->setObjectName(QStringLiteral("fileBrowser"));
    layout->addWidget(m_pBrowser, 0, 0);
    connect(m_pBrowser, &FileBrowserWidget::signalSelectionChanged, this,
            &SiemensHarvelFormFileBrowser::slotBrowserSelectPath);
    connect(m_pBrowser, &FileBrowserWidget::signalDriveNotify, this,
            &SiemensHarvelFormFileBrowser::slotBrowserDriveNotify);

    setCaptionBarElementCount(1);
    setCaptionBarElementAlignment(Qt::AlignCenter, 0);
    setStatusBarElementCount(1);
    setStatusBarVisible(true);
    setStatusBarElementAlignment(Qt::AlignLeft, 0);
}

SiemensHarvelFormFileBrowser::~SiemensHarvelFormFileBrowser() = default;

void SiemensHarvelFormFileBrowser::SetOKSoftKeyEnable(bool enabled)
{
    CMiscUtility::SetSoftKeyEnable(dialog(), QLatin1String(kScreenName), kOKPosition, enabled,
                                   QLatin1String(kMenuName));
}

void SiemensHarvelFormFileBrowser::attachedToScreen(const QString& screen)
{
    setCaptionBarElementText(m_caption, 0);
    setStatusBarElementText(QString(), 0);
    // Nothing is picked until the operator picks it.
    SetOKSoftKeyEnable(false);
    m_pBrowser->LoadDevices(m_isBrowseFile, QFlags<DRV_TYPE_ENUM>(m_driveTypes));
    SlGfwDialogForm::attachedToScreen(screen);
}

void SiemensHarvelFormFileBrowser::detachedFromScreen(const QString& screen)
{
    m_pBrowser->UnloadDevices();
    SlGfwDialogForm::detachedFromScreen(screen);
}

void SiemensHarvelFormFileBrowser::slotBrowserSelectPath()
{
    QString displayPath;
    bool isMounted = false;
    const QString path = m_pBrowser->GetCurrentPath(displayPath, isMounted);
    setStatusBarElementText(path, 0);
    SetOKSoftKeyEnable(!path.isEmpty());
}

void SiemensHarvelFormFileBrowser::slotBrowserDriveNotify(const QString& drvName, const QString& drvPath,
                                                          bool isMounted)
{
    setStatusBarElementText(QStringLiteral("The driver %1 is %2")
                                .arg(drvName, isMounted ? QStringLiteral("mounted") : QStringLiteral("unmounted")),
                            0);
}

void SiemensHarvelFormFileBrowser::onFunction(const QString& name, const QString& args, bool& handled)
{
    SlGfwHmiDialog* hmiDialog = dialog();
    SlGfwScreen* screen = hmiDialog ? hmiDialog->screenRef(hmiDialog->activeScreen()) : nullptr;
    if (screen) {
        // Every key leaves the screen; only OK takes the path along.
        QString path;
        if (name == QLatin1String("doOK")) {
            QString displayPath;
            bool isMounted = false;
            path = m_pBrowser->GetCurrentPath(displayPath, isMounted);
        }
        screen->setModalResult(QVariant(path));
        hmiDialog->switchToScreen(m_backScreen, QString());
        handled = true;
    }
    if (!handled)
        SlGfwDialogForm::onFunction(name, args, handled);
}
