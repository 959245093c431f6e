#pragma once

#include "base/l10n.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QString>

// One program as it came from a machine: the bytes exactly as received, the
// text made of them for the editor, and the lines a parity or framing error
// touched. A plain value, made once on the receiving thread.
//
// The text keeps every program character (Latin-1) and drops only what the
// tape era put around and between blocks: NUL leader, the DC1–DC4 reader and
// punch controls, DEL rub-outs and other control characters except tab. Line
// endings become "\n" whatever the machine used (CR LF, LF, CR, LF CR CR), and
// the last line gets one.
struct ReceivedProgram {
    // Which rule ended the program.
    enum class End { percent, endCode, idle, lineLost };

    QByteArray raw;                 // every byte this program consumed, leader included
    QList<qsizetype> errorOffsets;  // into `raw`
    qsizetype start = 0;            // offset in `raw` of the first program character
    QString text;
    QList<int> errorLines;          // 0-based lines of `text`, ascending, each once
    End end = End::idle;
    qint64 elapsedMs = 0;           // from the first byte to the end
    QDateTime receivedAt;           // local time the program ended

    // Builds the text and error lines from `raw`, `errorOffsets` and `start`.
    static ReceivedProgram make(QByteArray raw, QList<qsizetype> errorOffsets, qsizetype start);

    // "O1234" from the first O word (or ":1234", the ISO tape form) at the start
    // of one of the first lines; empty when the program has none.
    static QString programNumber(const QString &text);
    // The document's name: the O number, else "Received HH.MM.SS".
    QString documentName(AppLanguage language) const;

    // `folder`/`base`.`extension`, or with "-2", "-3"… appended to the base,
    // the first for which neither that file nor its ".raw" companion exists.
    static QString freePath(const QString &folder, const QString &base, const QString &extension);
    // Writes `contents` atomically. Empty on success, else the system's text.
    static QString writeFile(const QString &path, const QByteArray &contents);
    // Saves the text and the raw bytes next to each other in `folder` under
    // the document name; returns the program's path, or empty with `error` set.
    QString saveInto(const QString &folder, AppLanguage language, QString *error) const;
};

Q_DECLARE_METATYPE(ReceivedProgram)
