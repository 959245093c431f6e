#include "gcodereceiver.h"

#include <exception>

namespace {

// Leader, line breaks, blanks and tape controls: nothing a program is made of.
bool isProgramCharacter(char c)
{
    const auto u = static_cast<unsigned char>(c);
    return u > 0x20 && u != 0x7F;
}

// True when the block stops the program: an M30 or M02 word (M2, M030 too)
// outside comments.
bool hasEndCode(const char *data, qsizetype size)
{
    for (qsizetype i = 0; i < size; ++i) {
        const char c = data[i];
        if (c == '(') {
            while (i < size && data[i] != ')') {
                ++i;
            }
            continue;
        }
        if (c == ';') {
            return false;
        }
        if (c != 'M' && c != 'm') {
            continue;
        }
        qsizetype j = i + 1;
        while (j < size && (data[j] == ' ' || data[j] == '\t')) {
            ++j;
        }
        int value = 0;
        int digits = 0;
        while (j < size && data[j] >= '0' && data[j] <= '9' && digits < 6) {
            value = value * 10 + (data[j] - '0');
            ++j;
            ++digits;
        }
        // M30.1 or M2.5 is some other code.
        if (digits > 0 && (value == 30 || value == 2) && !(j < size && data[j] == '.')) {
            return true;
        }
        i = j - 1;
    }
    return false;
}

} // namespace

void ProgramFramer::reset(qsizetype offset)
{
    *this = ProgramFramer();
    m_pos = offset;
    m_lineStart = offset;
}

bool ProgramFramer::endCodeSeen() const
{
    return m_lineHasContent ? m_partialEnds : m_lastLineEnds;
}

void ProgramFramer::finishLine(const QByteArray &buffer, qsizetype end)
{
    if (m_lineHasContent) {
        m_lastLineEnds = hasEndCode(buffer.constData() + m_lineStart, end - m_lineStart);
    }
}

void ProgramFramer::scan(const QByteArray &buffer)
{
    if (m_percentEnd) {
        return;
    }
    const char *data = buffer.constData();
    const qsizetype size = buffer.size();
    qsizetype i = m_pos;
    if (m_start < 0) {
        while (i < size && !isProgramCharacter(data[i])) {
            ++i;
        }
        if (i == size) {
            m_pos = i;
            return;
        }
        m_start = i;
        m_lineStart = i;
        m_beganWithPercent = data[i] == '%';
        m_lineHasContent = true;
        ++i;
    }
    for (; i < size; ++i) {
        const char c = data[i];
        if (c == '\n' || c == '\r') {
            finishLine(buffer, i);
            m_lineStart = i + 1;
            m_lineHasContent = false;
            continue;
        }
        if (!m_lineHasContent && isProgramCharacter(c)) {
            m_lineHasContent = true;
            if (c == '%' && m_beganWithPercent) {
                m_percentEnd = i + 1;
                m_pos = i + 1;
                return;
            }
        }
    }
    m_pos = i;
    m_partialEnds = m_lineHasContent && hasEndCode(data + m_lineStart, size - m_lineStart);
}

SerialLineSettings GCodeReceiver::lineSettings(const Machine &machine)
{
    SerialLineSettings settings = machine.lineSettings();
    settings.markErrors = true;
    settings.dripFeed = false;
    return settings;
}

void GCodeReceiver::receive(const Machine &machine, SerialTransport &transport, const Options &options,
                            AppLanguage language, std::stop_token stop, const EventSink &sink)
{
    using Clock = std::chrono::steady_clock;
    using Kind = Event::Kind;
    std::stop_callback interruptOnStop(stop, [&transport] { transport.interrupt(); });

    auto end = [&](const TransportError &error) {
        transport.close();
        if (error.kind == TransportError::Kind::cancelled) {
            sink({Kind::cancelled, 0, 0, 0, {}, {}});
        } else {
            sink({Kind::failed, 0, 0, 0, error.description(language), {}});
        }
    };
    auto since = [](Clock::time_point from, Clock::time_point to) {
        return std::chrono::duration_cast<std::chrono::milliseconds>(to - from);
    };

    try {
        if (const auto error = transport.open(lineSettings(machine))) {
            return end(*error);
        }
        if (stop.stop_requested()) {
            return end(TransportError::cancelled());
        }
        // Only now is the machine heard: what it sent before the open is gone.
        sink({Kind::waiting, 0, 0, 0, {}, {}});

        ReceivedBytes rx;
        ProgramFramer framer;
        Clock::time_point firstByte;
        Clock::time_point lastByte;
        Clock::time_point lastProgress;
        bool counting = false;

        // Hands the first `cut` bytes over as one program and keeps the rest
        // for the next.
        auto takeProgram = [&](qsizetype cut, ReceivedProgram::End why, Clock::time_point now) {
            QList<qsizetype> offsets;
            QList<qsizetype> rest;
            for (const qsizetype offset : std::as_const(rx.errorOffsets)) {
                (offset < cut ? offsets : rest).append(offset < cut ? offset : offset - cut);
            }
            auto program = std::make_shared<ReceivedProgram>(
                ReceivedProgram::make(rx.bytes.left(cut), std::move(offsets), framer.start()));
            program->end = why;
            program->elapsedMs = since(firstByte, now).count();
            program->receivedAt = QDateTime::currentDateTime();
            rx.bytes = cut < rx.bytes.size() ? rx.bytes.mid(cut) : QByteArray();
            rx.errorOffsets = std::move(rest);
            framer.reset();
            framer.scan(rx.bytes);
            counting = false;
            Event event{Kind::program, program->raw.size(), program->errorOffsets.size(), program->elapsedMs, {}, {}};
            event.program = std::move(program);
            sink(event);
        };

        for (;;) {
            if (stop.stop_requested()) {
                return end(TransportError::cancelled());
            }
            const qsizetype before = rx.bytes.size();
            const auto error = transport.read(rx, options.readSlice);
            const Clock::time_point now = Clock::now();
            if (error) {
                if (error->kind != TransportError::Kind::cancelled && framer.started()) {
                    takeProgram(rx.bytes.size(), ReceivedProgram::End::lineLost, now);
                }
                return end(*error);
            }
            if (rx.bytes.size() > before) {
                lastByte = now;
                framer.scan(rx.bytes);
            }
            if (!framer.started()) {
                continue; // leader or nothing yet: no clock runs before the program
            }
            if (!counting) {
                counting = true;
                firstByte = now;
                lastProgress = Clock::time_point();
            }

            std::optional<ReceivedProgram::End> why;
            qsizetype cut = rx.bytes.size();
            if (const auto percent = framer.percentEnd()) {
                why = ReceivedProgram::End::percent;
                cut = *percent;
            } else if (!framer.beganWithPercent() && framer.endCodeSeen() &&
                       since(lastByte, now) >= options.quietAfterEnd) {
                why = ReceivedProgram::End::endCode;
            } else if (since(lastByte, now) >= options.idleTimeout) {
                why = ReceivedProgram::End::idle;
            }
            if (!why) {
                if (since(lastProgress, now) >= options.progressInterval) {
                    lastProgress = now;
                    sink({Kind::receiving, rx.bytes.size(), rx.errorOffsets.size(), since(firstByte, now).count(),
                          {}, {}});
                }
                continue;
            }
            takeProgram(cut, *why, now);
            if (!options.keepListening) {
                transport.close();
                sink({Kind::finished, 0, 0, 0, {}, {}});
                return;
            }
            sink({Kind::waiting, 0, 0, 0, {}, {}});
        }
    } catch (const std::exception &exception) {
        transport.close();
        sink({Kind::failed, 0, 0, 0, QString::fromLocal8Bit(exception.what()), {}});
    }
}

std::jthread GCodeReceiver::start(Machine machine, std::unique_ptr<SerialTransport> transport, Options options,
                                  AppLanguage language, EventSink sink)
{
    Q_ASSERT(transport);
    return std::jthread([machine = std::move(machine), transport = std::move(transport), options, language,
                         sink = std::move(sink)](std::stop_token stop) {
        receive(machine, *transport, options, language, stop, sink);
    });
}
