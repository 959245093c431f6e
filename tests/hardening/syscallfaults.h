#pragma once

// Scripted faults in the serial primitives' system calls for the life of one
// object. A hook gets the call's number (from 1, per kind of call) and its
// arguments and either fails the call or hands it on; calls without a hook go
// straight through. Descriptors are tracked so a test can tell that every port
// it opened was closed again. One object at a time, outliving any thread that
// uses the port.
#include "cserial.h"

#include <atomic>
#include <cerrno>
#include <functional>
#include <mutex>
#include <set>

class SyscallFaults {
public:
    std::function<int(int call, const char *path, int flags)> open;
    std::function<ssize_t(int call, int fd, const void *buffer, size_t length)> write;
    std::function<int(int call, struct pollfd *fds, unsigned long count, int timeout)> poll;
    std::function<int(int call, int fd, unsigned long request, void *argument)> ioctl;
    std::function<int(int call)> tcgetattr; // a negative answer fails the call
    std::function<int(int call)> tcsetattr;

    SyscallFaults()
    {
        s_current = this;
        cserial_syscalls = {
            [](const char *path, int flags) {
                SyscallFaults &s = *s_current;
                const int fd =
                    s.open ? s.open(++s.m_calls[0], path, flags) : cserial_real_syscalls.open(path, flags);
                std::lock_guard guard(s.m_lock);
                if (fd >= 0) {
                    s.m_open.insert(fd);
                }
                return fd;
            },
            [](int fd, const void *buffer, size_t length) {
                SyscallFaults &s = *s_current;
                return s.write ? s.write(++s.m_calls[1], fd, buffer, length)
                               : cserial_real_syscalls.write(fd, buffer, length);
            },
            [](struct pollfd *fds, unsigned long count, int timeout) {
                SyscallFaults &s = *s_current;
                return s.poll ? s.poll(++s.m_calls[2], fds, count, timeout)
                              : cserial_real_syscalls.poll(fds, count, timeout);
            },
            [](int fd, unsigned long request, void *argument) {
                SyscallFaults &s = *s_current;
                return s.ioctl ? s.ioctl(++s.m_calls[3], fd, request, argument)
                               : cserial_real_syscalls.ioctl(fd, request, argument);
            },
            [](int fd, struct termios *attributes) {
                SyscallFaults &s = *s_current;
                return s.tcgetattr && s.tcgetattr(++s.m_calls[4]) < 0
                           ? -1
                           : cserial_real_syscalls.tcgetattr(fd, attributes);
            },
            [](int fd, int when, const struct termios *attributes) {
                SyscallFaults &s = *s_current;
                return s.tcsetattr && s.tcsetattr(++s.m_calls[5]) < 0
                           ? -1
                           : cserial_real_syscalls.tcsetattr(fd, when, attributes);
            },
            [](int fd) {
                std::lock_guard guard(s_current->m_lock);
                s_current->m_open.erase(fd);
                return cserial_real_syscalls.close(fd);
            },
            [](int fd, void *buffer, size_t length) { return cserial_real_syscalls.read(fd, buffer, length); },
        };
    }
    ~SyscallFaults()
    {
        cserial_syscalls = cserial_real_syscalls;
        s_current = nullptr;
    }

    // Fails the call with `error` in errno.
    static int fail(int error)
    {
        errno = error;
        return -1;
    }
    std::set<int> openDescriptors() const
    {
        std::lock_guard guard(m_lock);
        return m_open;
    }

private:
    static inline SyscallFaults *s_current = nullptr;
    std::atomic<int> m_calls[6] = {};
    mutable std::mutex m_lock;
    std::set<int> m_open; // guarded by m_lock
};
