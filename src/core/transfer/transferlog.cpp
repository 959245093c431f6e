#include "transferlog.h"

#include "base/textfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

constexpr int kFieldCount = 9;

QString cleanField(QString text)
{
    for (QChar &c : text) {
        if (c == u'\t' || c == u'\n' || c == u'\r') {
            c = u' ';
        }
    }
    return text;
}

// Holds an exclusive flock on the log's lock file for its lifetime. Waiting is
// bounded by the other writer's one append (or trim), so it blocks.
class FileLock {
public:
    explicit FileLock(const QString &path)
    {
        m_fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (m_fd >= 0) {
            while (::flock(m_fd, LOCK_EX) < 0 && errno == EINTR) {
            }
        }
    }
    ~FileLock()
    {
        if (m_fd >= 0) {
            ::close(m_fd); // releases the lock
        }
    }
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;

private:
    int m_fd = -1;
};

// One write(2) with O_APPEND: a line lands whole at the end even if another
// process appends without the lock.
bool appendLine(const QString &path, const QByteArray &line)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        return false;
    }
    qsizetype done = 0;
    while (done < line.size()) {
        const ssize_t written = ::write(fd, line.constData() + done, size_t(line.size() - done));
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            ::close(fd);
            return false;
        }
        done += written;
    }
    return ::close(fd) == 0;
}

} // namespace

QString TransferLogEntry::toLine() const
{
    const QStringList fields = {
        time.toString(Qt::ISODateWithMs),
        direction == Direction::send ? QStringLiteral("send") : QStringLiteral("receive"),
        cleanField(machine),
        cleanField(port),
        cleanField(file),
        QString::number(bytes),
        cleanField(result),
        QString::number(durationMs),
        cleanField(message),
    };
    return fields.join(QLatin1Char('\t'));
}

std::optional<TransferLogEntry> TransferLogEntry::fromLine(QStringView line)
{
    const QList<QStringView> fields = line.split(u'\t');
    if (fields.size() != kFieldCount) {
        return std::nullopt;
    }
    TransferLogEntry entry;
    entry.time = QDateTime::fromString(fields[0].toString(), Qt::ISODateWithMs);
    if (!entry.time.isValid()) {
        return std::nullopt;
    }
    if (fields[1] == u"send") {
        entry.direction = Direction::send;
    } else if (fields[1] == u"receive") {
        entry.direction = Direction::receive;
    } else {
        return std::nullopt;
    }
    bool bytesOk = false;
    bool durationOk = false;
    entry.machine = fields[2].toString();
    entry.port = fields[3].toString();
    entry.file = fields[4].toString();
    entry.bytes = fields[5].toLongLong(&bytesOk);
    entry.result = fields[6].toString();
    entry.durationMs = fields[7].toLongLong(&durationOk);
    entry.message = fields[8].toString();
    if (!bytesOk || !durationOk) {
        return std::nullopt;
    }
    return entry;
}

TransferLog::TransferLog(QString filePath, qsizetype limit) : m_filePath(std::move(filePath)), m_limit(limit) {}

QString TransferLog::defaultFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/VarnEdit/transfers.log");
}

bool TransferLog::append(const TransferLogEntry &entry) const
{
    QDir().mkpath(QFileInfo(m_filePath).absolutePath());
    const FileLock lock(m_filePath + QStringLiteral(".lock"));
    if (!appendLine(m_filePath, (entry.toLine() + QLatin1Char('\n')).toUtf8())) {
        return false;
    }
    // No line is shorter than 40 bytes (the time alone takes 29), so a file
    // this small cannot hold more than the limit and is not read back. Past
    // that, each append reads the file (a megabyte or so, once per transfer)
    // and keeps the last `limit` lines.
    if (QFileInfo(m_filePath).size() <= m_limit * 40) {
        return true;
    }
    QFile file(m_filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        return true;
    }
    const QByteArray all = file.readAll();
    file.close();
    qsizetype lines = all.count('\n');
    if (lines <= m_limit) {
        return true;
    }
    qsizetype cut = 0;
    while (lines > m_limit) {
        cut = all.indexOf('\n', cut) + 1;
        --lines;
    }
    return TextFile::writeBytesAtomically(m_filePath, all.sliced(cut)).isEmpty();
}

QList<TransferLogEntry> TransferLog::entries() const
{
    QFile file(m_filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QString text = QString::fromUtf8(file.readAll());
    QList<TransferLogEntry> out;
    for (QStringView line : QStringView(text).split(u'\n', Qt::SkipEmptyParts)) {
        if (auto entry = TransferLogEntry::fromLine(line)) {
            out.append(std::move(*entry));
        }
    }
    return out;
}
