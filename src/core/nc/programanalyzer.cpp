#include "programanalyzer.h"

#include "analyzerscanner.h"
#include "gcodereference.h"

#include <QRandomGenerator>

#include <array>
#include <cmath>

namespace {

constexpr int kCancelCheckLines = 512;
constexpr double kRapidMetric = 8000;
constexpr double kRapidInch = 300;

// Known codes by number for the hot loop; every known code is below 100.
struct KnownCodes {
    std::array<bool, 100> g{};
    std::array<bool, 100> m{};
};

const KnownCodes &knownCodes()
{
    static const KnownCodes codes = [] {
        KnownCodes known;
        for (int code : GCodeReference::gCodes().keys()) {
            Q_ASSERT(code >= 0 && code < 100);
            known.g[code] = true;
        }
        for (int code : GCodeReference::mCodes().keys()) {
            Q_ASSERT(code >= 0 && code < 100);
            known.m[code] = true;
        }
        return known;
    }();
    return codes;
}

// Entry ids only need to be unique, not secret: one 128-bit seed from the
// system per analysis keeps thousands of warnings from costing a system call
// each, and is wide enough that two analyses never share a sequence.
class IdSource {
public:
    IdSource() : m_rng(seed().data(), 4) {}

    QUuid next()
    {
        quint32 words[4];
        m_rng.fillRange(words);
        // Version 4 (random) with the RFC 4122 variant, like QUuid::createUuid.
        const auto w1 = ushort(words[1] >> 16);
        const auto w2 = ushort((words[1] & 0x0FFF) | 0x4000);
        const auto b = [&](int word, int shift) { return uchar(words[word] >> shift); };
        return QUuid(words[0], w1, w2, uchar((b(2, 24) & 0x3F) | 0x80), b(2, 16), b(2, 8), b(2, 0), b(3, 24),
                     b(3, 16), b(3, 8), b(3, 0));
    }

private:
    static std::array<quint32, 4> seed()
    {
        std::array<quint32, 4> words;
        QRandomGenerator::system()->fillRange(words.data(), words.size());
        return words;
    }

    QRandomGenerator m_rng;
};

struct Position {
    double x = 0;
    double y = 0;
    double z = 0;
};

} // namespace

ProgramAnalysis ProgramAnalyzer::analyze(const QString &text, AppLanguage language,
                                         const std::function<bool()> &isCancelled)
{
    using AnalyzerScan::isBlank;
    ProgramAnalysis result;
    const KnownCodes &known = knownCodes();
    // The inch word belongs to the language itself ("pulg" is what a Spanish shop writes).
    const QString inchWord = language == AppLanguage::spanish ? QStringLiteral("pulg") : QStringLiteral("in");
    IdSource ids;
    const auto warn = [&](int line, QString message) {
        result.warnings.append({ids.next(), line, std::move(message)});
    };

    double rapidRate = kRapidMetric;
    int motionMode = 0;
    bool absolute = true;
    Position position;
    double feed = 0;
    double seconds = 0;
    bool spindleStarted = false;
    bool programEndSeen = false;
    bool feedWarned = false;
    bool firstLineHasTapeMarker = false;

    const auto *data = reinterpret_cast<const char16_t *>(text.utf16());
    const char16_t *const textEnd = data + text.size();
    const char16_t *start = data;
    int index = 0;
    for (;; ++index) {
        if (index % kCancelCheckLines == 0 && isCancelled && isCancelled()) {
            result.cancelled = true;
            return result;
        }
        const int n = index + 1;
        const char16_t *first = start;
        while (first < textEnd && isBlank(*first)) {
            ++first;
        }
        const char16_t lead = first < textEnd ? *first : u'\n';
        if (index == 0) {
            firstLineHasTapeMarker = lead == u'%';
        }

        Position target = position;
        bool isMove = false;
        QStringView tool;
        bool hasTool = false;
        double number = 0;
        // The tokeniser also finds the end of the line: "\n", "\r" or "\r\n".
        const char16_t *end = AnalyzerScan::scanLine(first, textEnd, [&](const AnalyzerScan::Word &word) {
            switch (word.letter.unicode() & ~0x20) {
            case u'G': {
                const int code = word.leadingInteger;
                if (code >= 0 && code <= 3) {
                    motionMode = code;
                } else if (code == 20) {
                    result.units = inchWord;
                    rapidRate = kRapidInch;
                } else if (code == 21) {
                    result.units = QStringLiteral("mm");
                    rapidRate = kRapidMetric;
                } else if (code == 90) {
                    absolute = true;
                } else if (code == 91) {
                    absolute = false;
                }
                if (code < 0 || code > 99 || !known.g[code]) {
                    warn(n, L10n::format("Unknown G code: G%@", language, {word.value.toString()}));
                }
                break;
            }
            case u'M': {
                const int code = word.leadingInteger;
                if (code == 3 || code == 4) {
                    spindleStarted = true;
                } else if (code == 2 || code == 30) {
                    programEndSeen = true;
                }
                if (code < 0 || code > 99 || !known.m[code]) {
                    warn(n, L10n::format("Unknown M code: M%@", language, {word.value.toString()}));
                }
                break;
            }
            case u'T':
                tool = word.value;
                hasTool = true;
                break;
            case u'S':
                if (word.number(&number)) {
                    ProgramAnalysis::ValueRange::widen(result.sRange, number);
                }
                break;
            case u'F':
                if (word.number(&number)) {
                    feed = number;
                    ProgramAnalysis::ValueRange::widen(result.fRange, number);
                }
                break;
            case u'X':
                if (word.number(&number)) {
                    target.x = absolute ? number : target.x + number;
                    ProgramAnalysis::ValueRange::widen(result.xRange, target.x);
                    isMove = true;
                }
                break;
            case u'Y':
                if (word.number(&number)) {
                    target.y = absolute ? number : target.y + number;
                    ProgramAnalysis::ValueRange::widen(result.yRange, target.y);
                    isMove = true;
                }
                break;
            case u'Z':
                if (word.number(&number)) {
                    target.z = absolute ? number : target.z + number;
                    ProgramAnalysis::ValueRange::widen(result.zRange, target.z);
                    isMove = true;
                }
                break;
            default:
                break; // N, P, Q, R, I, J, K, H, D ... carry nothing the analysis shows
            }
        });
        const QStringView line(start, end - start);

        // Comment lines and the program number come after the words only because
        // the line's end is known then; they do not depend on each other.
        if (lead == u'(' || lead == u';') {
            if (std::optional<QString> comment = AnalyzerScan::firstComment(line)) {
                result.comments.append({ids.next(), n, std::move(*comment)});
            }
        }
        if ((lead == u'O' || lead == u'o') && !result.programNumber) {
            result.programNumber = AnalyzerScan::programNumber(line);
        }
        if (hasTool) {
            result.tools.append({ids.next(), n, tool.toString(), AnalyzerScan::firstComment(line)});
        }
        if (isMove) {
            // Arcs count by their chord: close enough for an estimate, and cheap.
            const double rate = motionMode == 0 ? rapidRate : std::max(feed, 1.0);
            const double dx = target.x - position.x;
            const double dy = target.y - position.y;
            const double dz = target.z - position.z;
            seconds += std::sqrt(dx * dx + dy * dy + dz * dz) / rate * 60;
            position = target;
            if (motionMode != 0 && feed <= 0 && !feedWarned) {
                warn(n, L10n::text("Cutting move with F0 or no F feed rate", language));
                feedWarned = true;
            }
        }

        if (end == textEnd) {
            break;
        }
        start = end + ((*end == u'\r' && end + 1 < textEnd && end[1] == u'\n') ? 2 : 1);
    }
    result.lineCount = index + 1;

    if (!firstLineHasTapeMarker) {
        warn(1, L10n::text("Missing tape start marker %", language));
    }
    if (!programEndSeen) {
        warn(result.lineCount, L10n::text("No program end found (M30 / M02)", language));
    }
    // A program without tool calls never gets this one: it may be a fragment.
    if (!spindleStarted && !result.tools.isEmpty()) {
        warn(1, L10n::text("Spindle is not started (missing M03 / M04)", language));
    }
    if (seconds > 0) {
        result.estimatedSeconds = seconds;
    }
    return result;
}
