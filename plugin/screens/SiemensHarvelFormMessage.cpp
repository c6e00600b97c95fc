#include "SiemensHarvelFormMessage.h"

#include "SlGfwHmiDialog.h"
#include "SlGfwLabel.h"
#include "SlGfwScreen.h"

#include <QFont>
#include <QGridLayout>

SiemensHarvelFormMessage::SiemensHarvelFormMessage(QWidget* parent, const QString& name, Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags)
{
    setGeometricNavigationEnabled(false);

    auto* layout = new QGridLayout(this);
    m_pMessageLabel = new SlGfwLabel(this);
    m_pMessageLabel->setObjectName(QStringLiteral("labelMessage"));
    m_pMessageLabel->setTextFormat(Qt::PlainText);
    m_pMessageLabel->setAlignment(Qt::AlignCenter);
    m_pMessageLabel->setWordWrap(true);
    QFont font = m_pMessageLabel->font();
    font.setPointSizeF(font.pointSizeF() * 1.35);
    m_pMessageLabel->setFont(font);
    layout->addWidget(m_pMessageLabel, 1, 0);

    setCaptionBarElementCount(1);
    setCaptionBarElementAlignment(Qt::AlignCenter, 0);
    setStatusBarVisible(false);
}

SiemensHarvelFormMessage::~SiemensHarvelFormMessage() = default;

void SiemensHarvelFormMessage::attachedToScreen(const QString& screen)
{
    setCaptionBarElementText(m_caption, 0);
    m_pMessageLabel->setText(m_message);
    SlGfwDialogForm::attachedToScreen(screen);
}

void SiemensHarvelFormMessage::onFunction(const QString& name, const QString& args, bool& handled)
{
    // Every key closes the query, so it needs no list of keys of its own;
    // only OK is a yes.
    SlGfwHmiDialog* hmiDialog = dialog();
    SlGfwScreen* screen = hmiDialog ? hmiDialog->screenRef(hmiDialog->activeScreen()) : nullptr;
    if (screen) {
        screen->setModalResult(name == QLatin1String("doOK") ? QStringLiteral("OK") : QString());
        hmiDialog->switchToScreen(m_backScreen, QString());
        handled = true;
    }
    if (!handled)
        SlGfwDialogForm::onFunction(name, args, handled);
}
