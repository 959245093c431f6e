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
std::array<quint32, 4> systemSeed()
{
    std::array<quint32, 4> words;
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    return words;
}

} // namespace

ProgramAnalyzer::Session::Session(AppLanguage language, std::function<bool()> isCancelled)
    : m_language(language),
      // The inch word belongs to the language itself ("pulg" is what a Spanish shop writes).
      m_inchWord(language == AppLanguage::spanish ? QStringLiteral("pulg") : QStringLiteral("in")),
      m_isCancelled(std::move(isCancelled)), m_ids(systemSeed().data(), 4)
{
}

QUuid ProgramAnalyzer::Session::nextId()
{
    quint32 words[4];
    m_ids.fillRange(words);
    // Version 4 (random) with the RFC 4122 variant, like QUuid::createUuid.
    const auto w1 = ushort(words[1] >> 16);
    const auto w2 = ushort((words[1] & 0x0FFF) | 0x4000);
    const auto b = [&](int word, int shift) { return uchar(words[word] >> shift); };
    return QUuid(words[0], w1, w2, uchar((b(2, 24) & 0x3F) | 0x80), b(2, 16), b(2, 8), b(2, 0), b(3, 24),
                 b(3, 16), b(3, 8), b(3, 0));
}

void ProgramAnalyzer::Session::warn(int line, QString message)
{
    m_result.warnings.append({nextId(), line, std::move(message)});
}

// Asked before each line; only every 512th line asks the task.
Q_ALWAYS_INLINE bool ProgramAnalyzer::Session::cancelledAt(int index)
{
    if (index % kCancelCheckLines == 0 && m_isCancelled && m_isCancelled()) {
        m_result.cancelled = true;
        m_stopped = true;
    }
    return m_stopped;
}

// One line from `start`; `limit` is the end of the text the line may run to.
// Returns where the line ends: its line break, or `limit`.
Q_ALWAYS_INLINE const char16_t *ProgramAnalyzer::Session::readLine(State &s, const char16_t *start,
                                                                   const char16_t *limit)
{
    using AnalyzerScan::isBlank;
    const KnownCodes &known = knownCodes();
    const int n = ++s.index;
    const char16_t *first = start;
    while (first < limit && isBlank(*first)) {
        ++first;
    }
    const char16_t lead = first < limit ? *first : u'\n';
    if (n == 1) {
        s.firstLineHasTapeMarker = lead == u'%';
    }

    double x = s.x;
    double y = s.y;
    double z = s.z;
    bool isMove = false;
    QStringView tool;
    bool hasTool = false;
    double number = 0;
    // The tokeniser also finds the end of the line: "\n", "\r" or "\r\n".
    const char16_t *end = AnalyzerScan::scanLine(first, limit, [&](const AnalyzerScan::Word &word) {
        switch (word.letter.unicode() & ~0x20) {
        case u'G': {
            const int code = word.leadingInteger;
            if (code >= 0 && code <= 3) {
                s.motionMode = code;
            } else if (code == 20) {
                m_result.units = m_inchWord;
                s.rapidRate = kRapidInch;
            } else if (code == 21) {
                m_result.units = QStringLiteral("mm");
                s.rapidRate = kRapidMetric;
            } else if (code == 90) {
                s.absolute = true;
            } else if (code == 91) {
                s.absolute = false;
            }
            if (code < 0 || code > 99 || !known.g[code]) {
                warn(n, L10n::format("Unknown G code: G%@", m_language, {word.value.toString()}));
            }
            break;
        }
        case u'M': {
            const int code = word.leadingInteger;
            if (code == 3 || code == 4) {
                s.spindleStarted = true;
            } else if (code == 2 || code == 30) {
                s.programEndSeen = true;
            }
            if (code < 0 || code > 99 || !known.m[code]) {
                warn(n, L10n::format("Unknown M code: M%@", m_language, {word.value.toString()}));
            }
            break;
        }
        case u'T':
            tool = word.value;
            hasTool = true;
            break;
        case u'S':
            if (word.number(&number)) {
                ProgramAnalysis::ValueRange::widen(m_result.sRange, number);
            }
            break;
        case u'F':
            if (word.number(&number)) {
                s.feed = number;
                ProgramAnalysis::ValueRange::widen(m_result.fRange, number);
            }
            break;
        case u'X':
            if (word.number(&number)) {
                x = s.absolute ? number : x + number;
                ProgramAnalysis::ValueRange::widen(m_result.xRange, x);
                isMove = true;
            }
            break;
        case u'Y':
            if (word.number(&number)) {
                y = s.absolute ? number : y + number;
                ProgramAnalysis::ValueRange::widen(m_result.yRange, y);
                isMove = true;
            }
            break;
        case u'Z':
            if (word.number(&number)) {
                z = s.absolute ? number : z + number;
                ProgramAnalysis::ValueRange::widen(m_result.zRange, z);
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
            m_result.comments.append({nextId(), n, std::move(*comment)});
        }
    }
    if ((lead == u'O' || lead == u'o') && !m_result.programNumber) {
        m_result.programNumber = AnalyzerScan::programNumber(line);
    }
    if (hasTool) {
        m_result.tools.append({nextId(), n, tool.toString(), AnalyzerScan::firstComment(line)});
    }
    if (isMove) {
        // Arcs count by their chord: close enough for an estimate, and cheap.
        const double rate = s.motionMode == 0 ? s.rapidRate : std::max(s.feed, 1.0);
        const double dx = x - s.x;
        const double dy = y - s.y;
        const double dz = z - s.z;
        s.seconds += std::sqrt(dx * dx + dy * dy + dz * dz) / rate * 60;
        s.x = x;
        s.y = y;
        s.z = z;
        if (s.motionMode != 0 && s.feed <= 0 && !s.feedWarned) {
            warn(n, L10n::text("Cutting move with F0 or no F feed rate", m_language));
            s.feedWarned = true;
        }
    }
    return end;
}

const char16_t *ProgramAnalyzer::Session::readLines(const char16_t *begin, const char16_t *end)
{
    // A local copy lets the compiler keep the modal state in registers across
    // the calls that append entries.
    State state = m_state;
    const char16_t *start = begin;
    while (start < end && !cancelledAt(state.index)) {
        const char16_t *lineEnd = readLine(state, start, end);
        // Every line here ends with its break; "\r\n" is one break.
        Q_ASSERT(lineEnd < end);
        start = lineEnd + ((*lineEnd == u'\r' && lineEnd + 1 < end && lineEnd[1] == u'\n') ? 2 : 1);
    }
    m_state = state;
    return start;
}

bool ProgramAnalyzer::Session::readFinalLine(QStringView line)
{
    const auto *begin = reinterpret_cast<const char16_t *>(line.utf16());
    if (cancelledAt(m_state.index)) {
        return false;
    }
    readLine(m_state, begin, begin + line.size());
    return true;
}

bool ProgramAnalyzer::Session::feed(QStringView text)
{
    if (m_stopped || text.isEmpty()) {
        return !m_result.cancelled;
    }
    const auto *p = reinterpret_cast<const char16_t *>(text.utf16());
    const char16_t *const textEnd = p + text.size();
    if (m_afterCr) {
        m_afterCr = false;
        if (*p == u'\n') {
            ++p;
        }
    }
    // Just past the last line break: everything before it is whole lines.
    const char16_t *wholeEnd = textEnd;
    while (wholeEnd > p && !AnalyzerScan::detail::isLineBreak(wholeEnd[-1])) {
        --wholeEnd;
    }
    if (wholeEnd == p) {
        m_partialLine.append(QStringView(p, textEnd - p));
        return true;
    }
    if (!m_partialLine.isEmpty()) {
        // The line the last piece ended inside: its end is the first break here.
        const char16_t *lineBreak = AnalyzerScan::detail::lineEnd(p, wholeEnd);
        m_partialLine.append(QStringView(p, lineBreak - p));
        if (!readFinalLine(m_partialLine)) {
            return false;
        }
        m_partialLine.clear();
        p = lineBreak + ((*lineBreak == u'\r' && lineBreak + 1 < wholeEnd && lineBreak[1] == u'\n') ? 2 : 1);
    }
    if (readLines(p, wholeEnd) != wholeEnd) {
        return false;
    }
    m_afterCr = wholeEnd == textEnd && wholeEnd[-1] == u'\r';
    m_partialLine.append(QStringView(wholeEnd, textEnd - wholeEnd));
    return true;
}

ProgramAnalysis ProgramAnalyzer::Session::finish()
{
    return finishWith(m_partialLine);
}

ProgramAnalysis ProgramAnalyzer::Session::finishWith(QStringView lastLine)
{
    if (m_stopped || !readFinalLine(lastLine)) {
        m_stopped = true;
        return std::move(m_result);
    }
    m_stopped = true;
    ProgramAnalysis &result = m_result;
    result.lineCount = m_state.index;
    if (!m_state.firstLineHasTapeMarker) {
        warn(1, L10n::text("Missing tape start marker %", m_language));
    }
    if (!m_state.programEndSeen) {
        warn(result.lineCount, L10n::text("No program end found (M30 / M02)", m_language));
    }
    // A program without tool calls never gets this one: it may be a fragment.
    if (!m_state.spindleStarted && !result.tools.isEmpty()) {
        warn(1, L10n::text("Spindle is not started (missing M03 / M04)", m_language));
    }
    if (m_state.seconds > 0) {
        result.estimatedSeconds = m_state.seconds;
    }
    return std::move(m_result);
}

ProgramAnalysis ProgramAnalyzer::analyze(const QString &text, AppLanguage language,
                                         const std::function<bool()> &isCancelled)
{
    // The whole text is at hand, so its last line is read where it lies
    // instead of being held back as a piece's unfinished line.
    Session session(language, isCancelled);
    const auto *begin = reinterpret_cast<const char16_t *>(text.utf16());
    const char16_t *const end = begin + text.size();
    const char16_t *wholeEnd = end;
    while (wholeEnd > begin && !AnalyzerScan::detail::isLineBreak(wholeEnd[-1])) {
        --wholeEnd;
    }
    session.readLines(begin, wholeEnd);
    return session.finishWith(QStringView(wholeEnd, end - wholeEnd));
}
