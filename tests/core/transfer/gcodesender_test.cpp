#include "faketransport.h"

#include "programgenerator.h"
#include "transfer/gcodesender.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

QByteArray payloadOf(const QString &text, Machine::LineTerminator terminator)
{
    return GCodeSender::preparePayload(text, terminator);
}

// ---- payload ---------------------------------------------------------------

TEST(PreparePayload, EveryLineEndBecomesTheTerminatorAndTheLastLineGetsOne)
{
    EXPECT_EQ(payloadOf("G0 X1\r\nG1 Y2\rM30", Machine::LineTerminator::crlf), "G0 X1\r\nG1 Y2\r\nM30\r\n");
    EXPECT_EQ(payloadOf("G0 X1\r\nG1 Y2\rM30", Machine::LineTerminator::lf), "G0 X1\nG1 Y2\nM30\n");
    EXPECT_EQ(payloadOf("G0 X1\nG1 Y2\n", Machine::LineTerminator::cr), "G0 X1\rG1 Y2\r");
    // "\n\r" is two line ends, not one.
    EXPECT_EQ(payloadOf("A\n\rB", Machine::LineTerminator::lf), "A\n\nB\n");
    EXPECT_EQ(payloadOf("M30", Machine::LineTerminator::crlf), "M30\r\n");
}

TEST(PreparePayload, TapeMarksBlankLinesAndSpacesStayAsTheyStand)
{
    EXPECT_EQ(payloadOf("%\nO1000\n\nM30\n%\n", Machine::LineTerminator::cr), "%\rO1000\r\rM30\r%\r");
    EXPECT_EQ(payloadOf("  (SETUP ; X0 Y0)  \n\tG0  X1 \n", Machine::LineTerminator::lf),
              "  (SETUP ; X0 Y0)  \n\tG0  X1 \n");
}

TEST(PreparePayload, OnlyOneTrailingEmptyLineIsDropped)
{
    EXPECT_EQ(payloadOf("M30\n\n", Machine::LineTerminator::cr), "M30\r\r");
    EXPECT_EQ(payloadOf("M30\r\n\r\n\r\n", Machine::LineTerminator::lf), "M30\n\n\n");
    EXPECT_EQ(payloadOf("\nM30", Machine::LineTerminator::cr), "\rM30\r");
}

TEST(PreparePayload, EmptyTextGivesNoBytesAndALoneLineBreakOneTerminator)
{
    for (Machine::LineTerminator terminator : Machine::allCases<Machine::LineTerminator>()) {
        const QByteArray end = Machine::terminatorBytes(terminator);
        EXPECT_TRUE(payloadOf("", terminator).isEmpty());
        // One empty line followed by the dropped remainder: that line still ends.
        EXPECT_EQ(payloadOf("\n", terminator), end);
        EXPECT_EQ(payloadOf("\r\n", terminator), end);
        EXPECT_EQ(payloadOf("\r", terminator), end);
    }
}

TEST(PreparePayload, LatinOneCharactersAreSingleBytesAndOthersAreReplaced)
{
    EXPECT_EQ(payloadOf(QString::fromUtf8("(ANGLE 45\u00B0)"), Machine::LineTerminator::lf),
              QByteArray("(ANGLE 45\xB0)\n"));
    EXPECT_EQ(payloadOf(QString::fromUtf8("(\u00D1 \u00E9)"), Machine::LineTerminator::lf),
              QByteArray("(\xD1 \xE9)\n"));
    // A character beyond Latin-1 costs one '?' and never its line.
    EXPECT_EQ(payloadOf(QString::fromUtf8("(\u2300 10)\nG0 X1"), Machine::LineTerminator::lf),
              QByteArray("(? 10)\nG0 X1\n"));
    EXPECT_EQ(payloadOf(QString::fromUtf8("(\U0001F600)"), Machine::LineTerminator::lf), QByteArray("(?)\n"));
    // A decomposed accent reaches the machine as its composed Latin-1 byte.
    EXPECT_EQ(payloadOf(QString::fromUtf8("(e\u0301 \u2300)"), Machine::LineTerminator::lf),
              QByteArray("(\xE9 ?)\n"));
}

TEST(PreparePayload, LargeProgramKeepsEveryLine)
{
    const QString text = ProgramGenerator::milling(2 * 1024 * 1024, 7, true);
    const QByteArray payload = payloadOf(text, Machine::LineTerminator::cr);
    EXPECT_FALSE(payload.contains('\n'));
    EXPECT_EQ(payload.count('\r'), text.count(QStringLiteral("\r\n")));
    EXPECT_EQ(payload.size(), text.size() - text.count(QStringLiteral("\r\n")));
}

// ---- sending ---------------------------------------------------------------

Machine testMachine(bool dripFeed = false)
{
    Machine machine = Machine::defaults().first();
    machine.dripFeed = dripFeed;
    return machine;
}

QString describe(const TransferEvent &event)
{
    switch (event.kind) {
    case TransferEvent::Kind::started:
        return QStringLiteral("started %1").arg(event.bytes);
    case TransferEvent::Kind::progress:
        return QStringLiteral("progress %1").arg(event.bytes);
    case TransferEvent::Kind::finishing:
        return QStringLiteral("finishing ") + event.message;
    case TransferEvent::Kind::failed:
        return QStringLiteral("failed ") + event.message;
    case TransferEvent::Kind::connecting:
        return QStringLiteral("connecting");
    case TransferEvent::Kind::finished:
        return QStringLiteral("finished");
    case TransferEvent::Kind::cancelled:
        return QStringLiteral("cancelled");
    }
    return {};
}

// Runs a transfer on this thread; transport calls and events land in one log.
QStringList runTransfer(const std::shared_ptr<FakeLine> &line, const QByteArray &payload,
                        const Machine &machine = testMachine(), std::stop_token stop = {})
{
    FakeTransport transport(line);
    GCodeSender::send(payload, machine, transport, AppLanguage::english, stop,
                      [&](const TransferEvent &event) { line->note("event " + describe(event)); });
    QStringList log = line->entries();
    log.removeAll("destroyed");
    return log;
}

TEST(GCodeSender, WritesInChunksOf256WithProgressThenDrainsAndCloses)
{
    auto line = std::make_shared<FakeLine>();
    const QByteArray payload(600, 'G');
    const QStringList log = runTransfer(line, payload);
    EXPECT_EQ(log, QStringList({"event connecting", "open", "event started 600", "write 256", "event progress 256",
                                "write 256", "event progress 512", "write 88", "event progress 600",
                                "event finishing Finishing transfer…", "drain", "close", "event finished"}));
    EXPECT_EQ(line->received, payload);
    ASSERT_TRUE(line->settings.has_value());
    EXPECT_EQ(*line->settings, testMachine().lineSettings());
}

TEST(GCodeSender, DripFeedSaysSoAndDrainsWithoutADeadline)
{
    auto line = std::make_shared<FakeLine>();
    const QStringList log = runTransfer(line, QByteArray(256, 'X'), testMachine(true));
    EXPECT_EQ(log, QStringList({"event connecting", "open", "event started 256", "write 256", "event progress 256",
                                "event finishing Finishing drip feed…", "drain drip", "close", "event finished"}));
    EXPECT_TRUE(line->settings->dripFeed);
}

TEST(GCodeSender, EmptyPayloadStillOpensReportsZeroDrainsAndFinishes)
{
    auto line = std::make_shared<FakeLine>();
    const QStringList log = runTransfer(line, QByteArray());
    EXPECT_EQ(log, QStringList({"event connecting", "open", "event started 0",
                                "event finishing Finishing transfer…", "drain", "close", "event finished"}));
}

TEST(GCodeSender, FailuresCloseThePortBeforeTheOneFinalEvent)
{
    struct Case {
        const char *name;
        std::function<void(FakeLine &)> script;
        QStringList expected;
    };
    const Case cases[] = {
        {"open refused",
         [](FakeLine &l) { l.openError = TransportError::openFailed("/dev/ttyUSB9", "No such file or directory"); },
         {"event connecting", "open", "close", "event failed Could not open /dev/ttyUSB9: No such file or directory"}},
        {"adapter pulled mid-program",
         [](FakeLine &l) { l.failingWrite = 1; },
         {"event connecting", "open", "event started 600", "write 256", "event progress 256", "write 256", "close",
          "event failed Send error: Input/output error"}},
        {"wait failed",
         [](FakeLine &l) {
             l.failingWrite = 0;
             l.writeError = TransportError::waitFailed();
         },
         {"event connecting", "open", "event started 600", "write 256", "close",
          "event failed Send error: waiting for the port"}},
        {"drain timed out",
         [](FakeLine &l) { l.drainError = TransportError::drainTimeout(); },
         {"event connecting", "open", "event started 600", "write 256", "event progress 256", "write 256",
          "event progress 512", "write 88", "event progress 600", "event finishing Finishing transfer…", "drain",
          "close", "event failed Timed out waiting for the machine to receive the end of the program"}},
        {"transport reports a cancellation",
         [](FakeLine &l) {
             l.failingWrite = 2;
             l.writeError = TransportError::cancelled();
         },
         {"event connecting", "open", "event started 600", "write 256", "event progress 256", "write 256",
          "event progress 512", "write 88", "close", "event cancelled"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        auto line = std::make_shared<FakeLine>();
        c.script(*line);
        EXPECT_EQ(runTransfer(line, QByteArray(600, 'G')), c.expected);
    }
}

TEST(GCodeSender, StopRequestedBeforeTheOpenEndsCancelledWithoutWriting)
{
    // The interruption lands before the open clears it; the stop itself must still count.
    auto line = std::make_shared<FakeLine>();
    std::stop_source source;
    source.request_stop();
    const QStringList log = runTransfer(line, QByteArray(600, 'G'), testMachine(), source.get_token());
    EXPECT_EQ(log, QStringList({"event connecting", "open", "close", "event cancelled"}));
    EXPECT_TRUE(line->received.isEmpty());
}

// Starts a threaded transfer and collects its events with their arrival order.
struct ThreadedRun {
    std::shared_ptr<FakeLine> line = std::make_shared<FakeLine>();
    std::mutex mutex;
    std::condition_variable done;
    QList<TransferEvent> events;
    std::chrono::steady_clock::time_point finalAt;

    std::jthread start(const QByteArray &payload, const Machine &machine)
    {
        return GCodeSender::start(payload, machine, std::make_unique<FakeTransport>(line), AppLanguage::english,
                                  [this](const TransferEvent &event) {
                                      line->note("event " + describe(event));
                                      std::lock_guard lock(mutex);
                                      events.append(event);
                                      if (event.isFinal()) {
                                          finalAt = std::chrono::steady_clock::now();
                                          done.notify_all();
                                      }
                                  });
    }
    bool waitForFinal(int ms)
    {
        std::unique_lock lock(mutex);
        return done.wait_for(lock, std::chrono::milliseconds(ms),
                             [&] { return !events.isEmpty() && events.last().isFinal(); });
    }
};

bool waitForHolding(const FakeLine &line)
{
    for (int i = 0; i < 2000 && !line.isHolding(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return line.isHolding();
}

TEST(GCodeSender, CancelWhileTheMachineHoldsTheLineEndsCancelledPromptly)
{
    ThreadedRun run;
    run.line->holdWrites = true;
    std::jthread thread = run.start(QByteArray(600, 'G'), testMachine());
    ASSERT_TRUE(waitForHolding(*run.line));

    const auto cancelledAt = std::chrono::steady_clock::now();
    thread.request_stop();
    ASSERT_TRUE(run.waitForFinal(2000));
    EXPECT_LT(run.finalAt - cancelledAt, std::chrono::milliseconds(200));
    EXPECT_EQ(run.events.last(), TransferEvent::cancelled());
    for (const TransferEvent &event : run.events) {
        EXPECT_NE(event.kind, TransferEvent::Kind::failed);
    }
    const QStringList log = run.line->entries();
    EXPECT_EQ(log.indexOf("close") + 1, log.indexOf("event cancelled"));
}

TEST(GCodeSender, CancelDuringADripFeedDrainEndsCancelled)
{
    ThreadedRun run;
    run.line->holdDrain = true;
    std::jthread thread = run.start(QByteArray(100, 'G'), testMachine(true));
    ASSERT_TRUE(waitForHolding(*run.line));
    thread.request_stop();
    ASSERT_TRUE(run.waitForFinal(2000));
    EXPECT_EQ(run.events.last(), TransferEvent::cancelled());
    EXPECT_TRUE(run.line->contains("close"));
}

TEST(GCodeSender, ThreadedRunDeliversEveryEventInOrderAndReleasesTheTransport)
{
    ThreadedRun run;
    const QByteArray payload(10 * 256 + 1, 'G');
    {
        std::jthread thread = run.start(payload, testMachine());
        ASSERT_TRUE(run.waitForFinal(5000));
    }
    ASSERT_EQ(run.events.size(), 3 + 11 + 1);
    EXPECT_EQ(run.events[1], TransferEvent::started(payload.size()));
    for (int i = 0; i < 11; ++i) {
        EXPECT_EQ(run.events[2 + i], TransferEvent::progress(std::min<qint64>((i + 1) * 256, payload.size())));
    }
    EXPECT_EQ(run.events.last(), TransferEvent::finished());
    EXPECT_EQ(run.line->received, payload);
    EXPECT_EQ(run.line->entries().last(), "destroyed");
}

} // namespace
