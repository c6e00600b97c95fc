#include "XpdfWidget.h"

#include <poppler-qt5.h>

#include <QLabel>
#include <QResizeEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

namespace {
// Room left around a page inside the view.
constexpr int kMargin = 8;
}

XpdfWidget::XpdfWidget(const QColor& paperColor, const QColor& matteColor, bool reverseVideo, QWidget* parent)
    : QWidget(parent),
      m_paper(paperColor),
      m_matte(matteColor),
      m_reverse(reverseVideo),
      m_scroll(new QScrollArea(this)),
      m_pagesWidget(new QWidget),
      m_pagesLayout(new QVBoxLayout(m_pagesWidget))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_scroll);
    m_pagesLayout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    m_pagesLayout->setSpacing(kMargin);
    m_pagesLayout->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_scroll->setWidget(m_pagesWidget);
    m_scroll->setWidgetResizable(true);
    m_scroll->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    QPalette pal = m_scroll->palette();
    pal.setColor(QPalette::Window, m_matte);
    m_scroll->setPalette(pal);
    m_pagesWidget->setAutoFillBackground(true);
    m_pagesWidget->setPalette(pal);
}

XpdfWidget::~XpdfWidget() = default;

void XpdfWidget::init(const QString& configFileName) {}

int XpdfWidget::loadFile(const QString& fileName, const QString& password)
{
    closeFile();
    const QByteArray pw = password.toLatin1();
    std::unique_ptr<Poppler::Document> doc(Poppler::Document::load(fileName, pw, pw));
    if (!doc)
        return pdfErrOpenFile;
    if (doc->isLocked())
        return pdfErrEncrypted;
    if (doc->numPages() <= 0)
        return pdfErrDamaged;
    doc->setRenderHint(Poppler::Document::Antialiasing, true);
    doc->setRenderHint(Poppler::Document::TextAntialiasing, true);
    doc->setPaperColor(m_paper);
    m_document = std::move(doc);
    m_fileName = fileName;
    render();
    return pdfOk;
}

void XpdfWidget::closeFile()
{
    m_document.reset();
    m_fileName.clear();
    clearPages();
}

int XpdfWidget::getNumPages() const
{
    return m_document ? m_document->numPages() : 0;
}

void XpdfWidget::setZoom(double zoom)
{
    m_zoom = zoom;
    render();
}

double XpdfWidget::getZoomPercent(int page) const
{
    if (m_zoom > 0)
        return m_zoom;
    if (!m_document)
        return 100.0;
    std::unique_ptr<Poppler::Page> p(m_document->page(qBound(0, page - 1, m_document->numPages() - 1)));
    if (!p)
        return 100.0;
    const QSizeF size = p->pageSizeF();
    // The room inside the frame, with the vertical scroll bar's width always
    // taken off: the bar comes and goes with the pages drawn, and a fit
    // measured against the viewport would change with it.
    const QSize view = m_scroll->contentsRect().size();
    const double byWidth = (view.width() - 2.0 * kMargin - m_scroll->verticalScrollBar()->sizeHint().width()) / size.width();
    if (m_zoom == zoomToWidth)
        return qMax(1.0, 100.0 * byWidth);
    const double byHeight = (view.height() - 2.0 * kMargin) / size.height();
    return qMax(1.0, 100.0 * qMin(byWidth, byHeight));
}

void XpdfWidget::setContinuousMode(bool continuous)
{
    m_continuous = continuous;
    render();
}

void XpdfWidget::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    // Only the fit values depend on the view's size.
    if (m_zoom <= 0 && m_document && m_scroll->contentsRect().width() != m_renderedWidth)
        render();
}

void XpdfWidget::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    // The layout has given the view its width by now; a fit value computed
    // against the width of a hidden view would be wrong.
    if (m_renderPending || (m_zoom <= 0 && m_document && m_scroll->contentsRect().width() != m_renderedWidth))
        render();
}

void XpdfWidget::clearPages()
{
    qDeleteAll(m_pages);
    m_pages.clear();
    m_renderedZoom = 0.0;
}

void XpdfWidget::render()
{
    clearPages();
    m_renderPending = false;
    if (!m_document)
        return;
    if (!isVisible()) {
        m_renderPending = true;
        return;
    }
    m_renderedWidth = m_scroll->contentsRect().width();
    m_renderedZoom = getZoomPercent();
    const double dpi = 72.0 * m_renderedZoom / 100.0;
    const int count = m_continuous ? m_document->numPages() : 1;
    for (int i = 0; i < count; ++i) {
        std::unique_ptr<Poppler::Page> page(m_document->page(i));
        if (!page)
            continue;
        QImage image = page->renderToImage(dpi, dpi);
        if (m_reverse)
            image.invertPixels();
        auto* label = new QLabel(m_pagesWidget);
        label->setPixmap(QPixmap::fromImage(image));
        m_pagesLayout->addWidget(label);
        m_pages.append(label);
    }
    emit zoomChanged(m_renderedZoom);
}
