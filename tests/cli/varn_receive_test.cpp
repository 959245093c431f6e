// `varn receive`: a program from a machine on a pty into a file, and Ctrl-C.
#include "programgenerator.h"
#include "ptypair.h"
#include "varnhome.h"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

// Waits until the child says it is listening: the port is open and configured.
bool waitUntilListening(QProcess &process)
{
    QByteArray err;
    for (int i = 0; i < 100 && !err.contains("Waiting for the machine"); ++i) {
        process.waitForReadyRead(100);
        err += process.readAllStandardError();
    }
    return err.contains("Waiting for the machine");
}

Machine lathe()
{
    Machine m;
    m.id = "lathe-2", m.name = "Okuma Lathe", m.baudRate = 115200;
    return m;
}

} // namespace

TEST(VarnReceive, ProgramGoesToTheFileWithTheRawBytesBesideIt)
{
    VarnHome home;
    home.store({lathe()});
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    ::fcntl(pty.masterFd(), F_SETFD, FD_CLOEXEC);
    QProcess process;
    home.start(process, {"receive", "--machine", "lathe-2", "--port", pty.slavePath(), "-o", home.path("got.nc")});
    ASSERT_TRUE(waitUntilListening(process));
    const QByteArray sent("\x12%\r\nO4321\r\nG0X10.\r\nM30\r\n%\x14");
    ASSERT_EQ(::write(pty.masterFd(), sent.constData(), size_t(sent.size())), sent.size());
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
    EXPECT_EQ(home.read("got.nc"), "%\nO4321\nG0X10.\nM30\n%\n");
    EXPECT_EQ(home.read("got.raw"), sent.chopped(1));
    EXPECT_TRUE(process.readAllStandardError().contains("Received O4321"));
}

TEST(VarnReceive, CtrlCWhileWaitingCancelsWithStatus130)
{
    VarnHome home;
    home.store({lathe()});
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    ::fcntl(pty.masterFd(), F_SETFD, FD_CLOEXEC);
    QProcess process;
    home.start(process, {"receive", "--machine", "Okuma Lathe", "--port", pty.slavePath()});
    ASSERT_TRUE(waitUntilListening(process));
    ::kill(pid_t(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(5000));
    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_TRUE(process.readAllStandardOutput().isEmpty());
}
