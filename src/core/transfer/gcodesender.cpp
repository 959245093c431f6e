#include "gcodesender.h"

#include "transfer/wireformat.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>

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

// How long `bytes` characters take on the line with the profile's framing.
std::chrono::milliseconds wireTime(qsizetype bytes, const Machine &machine)
{
    const qint64 bitsPerCharacter =
        1 + machine.dataBits + (machine.parity == Machine::Parity::none ? 0 : 1) + machine.stopBits;
    const qint64 baud = std::max<qint64>(machine.baudRate, 1);
    return std::chrono::milliseconds((bytes * bitsPerCharacter * 1000 + baud - 1) / baud);
}

// Sleeps, but wakes at once on a stop request; true when it was stopped.
bool pause(std::chrono::milliseconds duration, std::stop_token stop)
{
    std::mutex mutex;
    std::condition_variable_any woken;
    std::unique_lock lock(mutex);
    return woken.wait_for(lock, stop, duration, [] { return false; }) || stop.stop_requested();
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
        if (machine.waitForXon) {
            sink(TransferEvent::waiting(L10n::text("Waiting for XON from the machine…", language)));
            if (const auto error = transport.waitForXon(machine.lineSettings())) {
                return end(*error);
            }
        }
        sink(TransferEvent::started(payload.size()));

        // A line delay gives a control without flow control time for each
        // block: the chunks end at block ends, and after each one the sender
        // waits for the line to carry it (the driver would otherwise absorb
        // the pause) plus the delay. The block end's last byte marks the end;
        // one inside a comment only adds a pause.
        const std::chrono::milliseconds lineDelay(machine.lineDelayMs);
        const QByteArray blockEnd = WireFormat::blockEnd(machine);
        const char blockEndByte = blockEnd.isEmpty() ? '\n' : blockEnd.back();
        qsizetype offset = 0;
        while (offset < payload.size()) {
            if (stop.stop_requested()) {
                return end(TransportError::cancelled());
            }
            qsizetype length = std::min(chunkSize, payload.size() - offset);
            bool endsBlock = false;
            if (lineDelay.count() > 0) {
                const qsizetype next = payload.indexOf(blockEndByte, offset);
                if (next >= 0 && next < offset + length) {
                    length = next + 1 - offset;
                    endsBlock = true;
                }
            }
            if (const auto error = transport.write(payload.sliced(offset, length))) {
                return end(*error);
            }
            offset += length;
            sink(TransferEvent::progress(offset));
            if (endsBlock && pause(wireTime(length, machine) + lineDelay, stop)) {
                return end(TransportError::cancelled());
            }
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
