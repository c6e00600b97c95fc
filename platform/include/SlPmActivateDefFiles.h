#pragma once

#include <QObject>
#include <QStringList>
#include <QVector>

// Activation of definition files (//NC/DEF.DIR/*.DEF) on the NC, as a job:
// CheckForDefinitionFiles delivers JobData, ActivateDefinitionFiles delivers
// JobCompleted, both later on this object's thread.
class SlPmActivateDefFiles : public QObject
{
    Q_OBJECT
public:
    // Bits of the activation mode.
    enum Mode {
        MODE_KEEP_VALUES = 1,  // variables whose definition did not change keep their values
        MODE_RESET_NC = 2      // the NC is reset as after the activation key
    };

    // Codes of JobCompleted, one per error.
    static constexpr long E_FILE_NOT_FOUND = static_cast<int>(0x82014011u); // no such file on the NC
    static constexpr long E_NOT_A_DEFINITION_FILE = static_cast<int>(0x82014012u);
    static constexpr long E_SYNTAX = static_cast<int>(0x82012080u);         // a line the NC does not accept
    static constexpr long E_UNREADABLE = static_cast<int>(0x82014013u);

    explicit SlPmActivateDefFiles(QObject* parent = nullptr);
    ~SlPmActivateDefFiles() override;

    // false when a job is still running or the list is empty.
    bool CheckForDefinitionFiles(const QStringList& files);
    bool ActivateDefinitionFiles(const QStringList& files, int mode);
    bool isBusy() const { return m_busy; }

signals:
    // filesToActivate: the files that are definition files of the NC and
    // exist; gudsExistingData: the data blocks whose values would change.
    void JobData(const QStringList& filesToActivate, const QString& gudsExistingData);
    // One code and one text per error, each text naming the file and line.
    void JobCompleted(const QVector<long>& errCodes, const QStringList& errDatas, bool bCanceled);

private:
    void emitCanceled(long code);

    bool m_busy = false;
};
