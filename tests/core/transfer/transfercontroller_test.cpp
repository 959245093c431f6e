#include "faketransport.h"

#include "transfer/transfercontroller.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

using Status = TransferState::Status;

// Hands out one scripted line per transport asked for, then nothing.
struct Factory {
    QList<std::shared_ptr<FakeLine>> lines;
    QStringList paths;

    std::shared_ptr<FakeLine> next(bool hold = false)
    {
        lines.append(std::make_shared<FakeLine>());
        lines.last()->holdWrites = hold;
        return lines.last();
    }
    TransferController::TransportFactory make()
    {
        return [this](const QString &path) -> std::unique_ptr<SerialTransport> {
            paths.append(path);
            return paths.size() > lines.size() ? nullptr : std::make_unique<FakeTransport>(lines[paths.size() - 1]);
        };
    }
};

const Machine kFadal = Machine::defaults()[1]; // CRLF
const Machine kFanuc = Machine::defaults()[0]; // CR

bool settled(const TransferController &c) { return !c.state().isActive(); }

TEST(TransferController, SuccessfulTransferGoesThroughEveryPhase)
{
    Factory factory;
    auto line = factory.next();
    TransferController controller(factory.make());
    controller.cancel(); // nothing to cancel yet
    EXPECT_EQ(controller.state(), TransferState());
    QSignalSpy changes(&controller, &TransferController::stateChanged);

    controller.send(QString("G0 X1\n").repeated(100), "part.nc", kFadal, "/dev/ttyUSB0");
    TransferState expected{.status = Status::connecting, .fileName = "part.nc", .machineName = "Fadal",
                           .endpointName = "ttyUSB0", .totalBytes = 700, .message = "Opening ttyUSB0…"};
    EXPECT_EQ(controller.state(), expected);

    ASSERT_TRUE(waitUntil([&] { return settled(controller); }));
    expected = {.status = Status::success, .fileName = "part.nc", .machineName = "Fadal", .endpointName = "ttyUSB0",
                .bytesSent = 700, .totalBytes = 700, .message = "Transfer Completed"};
    EXPECT_EQ(controller.state(), expected);
    EXPECT_EQ(line->received, QByteArray("G0 X1\r\n").repeated(100));
    QStringList seen;
    for (const QList<QVariant> &arguments : changes) {
        const TransferState s = arguments.at(0).value<TransferState>();
        seen.append(TransferState::rawValue(s.status) + u' ' + QString::number(s.bytesSent));
    }
    seen.removeDuplicates();
    EXPECT_EQ(seen, QStringList({"connecting 0", "sending 0", "sending 256", "sending 512", "sending 700",
                                 "finishing 700", "success 700"}));
}

TEST(TransferController, SecondSendWhileActiveIsIgnoredAndOneAfterAnErrorStartsAnew)
{
    Factory factory;
    auto held = factory.next(true);
    factory.next()->openError = TransportError::openFailed("/dev/ttyUSB0", "Permission denied");
    factory.next();
    TransferController controller(factory.make());
    controller.send("G0 X1\n", "first.nc", kFadal, "/dev/ttyUSB0");
    ASSERT_TRUE(waitUntil([&] { return controller.state().status == Status::sending && held->isHolding(); }));
    const TransferState before = controller.state();
    controller.send("M30\n", "second.nc", kFanuc, "/dev/ttyS1");
    EXPECT_EQ(controller.state(), before);
    EXPECT_EQ(factory.paths.size(), 1);
    held->release();
    ASSERT_TRUE(waitUntil([&] { return settled(controller); }));
    EXPECT_EQ(controller.state().fileName, "first.nc");

    controller.send("G0 X1\n", "part.nc", kFadal, "/dev/ttyUSB0");
    ASSERT_TRUE(waitUntil([&] { return settled(controller); }));
    EXPECT_EQ(controller.state().status, Status::error);
    EXPECT_EQ(controller.state().message, "Could not open /dev/ttyUSB0: Permission denied");
    EXPECT_EQ(controller.state().fileName, "part.nc");

    controller.send("M30\n", "other.nc", kFanuc, "/dev/ttyUSB1");
    EXPECT_EQ(controller.state().status, Status::connecting);
    ASSERT_TRUE(waitUntil([&] { return settled(controller); }));
    EXPECT_EQ(controller.state().status, Status::success);
    EXPECT_EQ(factory.paths, QStringList({"/dev/ttyUSB0", "/dev/ttyUSB0", "/dev/ttyUSB1"}));
}

TEST(TransferController, NewTransferRightAfterACancelIsNotDisturbedByTheOldOne)
{
    Factory factory;
    auto first = factory.next(true);
    auto second = factory.next();
    TransferController controller(factory.make());
    controller.send(QString("G1 X1\n").repeated(100), "old.nc", kFadal, "/dev/ttyUSB0");
    ASSERT_TRUE(waitUntil([&] { return first->isHolding(); }));
    controller.cancel();
    EXPECT_EQ(controller.state().status, Status::cancelled);
    EXPECT_EQ(controller.state().message, "Transfer Cancelled");
    controller.send("M30\n", "new.nc", kFanuc, "/dev/ttyUSB1");

    ASSERT_TRUE(waitUntil([&] { return settled(controller) && first->contains("destroyed"); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(controller.state(), (TransferState{.status = Status::success, .fileName = "new.nc", .machineName = "Fanuc",
                                                 .endpointName = "ttyUSB1", .bytesSent = 4, .totalBytes = 4,
                                                 .message = "Transfer Completed"}));
    EXPECT_EQ(second->received, "M30\r");
}

TEST(TransferController, MissingTransportEndsInErrorAndDestructionStopsTheSender)
{
    Factory factory;
    auto line = factory.next(true);
    {
        TransferController controller(factory.make());
        controller.send("G0 X1\n", "part.nc", kFadal, "/dev/ttyUSB0");
        ASSERT_TRUE(waitUntil([&] { return line->isHolding(); }));
    }
    EXPECT_TRUE(line->contains("close"));
    EXPECT_TRUE(line->contains("destroyed"));
    QCoreApplication::processEvents(); // the queued final event must find nothing to call

    TransferController controller(factory.make()); // no lines left: the factory returns nothing
    controller.send("G0\n", "part.nc", kFadal, "/dev/ttyUSB7");
    EXPECT_EQ(controller.state().status, Status::error);
    EXPECT_EQ(controller.state().message, "No port connection");
}

TEST(TransferController, EndpointIsTheLastPathComponentWithoutOneLeadingCu)
{
    const std::pair<const char *, const char *> rows[] = {
        {"/dev/cu.usbserial-1410", "usbserial-1410"}, {"/dev/tty.usbserial", "tty.usbserial"},
        {"/dev/cu.cu.modem", "cu.modem"},             {"/dev/serial/by-id/usb-FTDI-port0", "usb-FTDI-port0"},
        {"/dev/ttyACM0/", "ttyACM0"},                 {"ttyS4", "ttyS4"},
        {"/dev/CU.upper", "CU.upper"}};
    for (const auto &[path, name] : rows) {
        EXPECT_EQ(TransferController::endpointName(path), name) << path;
    }
}

} // namespace
