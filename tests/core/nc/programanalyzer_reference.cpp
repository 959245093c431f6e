#include "programanalyzer_reference.h"

#include "nc/gcodereference.h"

#include <QRegularExpression>

#include <cmath>

namespace {

// `\s` as the program's patterns mean it: the Unicode White_Space characters.
const QRegularExpression kWord(QStringLiteral("([A-Za-z])[\\t-\\r\\x{85}\\p{Z}]*([+-]?(?:[0-9]+\\.?[0-9]*|\\.[0-9]+))"));
const QRegularExpression kParen(QStringLiteral("\\([^)]*\\)"));
const QRegularExpression kSemi(QStringLiteral(";[^\\n]*"));

QString trimmed(const QString &line)
{
    static const QRegularExpression ends(QStringLiteral("^[\\t\\p{Zs}]+|[\\t\\p{Zs}]+$"));
    return QString(line).remove(ends);
}

std::optional<QString> firstComment(const QString &line)
{
    if (const auto paren = kParen.match(line); paren.hasMatch()) {
        return trimmed(paren.captured().mid(1, paren.capturedLength() - 2));
    }
    if (const auto semi = kSemi.match(line); semi.hasMatch()) {
        return trimmed(semi.captured().mid(1));
    }
    return std::nullopt;
}

void widen(std::optional<ProgramAnalysis::ValueRange> &range, double value)
{
    range = range ? ProgramAnalysis::ValueRange{std::min(range->min, value), std::max(range->max, value)}
                  : ProgramAnalysis::ValueRange{value, value};
}

} // namespace

ProgramAnalysis ReferenceAnalyzer::analyze(const QString &text, AppLanguage language)
{
    ProgramAnalysis result;
    const QStringList lines = QString(text).replace("\r\n", "\n").replace('\r', '\n').split('\n');
    result.lineCount = int(lines.size());
    double rapid = 8000, position[3] = {0, 0, 0}, feed = 0, time = 0;
    int motion = 0;
    bool absolute = true, spindle = false, programEnd = false, feedWarned = false;
    const auto warn = [&](int line, const QString &message) {
        result.warnings.append({QUuid::createUuid(), line, message});
    };
    for (int n = 1; n <= lines.size(); ++n) {
        const QString &line = lines[n - 1];
        const QString trim = trimmed(line);
        if (trim.startsWith('(') || trim.startsWith(';')) {
            if (const auto comment = firstComment(line)) {
                result.comments.append({QUuid::createUuid(), n, *comment});
            }
        }
        static const QRegularExpression programNumber(QStringLiteral("^[Oo](\\p{Nd}+)"));
        if (const auto match = programNumber.match(trim); !result.programNumber && match.hasMatch()) {
            result.programNumber = 'O' + match.captured(1);
        }
        double next[3] = {position[0], position[1], position[2]};
        bool move = false;
        std::optional<QString> tool;
        const QString code = QString(line).replace(kParen, " ").replace(kSemi, " ");
        for (const QRegularExpressionMatch &match : kWord.globalMatch(code)) {
            const QChar letter = match.captured(1)[0].toUpper();
            const QString value = match.captured(2);
            bool ok = false;
            const double number = value.toDouble(&ok);
            const int key = GCodeReference::canonicalKey(value).value_or(-1);
            if (letter == u'G' || letter == u'M') {
                if (letter == u'G' && key >= 0 && key <= 3) {
                    motion = key;
                } else if (letter == u'G' && (key == 20 || key == 21)) {
                    result.units = key == 21 ? QStringLiteral("mm") : language == AppLanguage::spanish ? "pulg" : "in";
                    rapid = key == 21 ? 8000 : 300;
                } else if (letter == u'G' && (key == 90 || key == 91)) {
                    absolute = key == 90;
                }
                spindle |= letter == u'M' && (key == 3 || key == 4);
                programEnd |= letter == u'M' && (key == 2 || key == 30);
                if (!GCodeReference::isKnown(letter, value)) {
                    warn(n, L10n::format(letter == u'G' ? "Unknown G code: G%@" : "Unknown M code: M%@", language, {value}));
                }
            } else if (letter == u'T') {
                tool = value;
            } else if (letter == u'S' && ok) {
                widen(result.sRange, number);
            } else if (letter == u'F' && ok) {
                feed = number;
                widen(result.fRange, number);
            } else if (const int axis = QStringLiteral("XYZ").indexOf(letter); axis >= 0 && ok) {
                next[axis] = absolute ? number : next[axis] + number;
                widen(axis == 0 ? result.xRange : axis == 1 ? result.yRange : result.zRange, next[axis]);
                move = true;
            }
        }
        if (tool) {
            result.tools.append({QUuid::createUuid(), n, *tool, firstComment(line)});
        }
        if (move) {
            const double dx = next[0] - position[0], dy = next[1] - position[1], dz = next[2] - position[2];
            time += std::sqrt(dx * dx + dy * dy + dz * dz) / (motion == 0 ? rapid : std::max(feed, 1.0)) * 60;
            std::copy(next, next + 3, position);
            if (motion != 0 && feed <= 0 && !feedWarned) {
                warn(n, L10n::text("Cutting move with F0 or no F feed rate", language));
                feedWarned = true;
            }
        }
    }
    if (!trimmed(lines[0]).startsWith('%')) {
        warn(1, L10n::text("Missing tape start marker %", language));
    }
    if (!programEnd) {
        warn(result.lineCount, L10n::text("No program end found (M30 / M02)", language));
    }
    if (!spindle && !result.tools.isEmpty()) {
        warn(1, L10n::text("Spindle is not started (missing M03 / M04)", language));
    }
    if (time > 0) {
        result.estimatedSeconds = time;
    }
    return result;
}

QString ReferenceAnalyzer::difference(ProgramAnalysis actual, const ProgramAnalysis &expected)
{
    // Entry ids are random per analysis: lend the expected ones to the entries that line up.
    const auto lend = [](auto &mine, const auto &theirs) {
        for (qsizetype i = 0; i < std::min(mine.size(), theirs.size()); ++i) {
            mine[i].id = theirs[i].id;
        }
    };
    lend(actual.tools, expected.tools);
    lend(actual.comments, expected.comments);
    lend(actual.warnings, expected.warnings);
    const auto summary = [](const ProgramAnalysis &a) {
        const auto range = [](const auto &r) { return r ? QStringLiteral("%1..%2").arg(r->min, 0, 'g', 17).arg(r->max, 0, 'g', 17) : "-"; };
        return QStringLiteral("%1 lines, %2, %3, %4 tools, %5 comments, %6 warnings, S %7 F %8 X %9 Y %10 Z %11, %12 s")
            .arg(a.lineCount).arg(a.programNumber.value_or("-"), a.units).arg(a.tools.size()).arg(a.comments.size())
            .arg(a.warnings.size()).arg(range(a.sRange), range(a.fRange), range(a.xRange), range(a.yRange), range(a.zRange))
            .arg(a.estimatedSeconds.value_or(0), 0, 'g', 17);
    };
    return actual == expected ? QString() : "analyzer:  " + summary(actual) + "\nreference: " + summary(expected);
}
