#include "faketransport.h"

#include "transfer/transfercontroller.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

using Status = TransferState::Status;

// Hands out scripted transports in order and remembers the paths asked for.
struct Factory {
    QList<std::shared_ptr<FakeLine>> lines;
    QStringList paths;

    std::shared_ptr<FakeLine> next()
    {
        lines.append(std::make_shared<FakeLine>());
        return lines.last();
    }
    TransferController::TransportFactory make()
    {
        return [this](const QString &path) -> std::unique_ptr<SerialTransport> {
            const int index = paths.size();
            paths.append(path);
            if (index >= lines.size()) {
                return nullptr;
            }
            return std::make_unique<FakeTransport>(lines[index]);
        };
    }
};

Machine fadal()
{
    return Machine::defaults()[1];
}

// The statuses a controller went through, without repeats.
QList<Status> statusesSeen(const QSignalSpy &spy)
{
    QList<Status> seen;
    for (const QList<QVariant> &arguments : spy) {
        const Status status = arguments.at(0).value<TransferState>().status;
        if (seen.isEmpty() || seen.last() != status) {
            seen.append(status);
        }
    }
    return seen;
}

bool settled(const TransferController &controller)
{
    return !controller.state().isActive();
}

TEST(TransferController, StartsIdle)
{
    Factory factory;
    TransferController controller(factory.make());
    EXPECT_EQ(controller.state(), TransferState());
    controller.cancel();
    EXPECT_EQ(controller.state(), TransferState());
}

TEST(TransferController, SuccessfulTransferGoesThroughEveryPhase)
{
    Factory factory;
    auto line = factory.next();
    TransferController controller(factory.make());
    QSignalSpy changes(&controller, &TransferController::stateChanged);

    const QString program = QString("G0 X1\n").repeated(100); // 700 bytes once lines end in CRLF
    controller.send(program, "part.nc", fadal(), "/dev/ttyUSB0");

    TransferState opening = controller.state();
    EXPECT_EQ(opening.status, Status::connecting);
    EXPECT_EQ(opening.fileName, "part.nc");
    EXPECT_EQ(opening.machineName, "Fadal");
    EXPECT_EQ(opening.endpointName, "ttyUSB0");
    EXPECT_EQ(opening.bytesSent, 0);
    EXPECT_EQ(opening.totalBytes, 700);
    EXPECT_EQ(opening.message, QString::fromUtf8("Opening ttyUSB0…"));
    EXPECT_EQ(factory.paths, QStringList({"/dev/ttyUSB0"}));

    ASSERT_TRUE(waitUntil([&] { return settled(controller); }));
    const TransferState done = controller.state();
    EXPECT_EQ(done.status, Status::success);
    EXPECT_EQ(done.bytesSent, 700);
    EXPECT_EQ(done.totalBytes, 700);
    EXPECT_EQ(done.message, "Transfer Completed");
    EXPECT_EQ(done.fileName, "part.nc");
    EXPECT_EQ(done.endpointName, "ttyUSB0");
    EXPECT_EQ(done.percent(), 100);
    EXPECT_EQ(done.progressLabel(AppLanguage::english), "700 bytes of 700 bytes");
    EXPECT_EQ(line->received, QByteArray("G0 X1\r\n").repeated(100));

    EXPECT_EQ(statusesSeen(changes),
              QList<Status>({Status::connecting, Status::sending, Status::finishing, Status::success}));
    // Progress is published chunk by chunk.
    QList<qint64> sent;
    for (const QList<QVariant> &arguments : changes) {
        const TransferState state = arguments.at(0).value<TransferState>();
        if (state.status == Status::sending) {
            sent.append(state.bytesSent);
        }
    }
    EXPECT_EQ(sent, QList<qint64>({0, 256, 512, 700}));
}

TEST(TransferController, EmptyProgramSucceedsAtOneHundredPercent)
{
    Factory factory;
    factory.next();
    TransferController controller(factory.make());
    controller.send("", "empty.nc", fadal(), "/dev/ttyUSB0");
    EXPECT_EQ(controller.state().percent(), 0);
    ASSERT_TRUE(waitUntil([&] { return settled(controller); }));
    EXPECT_EQ(controller.state().status, Status::success);
    EXPECT_EQ(controller.state().percent(), 100);
    EXPECT_EQ(controller.state().progressLabel(AppLanguage::english), "");
}

TEST(TransferController, SecondSendWhileActiveIsIgnored)
{
    Factory factory;
    auto line = factory.next();
    line->holdWrites = true;
    factory.next();
    TransferController controller(factory.make());
    controller.send("G0 X1\n", "first.nc", fadal(), "/dev/ttyUSB0");
    ASSERT_TRUE(waitUntil([&] { return controller.state().status == Status::sending && line->isHolding(); }));

    const TransferState before = controller.state();
    QSignalSpy changes(&controller, &TransferController::stateChanged);
    controller.send("M30\n", "second.nc", Machine::defaults()[0], "/dev/ttyS1");
    EXPECT_EQ(controller.state(), before);
    EXPECT_EQ(changes.count(), 0);
    EXPECT_EQ(factory.paths.size(), 1);

    line->release();
    ASSERT_TRUE(waitUntil([&] { return settled(controller); }));
    EXPECT_EQ(controller.state().status, Status::success);
    EXPECT_EQ(controller.state().fileName, "first.nc");
}

TEST(TransferController, FailureShowsTheSendersTextAndTheNextSendStartsAnew)
{
    Factory factory;
    factory.next()->openError = TransportError::openFailed("/dev/ttyUSB0", "Permission denied");
    factory.next();
    TransferController controller(factory.make());

    controller.send("G0 X1\n", "part.nc", fadal(), "/dev/ttyUSB0");
    ASSERT_TRUE(waitUntil([&] { return settled(controller); }));
    EXPECT_EQ(controller.state().status, Status::error);
    EXPECT_EQ(controller.state().message, "Could not open /dev/ttyUSB0: Permission denied");
    EXPECT_EQ(controller.state().fileName, "part.nc");

    QSignalSpy changes(&controller, &TransferController::stateChanged);
    controller.send("G0 X1\nM30\n", "other.nc", fadal(), "/dev/ttyUSB0");
    ASSERT_TRUE(waitUntil([&] { return settled(controller); }));
    EXPECT_EQ(statusesSeen(changes).first(), Status::connecting);
    EXPECT_EQ(controller.state().status, Status::success);
    EXPECT_EQ(controller.state().fileName, "other.nc");
    EXPECT_EQ(factory.paths.size(), 2);
}

TEST(TransferController, CancelShowsCancelledAtOnceAndDropsTheSendersLateEvents)
{
    Factory factory;
    auto line = factory.next();
    line->holdWrites = true;
    TransferController controller(factory.make());
    controller.send(QString("G1 X1 Y1\n").repeated(200), "part.nc", fadal(), "/dev/ttyUSB0");
    ASSERT_TRUE(waitUntil([&] { return line->isHolding(); }));
    ASSERT_TRUE(waitUntil([&] { return controller.state().status == Status::sending; }));

    QSignalSpy changes(&controller, &TransferController::stateChanged);
    controller.cancel();
    const TransferState cancelled = controller.state();
    EXPECT_EQ(cancelled.status, Status::cancelled);
    EXPECT_EQ(cancelled.message, "Transfer Cancelled");
    EXPECT_EQ(cancelled.fileName, "part.nc");
    EXPECT_EQ(changes.count(), 1);

    // The sender still closes the port and reports; none of it reaches the state.
    ASSERT_TRUE(waitUntil([&] { return line->contains("destroyed"); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(controller.state(), cancelled);
    EXPECT_EQ(changes.count(), 1);
    EXPECT_TRUE(line->contains("close"));
    // A second cancel has nothing left to cancel.
    controller.cancel();
    EXPECT_EQ(changes.count(), 1);
}

TEST(TransferController, NewTransferRightAfterACancelIsNotDisturbedByTheOldOne)
{
    Factory factory;
    auto first = factory.next();
    first->holdWrites = true;
    auto second = factory.next();
    TransferController controller(factory.make());
    controller.send(QString("G1 X1\n").repeated(100), "old.nc", fadal(), "/dev/ttyUSB0");
    ASSERT_TRUE(waitUntil([&] { return first->isHolding(); }));
    controller.cancel();
    controller.send("M30\n", "new.nc", Machine::defaults()[0], "/dev/ttyUSB1");

    ASSERT_TRUE(waitUntil([&] { return settled(controller) && first->contains("destroyed"); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(controller.state().status, Status::success);
    EXPECT_EQ(controller.state().fileName, "new.nc");
    EXPECT_EQ(controller.state().machineName, "Fanuc");
    EXPECT_EQ(controller.state().totalBytes, 4);
    EXPECT_EQ(second->received, "M30\r");
}

TEST(TransferController, MissingTransportEndsInError)
{
    Factory factory; // no lines: the factory returns nothing
    TransferController controller(factory.make());
    controller.send("G0\n", "part.nc", fadal(), "/dev/ttyUSB7");
    EXPECT_EQ(controller.state().status, Status::error);
    EXPECT_EQ(controller.state().message, "No port connection");
}

TEST(TransferController, DestroyingItMidTransferStopsTheSender)
{
    Factory factory;
    auto line = factory.next();
    line->holdWrites = true;
    {
        TransferController controller(factory.make());
        controller.send("G0 X1\n", "part.nc", fadal(), "/dev/ttyUSB0");
        ASSERT_TRUE(waitUntil([&] { return line->isHolding(); }));
    }
    EXPECT_TRUE(line->contains("close"));
    EXPECT_TRUE(line->contains("destroyed"));
    QCoreApplication::processEvents(); // the queued final event must find nothing to call
}

TEST(TransferController, EndpointIsTheLastPathComponentWithoutOneLeadingCu)
{
    const std::pair<const char *, const char *> rows[] = {
        {"/dev/cu.usbserial-1410", "usbserial-1410"},
        {"/dev/tty.usbserial", "tty.usbserial"},
        {"/dev/ttyUSB0", "ttyUSB0"},
        {"/dev/cu.cu.modem", "cu.modem"},
        {"/dev/serial/by-id/usb-FTDI_FT232R-if00-port0", "usb-FTDI_FT232R-if00-port0"},
        {"/dev/ttyACM0/", "ttyACM0"},
        {"ttyS4", "ttyS4"},
        {"/dev/CU.upper", "CU.upper"},
    };
    for (const auto &[path, name] : rows) {
        EXPECT_EQ(TransferController::endpointName(path), name) << path;
    }
}

} // namespace
