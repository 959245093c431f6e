// `varn send`, `varn machines` and `varn ports` as a shop-floor script runs them:
// the real binary, profiles from its data folder, a machine on a pty.
#include "machineemulator.h"
#include "programgenerator.h"
#include "ptypair.h"

#include "machines/machine.h"
#include "transfer/gcodesender.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

struct VarnRun {
    int status = -1;
    QByteArray out;
    QByteArray err;
};

// A private home for one test: the child gets exactly this environment, so it
// reads the profiles written here and nothing of the user's.
class VarnHome {
public:
    VarnHome()
    {
        for (const char *sub : {"/.config", "/.local/share/VarnEdit", "/.cache", "/runtime"}) {
            QDir().mkpath(m_dir.path() + QLatin1String(sub));
        }
        QFile::setPermissions(m_dir.path() + "/runtime",
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }

    QString storePath() const { return m_dir.path() + "/.local/share/VarnEdit/machines.json"; }

    void store(const QList<Machine> &machines) const
    {
        QFile file(storePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(Machine::encodeList(machines));
    }

    QString writeProgram(const QString &name, const QString &text) const
    {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.toUtf8());
        return path;
    }

    void start(QProcess &process, const QStringList &arguments) const
    {
        QProcessEnvironment env;
        const QString root = m_dir.path();
        env.insert("HOME", root);
        env.insert("XDG_CONFIG_HOME", root + "/.config");
        env.insert("XDG_DATA_HOME", root + "/.local/share");
        env.insert("XDG_CACHE_HOME", root + "/.cache");
        env.insert("XDG_RUNTIME_DIR", root + "/runtime");
        env.insert("PATH", qEnvironmentVariable("PATH"));
        env.insert("LC_ALL", "C.UTF-8"); // the system's error texts in English
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(VARN_BINARY_DIR "/src/cli/varn"), arguments);
        ASSERT_TRUE(process.waitForStarted(10000));
        process.closeWriteChannel();
    }

    VarnRun run(const QStringList &arguments) const
    {
        QProcess process;
        start(process, arguments);
        EXPECT_TRUE(process.waitForFinished(30000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
    }

private:
    QTemporaryDir m_dir;
};

Machine profile(const QString &id, const QString &name, Machine::LineTerminator terminator)
{
    Machine m;
    m.id = id;
    m.name = name;
    m.baudRate = 115200;
    m.lineTerminator = terminator;
    return m;
}

const QList<Machine> kStored = {
    profile("mill-7", "Haas Mini Mill", Machine::LineTerminator::crlf),
    profile("lathe-2", "Okuma Lathe", Machine::LineTerminator::cr),
};

// A realistic program with a character only Latin-1 holds as one byte.
QString program()
{
    return ProgramGenerator::milling(64 * 1024, 31) + QString::fromUtf8("(CHAMFER 45°)\nM30\n%\n");
}

// How many descriptors of process `pid` point at the device.
int descriptorsOf(qint64 pid, const QString &devicePath)
{
    const QByteArray path = devicePath.toLocal8Bit();
    const QString folder = QStringLiteral("/proc/%1/fd").arg(pid);
    int count = 0;
    for (const QString &entry : QDir(folder).entryList(QDir::System | QDir::NoDotAndDotDot)) {
        char target[PATH_MAX] = {};
        const QByteArray link = (folder + QLatin1Char('/') + entry).toLocal8Bit();
        if (::readlink(link.constData(), target, sizeof target - 1) > 0 && path == target) {
            ++count;
        }
    }
    return count;
}

} // namespace

TEST(VarnSend, ProgramReachesTheMachineByteForByteByIdOrName)
{
    struct Case {
        const char *machineWord;
        int profile;
        const char *language;
        QByteArray says;
    };
    const QList<Case> cases = {
        {"mill-7", 0, "en", "Transfer Completed\n"},
        {"Okuma Lathe", 1, "en", "Transfer Completed\n"},
        {"okuma lathe", 1, "es", "Transferencia completada\n"},
    };
    VarnHome home;
    home.store(kStored);
    const QString text = program();
    const QString file = home.writeProgram("part.nc", text);
    for (const Case &c : cases) {
        SCOPED_TRACE(c.machineWord);
        PtyPair pty;
        ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
        const QByteArray expected = GCodeSender::preparePayload(text, kStored[c.profile].lineTerminator);
        MachineEmulator machine(pty, {.expected = expected, .lifetime = 30s});
        machine.start();

        const VarnRun run = home.run(
            {"send", "--machine", c.machineWord, "--port", pty.slavePath(), file, "--lang", c.language});
        EXPECT_EQ(run.status, 0) << run.err.constData();
        EXPECT_EQ(run.out, c.says);
        ASSERT_TRUE(machine.waitForBytes(expected.size(), 5s));
        EXPECT_TRUE(machine.receivedExactly()) << "first wrong byte at " << machine.firstMismatch();
        EXPECT_TRUE(expected.contains("45\xB0)"));

        // Standard error is a file here: one progress line per tenth of the way.
        static const QRegularExpression percent(QStringLiteral("\\]\\s+(\\d+)%"));
        QList<int> tenths;
        for (const QByteArray &line : run.err.split('\n')) {
            const QRegularExpressionMatch match = percent.match(QString::fromUtf8(line));
            if (match.hasMatch()) {
                tenths.append(match.captured(1).toInt() / 10);
            }
        }
        EXPECT_EQ(tenths, QList<int>({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10})) << run.err.constData();
        EXPECT_EQ(run.err.count('\n'), 11) << run.err.constData();
    }
}

// The reason is the last line on standard error (progress may come before it).
TEST(VarnSend, FailuresEndWithTheSystemsReasonAndStatusOne)
{
    VarnHome home;
    home.store(kStored);
    const QString file = home.writeProgram("part.nc", program());

    const VarnRun missing =
        home.run({"send", "--machine", "mill-7", "--port", "/dev/varn-no-such-adapter", file});
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.out.isEmpty()) << missing.out.constData();
    EXPECT_EQ(missing.err, "varn: Could not open /dev/varn-no-such-adapter: No such file or directory\n");

    PtyPair pty;
    ::fcntl(pty.masterFd(), F_SETFD, FD_CLOEXEC); // or the child would keep the line up
    MachineEmulator machine(pty, {.hangUpAtByte = 20000});
    machine.start();
    const VarnRun hungUp = home.run({"send", "--machine", "mill-7", "--port", pty.slavePath(), file});
    EXPECT_TRUE(machine.hungUp());
    EXPECT_EQ(hungUp.status, 1);
    EXPECT_TRUE(hungUp.out.isEmpty()) << hungUp.out.constData();
    const QByteArray last = hungUp.err.trimmed().split('\n').last();
    EXPECT_TRUE(last == "varn: Send error: Input/output error" ||
                last == "varn: Send error: waiting for the port")
        << hungUp.err.constData();
}

TEST(VarnSend, CtrlCWhileTheMachineHoldsTheLineCancels)
{
    VarnHome home;
    home.store(kStored);
    const QString text = program();
    PtyPair pty;
    // The machine's end of the line and the pair's own slave stay out of the
    // child, so the only descriptor varn holds on the device is its port.
    ::fcntl(pty.masterFd(), F_SETFD, FD_CLOEXEC);
    ::fcntl(pty.slaveKeeperFd(), F_SETFD, FD_CLOEXEC);
    MachineEmulator machine(pty,
                            {.expected = GCodeSender::preparePayload(text, Machine::LineTerminator::crlf),
                             .holds = {MachineEmulator::Hold{.atByte = 4096}},
                             .lifetime = 30s});
    machine.start();

    QProcess process;
    home.start(process, {"send", "--machine", "mill-7", "--port", pty.slavePath(),
                         home.writeProgram("part.nc", text)});
    ASSERT_TRUE(machine.waitUntilHolding(10s));
    EXPECT_EQ(descriptorsOf(process.processId(), pty.slavePath()), 1)
        << "varn is not the one holding the port";

    const Clock::time_point interrupted = Clock::now();
    ASSERT_EQ(::kill(pid_t(process.processId()), SIGINT), 0);
    ASSERT_TRUE(process.waitForFinished(5000));
    EXPECT_LT(Clock::now() - interrupted, 1s);
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << "SIGINT killed varn instead of cancelling";
    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_EQ(process.readAllStandardOutput(), "Transfer Cancelled\n");
    EXPECT_EQ(machine.bytesWhileHeld(), 0);
}

TEST(VarnSend, UnknownMachineIsABadCallOnOneLine)
{
    VarnHome home;
    home.store(kStored);
    const VarnRun run = home.run(
        {"send", "--machine", "Mazak", "--port", "/dev/null", home.writeProgram("part.nc", "G0 X1\n")});
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(run.out.isEmpty());
    EXPECT_EQ(run.err, "varn: No machine \"Mazak\". Known machines: mill-7, lathe-2.\n");
}

TEST(VarnMachines, ListsTheStoredProfilesOrTheDefaultsWhenThereAreNone)
{
    VarnHome home;
    struct Case {
        const char *name;
        QList<Machine> stored;
        QList<Machine> listed;
    };
    const QList<Case> cases = {
        {"no file", {}, Machine::defaults()},
        {"stored profiles", kStored, kStored},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        QFile::remove(home.storePath());
        if (!c.stored.isEmpty()) {
            home.store(c.stored);
        }
        const VarnRun json = home.run({"machines", "--json"});
        EXPECT_EQ(json.status, 0);
        EXPECT_EQ(Machine::decodeList(json.out), c.listed) << json.out.constData();

        const VarnRun table = home.run({"machines"});
        EXPECT_EQ(table.status, 0);
        const QList<QByteArray> lines = table.out.trimmed().split('\n');
        ASSERT_EQ(lines.size(), c.listed.size()) << table.out.constData();
        for (qsizetype i = 0; i < lines.size(); ++i) {
            EXPECT_TRUE(lines[i].startsWith(c.listed[i].id.toUtf8())) << lines[i].constData();
            EXPECT_TRUE(lines[i].contains(c.listed[i].name.toUtf8())) << lines[i].constData();
            EXPECT_TRUE(lines[i].contains(c.listed[i].summary(AppLanguage::english).toUtf8()));
        }
    }
}

TEST(VarnPorts, JsonIsAnArrayOfPortsEvenWhenThereAreNone)
{
    VarnHome home;
    const VarnRun run = home.run({"ports", "--json"});
    EXPECT_EQ(run.status, 0);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(run.out, &error);
    ASSERT_EQ(error.error, QJsonParseError::NoError) << run.out.constData();
    ASSERT_TRUE(document.isArray());
    for (const QJsonValue &port : document.array()) {
        EXPECT_TRUE(port.toObject().value("path").toString().startsWith("/dev/"));
    }
}
