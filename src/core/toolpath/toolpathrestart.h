#pragma once

#include "toolpathmodalstate.h"
#include "base/l10n.h"

#include <QString>
#include <QStringList>
#include <QStringView>

// A program sent again from one of its lines, after a broken tool or a
// stop: blocks that set again the modes the earlier lines left in force
// (units, plane, offsets, tool, spindle, coolant, feed), a safe approach to
// where the tool was, then the program from that line on.
//
// Nothing here guesses silently: what the preamble cannot restore (a cycle
// or cutter compensation in force, an axis no block has set yet) becomes a
// note the user reads before anything is sent, and a line the program never
// reaches is a problem, not a restart.
struct ToolpathRestart {
    int line = 0;              // the program resumes at this line (1-based)
    QString header;            // the program's own "%" and O lines, sent first
    QString preamble;          // one block a line, each with the program's line break
    QStringList notes;         // what the preamble does not restore
    QString problem;           // set when no restart can be made from `line`
    qsizetype resumeOffset = 0; // where `line` starts in the program

    bool ok() const { return problem.isEmpty(); }
    // What goes out: the header, `preamble` (the user may have edited it),
    // then the program from the line on.
    QString text(QStringView program, const QString &preamble) const;
};

namespace ToolpathRestarts {
// Interprets the program up to `line` and builds its restart. Reading stops at
// the line, so a line near the start of a huge program costs little.
ToolpathRestart plan(QStringView program, int line, bool lathe, AppLanguage language);
// The first line whose block number is `number` (N1234 → 1234); 0 when none.
int lineOfBlock(QStringView program, qint64 number);
// The blocks that bring a machine into `state`, each ended by `lineBreak`.
// Before a tool change only the modes are set: the program's own blocks
// bring the new tool, its spindle and its approach.
QString preamble(const ToolpathModalState &state, const QString &lineBreak, bool toolChangeFollows = false);
} // namespace ToolpathRestarts
