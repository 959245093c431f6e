#include "syscallfaults.h"

#include <cerrno>
#include <cstdlib>

SyscallFaults *SyscallFaults::s_current = nullptr;

SyscallFaults::SyscallFaults()
{
    if (s_current) {
        std::abort(); // two scripts at once would each see the other's calls
    }
    s_current = this;
    cserial_syscalls = {hookedOpen,      hookedWrite,     hookedPoll, hookedIoctl,
                        hookedTcgetattr, hookedTcsetattr, hookedClose};
}

SyscallFaults::~SyscallFaults()
{
    cserial_syscalls = cserial_real_syscalls;
    s_current = nullptr;
}

int SyscallFaults::fail(int error)
{
    errno = error;
    return -1;
}

std::set<int> SyscallFaults::openDescriptors() const
{
    std::lock_guard guard(m_lock);
    return m_open;
}

int SyscallFaults::openedCount() const
{
    std::lock_guard guard(m_lock);
    return m_openedCount;
}

int SyscallFaults::hookedOpen(const char *path, int flags)
{
    SyscallFaults &self = *s_current;
    const int call = ++self.m_opens;
    const int fd = self.open ? self.open(call, path, flags) : cserial_real_syscalls.open(path, flags);
    if (fd >= 0) {
        std::lock_guard guard(self.m_lock);
        self.m_open.insert(fd);
        ++self.m_openedCount;
    }
    return fd;
}

ssize_t SyscallFaults::hookedWrite(int fd, const void *buffer, size_t length)
{
    SyscallFaults &self = *s_current;
    const int call = ++self.writes;
    return self.write ? self.write(call, fd, buffer, length)
                      : cserial_real_syscalls.write(fd, buffer, length);
}

int SyscallFaults::hookedPoll(struct pollfd *fds, unsigned long count, int timeout)
{
    SyscallFaults &self = *s_current;
    const int call = ++self.polls;
    return self.poll ? self.poll(call, fds, count, timeout) : cserial_real_syscalls.poll(fds, count, timeout);
}

int SyscallFaults::hookedIoctl(int fd, unsigned long request, void *argument)
{
    SyscallFaults &self = *s_current;
    const int call = ++self.m_ioctls;
    return self.ioctl ? self.ioctl(call, fd, request, argument)
                      : cserial_real_syscalls.ioctl(fd, request, argument);
}

int SyscallFaults::hookedTcgetattr(int fd, struct termios *attributes)
{
    SyscallFaults &self = *s_current;
    const int call = ++self.m_getattrs;
    if (self.tcgetattr) {
        const int result = self.tcgetattr(call, fd);
        if (result < 0) {
            return result;
        }
    }
    return cserial_real_syscalls.tcgetattr(fd, attributes);
}

int SyscallFaults::hookedTcsetattr(int fd, int when, const struct termios *attributes)
{
    SyscallFaults &self = *s_current;
    const int call = ++self.m_setattrs;
    if (self.tcsetattr) {
        const int result = self.tcsetattr(call, fd);
        if (result < 0) {
            return result;
        }
    }
    return cserial_real_syscalls.tcsetattr(fd, when, attributes);
}

int SyscallFaults::hookedClose(int fd)
{
    SyscallFaults &self = *s_current;
    {
        std::lock_guard guard(self.m_lock);
        self.m_open.erase(fd);
    }
    return cserial_real_syscalls.close(fd);
}
