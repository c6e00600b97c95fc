#include "SlGfwDialogForm.h"

#include "SlGfwHmiDialog.h"

#include <QKeyEvent>

SlGfwDialogForm::SlGfwDialogForm(QWidget* parent, const QString& name, Qt::WindowFlags flags)
    : SlGfwBaseForm(parent, name, flags)
{
    resize(m_caption, 1);
    resize(m_status, 1);
    m_status.visible = false;
}

SlGfwDialogForm::~SlGfwDialogForm() = default;

SlGfwHmiDialog* SlGfwDialogForm::dialog() const
{
    return m_dialog.data();
}

void SlGfwDialogForm::setDialog(SlGfwHmiDialog* dialog)
{
    m_dialog = dialog;
}

void SlGfwDialogForm::attachedToScreen(const QString& screen)
{
    m_attachedScreen = screen;
}

void SlGfwDialogForm::detachedFromScreen(const QString& screen)
{
    if (m_attachedScreen == screen)
        m_attachedScreen.clear();
}

void SlGfwDialogForm::onFunction(const QString& name, const QString& args, bool& handled) {}

void SlGfwDialogForm::resize(Bar& bar, int count)
{
    count = qMax(0, count);
    bar.texts.resize(count);
    const int old = bar.alignments.size();
    bar.alignments.resize(count);
    for (int i = old; i < count; ++i)
        bar.alignments[i] = Qt::AlignLeft | Qt::AlignVCenter;
}

void SlGfwDialogForm::setCaptionBarElementCount(int count)
{
    resize(m_caption, count);
    emit captionBarChanged();
}

void SlGfwDialogForm::setCaptionBarVisible(bool visible)
{
    m_caption.visible = visible;
    emit captionBarChanged();
}

void SlGfwDialogForm::setCaptionBarElementAlignment(Qt::Alignment alignment, int index)
{
    if (index < 0 || index >= m_caption.alignments.size())
        return;
    m_caption.alignments[index] = alignment;
    emit captionBarChanged();
}

void SlGfwDialogForm::setCaptionBarElementAlignment(int alignment, int index)
{
    setCaptionBarElementAlignment(Qt::Alignment(alignment), index);
}

void SlGfwDialogForm::setCaptionBarElementText(const QString& text, int index)
{
    // A text for an element beyond the count is kept: the form meant it to
    // be seen, and a silent drop would hide the mistake on screen.
    if (index < 0)
        return;
    if (index >= m_caption.texts.size())
        resize(m_caption, index + 1);
    m_caption.texts[index] = text;
    emit captionBarChanged();
}

Qt::Alignment SlGfwDialogForm::captionBarElementAlignment(int index) const
{
    return m_caption.alignments.value(index, Qt::AlignLeft | Qt::AlignVCenter);
}

QString SlGfwDialogForm::captionBarElementText(int index) const
{
    return m_caption.texts.value(index);
}

void SlGfwDialogForm::setStatusBarElementCount(int count)
{
    resize(m_status, count);
    emit statusBarChanged();
}

void SlGfwDialogForm::setStatusBarVisible(bool visible)
{
    m_status.visible = visible;
    emit statusBarChanged();
}

void SlGfwDialogForm::setStatusBarElementAlignment(Qt::Alignment alignment, int index)
{
    if (index < 0 || index >= m_status.alignments.size())
        return;
    m_status.alignments[index] = alignment;
    emit statusBarChanged();
}

void SlGfwDialogForm::setStatusBarElementAlignment(int alignment, int index)
{
    setStatusBarElementAlignment(Qt::Alignment(alignment), index);
}

void SlGfwDialogForm::setStatusBarElementText(const QString& text, int index)
{
    if (index < 0)
        return;
    if (index >= m_status.texts.size())
        resize(m_status, index + 1);
    m_status.texts[index] = text;
    emit statusBarChanged();
}

Qt::Alignment SlGfwDialogForm::statusBarElementAlignment(int index) const
{
    return m_status.alignments.value(index, Qt::AlignLeft | Qt::AlignVCenter);
}

QString SlGfwDialogForm::statusBarElementText(int index) const
{
    return m_status.texts.value(index);
}

void SlGfwDialogForm::keyPressEvent(QKeyEvent* event)
{
    if (m_geometricNavigation && event->modifiers() == Qt::NoModifier) {
        if (event->key() == Qt::Key_Down || event->key() == Qt::Key_Right) {
            focusNextChild();
            return;
        }
        if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Left) {
            focusPreviousChild();
            return;
        }
    }
    SlGfwBaseForm::keyPressEvent(event);
}
