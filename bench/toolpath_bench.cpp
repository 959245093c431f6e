// The toolpath interpreter reads whole programs before the window can draw
// them, and `varn toolpath` must stream files of any size in little memory.
// Figures to watch: bytes_per_second, peak_MiB and bytes_per_move.

#include "programgenerator.h"
#include "base/textfilestream.h"
#include "toolpath/toolpathinterpreter.h"
#include "toolpath/toolpathrestart.h"
#include "toolpath/toolpathsource.h"
#include "toolpath/toolpathstore.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <filesystem>
#include <map>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Arcs in the three planes, canned cycles and an M98 subprogram, written once
// per size; the text is not kept so a forked child starts small.
QString programFile(qint64 bytes)
{
    static QTemporaryDir dir;
    static std::map<qint64, QString> paths;
    auto found = paths.find(bytes);
    if (found == paths.end()) {
        const QString path = dir.filePath(QStringLiteral("toolpath-%1.nc").arg(bytes));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) ||
            file.write(ProgramGenerator::milling(bytes, 20261121, false, true).toUtf8()) < 0) {
            return {};
        }
        found = paths.emplace(bytes, path).first;
    }
    return found->second;
}

// What `varn toolpath` does on a file, in this process.
void toolpathStreamingFile(benchmark::State &state)
{
    const QString path = programFile(state.range(0));
    const qint64 size = QFile(path).size();
    for (auto _ : state) {
        TextFileStream stream(path);
        FileToolpathSource source(path);
        ToolpathInterpreter::Session session({}, AppLanguage::english, &source);
        while (const std::optional<QStringView> block = stream.next()) {
            session.feed(*block);
        }
        ToolpathSummary summary = session.finish();
        benchmark::DoNotOptimize(summary);
    }
    state.SetBytesProcessed(state.iterations() * size);
}

// The window's case: the program in memory, every move into the store.
void toolpathIntoStore(benchmark::State &state)
{
    const QString text = ProgramGenerator::milling(state.range(0), 20261121, false, true);
    std::size_t bytes = 0;
    std::size_t vertices = 0;
    for (auto _ : state) {
        ToolpathStore store;
        ToolpathSummary summary = ToolpathInterpreter::interpret(text, {}, AppLanguage::english, &store);
        benchmark::DoNotOptimize(summary);
        bytes = store.bytesUsed();
        vertices = store.size();
    }
    state.SetBytesProcessed(state.iterations() * text.size());
    state.counters["moves"] = double(vertices);
    state.counters["bytes_per_move"] = vertices ? double(bytes) / double(vertices) : 0;
}

// The real `varn toolpath --json` on the file: wall time and peak resident
// memory of the process. Run it alone (--benchmark_filter=varnToolpath) so
// the bench's own pages do not count in the child before it execs.
void varnToolpathJson(benchmark::State &state)
{
    const std::filesystem::path varn =
        std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "src/cli/varn";
    const QString path = programFile(state.range(0));
    const QByteArray file = QFile::encodeName(path);
    if (!std::filesystem::exists(varn)) {
        state.SkipWithError("build the varn target first");
        return;
    }
    long peakKiB = 0;
    for (auto _ : state) {
        const pid_t child = fork();
        if (child == 0) {
            const int devNull = open("/dev/null", O_WRONLY);
            dup2(devNull, STDOUT_FILENO);
            execl(varn.c_str(), "varn", "toolpath", "--json", file.constData(), static_cast<char *>(nullptr));
            _exit(127);
        }
        int status = 0;
        rusage usage{};
        wait4(child, &status, 0, &usage);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            state.SkipWithError("varn toolpath failed");
            return;
        }
        peakKiB = std::max(peakKiB, usage.ru_maxrss);
    }
    const qint64 size = QFile(path).size();
    state.SetBytesProcessed(state.iterations() * size);
    state.counters["peak_MiB"] = double(peakKiB) / 1024;
    state.counters["file_MiB"] = double(size) / (1 << 20);
}

// "Send from Line…" on a line in the middle of the program: reading up to it
// and building the preamble, then the text that goes out (target: 1 s).
void restartFromMiddle(benchmark::State &state)
{
    const QString text = ProgramGenerator::milling(state.range(0), 20261121, false, true);
    const int middle = int(text.count(QLatin1Char('\n')) / 2);
    for (auto _ : state) {
        const ToolpathRestart restart = ToolpathRestarts::plan(text, middle, false, AppLanguage::english);
        if (!restart.ok()) {
            state.SkipWithError(restart.problem.toUtf8().constData());
            return;
        }
        QString sent = restart.text(text, restart.preamble);
        benchmark::DoNotOptimize(sent);
    }
    state.counters["line"] = middle;
}

} // namespace

BENCHMARK(restartFromMiddle)->Arg(100'000'000)->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(toolpathStreamingFile)->Arg(10'000'000)->Arg(100'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(toolpathIntoStore)->Arg(100'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(varnToolpathJson)->Arg(100'000'000)->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);
