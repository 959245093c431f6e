// Analysis runs on every edit, so its speed on large programs is a feature.
// Programs are generated once; the figure to watch is bytes_per_second.

#include "nc/gcodehighlighter.h"
#include "nc/programanalyzer.h"
#include "programgenerator.h"
#include "base/textfilestream.h"

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

// The program as a file on disk, written once per size. The text is not kept:
// a forked child starts with the bench's resident memory as its own.
QString programFile(qint64 bytes)
{
    static QTemporaryDir dir;
    static std::map<qint64, QString> paths;
    auto found = paths.find(bytes);
    if (found == paths.end()) {
        const QString path = dir.filePath(QStringLiteral("milling-%1.nc").arg(bytes));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(ProgramGenerator::milling(bytes).toUtf8()) < 0) {
            return {};
        }
        found = paths.emplace(bytes, path).first;
    }
    return found->second;
}

// What `varn analyze` does: the file in blocks of whole lines through one session.
void analyzeStreamingFile(benchmark::State &state)
{
    const QString path = programFile(state.range(0));
    const qint64 size = QFile(path).size();
    for (auto _ : state) {
        TextFileStream stream(path);
        ProgramAnalyzer::Session session(AppLanguage::english);
        while (const std::optional<QStringView> block = stream.next()) {
            session.feed(*block);
        }
        ProgramAnalysis analysis = session.finish();
        benchmark::DoNotOptimize(analysis);
    }
    state.SetBytesProcessed(state.iterations() * size);
}

// Resident memory of this process now, in KiB.
long residentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) {
            return line.mid(6).trimmed().split(' ').value(0).toLong();
        }
    }
    return 0;
}

// Peak resident memory of the real `varn analyze --json` on the file, against
// the file's size. A forked child counts the pages it shares with this process
// until it execs, so the figure only means something when this process is
// small: run it alone (--benchmark_filter=varnAnalyzePeakMemory).
void varnAnalyzePeakMemory(benchmark::State &state)
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
    const long ownKiB = residentKiB();
    for (auto _ : state) {
        const pid_t child = fork();
        if (child == 0) {
            const int devNull = open("/dev/null", O_WRONLY);
            dup2(devNull, STDOUT_FILENO);
            execl(varn.c_str(), "varn", "analyze", "--json", file.constData(), static_cast<char *>(nullptr));
            _exit(127);
        }
        int status = 0;
        rusage usage{};
        wait4(child, &status, 0, &usage);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            state.SkipWithError("varn analyze failed");
            return;
        }
        peakKiB = std::max(peakKiB, usage.ru_maxrss);
    }
    if (peakKiB <= ownKiB) {
        state.SkipWithError("the bench itself is larger than varn; run this benchmark alone");
        return;
    }
    const double fileMiB = double(QFile(path).size()) / (1 << 20);
    state.counters["peak_MiB"] = double(peakKiB) / 1024;
    state.counters["file_MiB"] = fileMiB;
    state.counters["peak_per_file_size"] = double(peakKiB) / 1024 / fileMiB;
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
BENCHMARK(analyzeStreamingFile)->Arg(10'000'000)->Arg(100'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(varnAnalyzePeakMemory)->Arg(100'000'000)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(analyzeMilling)->Arg(1'000'000)->Arg(10'000'000)->Arg(100'000'000)->Unit(benchmark::kMillisecond);
