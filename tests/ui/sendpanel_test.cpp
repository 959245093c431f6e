// The send panel through whole transfers to a machine played on a real pty.
#include "panelfixture.h"

#include "machineemulator.h"
#include "programgenerator.h"
#include "ptypair.h"

#include "panels/sendpanel.h"
#include "theme/varnpalette.h"

#include "transfer/gcodesender.h"
#include "transport/posixserialtransport.h"

#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QToolButton>

using namespace std::chrono_literals;

namespace {

// What the user could read off the panel at one moment.
struct Seen {
    QString status;
    int percent = 0;
    QString progress;
    bool sendEnabled = false;
    bool cancelEnabled = false;
};

class SendPanelTest : public PanelTest {
protected:
    void SetUp() override
    {
        PanelTest::SetUp();
        ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
        ports = {{pty.slavePath(), QStringLiteral("FTDI FT232R A50285BI")}};
        makeModel([](const QString &device) -> std::unique_ptr<SerialTransport> {
            return std::make_unique<PosixSerialTransport>(device, 3s, 2s, PosixSerialTransport::defaultOutputPending(),
                                                          50ms, 20ms, 20ms);
        });
        model->setSelectedMachineId(QStringLiteral("fadal"));
        model->refreshPorts();
        panel = std::make_unique<SendPanel>(*model);
        panel->show();
        connect();
    }

    void connect()
    {
        QObject::connect(&model->transfer(), &TransferController::stateChanged, panel.get(), [this] {
            seen.append({panel->statusLabel()->text(), panel->progressBar()->value(), panel->progressLabel()->text(),
                         panel->sendButton()->isEnabled(), panel->cancelButton()->isEnabled()});
        });
    }

    // Opens a program of `bytes` bytes and gives the payload the machine must get.
    QByteArray openProgram(qint64 bytes)
    {
        const QString text = ProgramGenerator::milling(bytes, 7);
        QFile file(path("part.nc"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.toUtf8());
        file.close();
        model->openFile(QUrl::fromLocalFile(path("part.nc")));
        EXPECT_TRUE(waitFor([&] { return !model->isLoadingAnyFile(); }));
        return GCodeSender::preparePayload(text, Machine::defaults()[1].lineTerminator);
    }

    bool waitForEnd() const
    {
        return waitFor([&] { return !model->transfer().state().isActive(); });
    }
    QColor statusColor() const { return panel->statusLabel()->palette().color(QPalette::WindowText); }

    PtyPair pty;
    std::unique_ptr<SendPanel> panel;
    QList<Seen> seen;
};

} // namespace

TEST_F(SendPanelTest, PickersShowTheProfilesAndTheAdapterByNameAndChoosingOneTellsTheModel)
{
    QComboBox *machines = panel->machinePicker();
    EXPECT_EQ(machines->currentText(), "Fadal");
    EXPECT_EQ(machines->itemData(0, Qt::ToolTipRole).toString(), "4800 7E2 · XON/XOFF · CR");
    EXPECT_EQ(panel->portPicker()->currentText(), pty.slavePath().section('/', -1) + " · FTDI FT232R A50285BI");
    emit machines->activated(0);
    EXPECT_EQ(model->selectedMachineId(), "fanuc");

    model->machineStore().remove(Machine::defaults()[0]);
    EXPECT_EQ(machines->currentIndex(), -1) << "a deleted profile is no longer offered as chosen";
    ports.clear();
    panel->refreshButton()->click();
    EXPECT_EQ(panel->portPicker()->count(), 0);
    EXPECT_TRUE(panel->sendButton()->isEnabled()) << "sending explains what is missing";
}

TEST_F(SendPanelTest, ASuccessfulTransferShowsConnectingThenProgressThenCompletedInGreen)
{
    EXPECT_EQ(panel->statusLabel()->text(), "Ready");
    const QByteArray payload = openProgram(120 * 1024);
    MachineEmulator machine(pty, {.expected = payload, .bytesPerSecond = 250000});
    machine.start();

    panel->sendButton()->click();
    ASSERT_TRUE(waitForEnd());
    EXPECT_TRUE(machine.waitForBytes(payload.size(), 5s));
    machine.stop();
    EXPECT_TRUE(machine.receivedExactly());

    ASSERT_GE(seen.size(), 3);
    EXPECT_EQ(seen.first().status, "Connecting…");
    EXPECT_TRUE(!seen.first().sendEnabled && seen.first().cancelEnabled);
    const bool midway = std::any_of(seen.cbegin(), seen.cend(), [](const Seen &s) {
        return s.status == "Sending…" && s.percent > 0 && s.percent < 100 && s.progress.contains(" of ");
    });
    EXPECT_TRUE(midway) << "progress shows while the machine reads";

    EXPECT_EQ(seen.last().status, "Transfer Completed");
    EXPECT_EQ(seen.last().percent, 100);
    EXPECT_TRUE(seen.last().sendEnabled && !seen.last().cancelEnabled);
    EXPECT_EQ(statusColor(), VarnPalette::ready());
    EXPECT_EQ(panel->progressLabel()->text(), model->transfer().state().progressLabel(AppLanguage::english));
    EXPECT_TRUE(panel->routeLabel()->text().startsWith("part.nc"));
    EXPECT_TRUE(panel->routeLabel()->text().endsWith(pty.slavePath().section('/', -1)));
    EXPECT_FALSE(panel->hintLabel()->isVisible());

    model->setLanguage(AppLanguage::spanish);
    EXPECT_EQ(panel->statusLabel()->text(), TransferState::label(TransferState::Status::success, AppLanguage::spanish));
    EXPECT_EQ(panel->sendButton()->text(), L10n::text("Send to Machine", AppLanguage::spanish));
}

TEST_F(SendPanelTest, ALineHeldByTheMachineCanBeCancelledAndTheStatusTurnsRed)
{
    const QByteArray payload = openProgram(96 * 1024);
    MachineEmulator machine(pty, {.expected = payload, .holds = {{.atByte = 2000}}});
    machine.start();
    panel->sendButton()->click();
    ASSERT_TRUE(machine.waitUntilHolding(3s));
    // The events of the bytes written so far reach the panel through the event loop.
    EXPECT_TRUE(waitFor([&] { return panel->statusLabel()->text() == "Sending…"; }));
    EXPECT_EQ(statusColor(), VarnPalette::warning());
    EXPECT_FALSE(panel->machinePicker()->isEnabled()) << "no changing machines mid-transfer";
    ASSERT_TRUE(panel->cancelButton()->isEnabled());
    panel->cancelButton()->click();

    EXPECT_EQ(panel->statusLabel()->text(), "Transfer Cancelled");
    EXPECT_EQ(panel->messageLabel()->text(), "Transfer Cancelled");
    EXPECT_EQ(statusColor(), VarnPalette::danger());
    EXPECT_TRUE(panel->sendButton()->isEnabled() && !panel->cancelButton()->isEnabled());
    machine.releaseHold();
    machine.stop();
}

TEST_F(SendPanelTest, AMachineThatHangsUpEndsInAnErrorWithTheReason)
{
    const QByteArray payload = openProgram(96 * 1024);
    MachineEmulator machine(pty, {.expected = payload, .bytesPerSecond = 100000, .hangUpAtByte = 40000});
    machine.start();
    panel->sendButton()->click();
    ASSERT_TRUE(waitForEnd());
    machine.stop();

    EXPECT_EQ(panel->statusLabel()->text(), "Error");
    EXPECT_EQ(statusColor(), VarnPalette::danger());
    EXPECT_TRUE(panel->messageLabel()->isVisible()) << "with the reason";
    EXPECT_LT(panel->progressBar()->value(), 100);
    EXPECT_FALSE(panel->hintLabel()->isVisible()) << "the device was ours to open";
    EXPECT_TRUE(panel->sendButton()->isEnabled());
}
