// The program tools and their prompts: what the user may type, and the
// checks that keep any answer away from the tools' overflow traps.
#include "appmodel.h"

#include "nc/analysisreport.h"
#include "nc/nctools.h"
#include "workspace/dialogs.h"
#include "workspace/editornavigator.h"

#include <cmath>
#include <limits>

namespace {

// Renumbering and numbering always count from 10 in steps of 10.
constexpr qint64 kNumberingStart = 10;
constexpr qint64 kNumberingStep = 10;

// A percentage as people type it: blanks around it, a decimal point or a
// decimal comma, an optional "%" at the end. None for anything else.
std::optional<double> parsePercentage(QString answer)
{
    answer = answer.trimmed();
    if (answer.endsWith(QLatin1Char('%'))) {
        answer.chop(1);
        answer = answer.trimmed();
    }
    answer.replace(QLatin1Char(','), QLatin1Char('.'));
    bool ok = false;
    const double value = answer.toDouble(&ok);
    if (!ok || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

struct GoToTarget {
    bool block = false;
    qint64 number = 0;
};

// "120" is a line, "N120" (or "n120", "N 120") a block; anything else, or a
// number past 64 bits, is no target.
std::optional<GoToTarget> parseGoTo(QString answer)
{
    answer = answer.trimmed();
    GoToTarget target;
    if (answer.startsWith(QLatin1Char('N'), Qt::CaseInsensitive)) {
        target.block = true;
        answer = answer.mid(1).trimmed();
    }
    if (answer.isEmpty() || !std::all_of(answer.cbegin(), answer.cend(), [](QChar c) { return c.isDigit() && c.unicode() < 128; })) {
        return std::nullopt;
    }
    bool ok = false;
    target.number = answer.toLongLong(&ok);
    if (!ok) {
        return std::nullopt;
    }
    return target;
}

} // namespace

std::optional<QString> AppModel::askPrompt(const QString &title, const QString &message, const QString &defaultText)
{
    if (!m_dialogs || !selectedDocument()) {
        return std::nullopt;
    }
    return m_dialogs->prompt(title, message, defaultText, L10n::text("Apply", m_language),
                             L10n::text("Cancel", m_language));
}

void AppModel::apply(const std::function<QString(const QString &)> &transform)
{
    EditorDocument *doc = selectedDocument();
    if (!doc || doc->isLoading()) {
        return;
    }
    doc->setText(transform(doc->text()));
}

void AppModel::applyTool(Tool tool)
{
    EditorDocument *doc = selectedDocument();
    if (!doc || doc->isLoading()) {
        return;
    }
    switch (tool) {
    case Tool::renumber:
    case Tool::addLineNumbers: {
        const QString text = doc->text();
        // A program with more blocks than 64-bit N numbers can hold is not a
        // real one, but it must not take the program down.
        if (!NCTools::numberingFits(text, kNumberingStart, kNumberingStep)) {
            if (m_dialogs) {
                m_dialogs->beep();
            }
            return;
        }
        doc->setText(tool == Tool::renumber ? NCTools::renumber(text, kNumberingStart, kNumberingStep)
                                            : NCTools::addLineNumbers(text, kNumberingStart, kNumberingStep));
        return;
    }
    case Tool::removeLineNumbers:
        apply(NCTools::removeLineNumbers);
        return;
    case Tool::formatSpacing:
        apply(NCTools::formatSpacing);
        return;
    case Tool::removeCoolant:
        apply(NCTools::removeCoolant);
        return;
    }
}

void AppModel::goToPrompt()
{
    const std::optional<QString> answer =
        askPrompt(L10n::text("Go To", m_language),
                  L10n::text("Line number or N block number (e.g. 120 or N120):", m_language), QString());
    if (!answer || !m_editor) {
        return;
    }
    const std::optional<GoToTarget> target = parseGoTo(*answer);
    if (!target) {
        return;
    }
    if (target->block) {
        m_editor->goToBlockN(target->number);
    } else {
        // Past the end means the last line, so a huge number is as good as INT_MAX.
        m_editor->goToLine(int(std::min<qint64>(target->number, std::numeric_limits<int>::max())));
    }
}

void AppModel::removeMCodesPrompt()
{
    const std::optional<QString> answer =
        askPrompt(L10n::text("Remove M Codes", m_language),
                  L10n::text("M codes to remove, separated by commas (e.g. 8, 9, 0):", m_language),
                  QStringLiteral("8, 9"));
    if (!answer) {
        return;
    }
    const QList<qint64> codes = NCTools::parseMCodeList(*answer);
    if (codes.isEmpty()) {
        return;
    }
    apply([&codes](const QString &text) { return NCTools::removeMCodes(text, codes); });
}

void AppModel::reduceFeedPrompt()
{
    const std::optional<QString> answer =
        askPrompt(L10n::text("Reduce Feed", m_language),
                  L10n::text("Reduce ALL F feed rates by this percentage:", m_language), QStringLiteral("10"));
    if (!answer) {
        return;
    }
    const std::optional<double> percent = parsePercentage(*answer);
    if (!percent || !(*percent > 0 && *percent < 100)) {
        return;
    }
    const double factor = 1 - *percent / 100;
    apply([factor](const QString &text) { return NCTools::scaleFeed(text, factor); });
}

void AppModel::adjustSpindlePrompt()
{
    const std::optional<QString> answer = askPrompt(
        L10n::text("Adjust Spindle S", m_language),
        L10n::text("Change ALL S values by % (positive increases, negative decreases):", m_language),
        QStringLiteral("0"));
    if (!answer) {
        return;
    }
    const std::optional<double> percent = parsePercentage(*answer);
    if (!percent || *percent == 0) {
        return;
    }
    const double factor = 1 + *percent / 100;
    EditorDocument *doc = selectedDocument();
    const QString text = doc->text();
    // A reduction can only shrink values; a large increase could push an S
    // word past 64 bits, which the tool treats as fatal.
    if (!NCTools::scalingFits(text, QLatin1Char('S'), factor)) {
        if (m_dialogs) {
            m_dialogs->beep();
        }
        return;
    }
    apply([factor](const QString &current) { return NCTools::scaleSpindle(current, factor); });
}

void AppModel::showAxisRanges()
{
    EditorDocument *doc = selectedDocument();
    if (!doc) {
        return;
    }
    const QList<NCTools::AxisRange> ranges =
        NCTools::axisRanges(doc->text(), {QLatin1Char('X'), QLatin1Char('Y'), QLatin1Char('Z')});
    setAlert(AnalysisReport::axisRangesTitle(doc->displayName(m_language), m_language),
             AnalysisReport::axisRangesMessage(ranges, m_language));
}
