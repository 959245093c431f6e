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
    const QStringView head = program.left(1 << 20);
    return cycle.match(head).hasMatch() || latheTool.match(head).hasMatch();
}
