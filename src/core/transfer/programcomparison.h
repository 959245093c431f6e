#pragma once

#include <QList>
#include <QString>

// Compares a program in the editor with the one the machine holds, block by
// block. Line endings, blank lines, spaces and tabs, and "%" lines at either
// end do not count: controls store programs without them and punch them back
// in their own way. A pure function of two texts.
//
// Blocks are paired by a longest common subsequence, so one inserted or
// missing block shows as that block, not as every block after it differing.
// Past a large number of unmatched blocks in the middle the pairing falls back
// to position (the list is then long anyway, and stays quick to make).
struct ProgramDifference {
    int documentLine = -1; // 1-based line in the document; -1 when the block is only on the machine
    int machineLine = -1;  // 1-based line of the received text; -1 when only in the document
    QString documentBlock;
    QString machineBlock;

    bool operator==(const ProgramDifference &) const = default;
};

namespace ProgramComparison {
QList<ProgramDifference> compare(const QString &document, const QString &machine);
}
