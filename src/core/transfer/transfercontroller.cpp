#include "transfercontroller.h"

#include "transport/networkaddress.h"
#include "transport/networkserialtransport.h"
#include "transport/posixserialtransport.h"

#include "transfer/gcodesender.h"
#include "transfer/wireformat.h"


TransferController::TransferController(TransportFactory factory, QObject *parent)
    : QObject(parent),
      m_factory(factory ? std::move(factory)
                        : TransportFactory([this](const QString &path) { return makeSerialTransport(path, m_language); }))
{
}

std::unique_ptr<SerialTransport> TransferController::makeSerialTransport(const QString &devicePath,
                                                                         AppLanguage language)
{
    // A malformed network address still goes to the network transport, whose
    // open says what is wrong with it, rather than to termios as a file name.
    if (NetworkAddress::isNetworkPort(devicePath)) {
        return std::make_unique<NetworkSerialTransport>(devicePath.trimmed(), language);
    }
    return std::make_unique<PosixSerialTransport>(devicePath);
}

TransferController::~TransferController()
{
    // The threads post to this object: they go before it does.
    m_jobs.stopAll();
}

void TransferController::setLanguage(AppLanguage language)
{
    if (language == m_language) {
        return;
    }
    m_language = language;
    emit languageChanged(language);
}

QString TransferController::endpointName(const QString &devicePath)
{
    QString path = devicePath;
    while (path.size() > 1 && path.endsWith(QLatin1Char('/'))) {
        path.chop(1);
    }
    QString name = path.size() > 1 ? path.mid(path.lastIndexOf(QLatin1Char('/')) + 1) : path;
    if (name.startsWith(QLatin1String("cu."))) {
        name.remove(0, 3);
    }
    return name;
}

void TransferController::send(const QString &content, const QString &fileName, const Machine &machine,
                              const QString &devicePath)
{
    if (m_state.isActive()) {
        return;
    }
    QByteArray payload = WireFormat::build(content, machine).bytes;
    std::unique_ptr<SerialTransport> transport = m_factory(devicePath);
    const QString endpoint = endpointName(devicePath);

    const quint64 generation = m_jobs.next();
    TransferState next;
    next.status = TransferState::Status::connecting;
    next.fileName = fileName;
    next.machineName = machine.name;
    next.endpointName = endpoint;
    next.bytesSent = 0;
    next.totalBytes = payload.size();
    next.message = L10n::format("Opening %@…", m_language, {endpoint});
    m_logPending = true;
    m_startedAt = QDateTime::currentDateTime();
    m_clock.start();
    m_devicePath = devicePath;
    setState(next);

    if (!transport) {
        apply(generation, TransferEvent::failed(TransportError::notConnected().description(m_language)));
        return;
    }

    // The sender thread sees only values and this object's address, which it
    // uses solely to post to it; the destructor joins every sender before the
    // object goes, and Qt discards calls still queued for a destroyed receiver.
    auto sink = [this, generation](const TransferEvent &event) {
        QMetaObject::invokeMethod(
            this, [this, generation, event] { apply(generation, event); }, Qt::QueuedConnection);
    };
    m_jobs.add(generation, GCodeSender::start(std::move(payload), machine, std::move(transport),
                                                     m_language, std::move(sink)));
}

void TransferController::cancel()
{
    if (!m_state.isActive()) {
        return;
    }
    m_jobs.stopCurrent();
    TransferState next = m_state;
    next.status = TransferState::Status::cancelled;
    next.message = L10n::text("Transfer Cancelled", m_language);
    setState(next);
    logIfEnded();
}

void TransferController::apply(quint64 generation, const TransferEvent &event)
{
    if (!m_jobs.accept(generation, event.isFinal())) {
        return;
    }
    using Status = TransferState::Status;
    TransferState next = m_state;
    switch (event.kind) {
    case TransferEvent::Kind::connecting:
        next.status = Status::connecting;
        break;
    case TransferEvent::Kind::started:
        next.status = Status::sending;
        next.totalBytes = event.bytes;
        next.bytesSent = 0;
        next.message.clear();
        break;
    case TransferEvent::Kind::progress:
        next.status = Status::sending;
        next.bytesSent = event.bytes;
        break;
    case TransferEvent::Kind::finishing:
        next.status = Status::finishing;
        next.message = event.message;
        break;
    case TransferEvent::Kind::failed:
        next.status = Status::error;
        next.message = event.message;
        break;
    case TransferEvent::Kind::finished:
        next.status = Status::success;
        next.bytesSent = next.totalBytes;
        next.message = L10n::text("Transfer Completed", m_language);
        break;
    case TransferEvent::Kind::cancelled:
        next.status = Status::cancelled;
        next.message = L10n::text("Transfer Cancelled", m_language);
        break;
    case TransferEvent::Kind::waiting:
        next.status = Status::connecting;
        next.message = event.message;
        break;
    }
    setState(next);
    logIfEnded();
}

void TransferController::logIfEnded()
{
    if (!m_logPending || m_state.isActive()) {
        return;
    }
    m_logPending = false;
    TransferLogEntry entry;
    entry.time = m_startedAt;
    entry.direction = TransferLogEntry::Direction::send;
    entry.machine = m_state.machineName;
    entry.port = m_devicePath;
    entry.file = m_state.fileName;
    entry.bytes = m_state.bytesSent;
    entry.result = TransferState::rawValue(m_state.status);
    entry.message = m_state.status == TransferState::Status::error ? m_state.message : QString();
    entry.durationMs = m_clock.elapsed();
    m_log.append(entry);
}

void TransferController::setState(const TransferState &state)
{
    if (state == m_state) {
        return;
    }
    m_state = state;
    emit stateChanged(m_state);
}
