#include "utf8blockstorage.h"

#include "base/textfile.h"

#include <algorithm>
#include <cstring>

namespace {

// Where UTF-16 unit `unit` of a block starts: the byte of the sequence that
// holds it, and 1 when the unit is the second half of a surrogate pair.
struct Location {
    qsizetype byte = 0;
    qsizetype skip = 0;
};

Location locate(const QByteArray &block, qsizetype unit)
{
    const auto *data = reinterpret_cast<const unsigned char *>(block.constData());
    qsizetype units = 0;
    for (qsizetype i = 0; i < block.size(); ++i) {
        if ((data[i] & 0xC0) == 0x80) {
            continue;
        }
        if (units == unit) {
            return {i, 0};
        }
        const qsizetype width = data[i] >= 0xF0 ? 2 : 1;
        if (units + width > unit) {
            return {i, 1};
        }
        units += width;
    }
    return {block.size(), 0};
}

// Pieces of at most `units` UTF-16 units, never splitting a surrogate pair.
QList<QByteArray> encodeInBlocks(QStringView text, qsizetype units)
{
    QList<QByteArray> blocks;
    for (qsizetype from = 0; from < text.size();) {
        qsizetype to = std::min(text.size(), from + units);
        if (to < text.size() && text[to - 1].isHighSurrogate()) {
            --to;
        }
        blocks.append(text.sliced(from, to - from).toUtf8());
        from = to;
    }
    return blocks;
}

} // namespace

Utf8BlockStorage::Utf8BlockStorage(QList<QByteArray> blocks)
{
    adopt(std::move(blocks));
}

void Utf8BlockStorage::adopt(QList<QByteArray> blocks)
{
    blocks.removeIf([](const QByteArray &block) { return block.isEmpty(); });
    m_blocks = std::move(blocks);
    recount();
}

void Utf8BlockStorage::recount()
{
    m_starts.assign(1, 0);
    m_starts.reserve(size_t(m_blocks.size()) + 1);
    for (const QByteArray &block : std::as_const(m_blocks)) {
        m_starts.push_back(m_starts.back() + TextFile::utf16Length(block));
    }
}

QString Utf8BlockStorage::text() const
{
    QString text;
    text.reserve(length());
    for (const QByteArray &block : m_blocks) {
        text.append(TextFile::decodeVerbatim(block));
    }
    return text;
}

void Utf8BlockStorage::setText(const QString &text)
{
    adopt(encodeInBlocks(text, kBlockUnits));
}

void Utf8BlockStorage::setUtf8Blocks(QList<QByteArray> blocks)
{
    adopt(std::move(blocks));
}

QList<QByteArray> Utf8BlockStorage::takeBlocks()
{
    QList<QByteArray> blocks = std::exchange(m_blocks, {});
    m_starts.assign(1, 0);
    return blocks;
}

qsizetype Utf8BlockStorage::blockAt(qsizetype position) const
{
    // The last block that starts at or before `position`.
    const auto after = std::upper_bound(m_starts.begin(), m_starts.end() - 1, position);
    return std::max<qsizetype>(0, (after - m_starts.begin()) - 1);
}

void Utf8BlockStorage::visit(qsizetype position, qsizetype length,
                             const std::function<bool(QStringView, qsizetype)> &visit) const
{
    const qsizetype end = position + length;
    for (qsizetype i = blockAt(position); i < m_blocks.size() && m_starts[i] < end; ++i) {
        const QByteArray &block = m_blocks.at(i);
        const qsizetype from = std::max(position, m_starts[i]) - m_starts[i];
        const qsizetype to = std::min(end, m_starts[i + 1]) - m_starts[i];
        if (from >= to) {
            continue;
        }
        const Location first = locate(block, from);
        const Location last = locate(block, to);
        // A range ending inside a surrogate pair decodes the whole pair.
        const qsizetype byteEnd = last.skip ? last.byte + 4 : last.byte;
        const QString piece =
            TextFile::decodeVerbatim(QByteArrayView(block.constData() + first.byte, byteEnd - first.byte));
        if (!visit(QStringView(piece).sliced(first.skip, to - from), m_starts[i] + from - position)) {
            return;
        }
    }
}

QString Utf8BlockStorage::textRange(qsizetype position, qsizetype length) const
{
    QString range;
    range.reserve(length);
    visit(position, length, [&range](QStringView piece, qsizetype) {
        range.append(piece);
        return true;
    });
    return range;
}

qsizetype Utf8BlockStorage::firstDifference(qsizetype position, QStringView expected) const
{
    Q_ASSERT(position >= 0 && position + expected.size() <= length());
    qsizetype found = -1;
    visit(position, expected.size(), [&](QStringView piece, qsizetype offset) {
        const QStringView want = expected.sliced(offset, piece.size());
        if (std::memcmp(piece.data(), want.data(), size_t(piece.size()) * sizeof(QChar)) == 0) {
            return true;
        }
        found = offset + (std::mismatch(piece.begin(), piece.end(), want.begin()).first - piece.begin());
        return false;
    });
    return found;
}

void Utf8BlockStorage::replace(qsizetype position, qsizetype removed, const QString &inserted)
{
    position = std::clamp<qsizetype>(position, 0, length());
    removed = std::clamp<qsizetype>(removed, 0, length() - position);
    if (m_blocks.isEmpty()) {
        setText(inserted);
        return;
    }
    // Only the blocks the change touches are decoded and encoded again.
    const qsizetype first = blockAt(position);
    const qsizetype last = blockAt(position + removed);
    const qsizetype start = m_starts[first];
    QString touched = textRange(start, m_starts[last + 1] - start);
    touched.replace(position - start, removed, inserted);
    QList<QByteArray> encoded = encodeInBlocks(touched, kBlockUnits);
    // Recount only the new blocks: the others keep their sizes.
    std::vector<qsizetype> units;
    for (size_t i = 0; i + 1 < m_starts.size(); ++i) {
        units.push_back(m_starts[i + 1] - m_starts[i]);
    }
    units.erase(units.begin() + first, units.begin() + last + 1);
    m_blocks.remove(first, last - first + 1);
    for (qsizetype i = 0; i < encoded.size(); ++i) {
        units.insert(units.begin() + first + i, TextFile::utf16Length(encoded[i]));
        m_blocks.insert(first + i, std::move(encoded[i]));
    }
    m_starts.assign(1, 0);
    for (const qsizetype n : units) {
        m_starts.push_back(m_starts.back() + n);
    }
}
