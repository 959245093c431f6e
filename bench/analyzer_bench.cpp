// Analysis runs on every edit, so its speed on large programs is a feature.
// Programs are generated once; the figure to watch is bytes_per_second.

#include "nc/gcodehighlighter.h"
#include "nc/programanalyzer.h"
#include "programgenerator.h"

#include <benchmark/benchmark.h>

#include <map>

namespace {

const QString &program(qint64 bytes)
{
    static std::map<qint64, QString> programs;
    auto found = programs.find(bytes);
    if (found == programs.end()) {
        found = programs.emplace(bytes, ProgramGenerator::milling(bytes)).first;
    }
    return found->second;
}

void analyzeMilling(benchmark::State &state)
{
    const QString &text = program(state.range(0));
    for (auto _ : state) {
        ProgramAnalysis analysis = ProgramAnalyzer::analyze(text, AppLanguage::english);
        benchmark::DoNotOptimize(analysis);
    }
    state.SetBytesProcessed(state.iterations() * text.size());
}

// One screenful and more: what the editor colours after a scroll.
void highlightVisibleRange(benchmark::State &state)
{
    const QString &text = program(1'000'000);
    qsizetype length = state.range(0);
    while (length < text.size() && text[length] != u'\n') {
        ++length;
    }
    for (auto _ : state) {
        auto spans = GCodeHighlighter::spans(text, 0, length, AppLanguage::english);
        benchmark::DoNotOptimize(spans);
    }
    state.SetBytesProcessed(state.iterations() * length);
}

} // namespace

BENCHMARK(highlightVisibleRange)->Arg(4'000)->Arg(20'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(analyzeMilling)->Arg(1'000'000)->Arg(10'000'000)->Arg(100'000'000)->Unit(benchmark::kMillisecond);
