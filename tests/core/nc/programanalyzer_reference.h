#pragma once

// A deliberately plain analyzer built from the three regular expressions the
// fast tokeniser replaces, one search per line, QString::toDouble for values.
// Slow, obvious, and the yardstick the real analyzer must match result for result.

#include "nc/programanalysis.h"
#include "workspace/l10n.h"

#include <QList>
#include <QPair>
#include <QString>

#include <optional>

namespace ReferenceAnalyzer {

ProgramAnalysis analyze(const QString &text, AppLanguage language);
QList<QPair<QString, QString>> tokens(const QString &line);
// The words of a line once its comments are blanked, as the analysis reads them.
QList<QPair<QString, QString>> codeTokens(const QString &line);
std::optional<QString> firstComment(const QString &line);
QString trimmed(const QString &line);

// Empty when both analyses hold the same content (ids aside); otherwise the
// first difference, for the failure message.
QString difference(const ProgramAnalysis &actual, const ProgramAnalysis &expected);

} // namespace ReferenceAnalyzer
