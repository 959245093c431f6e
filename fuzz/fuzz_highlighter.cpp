// Program text through the highlighter's span computation, on a range taken
// from the input itself (whole lines, a cut through a word, or out of bounds):
// the runs tile the clamped range exactly, neighbours differ, and every
// tooltip lies inside it, in order, without overlap.
#include "fuzzsupport.h"

#include "nc/gcodehighlighter.h"

#include <algorithm>
#include <limits>

namespace {

void checkSpans(QStringView text, qsizetype from, qsizetype length, AppLanguage language)
{
    // The asked range [from, from + length) cut to the text.
    qsizetype end = 0;
    if (__builtin_add_overflow(from, length, &end)) {
        end = from < 0 ? std::numeric_limits<qsizetype>::min() : std::numeric_limits<qsizetype>::max();
    }
    const qsizetype begin = std::clamp<qsizetype>(from, 0, text.size());
    const qsizetype count = std::clamp<qsizetype>(end, begin, text.size()) - begin;
    const GCodeHighlighter::HighlightResult result = GCodeHighlighter::spans(text, from, length, language);

    qsizetype at = begin;
    const GCodeHighlighter::Run *last = nullptr;
    for (const GCodeHighlighter::Run &run : result.runs) {
        FUZZ_CHECK(run.start == at);
        FUZZ_CHECK(run.length > 0);
        FUZZ_CHECK(!(run.bold && run.italic));
        if (last) {
            FUZZ_CHECK(run.color != last->color || run.bold != last->bold || run.italic != last->italic);
        }
        at += run.length;
        last = &run;
    }
    FUZZ_CHECK(at == begin + count);

    qsizetype tipEnd = begin;
    for (const GCodeHighlighter::Tooltip &tip : result.tooltips) {
        FUZZ_CHECK(tip.start >= tipEnd);
        FUZZ_CHECK(tip.length > 0);
        FUZZ_CHECK(tip.start + tip.length <= begin + count);
        FUZZ_CHECK(!tip.text.isEmpty());
        tipEnd = tip.start + tip.length;
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
    const AppLanguage language = (h & 1) ? AppLanguage::spanish : AppLanguage::english;

    checkSpans(text, 0, text.size(), language);

    // Whole lines around a point picked by the hash, as the editor asks for them.
    if (!text.isEmpty()) {
        const qsizetype point = qsizetype((h >> 1) % quint64(text.size()));
        const qsizetype lineStart = text.lastIndexOf(u'\n', point) + 1;
        qsizetype lineEnd = text.indexOf(u'\n', point);
        lineEnd = lineEnd < 0 ? text.size() : lineEnd;
        checkSpans(text, lineStart, lineEnd - lineStart, language);
        // A range that starts inside a word and runs past the end.
        checkSpans(text, point, text.size(), language);
    }
    // Ranges that are not inside the text at all get clamped, never read past it.
    checkSpans(text, -qsizetype(h % 1000), qsizetype(h % 50), language);
    checkSpans(text, text.size() + 3, 10, language);
    checkSpans(text, 0, std::numeric_limits<qsizetype>::max(), language);
    return 0;
}
