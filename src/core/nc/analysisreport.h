#pragma once

#include "nc/nctools.h"
#include "nc/programanalysis.h"
#include "base/l10n.h"

#include <QList>
#include <QString>

// The words a person reads about an analysis and about axis ranges, shared by the
// analysis panel, the model's alerts and `varn`, so every face says the same.
namespace AnalysisReport {

struct SummaryRow {
    QString key;
    QString value;
};

// "Program Number", "Lines", "Units", "Tools", "Estimated Time", "S (spindle)",
// "F (feed)" in that order; absent values read "—".
QList<SummaryRow> summaryRows(const ProgramAnalysis &analysis, AppLanguage language);
// A range as "min – max" with up to six significant digits.
QString rangeText(const std::optional<ProgramAnalysis::ValueRange> &range, AppLanguage language);
// The whole analysis as plain text: summary, tools, comments, warnings, each
// entry with its line.
QString plainText(const ProgramAnalysis &analysis, AppLanguage language);

// The axis-range alert: its title for a file name, and its message (one line per
// axis, or the sentence for a program without coordinates).
QString axisRangesTitle(const QString &fileName, AppLanguage language);
QString axisRangesMessage(const QList<NCTools::AxisRange> &ranges, AppLanguage language);

} // namespace AnalysisReport
