#pragma once

#include <QString>

#include <functional>
#include <memory>

class QSocketNotifier;

// Ctrl-C and SIGTERM as a Cancel button for a command that runs an event
// loop: a signal handler may only write(2), so it writes a byte to a pipe and
// the loop reads it and calls `cancel`. The default handlers come back when
// this goes. One at a time per process.
class SignalCancel {
public:
    explicit SignalCancel(std::function<void()> cancel);
    ~SignalCancel();
    SignalCancel(const SignalCancel &) = delete;
    SignalCancel &operator=(const SignalCancel &) = delete;

    // False when the pipe could not be made (errno says why); signals then end the process.
    bool ok() const { return m_notifier != nullptr; }

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};

// A status line on standard error: redrawn in place on a terminal, and on a
// file or pipe written only when the caller says the line is worth keeping.
class StatusLine {
public:
    StatusLine();
    bool onTerminal() const { return m_terminal; }
    // Redraws the line on a terminal; elsewhere writes it when `keep`.
    void show(const QString &line, bool keep);
    // Clears a redrawn line so what follows starts on a clean one.
    void finish();

private:
    bool m_terminal;
    qsizetype m_width = 0;
};
