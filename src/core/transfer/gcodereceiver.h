#pragma once

#include "machines/machine.h"
#include "transfer/receivedprogram.h"
#include "transport/serialtransport.h"
#include "base/l10n.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <thread>

// Tells where a program ends in the bytes received so far, by the first rule
// that applies:
//   1. it began with a "%" line: at the next line that starts with "%";
//   2. else once a block with M30 or M02 has been followed by a quiet time;
//   3. else once the line has been idle for the idle time-out.
// The first two are decided here from the bytes; the receiver adds the clock.
//
// What comes before the first program character (NUL leader, line breaks,
// DC1–DC4, spaces) is leader, not program. Scanning is incremental: each byte
// is looked at once, however the bytes were chunked.
class ProgramFramer {
public:
    // Looks at the bytes of `buffer` not seen yet (the buffer only grows
    // between calls, from the offset the framer was reset to).
    void scan(const QByteArray &buffer);
    // Starts again at `offset` of the buffer (after a program was taken out).
    void reset(qsizetype offset = 0);

    bool started() const { return m_start >= 0; }
    // Offset of the first program character; -1 before it arrived.
    qsizetype start() const { return m_start; }
    bool beganWithPercent() const { return m_beganWithPercent; }
    // Rule 1: the offset just past the closing "%", once it arrived.
    std::optional<qsizetype> percentEnd() const { return m_percentEnd; }
    // Rule 2: the last block with program content ends the program (M30, M02).
    bool endCodeSeen() const;

private:
    void finishLine(const QByteArray &buffer, qsizetype end);

    qsizetype m_pos = 0;
    qsizetype m_start = -1;
    bool m_beganWithPercent = false;
    std::optional<qsizetype> m_percentEnd;
    qsizetype m_lineStart = 0;
    bool m_lineHasContent = false; // a character other than a blank since the line began
    bool m_lastLineEnds = false;   // the last complete line with content had M30/M02
    bool m_partialEnds = false;    // the same for the line still arriving
};

// Receives programs from a machine over a SerialTransport, reporting what
// happens as events. Holds no state between calls.
//
// Failure contract: nothing throws; a receive reports waiting once the port
// is open and ends
// with exactly one finished, failed or cancelled event, after the transport
// was closed. No byte is ever dropped: what arrives after a program's end is
// the start of the next one (auto-receive) or, for a single program, is
// ignored only once the program is complete. A line lost in the middle of a
// program still hands over what arrived, marked `lineLost`, before failing.
class GCodeReceiver {
public:
    struct Options {
        // Rule 3, after the last character. The profile's value.
        std::chrono::milliseconds idleTimeout{std::chrono::seconds(5)};
        // Rule 2: how long the line stays quiet after M30/M02.
        std::chrono::milliseconds quietAfterEnd{std::chrono::seconds(1)};
        // Keep listening after a program (auto-receive) instead of finishing.
        bool keepListening = false;
        // The longest a single read waits; bounds how late the clocks are seen.
        std::chrono::milliseconds readSlice{std::chrono::milliseconds(50)};
        // Progress is reported at most this often.
        std::chrono::milliseconds progressInterval{std::chrono::milliseconds(100)};
    };

    struct Event {
        enum class Kind { waiting, receiving, program, failed, cancelled, finished };
        Kind kind = Kind::waiting;
        qint64 bytes = 0;     // receiving: bytes of the current program so far
        qint64 errors = 0;    // receiving: characters with errors so far
        qint64 elapsedMs = 0; // receiving: since its first byte
        QString message;      // failed
        std::shared_ptr<const ReceivedProgram> program; // program

        bool isFinal() const { return kind == Kind::failed || kind == Kind::cancelled || kind == Kind::finished; }
    };
    using EventSink = std::function<void(const Event &event)>;

    // The line settings a receive opens the port with: the profile's, with
    // damaged characters marked.
    static SerialLineSettings lineSettings(const Machine &machine);

    // Runs on the calling thread until the program (or, when keeping on
    // listening, the user's cancel) ends it. A stop request interrupts the
    // transport, so a wait for the first character ends within ~150 ms.
    static void receive(const Machine &machine, SerialTransport &transport, const Options &options,
                        AppLanguage language, std::stop_token stop, const EventSink &sink);

    // receive() on a thread of its own, which owns the transport.
    static std::jthread start(Machine machine, std::unique_ptr<SerialTransport> transport, Options options,
                              AppLanguage language, EventSink sink);
};
