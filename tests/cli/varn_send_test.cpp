// `varn send`, `varn machines` and `varn ports`: profiles from the home's data folder, a machine on a pty.
#include "machineemulator.h"
#include "programgenerator.h"
#include "ptypair.h"
#include "varnhome.h"

#include "transfer/gcodesender.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <csignal>
#include <fcntl.h>

using namespace std::chrono_literals;

namespace {

Machine profile(const QString &id, const QString &name, Machine::LineTerminator terminator)
{
    Machine m;
    m.id = id, m.name = name, m.baudRate = 115200, m.lineTerminator = terminator;
    return m;
}

const QList<Machine> kStored = {profile("mill-7", "Haas Mini Mill", Machine::LineTerminator::crlf),
                                profile("lathe-2", "Okuma Lathe", Machine::LineTerminator::cr)};

// A realistic program with a character only Latin-1 holds as one byte.
const QString kProgram = ProgramGenerator::milling(64 * 1024, 31) + QString::fromUtf8("(CHAMFER 45°)\nM30\n%\n");

} // namespace

TEST(VarnSend, ProgramReachesTheMachineByteForByteByIdOrNameWithProgressOnStandardError)
{
    const struct {
        const char *machine;
        int profile;
        const char *language;
        QByteArray says;
    } cases[] = {{"mill-7", 0, "en", "Transfer Completed\n"},
                 {"Okuma Lathe", 1, "en", "Transfer Completed\n"},
                 {"okuma lathe", 1, "es", "Transferencia completada\n"}};
    VarnHome home;
    home.store(kStored);
    const QString file = home.write("part.nc", kProgram.toUtf8());
    for (const auto &c : cases) {
        SCOPED_TRACE(c.machine);
        PtyPair pty;
        ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
        const QByteArray expected = GCodeSender::preparePayload(kProgram, kStored[c.profile].lineTerminator);
        ASSERT_TRUE(expected.contains("45\xB0)"));
        MachineEmulator machine(pty, {.expected = expected, .lifetime = 30s});
        machine.start();

        const VarnRun run =
            home.run({"send", "--machine", c.machine, "--port", pty.slavePath(), file, "--lang", c.language});
        EXPECT_EQ(run.status, 0) << run.err.constData();
        EXPECT_EQ(run.out, c.says);
        ASSERT_TRUE(machine.waitForBytes(expected.size(), 5s));
        EXPECT_TRUE(machine.receivedExactly()) << "first wrong byte at " << machine.firstMismatch();

        // Standard error is a file here: one progress line per tenth of the way.
        static const QRegularExpression percent(QStringLiteral("\\]\\s+(\\d+)%"));
        QList<int> tenths;
        for (const QByteArray &line : run.err.split('\n')) {
            if (const auto match = percent.match(QString::fromUtf8(line)); match.hasMatch()) {
                tenths.append(match.captured(1).toInt() / 10);
            }
        }
        EXPECT_EQ(tenths, QList<int>({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10})) << run.err.constData();
        EXPECT_EQ(run.err.count('\n'), 11) << run.err.constData();
    }
}

TEST(VarnSend, AMissingPortEndsWithTheSystemsReasonAndStatusOneAnUnknownMachineWithTwo)
{
    VarnHome home;
    home.store(kStored);
    const QString file = home.write("part.nc", "G0 X1\n");
    const VarnRun missing = home.run({"send", "--machine", "mill-7", "--port", "/dev/varn-no-such-adapter", file});
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.out.isEmpty()) << missing.out.constData();
    EXPECT_EQ(missing.err, "varn: Could not open /dev/varn-no-such-adapter: No such file or directory\n");

    const VarnRun unknown = home.run({"send", "--machine", "Mazak", "--port", "/dev/null", file});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_TRUE(unknown.out.isEmpty());
    EXPECT_EQ(unknown.err, "varn: No machine \"Mazak\". Known machines: mill-7, lathe-2.\n");
}

TEST(VarnSend, FromBlockPrintsThePreambleThenSendsItAndTheRestOfTheProgram)
{
    VarnHome home;
    home.store(kStored);
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    const QString program = QStringLiteral("O0003\nG20 G90\nT4 M6\nG43 H4 Z1.\nS2500 M3 M8\nG0 X1. Y2.\n"
                                           "G1 Z-0.05 F8.5\nN70 X3.\nM30\n");
    const QString preamble = QStringLiteral("G20 G17 G40 G80 G90\nT4 M6\nS2500 M3\nM8\nG0 G43 H4 Z1.0\n"
                                            "G0 X1.0 Y2.0\nG1 Z-0.05 F8.5\n");
    const QByteArray expected = GCodeSender::preparePayload(QStringLiteral("O0003\n") + preamble +
                                                                QStringLiteral("N70 X3.\nM30\n"),
                                                            Machine::LineTerminator::crlf);
    MachineEmulator machine(pty, {.expected = expected});
    machine.start();
    const VarnRun run = home.run({"send", "--machine", "mill-7", "--port", pty.slavePath(), "--from-block", "N70",
                                  home.write("part.nc", program.toUtf8())});
    EXPECT_EQ(run.status, 0) << run.err.constData();
    EXPECT_EQ(run.out, "Restart preamble for line 8:\n" + preamble.toUtf8() + "Transfer Completed\n");
    ASSERT_TRUE(machine.waitForBytes(expected.size(), 5s));
    EXPECT_TRUE(machine.receivedExactly()) << "first wrong byte at " << machine.firstMismatch();
}

TEST(VarnSend, CtrlCWhileTheMachineHoldsTheLineCancelsWithStatus130)
{
    VarnHome home;
    home.store(kStored);
    PtyPair pty;
    ::fcntl(pty.masterFd(), F_SETFD, FD_CLOEXEC); // the machine's end of the line stays out of the child
    MachineEmulator machine(pty, {.expected = GCodeSender::preparePayload(kProgram, Machine::LineTerminator::crlf),
                                  .holds = {MachineEmulator::Hold{.atByte = 4096}},
                                  .lifetime = 30s});
    machine.start();
    QProcess process;
    home.start(process, {"send", "--machine", "mill-7", "--port", pty.slavePath(), home.write("part.nc", kProgram.toUtf8())});
    ASSERT_TRUE(machine.waitUntilHolding(10s));

    ASSERT_EQ(::kill(pid_t(process.processId()), SIGINT), 0);
    ASSERT_TRUE(process.waitForFinished(1000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << "SIGINT killed varn instead of cancelling";
    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_EQ(process.readAllStandardOutput(), "Transfer Cancelled\n");
    EXPECT_EQ(machine.bytesWhileHeld(), 0);
}

TEST(VarnMachinesAndPorts, JsonListsTheStoredProfilesOrTheDefaultsAndAnArrayOfPorts)
{
    VarnHome home;
    EXPECT_EQ(Machine::decodeList(home.run({"machines", "--json"}).out), Machine::defaults());
    home.store(kStored);
    EXPECT_EQ(Machine::decodeList(home.run({"machines", "--json"}).out), kStored);
    const QByteArray listed = home.run({"machines"}).out;
    EXPECT_TRUE(listed.startsWith("mill-7") && listed.contains(kStored[1].summary(AppLanguage::english).toUtf8()));

    const VarnRun ports = home.run({"ports", "--json"});
    EXPECT_EQ(ports.status, 0);
    const QJsonDocument document = QJsonDocument::fromJson(ports.out);
    ASSERT_TRUE(document.isArray()) << ports.out.constData();
    for (const QJsonValue &port : document.array()) {
        EXPECT_TRUE(port.toObject().value("path").toString().startsWith("/dev/"));
    }
}
