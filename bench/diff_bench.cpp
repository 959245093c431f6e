// Comparing two revisions of a 100 MB program that differ in a few hundred
// blocks: the comparison itself in this process, and the real `varn diff`
// (reading, comparing, printing) as a child whose wall time and peak resident
// memory are measured against the size of the two files.
#include "nc/programdiff.h"
#include "programgenerator.h"

#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <utility>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr qint64 kProgramBytes = 100'000'000;
constexpr int kEdits = 300;

// The second revision: `edits` blocks spread over the program are changed
// (a coordinate rewritten), added or removed, in turn.
QByteArray revise(const QByteArray &program, int edits)
{
    QList<QByteArrayView> lines;
    for (qsizetype pos = 0; pos < program.size();) {
        qsizetype lf = program.indexOf('\n', pos);
        lf = lf < 0 ? program.size() : lf + 1;
        lines.append(QByteArrayView(program).sliced(pos, lf - pos));
        pos = lf;
    }
    std::mt19937 rng(7);
    std::uniform_int_distribution<qsizetype> jitter(0, lines.size() / edits / 2);
    QByteArray out;
    out.reserve(program.size() + edits * 64);
    const qsizetype stride = lines.size() / edits;
    qsizetype next = stride / 2 + jitter(rng);
    int kind = 0;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (i != next) {
            out += lines[i];
            continue;
        }
        next += stride;
        switch (kind++ % 3) {
        case 0:
            out += "N1 G01 X12.345 Y-6.789 (REVISED)\n";
            break;
        case 1:
            out += lines[i];
            out += "G04 P0.5\n";
            break;
        default:
            break; // removed
        }
    }
    return out;
}

const std::pair<QByteArray, QByteArray> &programs()
{
    static const std::pair<QByteArray, QByteArray> pair = [] {
        QByteArray a = ProgramGenerator::milling(kProgramBytes).toUtf8();
        QByteArray b = revise(a, kEdits);
        return std::pair{std::move(a), std::move(b)};
    }();
    return pair;
}

void compareRevisions(benchmark::State &state, ProgramDiff::Options options)
{
    const auto &[a, b] = programs();
    qsizetype hunks = 0;
    for (auto _ : state) {
        const ProgramDiff::Result result = ProgramDiff::compare(a, b, options);
        QByteArray text = ProgramDiff::unified(a, b, result, QStringLiteral("a.nc"), QStringLiteral("b.nc"));
        benchmark::DoNotOptimize(text);
        hunks = result.hunks().size();
    }
    state.counters["hunks"] = double(hunks);
    state.SetBytesProcessed(state.iterations() * (a.size() + b.size()));
}

void diffPlain(benchmark::State &state)
{
    compareRevisions(state, {});
}

void diffNumericIgnoringNAndComments(benchmark::State &state)
{
    compareRevisions(state, {true, 0, true, true});
}

void diffWithTolerance(benchmark::State &state)
{
    compareRevisions(state, {true, 0.001, false, false});
}

// The two revisions on disk, written once; the texts are then released so a
// forked child starts small.
std::pair<QString, QString> programFiles()
{
    static QTemporaryDir dir;
    static std::pair<QString, QString> paths;
    if (paths.first.isEmpty()) {
        const QByteArray a = ProgramGenerator::milling(kProgramBytes).toUtf8();
        const QByteArray b = revise(a, kEdits);
        paths = {dir.filePath(QStringLiteral("a.nc")), dir.filePath(QStringLiteral("b.nc"))};
        for (const auto &[path, bytes] : {std::pair{paths.first, &a}, std::pair{paths.second, &b}}) {
            QFile file(path);
            if (!file.open(QIODevice::WriteOnly) || file.write(*bytes) != bytes->size()) {
                paths = {};
                break;
            }
        }
    }
    return paths;
}

// Run alone (--benchmark_filter=varnDiff) so the forked child does not start
// with the in-process programs as its own memory.
void varnDiff(benchmark::State &state)
{
    const std::filesystem::path varn =
        std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "src/cli/varn";
    if (!std::filesystem::exists(varn)) {
        state.SkipWithError("build the varn target first");
        return;
    }
    const auto [pathA, pathB] = programFiles();
    if (pathA.isEmpty()) {
        state.SkipWithError("cannot write the programs");
        return;
    }
    const QByteArray fileA = QFile::encodeName(pathA);
    const QByteArray fileB = QFile::encodeName(pathB);
    long peakKiB = 0;
    double slowest = 0;
    double cpu = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const pid_t child = fork();
        if (child == 0) {
            const int devNull = open("/dev/null", O_WRONLY);
            dup2(devNull, STDOUT_FILENO);
            execl(varn.c_str(), "varn", "diff", fileA.constData(), fileB.constData(), static_cast<char *>(nullptr));
            _exit(127);
        }
        int status = 0;
        rusage usage{};
        wait4(child, &status, 0, &usage);
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 1) {
            state.SkipWithError("varn diff did not report a difference");
            return;
        }
        peakKiB = std::max(peakKiB, usage.ru_maxrss);
        slowest = std::max(slowest, seconds);
        // CPU time as well: on a shared machine the wall time mostly measures the neighbours.
        cpu = std::max(cpu, double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                                double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6);
        state.SetIterationTime(seconds);
    }
    const double filesMiB = double(QFile(pathA).size() + QFile(pathB).size()) / (1 << 20);
    state.counters["slowest_s"] = slowest;
    state.counters["cpu_s"] = cpu;
    state.counters["peak_MiB"] = double(peakKiB) / 1024;
    state.counters["files_MiB"] = filesMiB;
    state.counters["peak_per_files_size"] = double(peakKiB) / 1024 / filesMiB;
}

} // namespace

BENCHMARK(diffPlain)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(diffNumericIgnoringNAndComments)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(diffWithTolerance)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(varnDiff)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);
