#pragma once

#include <QColor>
#include <QWidget>

#include <memory>

class QLabel;
class QScrollArea;
class QVBoxLayout;

namespace Poppler {
class Document;
}

// A PDF view. Zoom is in percent of the page's size at 72 dpi, or one of
// the fit values: zoomToPage (-1) shows a whole page, zoomToWidth (-2)
// fits the page width into the view and follows the view's width.
class XpdfWidget : public QWidget
{
    Q_OBJECT
public:
    static constexpr double zoomToPage = -1.0;
    static constexpr double zoomToWidth = -2.0;

    // Error codes of loadFile.
    enum ErrorCode { pdfOk = 0, pdfErrOpenFile = 1, pdfErrBadCatalog = 2, pdfErrDamaged = 3, pdfErrEncrypted = 4 };

    XpdfWidget(const QColor& paperColor = Qt::white, const QColor& matteColor = Qt::gray,
               bool reverseVideo = false, QWidget* parent = nullptr);
    ~XpdfWidget() override;

    // Reads a configuration file; the viewer needs none, so any name will do.
    void init(const QString& configFileName = QString());

    int loadFile(const QString& fileName, const QString& password = QString());
    void closeFile();
    QString getFileName() const { return m_fileName; }
    bool hasOpenDocument() const { return m_document != nullptr; }
    int getNumPages() const;

    void setZoom(double zoom);
    double getZoom() const { return m_zoom; }
    // The zoom in percent as it stands, the fit values resolved against the
    // view's present width.
    double getZoomPercent(int page = 1) const;
    // The zoom in percent the pages on show were drawn at; 0 while nothing
    // is drawn. A hidden view has no real width, so it draws when shown.
    double getRenderedZoomPercent() const { return m_renderedZoom; }

    void setContinuousMode(bool continuous);
    bool getContinuousMode() const { return m_continuous; }
    void enableHyperlinks(bool on) { m_hyperlinks = on; }
    void enableSelect(bool on) { m_select = on; }
    void enablePan(bool on) { m_pan = on; }

signals:
    // The pages have been drawn at a zoom, in percent: after a change of
    // zoom or document, and for the fit values whenever the view's width
    // has changed, a hidden view's first showing included.
    void zoomChanged(double zoomPercent);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void render();
    void clearPages();

    QColor m_paper;
    QColor m_matte;
    bool m_reverse;
    std::unique_ptr<Poppler::Document> m_document;
    QString m_fileName;
    double m_zoom = 100.0;
    bool m_continuous = true;
    bool m_hyperlinks = true;
    bool m_select = true;
    bool m_pan = true;
    int m_renderedWidth = -1;
    double m_renderedZoom = 0.0;
    // Something changed while the view was hidden; drawn when it is shown.
    bool m_renderPending = false;
    QScrollArea* m_scroll;
    QWidget* m_pagesWidget;
    QVBoxLayout* m_pagesLayout;
    QList<QLabel*> m_pages;
};
