// Receiving programs from the machine: the model's part of the receive window.
#include "workspace/appmodel.h"

#include <QDir>

void AppModel::showReceive(ReceiveMode mode)
{
    emit receiveRequested(mode);
}

ReceiveController &AppModel::receiver()
{
    if (!m_receiver) {
        m_receiver = new ReceiveController(m_transportFactory, this);
        m_receiver->setLanguage(m_language);
        connect(this, &AppModel::languageChanged, m_receiver, &ReceiveController::setLanguage);
        connect(m_receiver, &ReceiveController::programReceived, this, &AppModel::receivedProgram);
    }
    return *m_receiver;
}

void AppModel::startReceive(ReceiveMode mode, const QString &autoReceiveFolder,
                            std::chrono::milliseconds idleTimeout)
{
    if (receiver().state().isActive()) {
        return;
    }
    const std::optional<Machine> machine = machineForLine();
    if (!machine) {
        return;
    }
    EditorDocument *compared = selectedDocument();
    if (mode == ReceiveMode::compare && !compared) {
        return;
    }
    m_receiveMode = mode;
    m_compareDocumentId = compared ? compared->id() : QUuid();
    m_comparison.clear();
    m_hasComparison = false;
    emit comparisonChanged();

    ReceiveController::Request request;
    request.machine = *machine;
    request.devicePath = *m_selectedPortPath;
    request.idleTimeout = idleTimeout;
    // Comparing wants the one program in hand, never files.
    request.autoReceiveFolder = mode == ReceiveMode::open ? autoReceiveFolder : QString();
    m_receiver->receive(request);
}

void AppModel::receivedProgram(const std::shared_ptr<const ReceivedProgram> &program, const QString &savedPath)
{
    if (m_receiveMode == ReceiveMode::compare) {
        EditorDocument *doc = document(m_compareDocumentId);
        if (!doc) {
            return;
        }
        m_comparison = ProgramComparison::compare(doc->text(), program->text);
        m_hasComparison = true;
        emit comparisonChanged();
        return;
    }
    // Auto-receive has written the program into its folder already; one it
    // could not write opens as a document so that it is not lost.
    if (!savedPath.isEmpty()) {
        return;
    }
    const QString name = program->documentName(m_language);
    // The document is unsaved, so its raw bytes go where unsaved work is kept.
    const QString stamp = program->receivedAt.toString(QStringLiteral("yyyyMMdd-HHmmss"));
    const QString rawPath = ReceivedProgram::freePath(m_backups.folder(), name + QLatin1Char('_') + stamp,
                                                      QStringLiteral("raw"));
    const QString problem = ReceivedProgram::writeFile(rawPath, program->raw);
    m_lastRawPath = problem.isEmpty() ? rawPath : QString();
    if (!problem.isEmpty()) {
        setAlert(L10n::text("Unable to Save", m_language),
                 L10n::format("Could not keep the received bytes in %@: %@", m_language, {rawPath, problem}));
    }

    auto *doc = new EditorDocument(this);
    doc->setText(program->text);
    doc->setSuggestedName(name);
    doc->setMarkedLines(program->errorLines);
    adopt(doc, m_documents.size());
    emit documentsChanged();
    setSelectedDocumentId(doc->id());
}
