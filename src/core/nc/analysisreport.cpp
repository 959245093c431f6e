#include "analysisreport.h"

namespace {

using ValueRange = ProgramAnalysis::ValueRange;
using ToolEntry = ProgramAnalysis::ToolEntry;
using CommentEntry = ProgramAnalysis::CommentEntry;
using Warning = ProgramAnalysis::Warning;
using NCTools::AxisRange;

const QString kAbsent = QStringLiteral("—");

QString lineColumn(int line, int width)
{
    return QString::number(line).rightJustified(width);
}

} // namespace

QString AnalysisReport::rangeText(const std::optional<ValueRange> &range, AppLanguage language)
{
    if (!range) {
        return kAbsent;
    }
    return L10n::number(range->min, "%g", language) + QStringLiteral(" – ") + L10n::number(range->max, "%g", language);
}

QList<AnalysisReport::SummaryRow> AnalysisReport::summaryRows(const ProgramAnalysis &analysis, AppLanguage language)
{
    QStringList tools;
    for (const ToolEntry &entry : analysis.tools) {
        const QString name = QStringLiteral("T") + entry.tool;
        if (!tools.contains(name)) {
            tools.append(name);
        }
    }
    return {
        {L10n::text("Program Number", language), analysis.programNumber.value_or(kAbsent)},
        {L10n::text("Lines", language), QString::number(analysis.lineCount)},
        {L10n::text("Units", language), analysis.units},
        {L10n::text("Tools", language), tools.isEmpty() ? kAbsent : tools.join(QStringLiteral(", "))},
        {L10n::text("Estimated Time", language), analysis.estimatedTimeText().value_or(kAbsent)},
        {L10n::text("S (spindle)", language), rangeText(analysis.sRange, language)},
        {L10n::text("F (feed)", language), rangeText(analysis.fRange, language)},
    };
}

QString AnalysisReport::plainText(const ProgramAnalysis &analysis, AppLanguage language)
{
    const int width = int(QString::number(qMax(analysis.lineCount, 1)).size());
    const QString lineLabel = L10n::text("Line", language);
    QString out;
    auto section = [&](const char *title) {
        if (!out.isEmpty()) {
            out += QLatin1Char('\n');
        }
        out += L10n::text(title, language) + QLatin1Char('\n');
    };
    auto entry = [&](int line, const QString &text) {
        out += QStringLiteral("  ") + lineLabel + QLatin1Char(' ') + lineColumn(line, width) + QStringLiteral("  ") +
               text + QLatin1Char('\n');
    };

    section("Summary");
    const QList<SummaryRow> rows = summaryRows(analysis, language);
    qsizetype keyWidth = 0;
    for (const SummaryRow &row : rows) {
        keyWidth = qMax(keyWidth, row.key.size());
    }
    for (const SummaryRow &row : rows) {
        out += QStringLiteral("  ") + row.key.leftJustified(keyWidth) + QStringLiteral("  ") + row.value +
               QLatin1Char('\n');
    }

    section("Tools");
    for (const ToolEntry &tool : analysis.tools) {
        QString text = QStringLiteral("T") + tool.tool;
        if (tool.comment) {
            text += QStringLiteral("  ") + *tool.comment;
        }
        entry(tool.line, text);
    }
    section("Comments");
    for (const CommentEntry &comment : analysis.comments) {
        entry(comment.line, comment.text);
    }
    section("Warnings");
    if (analysis.warnings.isEmpty()) {
        out += QStringLiteral("  ") + L10n::text("No Warnings", language) + QLatin1Char('\n');
    }
    for (const Warning &warning : analysis.warnings) {
        entry(warning.line, warning.message);
    }
    return out;
}

QString AnalysisReport::axisRangesTitle(const QString &fileName, AppLanguage language)
{
    return L10n::format("Axis Ranges (%@)", language, {fileName});
}

QString AnalysisReport::axisRangesMessage(const QList<AxisRange> &ranges, AppLanguage language)
{
    if (ranges.isEmpty()) {
        return L10n::text("No X, Y, or Z coordinates were found in the program.", language);
    }
    QStringList lines;
    const QString format = L10n::text("%@:   min %.4g    max %.4g    (Δ %.4g)", language);
    for (const AxisRange &range : ranges) {
        lines.append(L10n::fill(format, {QString(range.axis), L10n::number(range.min, "%.4g", language),
                                         L10n::number(range.max, "%.4g", language),
                                         L10n::number(range.max - range.min, "%.4g", language)}));
    }
    return lines.join(QLatin1Char('\n'));
}
