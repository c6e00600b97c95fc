#include "SiemensHarvelFormReport.h"

#include "MiscUtility.h"
#include "XpdfWidget.h"

#include <QColor>
#include <QGridLayout>

namespace {
const char* const kScreenName = "screenReport";
const char* const kMenuName = "myVr";
const double kZoomStepUp = 1.15;
const double kZoomStepDown = 0.85;
// In percent. A step is not clamped, so the last one may pass a limit once.
const double kZoomUpperLimit = 500.0;
const double kZoomLowerLimit = 20.0;
// The viewer's own zoom value for fitting the page width into the view.
const double kZoomFitWidth = -2.0;
} // namespace

SiemensHarvelFormReport::SiemensHarvelFormReport(QWidget* parent, const QString& name, Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags)
{
    setGeometricNavigationEnabled(false);

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_pViewer = new XpdfWidget(QColor(255, 255, 255, 255), QColor(128, 128, 128, 255), false, nullptr);
    m_pViewer->setObjectName(QStringLiteral("viewer"));
    m_pViewer->setAccessibleName(QStringLiteral("Report"));
    layout->addWidget(m_pViewer, 0, 0);
    m_pViewer->init(QString());
    m_pViewer->setZoom(kZoomFitWidth);
    m_pViewer->setContinuousMode(true);
    m_pViewer->enableHyperlinks(false);
    m_pViewer->enableSelect(false);
    m_pViewer->enablePan(false);
    // The fit values resolve against the view's width, which a hidden view
    // does not have: the keys follow the zoom the viewer finally draws at.
    connect(m_pViewer, &XpdfWidget::zoomChanged, this, [this] { SetSoftKeyEnable(); });

    setCaptionBarElementCount(2);
    setCaptionBarVisible(true);
    setCaptionBarElementAlignment(Qt::AlignLeft, 0);
    setCaptionBarElementAlignment(Qt::AlignRight, 1);
    SetCaptionBarText(QString());
    setStatusBarElementCount(1);
    setStatusBarElementAlignment(Qt::AlignLeft, 0);
    setStatusBarVisible(true);
}

SiemensHarvelFormReport::~SiemensHarvelFormReport() = default;

void SiemensHarvelFormReport::attachedToScreen(const QString& screen)
{
    SetSoftKeyEnable();
    SlGfwDialogForm::attachedToScreen(screen);
}

void SiemensHarvelFormReport::OpenReportFile(const QString& path)
{
    if (!m_pViewer)
        return;
    // A document that does not load shows as none: the keys follow the
    // viewer's file name, and the transfer has written its own words.
    m_pViewer->loadFile(path, QString());
    SetSoftKeyEnable();
    SetCaptionBarText(path);
}

void SiemensHarvelFormReport::CloseReportFile(const QString& path)
{
    if (!m_pViewer)
        return;
    if (!path.isEmpty() && path.compare(m_pViewer->getFileName(), Qt::CaseInsensitive) != 0)
        return;
    m_pViewer->closeFile();
    SetSoftKeyEnable();
    SetCaptionBarText(QString());
}

void SiemensHarvelFormReport::SetStatusBarText(const QString& text)
{
    setStatusBarElementText(text, 0);
}

void SiemensHarvelFormReport::SetCaptionBarText(const QString& path)
{
    if (path.isEmpty()) {
        setCaptionBarElementText(QStringLiteral("NC Harvel - Report"), 0);
        setCaptionBarElementText(QString(), 1);
        return;
    }
    // The time of the loading, not of the file.
    setCaptionBarElementText(CMiscUtility::GetFileNameNoSuffix(path, '.'), 0);
    setCaptionBarElementText(CMiscUtility::NowTimestamp(QStringLiteral("MM/dd/yyyy hh:mm:ss")), 1);
}

void SiemensHarvelFormReport::SetSoftKeyEnable()
{
    const bool isOpen = m_pViewer && !m_pViewer->getFileName().isEmpty();
    const double zoom = isOpen ? m_pViewer->getZoomPercent() : 0.0;
    SlGfwHmiDialog* hmiDialog = dialog();
    const QString screen = QLatin1String(kScreenName);
    const QString menu = QLatin1String(kMenuName);
    CMiscUtility::SetSoftKeyEnable(hmiDialog, screen, 1, isOpen && zoom <= kZoomUpperLimit, menu);
    CMiscUtility::SetSoftKeyEnable(hmiDialog, screen, 2, isOpen && zoom >= kZoomLowerLimit, menu);
    CMiscUtility::SetSoftKeyEnable(hmiDialog, screen, 3, isOpen, menu);
}

void SiemensHarvelFormReport::onFunction(const QString& name, const QString& args, bool& handled)
{
    const bool zoomIn = name == QLatin1String("zoomIn");
    const bool zoomOut = name == QLatin1String("zoomOut");
    const bool reset = name == QLatin1String("resetSize");
    if (zoomIn || zoomOut || reset) {
        if (m_pViewer) {
            if (zoomIn)
                m_pViewer->setZoom(m_pViewer->getZoomPercent() * kZoomStepUp);
            else if (zoomOut)
                m_pViewer->setZoom(m_pViewer->getZoomPercent() * kZoomStepDown);
            else
                m_pViewer->setZoom(kZoomFitWidth);
            SetSoftKeyEnable();
        }
        handled = true;
    }
    if (!handled)
        SlGfwDialogForm::onFunction(name, args, handled);
}
