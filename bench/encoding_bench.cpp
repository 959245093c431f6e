// A 100 MB program in CP850: reading it into the UTF-8 blocks a document
// keeps, writing it back, and ranking the code pages on the sample the window
// takes when a file is not UTF-8.
#include "programgenerator.h"
#include "base/encodingguess.h"
#include "base/textencoding.h"

#include <benchmark/benchmark.h>

namespace {

// Every hundredth line a Portuguese comment, as a lathe program from a DOS-era CAM system has them.
const QByteArray &cp850Program()
{
    static const QByteArray bytes = [] {
        QStringList lines = ProgramGenerator::milling(100 << 20, 5, true).split(QStringLiteral("\r\n"));
        for (qsizetype i = 0; i < lines.size(); i += 100) {
            lines[i] += QStringLiteral(" (FURAÇÃO - POSIÇÃO %1)").arg(i);
        }
        return TextEncodings::encode(lines.join(QStringLiteral("\r\n")), TextEncoding::cp850).bytes;
    }();
    return bytes;
}

void BM_DecodeCp850ToUtf8(benchmark::State &state)
{
    const QByteArray &bytes = cp850Program();
    for (auto _ : state) {
        benchmark::DoNotOptimize(TextEncodings::decodeToUtf8(bytes, TextEncoding::cp850).size());
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(BM_DecodeCp850ToUtf8)->Unit(benchmark::kMillisecond);

void BM_EncodeCp850(benchmark::State &state)
{
    const QString text = TextEncodings::decode(cp850Program(), TextEncoding::cp850);
    for (auto _ : state) {
        benchmark::DoNotOptimize(TextEncodings::encode(text, TextEncoding::cp850).bytes.size());
    }
    state.SetBytesProcessed(state.iterations() * cp850Program().size());
}
BENCHMARK(BM_EncodeCp850)->Unit(benchmark::kMillisecond);

void BM_SampleAndRankCodePages(benchmark::State &state)
{
    for (auto _ : state) {
        const EncodingSample sample = EncodingSample::fromBytes(cp850Program());
        benchmark::DoNotOptimize(EncodingGuess::rank(sample).first());
    }
}
BENCHMARK(BM_SampleAndRankCodePages)->Unit(benchmark::kMillisecond);

} // namespace
