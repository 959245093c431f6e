#include "ptypair.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

PtyPair::PtyPair()
{
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (master < 0) {
        m_error = QStringLiteral("posix_openpt: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
        return;
    }
    char name[128] = {};
    if (grantpt(master) < 0 || unlockpt(master) < 0 || ptsname_r(master, name, sizeof name) != 0) {
        m_error = QStringLiteral("pty setup: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
        ::close(master);
        return;
    }
    m_master.store(master);
    m_slavePath = QString::fromLocal8Bit(name);

    m_keeper = ::open(name, O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (m_keeper < 0) {
        m_error =
            QStringLiteral("open %1: %2").arg(m_slavePath, QString::fromLocal8Bit(std::strerror(errno)));
        return;
    }
    // A fresh pty echoes and translates; the machine's XON/XOFF must not come back as data.
    termios tio{};
    if (tcgetattr(m_keeper, &tio) == 0) {
        cfmakeraw(&tio);
        tcsetattr(m_keeper, TCSANOW, &tio);
    }
}

PtyPair::~PtyPair()
{
    closeMaster();
    if (m_keeper >= 0) {
        ::close(m_keeper);
    }
}

void PtyPair::closeMaster()
{
    const int fd = m_master.exchange(-1);
    if (fd >= 0) {
        ::close(fd);
    }
}
