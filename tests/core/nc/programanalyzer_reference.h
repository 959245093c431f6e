#pragma once

// A deliberately plain analyzer built from the three regular expressions the
// fast tokeniser replaces, QString::toDouble for values: slow, obvious, and the
// yardstick the real analyzer must match result for result.
#include "nc/programanalysis.h"
#include "base/l10n.h"

namespace ReferenceAnalyzer {

ProgramAnalysis analyze(const QString &text, AppLanguage language);

// Empty when both analyses hold the same content (ids aside), else the first difference.
QString difference(ProgramAnalysis actual, const ProgramAnalysis &expected);

} // namespace ReferenceAnalyzer
