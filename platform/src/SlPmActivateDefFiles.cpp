#include "SlPmActivateDefFiles.h"

#include "GudDefinitionFile.h"
#include "NcFaults.h"
#include "NcFileSystem.h"
#include "VirtualNc.h"

#include <QFileInfo>
#include <QTimer>

SlPmActivateDefFiles::SlPmActivateDefFiles(QObject* parent) : QObject(parent)
{
    qRegisterMetaType<QVector<long>>("QVector<long>");
}

SlPmActivateDefFiles::~SlPmActivateDefFiles() = default;

bool SlPmActivateDefFiles::CheckForDefinitionFiles(const QStringList& files)
{
    VirtualNc* nc = VirtualNc::current();
    if (m_busy || files.isEmpty() || !nc)
        return false;
    NcFaults::Rule fault;
    nc->faults().match(QStringLiteral("check-def"), files, fault);
    m_busy = true;
    QTimer::singleShot(fault.delayMs, this, [this, files, fault] {
        m_busy = false;
        VirtualNc* nc = VirtualNc::current();
        if (fault.outcome == NcFaults::JobOutcome::Canceled) {
            emitCanceled(fault.code);
            return;
        }
        if (fault.code != 0 || !nc) {
            emit JobCompleted({fault.code ? fault.code : long(E_UNREADABLE)}, {QStringLiteral("the check of the definition files failed")}, false);
            return;
        }
        QStringList toActivate;
        QStringList existing;
        for (const QString& f : files) {
            const NcFileSystem::Location loc = nc->fileSystem().locate(f);
            const int block = GudDefinitionFile::blockOfFile(loc.real);
            if (loc.error || loc.kind != NcFileSystem::Nc || block < 0 || !QFileInfo(loc.real).isFile())
                continue;
            toActivate << f;
            const QString name = QStringLiteral("_N_NC_GD%1_ACX").arg(block);
            const QStringList vars = nc->definedVariables(name);
            if (!vars.isEmpty())
                existing << QStringLiteral("%1: %2").arg(name, vars.join(QLatin1Char(',')));
        }
        if (fault.outcome == NcFaults::JobOutcome::EmptyList)
            toActivate.clear();
        emit JobData(toActivate, existing.join(QLatin1Char('\n')));
    });
    return true;
}

bool SlPmActivateDefFiles::ActivateDefinitionFiles(const QStringList& files, int mode)
{
    VirtualNc* nc = VirtualNc::current();
    if (m_busy || files.isEmpty() || !nc)
        return false;
    NcFaults::Rule fault;
    nc->faults().match(QStringLiteral("activate-def"), files, fault);
    m_busy = true;
    QTimer::singleShot(fault.delayMs, this, [this, files, mode, fault] {
        m_busy = false;
        VirtualNc* nc = VirtualNc::current();
        if (fault.outcome == NcFaults::JobOutcome::Canceled) {
            emitCanceled(fault.code);
            return;
        }
        if (fault.code != 0 || !nc) {
            emit JobCompleted({fault.code ? fault.code : long(E_UNREADABLE)}, {QStringLiteral("the activation could not run")}, false);
            return;
        }
        QStringList texts;
        const QVector<long> codes = nc->activateDefinitions(files, mode, texts);
        emit JobCompleted(codes, texts, false);
    });
    return true;
}

void SlPmActivateDefFiles::emitCanceled(long code)
{
    // The operator's cancel of the job's query: nothing was changed.
    QVector<long> codes;
    QStringList texts;
    if (code != 0) {
        codes << code;
        texts << QStringLiteral("the job was cancelled");
    }
    emit JobCompleted(codes, texts, true);
}
