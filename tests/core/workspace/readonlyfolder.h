#pragma once

// A folder nobody can write into for the length of a test, even when the
// tests run as root (CI containers do): permission bits first, and where they
// do not bind, the immutable attribute. `writable()` says whether it worked,
// so a test can skip instead of passing for the wrong reason.
#include <QFile>
#include <QString>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

class ReadOnlyFolder {
public:
    explicit ReadOnlyFolder(QString path) : m_path(std::move(path))
    {
        QFile::setPermissions(m_path, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        m_immutable = writable() && setImmutable(true);
    }
    ~ReadOnlyFolder()
    {
        if (m_immutable) {
            setImmutable(false);
        }
        QFile::setPermissions(m_path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }
    ReadOnlyFolder(const ReadOnlyFolder &) = delete;
    ReadOnlyFolder &operator=(const ReadOnlyFolder &) = delete;

    bool writable() const
    {
        const QByteArray probe = QFile::encodeName(m_path + "/.probe");
        const int fd = ::open(probe.constData(), O_WRONLY | O_CREAT | O_EXCL, 0600);
        return fd >= 0 && ::close(fd) == 0 && ::unlink(probe.constData()) == 0;
    }

private:
    bool setImmutable(bool on) const
    {
        const int fd = ::open(QFile::encodeName(m_path).constData(), O_RDONLY | O_DIRECTORY);
        int flags = 0;
        bool done = fd >= 0 && ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
        flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
        done = done && ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
        if (fd >= 0) {
            ::close(fd);
        }
        return done;
    }

    QString m_path;
    bool m_immutable = false;
};
