#pragma once

#include "SlGfwDialogForm.h"

#include <QString>

class SlGfwLabel;
class SlGfwTextEdit;

// The interactive message: a text from the measurement application or an NC
// program, with the keys of its style and, for type 1, an input line. The
// opener waits in execModalScreen and gets back [key code, input text].
class SiemensHarvelFormIMSG : public SlGfwDialogForm
{
    Q_OBJECT
    Q_PROPERTY(QString propCaption READ Caption WRITE SetCaption)
    Q_PROPERTY(QString propBackScreen READ BackScreen WRITE SetBackScreen)
    Q_PROPERTY(int propMsgID READ MsgID WRITE SetMsgID)
    Q_PROPERTY(int propMsgType READ MsgType WRITE SetMsgType)
    Q_PROPERTY(int propMsgStyle READ MsgStyle WRITE SetMsgStyle)
    Q_PROPERTY(QString propMessageText READ MessageText WRITE SetMessageText)
    Q_PROPERTY(QString propInputName READ InputName WRITE SetInputName)
    Q_PROPERTY(QString propSender READ Sender WRITE SetSender)
public:
    SiemensHarvelFormIMSG(QWidget* parent, const QString& name, Qt::WindowFlags flags);
    ~SiemensHarvelFormIMSG() override;

    void attachedToScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    // Enables exactly the keys of the message's style. The component calls
    // it again whenever the platform has rebuilt the vertical bar.
    void SetSoftKeyByMsgStyle();
    // Takes the message down as if the operator had closed it, but without
    // an answer: its sender no longer waits for one.
    void Withdraw();

    QString Caption() const { return m_caption; }
    void SetCaption(const QString& caption) { m_caption = caption; }
    QString BackScreen() const { return m_backScreen; }
    void SetBackScreen(const QString& backScreen) { m_backScreen = backScreen; }
    // The sender's identifier is 64 bits wide; the property is an int, so it
    // is widened with its sign and read back as its low 32 bits.
    int MsgID() const { return static_cast<int>(static_cast<quint32>(m_msgID)); }
    void SetMsgID(int msgID) { m_msgID = static_cast<quint64>(static_cast<qint64>(msgID)); }
    int MsgType() const { return m_msgType; }
    void SetMsgType(int msgType) { m_msgType = msgType; }
    int MsgStyle() const { return m_msgStyle; }
    void SetMsgStyle(int msgStyle) { m_msgStyle = msgStyle; }
    QString MessageText() const { return m_messageText; }
    void SetMessageText(const QString& messageText) { m_messageText = messageText; }
    QString InputName() const { return m_inputName; }
    void SetInputName(const QString& inputName) { m_inputName = inputName; }
    QString Sender() const { return m_sender; }
    void SetSender(const QString& sender) { m_sender = sender; }

private:
    void UpdateWidgets();
    void SetFormNameOfDialog(const QString& formName);

    SlGfwLabel* m_pMessageLabel = nullptr;
    SlGfwTextEdit* m_pMessageEdit = nullptr;
    SlGfwLabel* m_pInputLabel = nullptr;
    SlGfwTextEdit* m_pInputEdit = nullptr;

    QString m_caption;
    QString m_backScreen;
    quint64 m_msgID = 0;
    int m_msgType = 0;
    int m_msgStyle = 0;
    QString m_messageText;
    QString m_inputName;
    QString m_sender;
};
