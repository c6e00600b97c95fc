#include "SlGfwScreenFrame.h"

#include "SlGfwDialogForm.h"
#include "SlGfwElementBar.h"

#include <QLabel>
#include <QVBoxLayout>

SlGfwScreenFrame::SlGfwScreenFrame(const QString& screen, QWidget* parent)
    : QWidget(parent),
      m_layout(new QVBoxLayout(this)),
      m_caption(new SlGfwElementBar(QStringLiteral("captionBar"), this)),
      m_status(new SlGfwElementBar(QStringLiteral("statusBar"), this))
{
    setObjectName(QStringLiteral("frame_%1").arg(screen));
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    m_layout->addWidget(m_caption);
    m_layout->addStretch(1);
    m_layout->addWidget(m_status);
    m_status->hide();
}

void SlGfwScreenFrame::setForm(SlGfwDialogForm* form)
{
    if (m_form == form && (!form || form->parentWidget() == this))
        return;
    if (m_form && m_form->parentWidget() == this) {
        disconnect(m_captionConn);
        disconnect(m_statusConn);
        m_layout->removeWidget(m_form);
    }
    m_form = form;
    if (!form)
        return;
    if (m_error)
        m_error->hide();
    // Replace the stretch that holds the form's place.
    if (QLayoutItem* item = m_layout->itemAt(1); item && item->spacerItem())
        delete m_layout->takeAt(1);
    form->setParent(this);
    m_layout->insertWidget(1, form, 1);
    form->show();
    m_captionConn = connect(form, &SlGfwDialogForm::captionBarChanged, this, &SlGfwScreenFrame::updateCaption);
    m_statusConn = connect(form, &SlGfwDialogForm::statusBarChanged, this, &SlGfwScreenFrame::updateStatus);
    updateCaption();
    updateStatus();
}

void SlGfwScreenFrame::setError(const QString& text)
{
    if (!m_error) {
        m_error = new QLabel(this);
        m_error->setObjectName(QStringLiteral("formError"));
        m_error->setWordWrap(true);
        m_error->setAlignment(Qt::AlignCenter);
        m_error->setTextFormat(Qt::PlainText);
        m_layout->insertWidget(1, m_error, 1);
    }
    m_error->setText(text);
    m_error->show();
}

void SlGfwScreenFrame::updateCaption()
{
    if (!m_form)
        return;
    QVector<QString> texts;
    QVector<Qt::Alignment> alignments;
    for (int i = 0; i < m_form->captionBarElementCount(); ++i) {
        texts << m_form->captionBarElementText(i);
        alignments << m_form->captionBarElementAlignment(i);
    }
    m_caption->setElements(texts, alignments);
    m_caption->setVisible(m_form->isCaptionBarVisible());
}

void SlGfwScreenFrame::updateStatus()
{
    if (!m_form)
        return;
    QVector<QString> texts;
    QVector<Qt::Alignment> alignments;
    for (int i = 0; i < m_form->statusBarElementCount(); ++i) {
        texts << m_form->statusBarElementText(i);
        alignments << m_form->statusBarElementAlignment(i);
    }
    m_status->setElements(texts, alignments);
    m_status->setVisible(m_form->isStatusBarVisible());
}
