#pragma once

#include "cserial.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <set>

#include <sys/types.h>

// Puts scripted faults into the serial primitives' system calls for the life of
// one object: each hook sees the call's number (from 1, per kind of call) and its
// arguments, and either fails the call or hands it to the real one. Calls
// without a hook go straight through. Descriptors opened and closed through the
// primitives are recorded, so a test can tell that every port it opened was
// closed again. One object at a time; install it before the transfer thread
// starts and let it go after that thread has ended.
class SyscallFaults {
public:
    using OpenHook = std::function<int(int call, const char *path, int flags)>;
    using WriteHook = std::function<ssize_t(int call, int fd, const void *buffer, size_t length)>;
    using PollHook = std::function<int(int call, struct pollfd *fds, unsigned long count, int timeout)>;
    using IoctlHook = std::function<int(int call, int fd, unsigned long request, void *argument)>;
    using AttributesHook = std::function<int(int call, int fd)>;

    SyscallFaults();
    ~SyscallFaults();
    SyscallFaults(const SyscallFaults &) = delete;
    SyscallFaults &operator=(const SyscallFaults &) = delete;

    // Fails the call with `error` in errno.
    static int fail(int error);

    OpenHook open;
    WriteHook write;
    PollHook poll;
    IoctlHook ioctl;
    AttributesHook tcgetattr;
    AttributesHook tcsetattr;

    std::atomic<int> writes{0};
    std::atomic<int> polls{0};

    // Descriptors the primitives opened and have not closed yet.
    std::set<int> openDescriptors() const;
    int openedCount() const;

private:
    static SyscallFaults *s_current;

    static int hookedOpen(const char *path, int flags);
    static ssize_t hookedWrite(int fd, const void *buffer, size_t length);
    static int hookedPoll(struct pollfd *fds, unsigned long count, int timeout);
    static int hookedIoctl(int fd, unsigned long request, void *argument);
    static int hookedTcgetattr(int fd, struct termios *attributes);
    static int hookedTcsetattr(int fd, int when, const struct termios *attributes);
    static int hookedClose(int fd);

    std::atomic<int> m_opens{0};
    std::atomic<int> m_ioctls{0};
    std::atomic<int> m_getattrs{0};
    std::atomic<int> m_setattrs{0};
    mutable std::mutex m_lock;
    std::set<int> m_open;  // guarded by m_lock
    int m_openedCount = 0; // guarded by m_lock
};
