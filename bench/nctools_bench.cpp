// Throughput of every text tool on generated milling programs of 1, 10 and
// 100 MB. Bytes are counted as characters of the program, which is its size
// on disk for these ASCII files.
#include "nc/nctools.h"
#include "programgenerator.h"

#include <benchmark/benchmark.h>

#include <map>

namespace {

const QString &program(qint64 bytes)
{
    // Generated once per size and kept for the whole run.
    static std::map<qint64, QString> programs;
    auto it = programs.find(bytes);
    if (it == programs.end()) {
        it = programs.emplace(bytes, ProgramGenerator::milling(bytes)).first;
    }
    return it->second;
}

template <typename Tool>
void runTool(benchmark::State &state, Tool tool)
{
    const QString &text = program(state.range(0));
    for (auto _ : state) {
        auto result = tool(text);
        benchmark::DoNotOptimize(result);
    }
    state.SetBytesProcessed(state.iterations() * text.size());
}

void BM_Renumber(benchmark::State &state)
{
    runTool(state, [](const QString &t) { return NCTools::renumber(t, 10, 10); });
}
void BM_AddLineNumbers(benchmark::State &state)
{
    runTool(state, [](const QString &t) { return NCTools::addLineNumbers(t, 10, 10); });
}
void BM_RemoveLineNumbers(benchmark::State &state)
{
    runTool(state, [](const QString &t) { return NCTools::removeLineNumbers(t); });
}
void BM_FormatSpacing(benchmark::State &state)
{
    runTool(state, [](const QString &t) { return NCTools::formatSpacing(t); });
}
void BM_RemoveCoolant(benchmark::State &state)
{
    runTool(state, [](const QString &t) { return NCTools::removeCoolant(t); });
}
void BM_RemoveMCodes(benchmark::State &state)
{
    runTool(state, [](const QString &t) { return NCTools::removeMCodes(t, {8, 9}); });
}
void BM_ScaleFeed(benchmark::State &state)
{
    runTool(state, [](const QString &t) { return NCTools::scaleFeed(t, 0.9); });
}
void BM_ScaleSpindle(benchmark::State &state)
{
    runTool(state, [](const QString &t) { return NCTools::scaleSpindle(t, 1.1); });
}
void BM_AxisRanges(benchmark::State &state)
{
    runTool(state, [](const QString &t) { return NCTools::axisRanges(t, {'X', 'Y', 'Z'}); });
}

constexpr int64_t kMB = 1'000'000;

#define VARN_NCTOOLS_BENCH(name)                                                                                  \
    BENCHMARK(name)->Arg(1 * kMB)->Arg(10 * kMB)->Arg(100 * kMB)->Unit(benchmark::kMillisecond)->UseRealTime()

VARN_NCTOOLS_BENCH(BM_Renumber);
VARN_NCTOOLS_BENCH(BM_AddLineNumbers);
VARN_NCTOOLS_BENCH(BM_RemoveLineNumbers);
VARN_NCTOOLS_BENCH(BM_FormatSpacing);
VARN_NCTOOLS_BENCH(BM_RemoveCoolant);
VARN_NCTOOLS_BENCH(BM_RemoveMCodes);
VARN_NCTOOLS_BENCH(BM_ScaleFeed);
VARN_NCTOOLS_BENCH(BM_ScaleSpindle);
VARN_NCTOOLS_BENCH(BM_AxisRanges);

} // namespace
