#include "faketransport.h"

#include "transfer/gcodesender.h"

#include <gtest/gtest.h>

namespace {

using Terminator = Machine::LineTerminator;

TEST(PreparePayload, LineEndsBecomeTheTerminatorAndOnlyOneTrailingEmptyLineGoes)
{
    const struct {
        QString text;
        Terminator terminator;
        QByteArray bytes;
    } rows[] = {
        {"G0 X1\r\nG1 Y2\rM30", Terminator::crlf, "G0 X1\r\nG1 Y2\r\nM30\r\n"},
        {"G0 X1\r\nG1 Y2\rM30", Terminator::lf, "G0 X1\nG1 Y2\nM30\n"},
        {"%\nO1000\n\nM30\n%\n", Terminator::cr, "%\rO1000\r\rM30\r%\r"},
        {"A\n\rB", Terminator::lf, "A\n\nB\n"},
        {"  (SETUP ; X0)  \n\tG0  X1 \n", Terminator::lf, "  (SETUP ; X0)  \n\tG0  X1 \n"},
        {"M30\r\n\r\n\r\n", Terminator::lf, "M30\n\n\n"},
        {"\nM30", Terminator::cr, "\rM30\r"},
        {"", Terminator::crlf, ""},
        {"\n", Terminator::crlf, "\r\n"},
        {"\r", Terminator::cr, "\r"},
        // Latin-1 characters are single bytes; anything else costs one '?' and never its line.
        {u"(45\u00B0 \u00D1)\n(\u2300 10)\nG0 X1"_qs, Terminator::lf, "(45\xB0 \xD1)\n(? 10)\nG0 X1\n"},
        {u"(\U0001F600 e\u0301)"_qs, Terminator::lf, "(? \xE9)\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        EXPECT_EQ(GCodeSender::preparePayload(row.text, row.terminator), row.bytes);
    }
}

QString describe(const TransferEvent &e)
{
    static const char *const names[] = {"started", "progress", "finishing", "failed", "connecting", "finished",
                                        "cancelled"};
    QString text = QStringLiteral("event ") + names[int(e.kind)];
    if (e.kind == TransferEvent::Kind::started || e.kind == TransferEvent::Kind::progress) {
        text += u' ' + QString::number(e.bytes);
    }
    return e.message.isEmpty() ? text : text + u' ' + e.message;
}

// Runs a transfer on this thread; transport calls and events land in one log.
QStringList runTransfer(const std::function<void(FakeLine &)> &script, qsizetype bytes = 600, bool drip = false,
                        std::stop_token stop = {})
{
    auto line = std::make_shared<FakeLine>();
    script(*line);
    Machine machine = Machine::defaults().first();
    machine.dripFeed = drip;
    {
        FakeTransport transport(line);
        GCodeSender::send(QByteArray(bytes, 'G'), machine, transport, AppLanguage::english, stop,
                          [&](const TransferEvent &event) { line->note(describe(event)); });
    }
    EXPECT_EQ(line->received, QByteArray(line->received.size(), 'G'));
    return line->log.mid(0, line->log.size() - 1); // without "destroyed"
}

// The port is closed before the one final event, whatever ends the transfer.
TEST(GCodeSender, ChunksOf256ThenDrainCloseAndOneFinalEvent)
{
    const QStringList start = {"event connecting", "open", "event started 600", "write 256", "event progress 256"};
    const QStringList all = start + QStringList({"write 256", "event progress 512", "write 88", "event progress 600",
                                                 "event finishing Finishing transfer…", "drain"});
    EXPECT_EQ(runTransfer([](FakeLine &) {}), all + QStringList({"close", "event finished"}));
    EXPECT_EQ(runTransfer([](FakeLine &) {}, 256, true),
              QStringList({"event connecting", "open", "event started 256", "write 256", "event progress 256",
                           "event finishing Finishing drip feed…", "drain drip", "close", "event finished"}));
    EXPECT_EQ(runTransfer([](FakeLine &) {}, 0), QStringList({"event connecting", "open", "event started 0",
                                                              "event finishing Finishing transfer…", "drain",
                                                              "close", "event finished"}));
    EXPECT_EQ(runTransfer([](FakeLine &l) { l.openError = TransportError::openFailed("/dev/ttyUSB9", "Nope"); }),
              QStringList({"event connecting", "open", "close", "event failed Could not open /dev/ttyUSB9: Nope"}));
    EXPECT_EQ(runTransfer([](FakeLine &l) { l.failingWrite = 1; }),
              start + QStringList({"write 256", "close", "event failed Send error: Input/output error"}));
    EXPECT_EQ(runTransfer([](FakeLine &l) { l.drainError = TransportError::drainTimeout(); }),
              all + QStringList({"close",
                                "event failed Timed out waiting for the machine to receive the end of the program"}));
    EXPECT_EQ(runTransfer([](FakeLine &l) { l.failingWrite = 1; l.writeError = TransportError::cancelled(); }),
              start + QStringList({"write 256", "close", "event cancelled"}));
    // A stop requested before the open (which clears interruptions) still counts.
    std::stop_source stopped;
    stopped.request_stop();
    EXPECT_EQ(runTransfer([](FakeLine &) {}, 600, false, stopped.get_token()),
              QStringList({"event connecting", "open", "close", "event cancelled"}));
}

} // namespace
