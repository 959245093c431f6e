// Program text through every text tool and the payload builder. Beyond "no
// crash": the line tools keep the line-ending style and the line count (the
// removal tools may only shrink it), renumbering is stable, the payload ends
// every line with the terminator and nothing else, and the fatal cases (counter
// overflow, a scaled value outside 64 bits) are reached only through their
// guards, as the application and `varn` call them.
#include "fuzzsupport.h"

#include "nc/nctools.h"
#include "transfer/gcodesender.h"

#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr qint64 kMax = std::numeric_limits<qint64>::max();
constexpr qint64 kMin = std::numeric_limits<qint64>::min();

// Ordinary values and the ones at the edges of 64 bits.
constexpr std::array<qint64, 8> kStarts = {10, 0, 1, -5, 100000, kMax - 3, kMin + 2, kMax};
constexpr std::array<qint64, 8> kIncrements = {10, 1, 0, -10, 5, kMax / 2, kMin, kMax};
constexpr std::array<double, 9> kFactors = {0.9,
                                            1.1,
                                            1.0,
                                            0.0,
                                            -1.5,
                                            1e300,
                                            1e-300,
                                            std::numeric_limits<double>::infinity(),
                                            std::numeric_limits<double>::quiet_NaN()};

void checkLineTool(const QString &input, const QString &output, bool mayDropLines)
{
    const bool crlf = FuzzSupport::containsCrLf(input);
    FUZZ_CHECK(FuzzSupport::usesOnlyBreaks(output, crlf));
    const qsizetype before = FuzzSupport::framedLineCount(input);
    const qsizetype after = FuzzSupport::framedLineCount(output);
    if (mayDropLines) {
        FUZZ_CHECK(after <= before);
    } else {
        FUZZ_CHECK(after == before);
    }
}

void numberingTools(const QString &text, qint64 start, qint64 increment)
{
    if (NCTools::numberingFits(text, start, increment)) {
        const QString once = NCTools::renumber(text, start, increment);
        checkLineTool(text, once, false);
        // The blocks are the same ones after renumbering, so the guard still holds.
        FUZZ_CHECK(NCTools::numberingFits(once, start, increment));
        const QString filled = NCTools::addLineNumbers(text, start, increment);
        checkLineTool(text, filled, false);
        // A negative number ("N-5") is not an N word when read back, so only
        // counters that stay at or above zero give a second pass nothing to do.
        // A vertical tab or form feed is not trimmed but is a blank to the N word
        // pattern, so "N10 \v" reads back as a bare N word; such lines are noise.
        const bool verticalControls = text.contains(u'\v') || text.contains(u'\f');
        if (start >= 0 && increment >= 0 && !verticalControls) {
            FUZZ_CHECK(NCTools::renumber(once, start, increment) == once);
            FUZZ_CHECK(NCTools::addLineNumbers(filled, start, increment) == filled);
        }
    }
    checkLineTool(text, NCTools::removeLineNumbers(text), false);
}

void scalingTool(const QString &text, QChar letter, double factor)
{
    if (!NCTools::scalingFits(text, letter, factor)) {
        return;
    }
    const QString scaled =
        letter == u'F' ? NCTools::scaleFeed(text, factor) : NCTools::scaleSpindle(text, factor);
    // Only numbers change: the line breaks are copied as they stand.
    FUZZ_CHECK(FuzzSupport::framedLineCount(scaled) == FuzzSupport::framedLineCount(text));
    FUZZ_CHECK(FuzzSupport::containsCrLf(scaled) == FuzzSupport::containsCrLf(text));
    // And every number written is a number: no "inf" or "nan" the input did not hold.
    FUZZ_CHECK(scaled.count(u"inf") == text.count(u"inf"));
    FUZZ_CHECK(scaled.count(u"nan") == text.count(u"nan"));
}

// What goes on the wire: every line ends with the machine's terminator and
// nothing else breaks a line, whatever mix of breaks the program held.
void payload(const QString &text)
{
    for (const Machine::LineTerminator terminator : Machine::allCases<Machine::LineTerminator>()) {
        const QByteArray bytes = GCodeSender::preparePayload(text, terminator);
        const QByteArray end = Machine::terminatorBytes(terminator);
        FUZZ_CHECK(bytes.isEmpty() || bytes.endsWith(end));
        QByteArray rest = bytes;
        rest.replace(end, QByteArray());
        FUZZ_CHECK(!rest.contains('\r') && !rest.contains('\n'));
        FUZZ_CHECK(qsizetype(bytes.count(end)) <= FuzzSupport::framedLineCount(text));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<QString> program = FuzzSupport::programText(data, size);
    if (!program) {
        return 0;
    }
    const QString &text = *program;
    const quint64 h = FuzzSupport::hash(data, size);

    numberingTools(text, kStarts[h % kStarts.size()], kIncrements[(h >> 8) % kIncrements.size()]);

    const QString spaced = NCTools::formatSpacing(text);
    checkLineTool(text, spaced, false);
    FUZZ_CHECK(NCTools::formatSpacing(spaced) == spaced);

    checkLineTool(text, NCTools::removeCoolant(text), true);

    // The codes come from the program's own first line, as a user might type them.
    const QList<qint64> codes = NCTools::parseMCodeList(text.left(text.indexOf(u'\n')).left(64));
    const QString withoutCodes = NCTools::removeMCodes(text, codes);
    if (codes.isEmpty()) {
        FUZZ_CHECK(withoutCodes == text);
    } else {
        checkLineTool(text, withoutCodes, true);
    }

    scalingTool(text, u'F', kFactors[(h >> 16) % kFactors.size()]);
    scalingTool(text, u'S', kFactors[(h >> 24) % kFactors.size()]);

    payload(text);

    const QList<QChar> axes = {u'X', u'Y', u'Z'};
    for (const NCTools::AxisRange &range : NCTools::axisRanges(text, axes)) {
        FUZZ_CHECK(axes.contains(range.axis));
        FUZZ_CHECK(!(range.min > range.max));
    }
    return 0;
}
