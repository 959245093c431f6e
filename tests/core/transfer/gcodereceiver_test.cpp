// Receiving programs: where a program ends, what text and names it gets, the
// files auto-receive writes, the comparison with the editor, and cancelling.
#include "ptypair.h"

#include "transfer/gcodereceiver.h"
#include "transfer/programcomparison.h"
#include "transfer/receivecontroller.h"
#include "transport/posixserialtransport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <poll.h>
#include <unistd.h>

#include <thread>

using namespace std::chrono_literals;
using End = ReceivedProgram::End;
using Kind = GCodeReceiver::Event::Kind;

namespace {

void writeAll(int fd, const QByteArray &bytes)
{
    for (qsizetype offset = 0; offset < bytes.size();) {
        const ssize_t n = ::write(fd, bytes.constData() + offset, size_t(bytes.size() - offset));
        if (n > 0) {
            offset += n;
        } else {
            pollfd p{fd, POLLOUT, 0};
            ::poll(&p, 1, 100);
        }
    }
}

GCodeReceiver::Options quick()
{
    GCodeReceiver::Options options;
    options.idleTimeout = 400ms;
    options.quietAfterEnd = 100ms;
    options.readSlice = 20ms;
    return options;
}

Machine profile(Machine::FlowControl flow = Machine::FlowControl::none)
{
    Machine m;
    m.name = QStringLiteral("Mill");
    m.baudRate = 115200;
    m.flowControl = flow;
    return m;
}

// Plays the machine: sends the chunks with a pause between them, while the
// receiver runs on this thread. Returns the events in order.
QList<GCodeReceiver::Event> receiveFrom(const QList<QByteArray> &chunks, const Machine &machine = profile(),
                                        GCodeReceiver::Options options = quick())
{
    PtyPair pty;
    EXPECT_TRUE(pty.isOpen());
    PosixSerialTransport transport(pty.slavePath());
    std::jthread player([&](std::stop_token) {
        for (const QByteArray &chunk : chunks) {
            std::this_thread::sleep_for(30ms);
            writeAll(pty.masterFd(), chunk);
        }
    });
    QList<GCodeReceiver::Event> events;
    std::stop_source never;
    GCodeReceiver::receive(machine, transport, options, AppLanguage::english, never.get_token(),
                           [&](const GCodeReceiver::Event &event) { events.append(event); });
    return events;
}

const ReceivedProgram *programIn(const QList<GCodeReceiver::Event> &events)
{
    for (const auto &event : events) {
        if (event.kind == Kind::program) {
            return event.program.get();
        }
    }
    return nullptr;
}

} // namespace

TEST(GCodeReceiver, EachEndRuleClosesTheProgramAtTheRightPlace)
{
    struct Case {
        const char *name;
        QList<QByteArray> chunks;
        End end;
        QString text;
        Machine::FlowControl flow = Machine::FlowControl::none;
    };
    const Case cases[] = {
        {"second % line, what follows left alone", {"%\nO1234\nG0X0\n", "M30\n%\nO9999\n"}, End::percent,
         "%\nO1234\nG0X0\nM30\n%\n"},
        {"leader, tape controls and CR LF around the % lines",
         {QByteArray("\0\0\0\x12%\r\nO5\r\n", 11), "M02\r\n%\x14"}, End::percent, "%\nO5\nM02\n%\n"},
        {"% split from its line start across reads", {"%\nG1\nM30\n", "\n", "%"}, End::percent,
         "%\nG1\nM30\n\n%\n"},
        {"M30 then quiet", {"O1\nG1X1\n", "M30\n"}, End::endCode, "O1\nG1X1\nM30\n"},
        {"M02 without a line end", {"O2\nG1 M2"}, End::endCode, "O2\nG1 M2\n"},
        {"M30 in a comment is no end", {"O3\n(M30 LATER)\nG1\n"}, End::idle, "O3\n(M30 LATER)\nG1\n"},
        {"blocks after M30 keep it going", {"O4\nM30\n", "O5\nG1\n"}, End::idle, "O4\nM30\nO5\nG1\n"},
        {"nothing says where it ends", {"G1X1\n", "G1X2\n"}, End::idle, "G1X1\nG1X2\n"},
        {"XOFF and XON as data do not stop it", {"O6\nG1\x13", "\x11X2\nM30\n"}, End::endCode, "O6\nG1X2\nM30\n"},
        {"XOFF and XON under software flow control", {"O7\nG1\x13", "\x11X2\nM30\n"}, End::endCode,
         "O7\nG1X2\nM30\n", Machine::FlowControl::xonXoff},
    };
    for (const Case &c : cases) {
        const auto events = receiveFrom(c.chunks, profile(c.flow));
        ASSERT_FALSE(events.isEmpty()) << c.name;
        EXPECT_EQ(events.first().kind, Kind::waiting) << c.name;
        EXPECT_EQ(events.last().kind, Kind::finished) << c.name << ": " << events.last().message.toStdString();
        const ReceivedProgram *program = programIn(events);
        ASSERT_NE(program, nullptr) << c.name;
        EXPECT_EQ(program->end, c.end) << c.name;
        EXPECT_EQ(program->text, c.text) << c.name;
    }
}

TEST(GCodeReceiver, StopEndsTheWaitForTheFirstCharacterWithinTwoHundredMilliseconds)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    std::atomic<bool> cancelled{false};
    std::jthread receiver = GCodeReceiver::start(
        profile(), std::make_unique<PosixSerialTransport>(pty.slavePath()), GCodeReceiver::Options{},
        AppLanguage::english, [&](const GCodeReceiver::Event &event) {
            cancelled = cancelled || event.kind == Kind::cancelled;
        });
    std::this_thread::sleep_for(300ms);
    const auto start = std::chrono::steady_clock::now();
    receiver.request_stop();
    receiver.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
    EXPECT_TRUE(cancelled);
}

TEST(ReceivedProgram, TextLinesAndErrorsFollowTheMachinesLineEnds)
{
    struct Case {
        QByteArray raw;
        QList<qsizetype> errors;
        QString text;
        QList<int> errorLines;
    };
    const Case cases[] = {
        {"G1\r\nG2\r\n", {4}, "G1\nG2\n", {1}},
        {"G1\n\r\rG2\n\r\r", {0, 1}, "G1\nG2\n", {0}},
        {"G1\rG2\rG3", {6, 7}, "G1\nG2\nG3\n", {2}},
        {QByteArray("G1\0\x7F\x12X1\n", 9), {}, "G1X1\n", {}},
    };
    for (const Case &c : cases) {
        const ReceivedProgram program = ReceivedProgram::make(c.raw, c.errors, 0);
        EXPECT_EQ(program.text, c.text) << c.raw.toHex().constData();
        EXPECT_EQ(program.errorLines, c.errorLines) << c.raw.toHex().constData();
    }
}

TEST(ReceivedProgram, NamesComeFromTheONumberElseTheTime)
{
    const std::pair<QString, QString> cases[] = {
        {"%\nO1234 (POCKET)\nG0X0\n", "O1234"}, {":0010\nG1\n", "O0010"}, {"N10 O55\n", "O55"},
        {"G1X1\n(O77)\n", ""},                  {"1\n2\n3\n4\n5\n6\n7\n8\nO9\n", ""},
    };
    for (const auto &[text, number] : cases) {
        EXPECT_EQ(ReceivedProgram::programNumber(text), number) << text.toStdString();
    }
    ReceivedProgram anonymous = ReceivedProgram::make("G1X1\n", {}, 0);
    anonymous.receivedAt = QDateTime(QDate(2026, 3, 4), QTime(14, 5, 9));
    EXPECT_EQ(anonymous.documentName(AppLanguage::english), "Received 14.05.09");
}

TEST(ReceiveController, AutoReceiveSavesEveryProgramWithoutOverwriting)
{
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    QFile existing(folder.filePath("O12.nc"));
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("keep me\n");
    existing.close();

    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    ReceiveController controller;
    controller.setOptions(quick());
    QTemporaryDir logFolder;
    const TransferLog log(logFolder.filePath("transfers.log"));
    controller.setTransferLog(log);
    QList<std::shared_ptr<const ReceivedProgram>> programs;
    QObject::connect(&controller, &ReceiveController::programReceived,
                     [&](std::shared_ptr<const ReceivedProgram> p, const QString &) { programs.append(p); });
    controller.receive({profile(), pty.slavePath(), 400ms, folder.path()});
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller.state().status == ReceiveState::Status::waiting; }, 3000));
    // Two programs in one burst.
    writeAll(pty.masterFd(), "%\nO12\nG1X1\nM30\n%\n%\nO12\nG1X2\nM30\n%\n");
    (void)QTest::qWaitFor([&] { return programs.size() >= 2; }, 3000);
    EXPECT_TRUE(controller.state().isActive()) << "auto-receive keeps listening";
    controller.cancel();
    ASSERT_EQ(programs.size(), 2);
    EXPECT_EQ(controller.state().programsSaved, 2);

    const QDir dir(folder.path());
    EXPECT_EQ(dir.entryList(QDir::Files, QDir::Name),
              QStringList({"O12-2.nc", "O12-2.raw", "O12-3.nc", "O12-3.raw", "O12.nc"}));
    QFile kept(folder.filePath("O12.nc"));
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), "keep me\n");
    QFile second(folder.filePath("O12-3.nc"));
    ASSERT_TRUE(second.open(QIODevice::ReadOnly));
    EXPECT_EQ(second.readAll(), "%\nO12\nG1X2\nM30\n%\n");
    QFile raw(folder.filePath("O12-2.raw"));
    ASSERT_TRUE(raw.open(QIODevice::ReadOnly));
    EXPECT_EQ(raw.readAll(), "%\nO12\nG1X1\nM30\n%");

    const QList<TransferLogEntry> logged = log.entries();
    ASSERT_EQ(logged.size(), 3) << "each program, then the cancel";
    EXPECT_EQ(logged[0].direction, TransferLogEntry::Direction::receive);
    EXPECT_EQ(logged[0].file, folder.filePath("O12-2.nc"));
    EXPECT_EQ(logged[1].result, QStringLiteral("success"));
    EXPECT_EQ(logged[2].result, QStringLiteral("cancelled"));
}

TEST(ProgramComparison, ListsOnlyBlocksThatReallyDiffer)
{
    struct Case {
        const char *name;
        QString document;
        QString machine;
        QList<ProgramDifference> expected;
    };
    const Case cases[] = {
        {"endings, blanks, spaces and % lines do not count", "%\nO1\nG0 X0\n\nM30\n%\n", "O1\r\nG0X0\r\nM30\r\n", {}},
        {"a changed block", "O1\nG0X0\nG1X5\nM30\n", "O1\nG0X0\nG1X6\nM30\n", {{3, 3, "G1X5", "G1X6"}}},
        {"a missing block does not shift the rest", "O1\nG0X0\nG1X5\nG1Y5\nM30\n", "O1\nG0X0\nG1Y5\nM30\n",
         {{3, -1, "G1X5", ""}}},
        {"an extra block on the machine", "O1\nM30\n", "O1\nG4P1\nM30\n", {{-1, 2, "", "G4P1"}}},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(ProgramComparison::compare(c.document, c.machine), c.expected) << c.name;
    }
}
