// The send panel through whole transfers to a machine played on a real pty.
#include "uifixture.h"

#include "machineemulator.h"
#include "programgenerator.h"
#include "ptypair.h"

#include "panels/sendpanel.h"
#include "theme/varnpalette.h"

#include "transfer/gcodesender.h"
#include "transport/posixserialtransport.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QToolButton>

using namespace std::chrono_literals;

namespace {

class SendPanelTest : public UiTest {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
        ports = {{pty.slavePath(), "FTDI FT232R A50285BI"}};
        makeModel([](const QString &device) -> std::unique_ptr<SerialTransport> {
            return std::make_unique<PosixSerialTransport>(
                device, 3s, 2s, PosixSerialTransport::defaultOutputPending(), 50ms, 20ms, 20ms);
        });
        model->setSelectedMachineId("fadal");
        model->refreshPorts();
        panel = std::make_unique<SendPanel>(*model);
        panel->show();
        // What the user could read off the panel at each change.
        QObject::connect(&model->transfer(), &TransferController::stateChanged, panel.get(), [this] {
            ends += model->transfer().state().isActive() ? 0 : 1;
            seen.append(QStringLiteral("%1 %2% send:%3 cancel:%4 %5")
                            .arg(panel->statusLabel()->text())
                            .arg(panel->progressBar()->value())
                            .arg(panel->sendButton()->isEnabled())
                            .arg(panel->cancelButton()->isEnabled())
                            .arg(panel->progressLabel()->text()));
        });
    }
    // Opens a program of about `bytes` bytes, starts a machine that expects it and sends it; gives its size.
    qsizetype sendTo(qint64 bytes, MachineEmulator::Options options)
    {
        const QString text = ProgramGenerator::milling(bytes, 7);
        openFile("part.nc", text.toUtf8());
        options.expected = GCodeSender::preparePayload(text, Machine::defaults()[1].lineTerminator);
        machine = std::make_unique<MachineEmulator>(pty, options);
        machine->start();
        panel->sendButton()->click();
        return options.expected.size();
    }
    bool waitForEnd() const
    {
        return QTest::qWaitFor([&] { return !model->transfer().state().isActive(); });
    }
    QColor statusColor() const { return panel->statusLabel()->palette().color(QPalette::WindowText); }

    PtyPair pty;
    std::unique_ptr<MachineEmulator> machine;
    std::unique_ptr<SendPanel> panel;
    QStringList seen;
    int ends = 0;
};

} // namespace

TEST_F(SendPanelTest, ASuccessfulTransferShowsConnectingThenProgressThenCompletedInGreen)
{
    EXPECT_EQ(panel->statusLabel()->text(), "Ready");
    const qsizetype size = sendTo(120 * 1024, {.bytesPerSecond = 250000});
    ASSERT_TRUE(waitForEnd());
    EXPECT_TRUE(machine->waitForBytes(size, 5s));
    machine->stop();
    EXPECT_TRUE(machine->receivedExactly());
    ASSERT_GE(seen.size(), 3);
    EXPECT_TRUE(seen.first().startsWith("Connecting… 0% send:0 cancel:1")) << seen.first().toStdString();
    EXPECT_GE(seen.indexOf(QRegularExpression("^Sending… [1-9][0-9]?% send:0 cancel:1 .+ of .+")), 0)
        << "progress shows while the machine reads";
    EXPECT_TRUE(seen.last().startsWith("Transfer Completed 100% send:1 cancel:0"))
        << seen.last().toStdString();
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(statusColor(), VarnPalette::ready());
    EXPECT_TRUE(panel->routeLabel()->text().startsWith("part.nc"));
}

TEST_F(SendPanelTest, ALineHeldByTheMachineCanBeCancelledAndTheStatusTurnsRed)
{
    sendTo(96 * 1024, {.holds = {{.atByte = 2000}}});
    ASSERT_TRUE(machine->waitUntilHolding(3s));
    EXPECT_TRUE(QTest::qWaitFor([&] { return panel->statusLabel()->text() == "Sending…"; }));
    EXPECT_EQ(statusColor(), VarnPalette::warning());
    EXPECT_FALSE(panel->machinePicker()->isEnabled()) << "no changing machines mid-transfer";
    ASSERT_TRUE(panel->cancelButton()->isEnabled());
    panel->cancelButton()->click();
    EXPECT_EQ(panel->statusLabel()->text(), "Transfer Cancelled");
    EXPECT_EQ(panel->messageLabel()->text(), "Transfer Cancelled");
    EXPECT_EQ(statusColor(), VarnPalette::danger());
    EXPECT_TRUE(panel->sendButton()->isEnabled() && !panel->cancelButton()->isEnabled());
    machine->releaseHold();
    machine->stop();
    QTest::qWait(100); // the sender's own end arrives late and changes nothing
    EXPECT_EQ(ends, 1);
}

TEST_F(SendPanelTest, AMachineThatHangsUpEndsInAnErrorWithTheReason)
{
    sendTo(96 * 1024, {.bytesPerSecond = 100000, .hangUpAtByte = 40000});
    ASSERT_TRUE(waitForEnd());
    machine->stop();
    EXPECT_EQ(panel->statusLabel()->text(), "Error");
    EXPECT_EQ(statusColor(), VarnPalette::danger());
    EXPECT_TRUE(panel->messageLabel()->isVisible()) << "with the reason";
    EXPECT_LT(panel->progressBar()->value(), 100);
    EXPECT_FALSE(panel->hintLabel()->isVisible()) << "the device was ours to open";
    EXPECT_TRUE(panel->sendButton()->isEnabled());
    QTest::qWait(100);
    EXPECT_EQ(ends, 1);
}

TEST_F(SendPanelTest, ATypedNetworkPortIsCheckedRememberedForItsMachineAndListedAgain)
{
    QLineEdit *typed = panel->portPicker()->lineEdit();
    const auto type = [&](const QString &text) {
        typed->setText(text);
        QTest::keyClick(typed, Qt::Key_Return);
    };
    type(" RFC2217://127.0.0.1:4001 ");
    EXPECT_EQ(model->selectedPortPath(), "rfc2217://127.0.0.1:4001");
    EXPECT_GE(panel->portPicker()->findData("rfc2217://127.0.0.1:4001"), 0);

    // Not an address, and not a listed device: refused with an alert, the selection stays.
    for (const QString &wrong : {QStringLiteral("tcp://127.0.0.1"), QStringLiteral("/dev/ttyNOPE")}) {
        model->clearAlert();
        type(wrong);
        EXPECT_TRUE(model->alert().has_value()) << wrong.toStdString();
        EXPECT_EQ(model->selectedPortPath(), "rfc2217://127.0.0.1:4001");
        EXPECT_EQ(panel->portPicker()->currentData().toString(), "rfc2217://127.0.0.1:4001");
    }
    // A listed device by its path; the typed address stays in the list for this machine only.
    type(pty.slavePath());
    EXPECT_EQ(model->selectedPortPath(), pty.slavePath());
    EXPECT_GE(panel->portPicker()->findData("rfc2217://127.0.0.1:4001"), 0);
    model->setSelectedMachineId(Machine::defaults().first().id);
    EXPECT_EQ(panel->portPicker()->findData("rfc2217://127.0.0.1:4001"), -1);
    model->setSelectedMachineId("fadal");
    EXPECT_GE(panel->portPicker()->findData("rfc2217://127.0.0.1:4001"), 0);
}
