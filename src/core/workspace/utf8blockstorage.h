#pragma once

#include "workspace/editordocument.h"

#include <QByteArray>
#include <QList>

#include <functional>
#include <vector>

// A document's text as UTF-8 in blocks of a few megabytes, the way a file
// is read: half the memory of a QString for a program, and blocks the editor
// can take over one at a time. The blocks must be valid UTF-8 and must not
// split a sequence; those read from a file end after a line break.
//
// Positions are UTF-16 units, as for every storage. Reading a range decodes
// only the blocks it touches; `text()` decodes them all, for the rare whole-
// text work (tools, saving, analysis). `replace` re-encodes only the blocks it
// touches.
class Utf8BlockStorage final : public DocumentTextStorage {
public:
    explicit Utf8BlockStorage(QList<QByteArray> blocks = {});

    qsizetype length() const override { return m_starts.back(); }
    QString text() const override;
    void setText(const QString &text) override;
    void replace(qsizetype position, qsizetype removed, const QString &inserted) override;
    qsizetype firstDifference(qsizetype position, QStringView expected) const override;
    QString textRange(qsizetype position, qsizetype length) const override;
    QList<QByteArray> utf8Blocks() const override { return m_blocks; }
    void setUtf8Blocks(QList<QByteArray> blocks) override;

    // Hands the blocks over and leaves the storage empty.
    QList<QByteArray> takeBlocks();

    static constexpr qsizetype kBlockUnits = qsizetype(4) << 20;

private:
    void adopt(QList<QByteArray> blocks);
    void recount();
    qsizetype blockAt(qsizetype position) const;
    // Calls `visit` with the decoded pieces of [position, position + length),
    // in order, each with its offset from `position`; stops when it returns false.
    void visit(qsizetype position, qsizetype length,
               const std::function<bool(QStringView piece, qsizetype offset)> &visit) const;

    QList<QByteArray> m_blocks; // none empty
    // UTF-16 start of each block, and the total length last.
    std::vector<qsizetype> m_starts{0};
};
