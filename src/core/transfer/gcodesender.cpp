#include "gcodesender.h"

#include <algorithm>
#include <exception>

namespace {

// True when some character needs more than Latin-1 (only then is the text
// worth normalising).
bool needsNormalisation(const QString &text)
{
    for (const QChar c : text) {
        if (c.unicode() > 0xFF) {
            return true;
        }
    }
    return false;
}

} // namespace

QByteArray GCodeSender::preparePayload(const QString &content, Machine::LineTerminator terminator)
{
    // A decomposed "e" + combining accent would otherwise reach the machine as
    // "e?"; composed, it is the single Latin-1 byte the control expects.
    const QString text =
        needsNormalisation(content) ? content.normalized(QString::NormalizationForm_C) : content;
    const QByteArray lineEnd = Machine::terminatorBytes(terminator);

    QByteArray out;
    out.reserve(text.size() + text.size() / 16 + lineEnd.size());
    const QChar *data = text.constData();
    const qsizetype size = text.size();
    bool lineHasText = false;
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t c = data[i].unicode();
        if (c == u'\r' || c == u'\n') {
            if (c == u'\r' && i + 1 < size && data[i + 1] == u'\n') {
                ++i;
            }
            out += lineEnd;
            lineHasText = false;
        } else if (c <= 0xFF) {
            out += static_cast<char>(c);
            lineHasText = true;
        } else {
            // One '?' per character, also for one written as a surrogate pair.
            if (QChar::isHighSurrogate(c) && i + 1 < size && data[i + 1].isLowSurrogate()) {
                ++i;
            }
            out += '?';
            lineHasText = true;
        }
    }
    // The last line needs its terminator unless the text already ended with a
    // line break, whose empty remainder is the one line dropped.
    if (lineHasText) {
        out += lineEnd;
    }
    return out;
}

void GCodeSender::send(const QByteArray &payload, const Machine &machine, SerialTransport &transport,
                       AppLanguage language, std::stop_token stop, const EventSink &sink)
{
    // The stop request may come from any thread; the transport's interruption
    // is what wakes a write or drain that the machine is holding.
    std::stop_callback interruptOnStop(stop, [&transport] { transport.interrupt(); });

    // Close first, then the one final event, so a listener that reacts to it
    // (a retry, another program) finds the port free.
    auto end = [&](const TransportError &error) {
        transport.close();
        if (error.kind == TransportError::Kind::cancelled) {
            sink(TransferEvent::cancelled());
        } else {
            sink(TransferEvent::failed(error.description(language)));
        }
    };

    sink(TransferEvent::connecting());
    try {
        if (const auto error = transport.open(machine.lineSettings())) {
            return end(*error);
        }
        // A stop that raced with the open was cleared by it; the flag still tells.
        if (stop.stop_requested()) {
            return end(TransportError::cancelled());
        }
        sink(TransferEvent::started(payload.size()));

        qsizetype offset = 0;
        while (offset < payload.size()) {
            if (stop.stop_requested()) {
                return end(TransportError::cancelled());
            }
            const qsizetype length = std::min(chunkSize, payload.size() - offset);
            if (const auto error = transport.write(payload.sliced(offset, length))) {
                return end(*error);
            }
            offset += length;
            sink(TransferEvent::progress(offset));
        }

        sink(TransferEvent::finishing(machine.dripFeed ? L10n::text("Finishing drip feed…", language)
                                                       : L10n::text("Finishing transfer…", language)));
        if (stop.stop_requested()) {
            return end(TransportError::cancelled());
        }
        if (const auto error = transport.drain(machine.dripFeed)) {
            return end(*error);
        }
    } catch (const std::exception &exception) {
        // Transports report failures as values; this only keeps a broken one
        // from taking the thread down without a final event.
        transport.close();
        sink(TransferEvent::failed(QString::fromLocal8Bit(exception.what())));
        return;
    }
    transport.close();
    sink(TransferEvent::finished());
}

std::jthread GCodeSender::start(QByteArray payload, Machine machine, std::unique_ptr<SerialTransport> transport,
                                AppLanguage language, EventSink sink)
{
    Q_ASSERT(transport);
    return std::jthread([payload = std::move(payload), machine = std::move(machine),
                         transport = std::move(transport), language,
                         sink = std::move(sink)](std::stop_token stop) {
        send(payload, machine, *transport, language, stop, sink);
    });
}
