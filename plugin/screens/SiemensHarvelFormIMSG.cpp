#include "SiemensHarvelFormIMSG.h"

#include "MiscUtility.h"
#include "SiemensHarvel.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwLabel.h"
#include "SlGfwScreen.h"
#include "SlGfwTextEdit.h"

#include <QFont>
#include <QFontMetrics>
#include <QGridLayout>
#include <QVariant>

namespace {
const char* const kScreenName = "screenIMSG";
const char* const kFormName = "formIMSG";
const char* const kMenuName = "myVr";

// The keys of the vertical bar from position 2 on, each with the styles
// that enable it (bit n for style n) and the code the opener gets back.
struct MsgKey
{
    int position;
    const char* action;
    unsigned int styles;
    int code;
};

const MsgKey kMsgKeys[] = {
    {2, "doAbort", 1u << 2, 3},
    {3, "doRetry", (1u << 2) | (1u << 5), 4},
    {4, "doIgnore", 1u << 2, 5},
    {5, "doYes", (1u << 3) | (1u << 4), 6},
    {6, "doNo", (1u << 3) | (1u << 4), 7},
    {7, "doCancel", (1u << 1) | (1u << 3) | (1u << 5), 2},
    {8, "doOK", (1u << 0) | (1u << 1), 1},
};
} // namespace

SiemensHarvelFormIMSG::SiemensHarvelFormIMSG(QWidget* parent, const QString& name, Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags)
{
    // The text edits take the arrow keys themselves.
    setGeometricNavigationEnabled(false);

    auto* layout = new QGridLayout(this);
    m_pMessageLabel = new SlGfwLabel(QStringLiteral("Message:"), this);
    m_pMessageLabel->setObjectName(QStringLiteral("labelMessage"));
    m_pMessageEdit = new SlGfwTextEdit(this);
    m_pMessageEdit->setObjectName(QStringLiteral("textMessage"));
    m_pMessageEdit->setReadOnly(true);
    m_pMessageEdit->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_pInputLabel = new SlGfwLabel(this);
    m_pInputLabel->setObjectName(QStringLiteral("labelInputName"));
    m_pInputLabel->setTextFormat(Qt::PlainText);
    m_pInputEdit = new SlGfwTextEdit(this);
    m_pInputEdit->setObjectName(QStringLiteral("textInput"));
    m_pInputEdit->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    // Read at arm's length on the panel: the message and the answer larger
    // than the labels, the label of the input as strong as a key.
    QFont textFont = m_pMessageEdit->font();
    textFont.setPointSizeF(textFont.pointSizeF() * 1.35);
    m_pMessageEdit->setFont(textFont);
    m_pInputEdit->setFont(textFont);
    QFont labelFont = m_pInputLabel->font();
    labelFont.setBold(true);
    m_pInputLabel->setFont(labelFont);
    // The message gets the room; the input is a value of a line or two.
    m_pInputEdit->setFixedHeight(QFontMetrics(textFont).lineSpacing() * 2 + 12);
    layout->addWidget(m_pMessageLabel, 1, 0);
    layout->addWidget(m_pMessageEdit, 2, 0);
    layout->addWidget(m_pInputLabel, 3, 0);
    layout->addWidget(m_pInputEdit, 4, 0);
    layout->setRowStretch(2, 1);

    setCaptionBarElementCount(1);
    setCaptionBarElementAlignment(Qt::AlignCenter, 0);
    setStatusBarElementCount(2);
    setStatusBarVisible(true);
    setStatusBarElementAlignment(Qt::AlignLeft, 0);
    setStatusBarElementAlignment(Qt::AlignRight, 1);
}

SiemensHarvelFormIMSG::~SiemensHarvelFormIMSG() = default;

void SiemensHarvelFormIMSG::SetFormNameOfDialog(const QString& formName)
{
    if (auto* component = qobject_cast<SiemensHarvel*>(dialog()))
        component->SetFormName(formName);
}

void SiemensHarvelFormIMSG::attachedToScreen(const QString& screen)
{
    // From here until a key is taken the area cannot be left, and the
    // component knows whose keys to set again when the bar is rebuilt.
    if (dialog())
        SetFormNameOfDialog(QLatin1String(kFormName));

    setCaptionBarElementText(m_caption, 0);
    setStatusBarElementText(QStringLiteral("ID: %1").arg(m_msgID), 0);
    setStatusBarElementText(QStringLiteral("Sender: %1").arg(m_sender), 1);
    UpdateWidgets();

    SlGfwDialogForm::attachedToScreen(screen);
}

void SiemensHarvelFormIMSG::UpdateWidgets()
{
    m_pMessageEdit->setPlainText(m_messageText);

    const bool withInput = m_msgType == 1;
    QString label = m_inputName;
    if (!label.endsWith(QLatin1Char(':')))
        label.append(QLatin1Char(':'));
    m_pInputLabel->setText(label);
    m_pInputLabel->setVisible(withInput);

    // An answer of an earlier message must not be sent with this one.
    m_pInputEdit->clear();
    m_pInputEdit->setVisible(withInput);
    if (withInput)
        m_pInputEdit->setFocus(Qt::OtherFocusReason);

    SetSoftKeyByMsgStyle();
}

void SiemensHarvelFormIMSG::SetSoftKeyByMsgStyle()
{
    // Every key is written, to on or to off, so that none of an earlier
    // message's style stays enabled.
    for (const MsgKey& key : kMsgKeys) {
        const bool enabled = m_msgStyle >= 0 && m_msgStyle < 32 && (key.styles & (1u << m_msgStyle)) != 0;
        CMiscUtility::SetSoftKeyEnable(dialog(), QLatin1String(kScreenName), key.position, enabled,
                                       QLatin1String(kMenuName));
    }
}

void SiemensHarvelFormIMSG::Withdraw()
{
    SlGfwHmiDialog* hmiDialog = dialog();
    if (!hmiDialog || hmiDialog->activeScreen() != QLatin1String("screenIMSG"))
        return;
    SetFormNameOfDialog(QString());
    hmiDialog->switchToScreen(m_backScreen, QString());
}

void SiemensHarvelFormIMSG::onFunction(const QString& name, const QString& args, bool& handled)
{
    const MsgKey* taken = nullptr;
    for (const MsgKey& key : kMsgKeys) {
        if (name == QLatin1String(key.action)) {
            taken = &key;
            break;
        }
    }
    SlGfwHmiDialog* hmiDialog = taken ? dialog() : nullptr;
    SlGfwScreen* screen = hmiDialog ? hmiDialog->screenRef(hmiDialog->activeScreen()) : nullptr;
    if (screen) {
        // The input goes back with every key, Cancel too; the opener decides
        // what it is worth.
        const QString input = m_pInputEdit ? m_pInputEdit->document()->toPlainText() : QString();
        screen->setModalResult(QVariantList{QVariant(taken->code), QVariant(input)});
        SetFormNameOfDialog(QString());
        hmiDialog->switchToScreen(m_backScreen, QString());
        handled = true;
    }
    if (!handled)
        SlGfwDialogForm::onFunction(name, args, handled);
}
