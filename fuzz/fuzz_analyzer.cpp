// Program text through the analyzer in both languages: it counts the lines as
// the tools frame them, and every line it points the user at exists.
#include "fuzzsupport.h"

#include "nc/programanalyzer.h"

namespace {

void checkRange(const std::optional<ProgramAnalysis::ValueRange> &range)
{
    if (range) {
        FUZZ_CHECK(!(range->min > range->max));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<QString> program = FuzzSupport::programText(data, size);
    if (!program) {
        return 0;
    }
    const AppLanguage language =
        (FuzzSupport::hash(data, size) & 1) ? AppLanguage::spanish : AppLanguage::english;
    const ProgramAnalysis analysis = ProgramAnalyzer::analyze(*program, language);

    FUZZ_CHECK(!analysis.cancelled);
    FUZZ_CHECK(analysis.lineCount == FuzzSupport::framedLineCount(*program));
    const auto inside = [&](int line) { return line >= 1 && line <= analysis.lineCount; };
    for (const auto &warning : analysis.warnings) {
        FUZZ_CHECK(inside(warning.line));
        FUZZ_CHECK(!warning.message.isEmpty());
    }
    for (const auto &tool : analysis.tools) {
        FUZZ_CHECK(inside(tool.line));
    }
    int previous = 0;
    for (const auto &comment : analysis.comments) {
        FUZZ_CHECK(inside(comment.line));
        FUZZ_CHECK(comment.line >= previous);
        previous = comment.line;
    }
    checkRange(analysis.sRange);
    checkRange(analysis.fRange);
    checkRange(analysis.xRange);
    checkRange(analysis.yRange);
    checkRange(analysis.zRange);
    if (analysis.estimatedSeconds) {
        FUZZ_CHECK(*analysis.estimatedSeconds > 0);
        FUZZ_CHECK(analysis.estimatedTimeText().has_value());
    }

    // A cancel at the first question stops at once and says so.
    const ProgramAnalysis stopped = ProgramAnalyzer::analyze(*program, language, [] { return true; });
    FUZZ_CHECK(stopped.cancelled);
    return 0;
}
