#pragma once

#include <QPointer>
#include <QWidget>

class QLabel;
class QVBoxLayout;
class SlGfwDialogForm;
class SlGfwElementBar;

// What the operator sees of a screen between the header and the
// horizontal soft keys: the caption bar, the form, the status bar.
class SlGfwScreenFrame : public QWidget
{
    Q_OBJECT
public:
    explicit SlGfwScreenFrame(const QString& screen, QWidget* parent = nullptr);

    void setForm(SlGfwDialogForm* form);
    SlGfwDialogForm* form() const { return m_form.data(); }
    // Shown instead of a form that could not be made.
    void setError(const QString& text);

private:
    void updateCaption();
    void updateStatus();

    QVBoxLayout* m_layout;
    SlGfwElementBar* m_caption;
    SlGfwElementBar* m_status;
    QLabel* m_error = nullptr;
    QPointer<SlGfwDialogForm> m_form;
    QMetaObject::Connection m_captionConn;
    QMetaObject::Connection m_statusConn;
};
