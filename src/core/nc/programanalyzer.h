#pragma once

#include "programanalysis.h"
#include "workspace/l10n.h"

#include <functional>

// Reads one NC program in a single pass: line count, program number, units,
// tool calls, comment lines, warnings about likely mistakes, the ranges of S,
// F, X, Y and Z, and an estimate of the machining time. Nothing fails: odd
// words are skipped and unknown codes become warnings.
//
// Runs on a background task on every edit. `isCancelled` is asked at the first
// line and then every 512 lines; when it answers true the analysis stops there
// and returns with `cancelled` set, and the caller must drop that result.
class ProgramAnalyzer {
public:
    static ProgramAnalysis analyze(const QString &text, AppLanguage language,
                                   const std::function<bool()> &isCancelled = {});
};
