#pragma once

#include "SlGfwBaseForm.h"

#include <QPointer>
#include <QVector>

class SlGfwHmiDialog;

// A form on a screen of a dialog. The platform calls the hooks: properties
// from the opener's property string are written before attachedToScreen,
// detachedFromScreen when the screen is left, onFunction for each soft key
// pressed. The caption bar above and the status bar below the form belong
// to the screen's frame; the form only says what they show.
class SlGfwDialogForm : public SlGfwBaseForm
{
    Q_OBJECT
public:
    explicit SlGfwDialogForm(QWidget* parent = nullptr, const QString& name = QString(),
                             Qt::WindowFlags flags = Qt::WindowFlags());
    ~SlGfwDialogForm() override;

    SlGfwHmiDialog* dialog() const;
    QString attachedScreen() const { return m_attachedScreen; }

    virtual void attachedToScreen(const QString& screen);
    virtual void detachedFromScreen(const QString& screen);
    virtual void onFunction(const QString& name, const QString& args, bool& handled);

    // With it on, the arrow keys move the focus to the next widget in that
    // direction; forms with editors of their own switch it off.
    void setGeometricNavigationEnabled(bool enabled) { m_geometricNavigation = enabled; }
    bool isGeometricNavigationEnabled() const { return m_geometricNavigation; }

    void setCaptionBarElementCount(int count);
    void setCaptionBarVisible(bool visible);
    void setCaptionBarElementAlignment(Qt::Alignment alignment, int index);
    void setCaptionBarElementAlignment(int alignment, int index);
    void setCaptionBarElementText(const QString& text, int index = 0);
    int captionBarElementCount() const { return m_caption.texts.size(); }
    bool isCaptionBarVisible() const { return m_caption.visible; }
    Qt::Alignment captionBarElementAlignment(int index) const;
    QString captionBarElementText(int index = 0) const;

    void setStatusBarElementCount(int count);
    void setStatusBarVisible(bool visible);
    void setStatusBarElementAlignment(Qt::Alignment alignment, int index);
    void setStatusBarElementAlignment(int alignment, int index);
    void setStatusBarElementText(const QString& text, int index = 0);
    int statusBarElementCount() const { return m_status.texts.size(); }
    bool isStatusBarVisible() const { return m_status.visible; }
    Qt::Alignment statusBarElementAlignment(int index) const;
    QString statusBarElementText(int index = 0) const;

signals:
    void captionBarChanged();
    void statusBarChanged();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    friend class SlGfwHmiDialog;
    void setDialog(SlGfwHmiDialog* dialog);

    struct Bar
    {
        bool visible = true;
        QVector<QString> texts;
        QVector<Qt::Alignment> alignments;
    };
    static void resize(Bar& bar, int count);

    QPointer<SlGfwHmiDialog> m_dialog;
    QString m_attachedScreen;
    bool m_geometricNavigation = true;
    Bar m_caption;
    Bar m_status;
};
