#include "receivecontroller.h"

#include <QLocale>

QString ReceiveState::label(Status status, AppLanguage language)
{
    switch (status) {
    case Status::idle:
        return L10n::text("Ready", language);
    case Status::connecting:
        return L10n::text("Connecting…", language);
    case Status::waiting:
        return L10n::text("Waiting for the machine…", language);
    case Status::receiving:
        return L10n::text("Receiving…", language);
    case Status::received:
        return L10n::text("Program Received", language);
    case Status::error:
        return L10n::text("Receive Error", language);
    case Status::cancelled:
        return L10n::text("Receive Cancelled", language);
    }
    return {};
}

QString ReceiveState::summary(AppLanguage language) const
{
    const qint64 seconds = elapsedMs / 1000;
    const QString time = QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
    const QString errorText = errors == 1
                                  ? L10n::text("1 error", language)
                                  : L10n::format("%@ errors", language, {QLocale(AppLanguages::localeName(language)).toString(errors)});
    return TransferState::formatByteCount(bytes, language) + QStringLiteral(", ") + errorText +
           QStringLiteral(", ") + time;
}

ReceiveController::ReceiveController(TransferController::TransportFactory factory, QObject *parent)
    : QObject(parent),
      m_factory(factory ? std::move(factory)
                        : TransferController::TransportFactory([this](const QString &path) {
                              return TransferController::makeSerialTransport(path, m_language);
                          }))
{
}

ReceiveController::~ReceiveController()
{
    // The threads post to this object: they go before it does.
    m_jobs.stopAll();
}

void ReceiveController::receive(const Request &request)
{
    if (m_state.isActive()) {
        return;
    }
    const quint64 generation = m_jobs.next();
    m_folder = request.autoReceiveFolder;
    m_devicePath = request.devicePath;
    m_startedAt = QDateTime::currentDateTime();
    ReceiveState next;
    next.status = ReceiveState::Status::connecting;
    next.machineName = request.machine.name;
    next.endpointName = TransferController::endpointName(request.devicePath);
    next.message = L10n::format("Opening %@…", m_language, {next.endpointName});
    setState(next);

    std::unique_ptr<SerialTransport> transport = m_factory(request.devicePath);
    if (!transport) {
        apply(generation, {GCodeReceiver::Event::Kind::failed, 0, 0, 0,
                           TransportError::notConnected().description(m_language), {}});
        return;
    }
    GCodeReceiver::Options options = m_options;
    options.idleTimeout = request.idleTimeout > std::chrono::milliseconds::zero()
        ? request.idleTimeout
        : std::chrono::milliseconds(std::chrono::seconds(request.machine.receiveIdleSeconds));
    options.keepListening = !m_folder.isEmpty();
    // The thread only posts to this object, whose destructor joins it first.
    auto sink = [this, generation](const GCodeReceiver::Event &event) {
        QMetaObject::invokeMethod(
            this, [this, generation, event] { apply(generation, event); }, Qt::QueuedConnection);
    };
    m_jobs.add(generation, GCodeReceiver::start(request.machine, std::move(transport), options,
                                                       m_language, std::move(sink)));
}

void ReceiveController::cancel()
{
    if (!m_state.isActive()) {
        return;
    }
    m_jobs.stopCurrent();
    ReceiveState next = m_state;
    next.status = ReceiveState::Status::cancelled;
    next.message = ReceiveState::label(next.status, m_language);
    setState(next);
}

void ReceiveController::apply(quint64 generation, const GCodeReceiver::Event &event)
{
    using Kind = GCodeReceiver::Event::Kind;
    using Status = ReceiveState::Status;
    if (!m_jobs.accept(generation, event.isFinal())) {
        return;
    }
    ReceiveState next = m_state;
    switch (event.kind) {
    case Kind::waiting:
        next.status = Status::waiting;
        next.message = ReceiveState::label(Status::waiting, m_language);
        break;
    case Kind::receiving:
        next.status = Status::receiving;
        next.bytes = event.bytes;
        next.errors = event.errors;
        next.elapsedMs = event.elapsedMs;
        next.message = ReceiveState::label(Status::receiving, m_language);
        break;
    case Kind::program: {
        QString savedPath;
        next.bytes = event.bytes;
        next.errors = event.errors;
        next.elapsedMs = event.elapsedMs;
        if (!m_folder.isEmpty()) {
            QString problem;
            const QString path = event.program->saveInto(m_folder, m_language, &problem);
            savedPath = path;
            if (path.isEmpty()) {
                // Keep listening: the program still goes to the window with the signal.
                next.message = L10n::format("Could not save the received program: %@", m_language, {problem});
            } else {
                ++next.programsSaved;
                next.lastSavedPath = path;
                next.message = L10n::format("Saved %@", m_language, {path});
            }
        } else {
            next.status = Status::received;
            next.message = ReceiveState::label(Status::received, m_language);
        }
        setState(next);
        log(next, savedPath.isEmpty() ? event.program->documentName(m_language) : savedPath);
        emit programReceived(event.program, savedPath);
        return;
    }
    case Kind::failed:
        next.status = Status::error;
        next.message = event.message;
        break;
    case Kind::cancelled:
        next.status = Status::cancelled;
        next.message = ReceiveState::label(Status::cancelled, m_language);
        break;
    case Kind::finished:
        next.status = Status::received;
        break;
    }
    setState(next);
}

void ReceiveController::setState(const ReceiveState &state)
{
    if (state == m_state) {
        return;
    }
    const bool ended = m_state.isActive() && (state.status == ReceiveState::Status::error
                                              || state.status == ReceiveState::Status::cancelled);
    m_state = state;
    if (ended) {
        log(m_state, {});
    }
    emit stateChanged(m_state);
}

void ReceiveController::log(const ReceiveState &state, const QString &file)
{
    TransferLogEntry entry;
    entry.time = m_startedAt;
    entry.direction = TransferLogEntry::Direction::receive;
    entry.machine = state.machineName;
    entry.port = m_devicePath;
    entry.file = file;
    entry.bytes = state.bytes;
    entry.result = state.status == ReceiveState::Status::error       ? QStringLiteral("error")
        : state.status == ReceiveState::Status::cancelled            ? QStringLiteral("cancelled")
                                                                     : QStringLiteral("success");
    entry.message = state.status == ReceiveState::Status::error ? state.message : QString();
    entry.durationMs = m_startedAt.msecsTo(QDateTime::currentDateTime());
    m_log.append(entry);
}
