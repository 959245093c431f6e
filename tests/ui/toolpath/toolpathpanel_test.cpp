// The Toolpath panel in the window: the path follows the program, the caret
// and a click follow each other, and a transfer to a pty machine is followed.
#include "ui/uifixture.h"

#include "machineemulator.h"
#include "programgenerator.h"
#include "ptypair.h"

#include "editor/editorcontroller.h"
#include "editor/gcodeeditor.h"
#include "panels/inspectorview.h"
#include "panels/restartdialog.h"
#include "toolpath/toolpathpanel.h"
#include "toolpath/toolpathview.h"

#include "toolpath/toolpathstore.h"
#include "transfer/gcodesender.h"
#include "transport/posixserialtransport.h"

#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>

using namespace std::chrono_literals;

namespace {

const QByteArray program = "G21 G90 G17\n"          // 1
                           "T1 M6\n"                 // 2
                           "G0 X0 Y0 Z5\n"           // 3
                           "G1 Z-1 F300\n"           // 4
                           "G1 X40\n"                // 5
                           "G2 X60 Y20 I0 J20\n"     // 6: three quarters round (40, 20)
                           "G1 X0 Y20\n"             // 7
                           "G51 X0 Y0 P2\n"          // 8: not followed, warns
                           "G0 Z20\n"                // 9
                           "M30\n";

class ToolpathPanelTest : public UiTest {
protected:
    ToolpathPanel &openWithPanel()
    {
        window = std::make_unique<MainWindow>(*model);
        window->resize(1180, 740);
        window->setToolpathVisible(true);
        window->show();
        QCoreApplication::processEvents();
        ToolpathPanel &panel = *window->toolpathPanel();
        openFile("part.nc", text);
        // The empty document's path may be shown first: wait for the program's.
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return panel.view()->store() && panel.view()->store()->size() > 2 && !panel.view()->picture().isNull(); },
            10000));
        return panel;
    }
    // A model whose selected machine and port are the pty's.
    void sendTo(PtyPair &pty)
    {
        ports = {{pty.slavePath(), "FTDI FT232R A50285BI"}};
        makeModel([](const QString &device) -> std::unique_ptr<SerialTransport> {
            return std::make_unique<PosixSerialTransport>(device, 3s, 2s, PosixSerialTransport::defaultOutputPending(),
                                                          50ms, 20ms, 20ms);
        });
        model->setSelectedMachineId("fadal");
        model->refreshPorts();
    }
    QPointF pixelOf(const ToolpathView &view, std::array<float, 3> p) const { return view.camera().project(p); }

    QByteArray text = program;
};

TEST_F(ToolpathPanelTest, CaretAndClickFollowEachOtherAndWarningsAreListed)
{
    makeModel();
    ToolpathPanel &panel = openWithPanel();
    ToolpathView &view = *panel.view();
    EXPECT_TRUE(panel.statusText().contains("X 0.000 to 60.000 · Y 0.000 to 40.000 · Z -1.000 to 20.000 mm"))
        << panel.statusText().toStdString();
    ASSERT_EQ(panel.warningList()->count(), 1);
    EXPECT_EQ(panel.warningList()->item(0)->data(Qt::UserRole).toInt(), 8);

    // The caret on the arc's line draws it selected: its top (40, 40) turns the selected colour.
    const std::array<double, 3> o = view.store()->origin();
    const QPointF left = pixelOf(view, {float(40 - o[0]), float(40 - o[1]), float(-1 - o[2])});
    window->editorController().goToLine(6);
    const QColor selected = ToolpathStyle::forAppearance(view.palette().color(QPalette::Window).lightness() < 128)
                                .selected;
    // The picture is redrawn on worker threads: wait for it rather than for one event pass.
    const auto arcShownSelected = [&] {
        const QImage shown = view.grab().toImage();
        for (int dy = -2; dy <= 2; ++dy)
            for (int dx = -2; dx <= 2; ++dx)
                if (shown.pixelColor(left.toPoint() + QPoint(dx, dy)) == selected)
                    return true;
        return false;
    };
    EXPECT_TRUE(QTest::qWaitFor(arcShownSelected, 5000)) << left.x() << "," << left.y();

    // A click 5 px off the middle of line 7's feed puts the caret on line 7.
    const QPointF middle = pixelOf(view, {float(30 - o[0]), float(20 - o[1]), float(-1 - o[2])});
    QTest::mouseClick(&view, Qt::LeftButton, {}, (middle + QPointF(0, 5)).toPoint());
    int line = -1, index = 0, toLine = 0, toIndex = 0;
    const auto caretLine = [&] {
        window->editorPane()->editor()->getSelection(&line, &index, &toLine, &toIndex);
        return line + 1;
    };
    EXPECT_TRUE(QTest::qWaitFor([&] { return caretLine() == 7; }, 5000)) << "caret on line " << caretLine();
}

TEST_F(ToolpathPanelTest, ATransferToAPtyMachineMovesTheMarkerBlockByBlock)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    sendTo(pty);
    text = ProgramGenerator::milling(24 * 1024, 7).toUtf8();
    ToolpathPanel &panel = openWithPanel();

    MachineEmulator::Options options;
    options.bytesPerSecond = 20000;
    options.expected = GCodeSender::preparePayload(QString::fromUtf8(text), model->selectedMachine()->lineTerminator);
    MachineEmulator machine(pty, options);
    machine.start();
    // Each step: the byte count, and the line the view marks as being received.
    QList<std::pair<qint64, int>> steps;
    QObject::connect(&model->transfer(), &TransferController::stateChanged, &panel, [&](const TransferState &state) {
        if (state.status == TransferState::Status::sending)
            steps.append({state.bytesSent, panel.view()->transferLine()});
    });
    model->send();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model->transfer().state().isActive(); }, 20000));
    EXPECT_EQ(model->transfer().state().status, TransferState::Status::success);
    EXPECT_EQ(panel.view()->transferLine(), 0); // the marker goes with the transfer

    // The marker waits for the payload's line starts, found on a worker: the first steps may have none.
    while (!steps.isEmpty() && steps.front().second == 0)
        steps.removeFirst();
    ASSERT_GE(steps.size(), 3);
    const QByteArray &payload = options.expected;
    const QByteArray end = Machine::terminatorBytes(model->selectedMachine()->lineTerminator);
    const int lines = int(payload.count(end));
    for (const auto &[bytes, line] : steps) {
        // Line n is being received while its first byte has arrived and its end has not.
        const int expected = bytes >= payload.size() ? lines + 1 : int(payload.left(bytes).count(end)) + 1;
        EXPECT_EQ(line, expected) << bytes;
    }
}

TEST_F(ToolpathPanelTest, SendFromLineSendsTheEditedPreambleThenTheRestAndTheMarkerFollowsTheDocument)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    sendTo(pty);
    text = "%\nO0042\n" + program + "%\n"; // program line n is line n + 2
    ToolpathPanel &panel = openWithPanel();

    RestartDialog beyond(*model, 99);
    EXPECT_EQ(beyond.lineBox()->value(), 14); // the spin box stops at the last line
    beyond.lineBox()->setValue(13);
    beyond.rebuild();
    EXPECT_FALSE(beyond.sendButton()->isEnabled()); // past M30: a problem, not a restart

    RestartDialog dialog(*model, 8);
    EXPECT_EQ(dialog.preambleEditor()->toPlainText().toStdString(),
              "G21 G17 G40 G80 G90\nT1 M6\nG0 Z5.0\nG0 X40.0 Y0.0\nG1 Z-1.0 F300.0\n");
    EXPECT_TRUE(dialog.restView()->toPlainText().startsWith("G2 X60 Y20 I0 J20\nG1 X0 Y20\n"));
    EXPECT_TRUE(dialog.notesLabel()->isHidden());
    EXPECT_TRUE(dialog.headerLabel()->text().endsWith("\n%\nO0042"));
    dialog.preambleEditor()->setPlainText("G21 G17 G40 G80 G90\nG0 Z25.\nG0 X40. Y0\nG1 Z-1. F100.");

    const QByteArray sent = "%\nO0042\nG21 G17 G40 G80 G90\nG0 Z25.\nG0 X40. Y0\nG1 Z-1. F100.\n" +
                            program.mid(program.indexOf("G2 X60")) + "%\n";
    MachineEmulator::Options options;
    options.bytesPerSecond = 400;
    options.expected = GCodeSender::preparePayload(QString::fromUtf8(sent), model->selectedMachine()->lineTerminator);
    MachineEmulator machine(pty, options);
    machine.start();
    QList<int> marked;
    QObject::connect(&model->transfer(), &TransferController::stateChanged, &panel, [&](const TransferState &state) {
        if (state.status == TransferState::Status::sending)
            marked.append(panel.view()->transferLine());
    });
    dialog.sendButton()->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model->transfer().state().isActive(); }, 20000));
    EXPECT_EQ(model->transfer().state().status, TransferState::Status::success);
    EXPECT_TRUE(machine.waitForBytes(options.expected.size(), 5s));
    EXPECT_TRUE(machine.receivedExactly()) << machine.firstMismatch();
    // While the header and preamble go out the marker waits on the resumed line, then follows the
    // document (once the payload's line starts are found).
    while (!marked.isEmpty() && marked.front() == 0)
        marked.removeFirst();
    ASSERT_FALSE(marked.isEmpty());
    EXPECT_GE(marked.first(), 8);
    EXPECT_EQ(marked.last(), 14);
}

} // namespace


// While a drag turns the camera the coarse level is shown (drawn off the main
// thread), and the full picture for the new angle follows the release.
TEST_F(ToolpathPanelTest, TurningShowsTheCoarseLevelThenTheFullPicture)
{
    makeModel();
    ToolpathPanel &panel = openWithPanel();
    ToolpathView &view = *panel.view();
    const ToolpathCamera before = view.camera();
    const QColor background = view.grab().toImage().pixelColor(1, 1);
    const auto inked = [&] {
        const QImage shown = view.grab().toImage();
        for (int y = 0; y < shown.height(); y += 2)
            for (int x = 0; x < shown.width(); x += 2)
                if (shown.pixelColor(x, y) != background)
                    return true;
        return false;
    };
    const QPointF from(view.width() / 2.0, view.height() / 2.0);
    QTest::mousePress(&view, Qt::LeftButton, {}, from.toPoint());
    for (const QPointF to : {from + QPointF(10, 0), from + QPointF(60, 30)}) {
        QMouseEvent move(QEvent::MouseMove, to, view.mapToGlobal(to), Qt::NoButton, Qt::LeftButton, {});
        QCoreApplication::sendEvent(&view, &move);
    }
    EXPECT_FALSE(view.camera() == before);
    // Before the full picture's 150 ms pause has run out: only the coarse level can be there.
    EXPECT_TRUE(QTest::qWaitFor(inked, 120)) << "nothing drawn while turning";
    QTest::mouseRelease(&view, Qt::LeftButton, {}, (from + QPointF(60, 30)).toPoint());
    QSignalSpy ready(&view, &ToolpathView::pictureReady);
    EXPECT_TRUE(ready.wait(5000));
    EXPECT_TRUE(inked());
}
