#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

// One transfer as the log keeps it.
struct TransferLogEntry {
    enum class Direction { send, receive };

    QDateTime time; // when the transfer started
    Direction direction = Direction::send;
    QString machine;
    QString port;
    QString file;
    qint64 bytes = 0;
    QString result;  // "success", "error" or "cancelled"
    QString message; // the text the user saw at the end (an error's reason)
    qint64 durationMs = 0;

    // One line of the file: the fields separated by tabs, tabs and line
    // breaks inside a field turned into blanks.
    QString toLine() const;
    // A line toLine() wrote; nothing for one that is not (a damaged line).
    static std::optional<TransferLogEntry> fromLine(QStringView line);

    bool operator==(const TransferLogEntry &) const = default;
};

// The transfer log: every send and receive appends one line to one file
// (by default ~/.local/share/VarnEdit/transfers.log), which keeps the last
// `limit` lines.
//
// Appending is safe between processes (the window and `varn` may log at the
// same time): an advisory lock on a lock file beside the log serialises the
// writers, each line is one write(2) in append mode, and trimming rewrites the
// file atomically. A log that cannot be written is not an error a transfer
// should report: append() says false and nothing else happens.
class TransferLog {
public:
    static constexpr qsizetype defaultLimit = 10000;

    explicit TransferLog(QString filePath = defaultFilePath(), qsizetype limit = defaultLimit);

    // GenericDataLocation + "/VarnEdit/transfers.log".
    static QString defaultFilePath();
    const QString &filePath() const { return m_filePath; }

    bool append(const TransferLogEntry &entry) const;
    // The entries in file order, oldest first; damaged lines are skipped.
    QList<TransferLogEntry> entries() const;

private:
    QString m_filePath;
    qsizetype m_limit;
};
