#include "toolpathturning.h"

#include <QRegularExpression>

bool ToolpathTurning::looksLikeTurning(QStringView program)
{
    // Comments are not skipped: a lathe habit quoted in a comment is rare enough.
    static const QRegularExpression cycle(
        QStringLiteral("(?<![A-Z])G0?7[0-3](?![0-9.])[^\\n(;]*P[^\\n(;]*Q"),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression latheTool(QStringLiteral("(?<![A-Z])T[0-9]{4}(?![0-9.])"),
                                              QRegularExpression::CaseInsensitiveOption);
    // G7/G8 (diameter or radius mode) beside G18: a mill's G8 is look-ahead, never in the XZ plane.
    static const QRegularExpression diameterMode(
        QStringLiteral("(?<![A-Z0-9.])G0?18(?![0-9.])[^\\n(;]*(?<![A-Z0-9.])G0?[78](?![0-9.])|"
                       "(?<![A-Z0-9.])G0?[78](?![0-9.])[^\\n(;]*(?<![A-Z0-9.])G0?18(?![0-9.])"),
        QRegularExpression::CaseInsensitiveOption);
    const QStringView head = program.left(1 << 20);
    return cycle.match(head).hasMatch() || latheTool.match(head).hasMatch() || diameterMode.match(head).hasMatch();
}
