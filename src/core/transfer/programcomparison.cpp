#include "programcomparison.h"

#include <QStringView>

#include <algorithm>
#include <vector>

namespace {

struct Block {
    int line = 0;  // 1-based
    QString text;  // as written, trimmed
    QString key;   // without any blank: what is compared
};

QList<Block> blocksOf(const QString &text)
{
    QList<Block> blocks;
    int line = 0;
    for (QStringView view : QStringView(text).split(QLatin1Char('\n'))) {
        ++line;
        // A CR left over from CR LF (or a CR-only text) is an ending, not content.
        QString key;
        key.reserve(view.size());
        for (const QChar c : view) {
            if (c != QLatin1Char(' ') && c != QLatin1Char('\t') && c != QLatin1Char('\r')) {
                key.append(c);
            }
        }
        if (!key.isEmpty()) {
            blocks.append({line, view.trimmed().toString(), std::move(key)});
        }
    }
    while (!blocks.isEmpty() && blocks.first().key.startsWith(QLatin1Char('%'))) {
        blocks.removeFirst();
    }
    while (!blocks.isEmpty() && blocks.last().key.startsWith(QLatin1Char('%'))) {
        blocks.removeLast();
    }
    return blocks;
}

// Cells of the table the pairing may use; beyond, pairing goes by position.
constexpr qint64 kTableLimit = 16 * 1024 * 1024;

} // namespace

QList<ProgramDifference> ProgramComparison::compare(const QString &document, const QString &machine)
{
    const QList<Block> a = blocksOf(document);
    const QList<Block> b = blocksOf(machine);
    qsizetype head = 0;
    while (head < a.size() && head < b.size() && a[head].key == b[head].key) {
        ++head;
    }
    qsizetype tail = 0;
    while (tail < a.size() - head && tail < b.size() - head &&
           a[a.size() - 1 - tail].key == b[b.size() - 1 - tail].key) {
        ++tail;
    }
    const qsizetype n = a.size() - head - tail;
    const qsizetype m = b.size() - head - tail;

    QList<ProgramDifference> out;
    auto onlyDocument = [&](qsizetype i) { out.append({a[i].line, -1, a[i].text, {}}); };
    auto onlyMachine = [&](qsizetype j) { out.append({-1, b[j].line, {}, b[j].text}); };
    auto changed = [&](qsizetype i, qsizetype j) { out.append({a[i].line, b[j].line, a[i].text, b[j].text}); };

    if (n * m > kTableLimit) {
        for (qsizetype k = 0; k < std::max(n, m); ++k) {
            if (k < n && k < m) {
                if (a[head + k].key != b[head + k].key) {
                    changed(head + k, head + k);
                }
            } else if (k < n) {
                onlyDocument(head + k);
            } else {
                onlyMachine(head + k);
            }
        }
        return out;
    }

    // lcs[i][j]: common blocks of a[head+i..] and b[head+j..].
    std::vector<int> lcs(static_cast<size_t>((n + 1) * (m + 1)), 0);
    auto at = [&](qsizetype i, qsizetype j) -> int & { return lcs[static_cast<size_t>(i * (m + 1) + j)]; };
    for (qsizetype i = n - 1; i >= 0; --i) {
        for (qsizetype j = m - 1; j >= 0; --j) {
            at(i, j) = a[head + i].key == b[head + j].key ? at(i + 1, j + 1) + 1
                                                          : std::max(at(i + 1, j), at(i, j + 1));
        }
    }
    // Walk the table; a run of unmatched blocks on both sides pairs up as
    // changed blocks, which is how a user reads a corrupted line.
    qsizetype i = 0;
    qsizetype j = 0;
    QList<qsizetype> pendingA;
    QList<qsizetype> pendingB;
    auto flush = [&] {
        const qsizetype paired = std::min(pendingA.size(), pendingB.size());
        for (qsizetype k = 0; k < paired; ++k) {
            changed(pendingA[k], pendingB[k]);
        }
        for (qsizetype k = paired; k < pendingA.size(); ++k) {
            onlyDocument(pendingA[k]);
        }
        for (qsizetype k = paired; k < pendingB.size(); ++k) {
            onlyMachine(pendingB[k]);
        }
        pendingA.clear();
        pendingB.clear();
    };
    while (i < n || j < m) {
        if (i < n && j < m && a[head + i].key == b[head + j].key) {
            flush();
            ++i;
            ++j;
        } else if (j >= m || (i < n && at(i + 1, j) >= at(i, j + 1))) {
            pendingA.append(head + i++);
        } else {
            pendingB.append(head + j++);
        }
    }
    flush();
    return out;
}
