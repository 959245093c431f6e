#include "consoleline.h"

#include "commandline.h"

#include <QSocketNotifier>

#include <csignal>
#include <unistd.h>

namespace {

int g_signalPipe[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(g_signalPipe[1], &byte, 1);
}

} // namespace

SignalCancel::SignalCancel(std::function<void()> cancel)
{
    if (::pipe(g_signalPipe) != 0) {
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(g_signalPipe[0], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [cancel = std::move(cancel)] {
                         char byte = 0;
                         [[maybe_unused]] const ssize_t got = ::read(g_signalPipe[0], &byte, 1);
                         cancel();
                     });
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
}

SignalCancel::~SignalCancel()
{
    if (!m_notifier) {
        return;
    }
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    m_notifier.reset();
    ::close(g_signalPipe[0]);
    ::close(g_signalPipe[1]);
    g_signalPipe[0] = g_signalPipe[1] = -1;
}

StatusLine::StatusLine() : m_terminal(::isatty(2) == 1) {}

void StatusLine::show(const QString &line, bool keep)
{
    if (m_terminal) {
        CommandContext::writeErrRaw(QStringLiteral("\r") + line.leftJustified(m_width));
        m_width = qMax(m_width, line.size());
    } else if (keep) {
        CommandContext::writeErr(line);
    }
}

void StatusLine::finish()
{
    if (m_terminal && m_width > 0) {
        CommandContext::writeErrRaw(QStringLiteral("\r") + QString(m_width, QLatin1Char(' ')) + QStringLiteral("\r"));
    }
}
