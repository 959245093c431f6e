#include "programanalyzer_reference.h"

#include "nc/gcodereference.h"

#include <QRegularExpression>
#include <QStringList>

#include <cmath>

namespace {

// `\s` as the program's patterns mean it: the Unicode White_Space characters.
#define WHITE_SPACE "[\\t-\\r\\x{85}\\p{Z}]"

const QRegularExpression &wordRegex()
{
    static const QRegularExpression re(
        QStringLiteral("([A-Za-z])" WHITE_SPACE "*([+-]?(?:[0-9]+\\.?[0-9]*|\\.[0-9]+))"));
    Q_ASSERT(re.isValid());
    return re;
}

const QRegularExpression &parenComment()
{
    static const QRegularExpression re(QStringLiteral("\\([^)]*\\)"));
    return re;
}

const QRegularExpression &semiComment()
{
    static const QRegularExpression re(QStringLiteral(";[^\\n]*"));
    return re;
}

void widen(std::optional<ProgramAnalysis::ValueRange> &range, double value)
{
    if (!range) {
        range = ProgramAnalysis::ValueRange{value, value};
    } else {
        range->min = std::min(range->min, value);
        range->max = std::max(range->max, value);
    }
}

} // namespace

namespace ReferenceAnalyzer {

QString trimmed(const QString &line)
{
    static const QRegularExpression ends(QStringLiteral("^[\\t\\p{Zs}]+|[\\t\\p{Zs}]+$"));
    return QString(line).remove(ends);
}

QList<QPair<QString, QString>> tokens(const QString &line)
{
    QList<QPair<QString, QString>> found;
    auto it = wordRegex().globalMatch(line);
    while (it.hasNext()) {
        const auto match = it.next();
        found.append({match.captured(1), match.captured(2)});
    }
    return found;
}

QList<QPair<QString, QString>> codeTokens(const QString &line)
{
    QString code = line;
    code.replace(parenComment(), QStringLiteral(" "));
    code.replace(semiComment(), QStringLiteral(" "));
    return tokens(code);
}

std::optional<QString> firstComment(const QString &line)
{
    if (const auto paren = parenComment().match(line); paren.hasMatch()) {
        const QString whole = paren.captured(0);
        return trimmed(whole.mid(1, whole.size() - 2));
    }
    if (const auto semi = semiComment().match(line); semi.hasMatch()) {
        return trimmed(semi.captured(0).mid(1));
    }
    return std::nullopt;
}

ProgramAnalysis analyze(const QString &text, AppLanguage language)
{
    ProgramAnalysis result;
    QString framed = text;
    framed.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    const QStringList lines = framed.split(QLatin1Char('\n'));
    result.lineCount = int(lines.size());

    const QString inchWord = language == AppLanguage::spanish ? QStringLiteral("pulg") : QStringLiteral("in");
    double rapid = 8000;
    int motion = 0;
    bool absolute = true;
    double x = 0, y = 0, z = 0, feed = 0, time = 0;
    bool spindle = false, programEnd = false, feedWarned = false;
    static const QRegularExpression programNumber(QStringLiteral("^[Oo](\\p{Nd}+)"));

    for (int i = 0; i < lines.size(); ++i) {
        const QString &line = lines[i];
        const int n = i + 1;
        const QString trim = trimmed(line);
        if (trim.startsWith(QLatin1Char('(')) || trim.startsWith(QLatin1Char(';'))) {
            if (const auto comment = firstComment(line)) {
                result.comments.append({QUuid::createUuid(), n, *comment});
            }
        }
        if (!result.programNumber) {
            if (const auto match = programNumber.match(trim); match.hasMatch()) {
                result.programNumber = QLatin1Char('O') + match.captured(1);
            }
        }
        double nx = x, ny = y, nz = z;
        bool move = false;
        std::optional<QString> tool;
        for (const auto &[letterText, value] : codeTokens(line)) {
            const QChar letter = letterText[0].toUpper();
            bool ok = false;
            const double number = value.toDouble(&ok);
            const std::optional<int> key = GCodeReference::canonicalKey(value);
            if (letter == u'G') {
                if (key && *key >= 0 && *key <= 3) {
                    motion = *key;
                } else if (key == 20) {
                    result.units = inchWord;
                    rapid = 300;
                } else if (key == 21) {
                    result.units = QStringLiteral("mm");
                    rapid = 8000;
                } else if (key == 90) {
                    absolute = true;
                } else if (key == 91) {
                    absolute = false;
                }
                if (!GCodeReference::isKnown(u'G', value)) {
                    result.warnings.append({QUuid::createUuid(), n,
                                            L10n::format("Unknown G code: G%@", language, {value})});
                }
            } else if (letter == u'M') {
                if (key == 3 || key == 4) {
                    spindle = true;
                } else if (key == 2 || key == 30) {
                    programEnd = true;
                }
                if (!GCodeReference::isKnown(u'M', value)) {
                    result.warnings.append({QUuid::createUuid(), n,
                                            L10n::format("Unknown M code: M%@", language, {value})});
                }
            } else if (letter == u'T') {
                tool = value;
            } else if (letter == u'S' && ok) {
                widen(result.sRange, number);
            } else if (letter == u'F' && ok) {
                feed = number;
                widen(result.fRange, number);
            } else if (letter == u'X' && ok) {
                nx = absolute ? number : nx + number;
                widen(result.xRange, nx);
                move = true;
            } else if (letter == u'Y' && ok) {
                ny = absolute ? number : ny + number;
                widen(result.yRange, ny);
                move = true;
            } else if (letter == u'Z' && ok) {
                nz = absolute ? number : nz + number;
                widen(result.zRange, nz);
                move = true;
            }
        }
        if (tool) {
            result.tools.append({QUuid::createUuid(), n, *tool, firstComment(line)});
        }
        if (move) {
            const double rate = motion == 0 ? rapid : std::max(feed, 1.0);
            const double dx = nx - x, dy = ny - y, dz = nz - z;
            time += std::sqrt(dx * dx + dy * dy + dz * dz) / rate * 60;
            x = nx;
            y = ny;
            z = nz;
            if (motion != 0 && feed <= 0 && !feedWarned) {
                result.warnings.append({QUuid::createUuid(), n,
                                        L10n::text("Cutting move with F0 or no F feed rate", language)});
                feedWarned = true;
            }
        }
    }

    if (!trimmed(lines[0]).startsWith(QLatin1Char('%'))) {
        result.warnings.append({QUuid::createUuid(), 1, L10n::text("Missing tape start marker %", language)});
    }
    if (!programEnd) {
        result.warnings.append(
            {QUuid::createUuid(), result.lineCount, L10n::text("No program end found (M30 / M02)", language)});
    }
    if (!spindle && !result.tools.isEmpty()) {
        result.warnings.append(
            {QUuid::createUuid(), 1, L10n::text("Spindle is not started (missing M03 / M04)", language)});
    }
    if (time > 0) {
        result.estimatedSeconds = time;
    }
    return result;
}

// One line per fact, numbers to the last bit, ids left out.
QStringList dump(const ProgramAnalysis &a)
{
    const auto number = [](double value) { return QString::number(value, 'g', 17); };
    const auto range = [&](const char *name, const std::optional<ProgramAnalysis::ValueRange> &r) {
        return QLatin1String(name) + (r ? u' ' + number(r->min) + u' ' + number(r->max) : QStringLiteral(" absent"));
    };
    QStringList lines = {QStringLiteral("lineCount %1").arg(a.lineCount),
                         QStringLiteral("programNumber ") + a.programNumber.value_or(QStringLiteral("absent")),
                         QStringLiteral("units ") + a.units};
    for (const auto &tool : a.tools) {
        lines.append(QStringLiteral("tool %1 [%2] ").arg(tool.line).arg(tool.tool) +
                     (tool.comment ? u'[' + *tool.comment + u']' : QStringLiteral("no comment")));
    }
    for (const auto &comment : a.comments) {
        lines.append(QStringLiteral("comment %1 [%2]").arg(comment.line).arg(comment.text));
    }
    for (const auto &warning : a.warnings) {
        lines.append(QStringLiteral("warning %1 %2").arg(warning.line).arg(warning.message));
    }
    lines << range("s", a.sRange) << range("f", a.fRange) << range("x", a.xRange) << range("y", a.yRange)
          << range("z", a.zRange)
          << QStringLiteral("seconds ") + (a.estimatedSeconds ? number(*a.estimatedSeconds) : QStringLiteral("absent"))
          << QStringLiteral("cancelled %1").arg(a.cancelled);
    return lines;
}

QString difference(const ProgramAnalysis &actual, const ProgramAnalysis &expected)
{
    const QStringList a = dump(actual);
    const QStringList e = dump(expected);
    for (qsizetype i = 0; i < std::max(a.size(), e.size()); ++i) {
        const QString left = i < a.size() ? a[i] : QStringLiteral("(nothing)");
        const QString right = i < e.size() ? e[i] : QStringLiteral("(nothing)");
        if (left != right) {
            return QStringLiteral("analyzer: %1\nreference: %2").arg(left, right);
        }
    }
    return {};
}

} // namespace ReferenceAnalyzer
