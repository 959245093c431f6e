// What the model costs the main thread on a 100 MB program: opening it, the
// response to one keystroke, and how fast a newer analysis stops an older one.
#include "programgenerator.h"
#include "workspace/appmodel.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <thread>

namespace {

// Queued results need an application object; the harness owns main().
void ensureApplication()
{
    static int argc = 1;
    static char name[] = "varn_bench";
    static char *argv[] = {name, nullptr};
    static QCoreApplication *app = QCoreApplication::instance() ? nullptr : new QCoreApplication(argc, argv);
    Q_UNUSED(app);
}

const QString &program100MB()
{
    static const QString text = ProgramGenerator::milling(100'000'000);
    return text;
}

struct Workspace {
    QTemporaryDir dir;

    std::unique_ptr<AppModel> model()
    {
        AppModel::Options options;
        options.settingsFile = dir.filePath(QStringLiteral("settings.ini"));
        options.machineStoreFile = dir.filePath(QStringLiteral("machines.json"));
        options.backupFolder = dir.filePath(QStringLiteral("Backups"));
        options.listPorts = [] { return QList<SerialPort>{}; };
        return std::make_unique<AppModel>(std::move(options));
    }
};

// openFile returns at once; the read and UTF-8 check run in the background.
// Reported: the main thread's share (openFile_ms, and handOver_ms for the
// event that puts the text into the document) and the time until the text has
// arrived (load_ms).
void BM_OpenFile100MB(benchmark::State &state)
{
    ensureApplication();
    Workspace workspace;
    const QString path = workspace.dir.filePath(QStringLiteral("large.nc"));
    {
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(program100MB().toUtf8());
    }
    double openMs = 0;
    double loadMs = 0;
    double handOverMs = 0;
    double fastestOpenMs = 1e9;
    for (auto _ : state) {
        auto model = workspace.model();
        QElapsedTimer clock;
        clock.start();
        model->openFile(QUrl::fromLocalFile(path));
        const qint64 openNs = clock.nsecsElapsed();
        EditorDocument *doc = model->selectedDocument();
        // The event that hands the text over is the other main-thread cost.
        qint64 handOverNs = 0;
        QDeadlineTimer deadline(60'000);
        while (doc->isLoading() && !deadline.hasExpired()) {
            QElapsedTimer pass;
            pass.start();
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            if (!doc->isLoading()) {
                handOverNs = pass.nsecsElapsed();
            }
        }
        const qint64 loadNs = clock.nsecsElapsed();
        state.SetIterationTime(double(openNs) / 1e9);
        openMs += double(openNs) / 1e6;
        fastestOpenMs = std::min(fastestOpenMs, double(openNs) / 1e6);
        loadMs += double(loadNs) / 1e6;
        handOverMs += double(handOverNs) / 1e6;
        if (doc->textLength() != program100MB().size()) {
            state.SkipWithError("the program did not load");
            break;
        }
    }
    state.counters["openFile_ms"] = benchmark::Counter(openMs, benchmark::Counter::kAvgIterations);
    state.counters["load_ms"] = benchmark::Counter(loadMs, benchmark::Counter::kAvgIterations);
    // Waking a pool thread on a busy machine may hand it the CPU at once; the
    // fastest run shows the model's own share.
    state.counters["openFileFastest_ms"] = fastestOpenMs;
    state.counters["handOver_ms"] = benchmark::Counter(handOverMs, benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_OpenFile100MB)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(6);

// One keystroke in the selected 100 MB program with the analysis panel open:
// the document's edit, the model's response to it, and the dirty check a tab
// makes. The character is overwritten in place so the figure is the model's
// and the dirty check's, not QString's memmove of 200 MB.
void BM_KeystrokeResponse100MB(benchmark::State &state)
{
    ensureApplication();
    Workspace workspace;
    auto model = workspace.model();
    EditorDocument *doc = model->newDocument();
    doc->setText(program100MB());
    doc->setSavedText(program100MB());
    model->setShowInspector(true);
    doc->replace(doc->textLength() / 2, 1, QStringLiteral("#")); // detach once, outside the timing
    bool flip = false;
    for (auto _ : state) {
        doc->replace(doc->textLength() / 2, 1, flip ? QStringLiteral("x") : QStringLiteral("y"));
        benchmark::DoNotOptimize(doc->isDirty());
        flip = !flip;
    }
    state.counters["revision"] = double(doc->revision());
}
BENCHMARK(BM_KeystrokeResponse100MB)->Unit(benchmark::kMicrosecond);

// For comparison: an inserted character in the plain string storage moves the
// rest of the text. The editor's own storage avoids this.
void BM_InsertIntoPlainStorage100MB(benchmark::State &state)
{
    ensureApplication();
    Workspace workspace;
    auto model = workspace.model();
    EditorDocument *doc = model->newDocument();
    doc->setText(program100MB());
    doc->replace(0, 0, QStringLiteral("%")); // detach once
    for (auto _ : state) {
        doc->replace(doc->textLength() / 2, 0, QStringLiteral("x"));
    }
}
BENCHMARK(BM_InsertIntoPlainStorage100MB)->Unit(benchmark::kMillisecond);

// A newer request cancels the running analysis of a 100 MB program; timed
// from the request until the older task has returned.
void BM_AnalysisCancelLatency(benchmark::State &state)
{
    ensureApplication();
    Workspace workspace;
    auto model = workspace.model();
    EditorDocument *doc = model->newDocument();
    doc->setText(program100MB());
    for (auto _ : state) {
        model->refreshAnalysis();
        QFuture<ProgramAnalysis> older = model->analysisTask();
        std::this_thread::sleep_for(std::chrono::milliseconds(30)); // well into the scan
        doc->replace(0, 1, doc->text().at(0) == QLatin1Char('%') ? QStringLiteral("(") : QStringLiteral("%"));
        QElapsedTimer clock;
        clock.start();
        model->refreshAnalysis();
        older.waitForFinished();
        state.SetIterationTime(double(clock.nsecsElapsed()) / 1e9);
        model->analysisTask().cancel();
        model->analysisTask().waitForFinished();
        QCoreApplication::processEvents();
    }
}
BENCHMARK(BM_AnalysisCancelLatency)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

// The same stop without a newer task competing for the CPU: the analyzer's
// own reaction to the flag, plus waking the waiting thread.
void BM_AnalysisCancelAlone(benchmark::State &state)
{
    ensureApplication();
    Workspace workspace;
    auto model = workspace.model();
    model->newDocument()->setText(program100MB());
    for (auto _ : state) {
        model->refreshAnalysis();
        QFuture<ProgramAnalysis> running = model->analysisTask();
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        QElapsedTimer clock;
        clock.start();
        running.cancel();
        running.waitForFinished();
        state.SetIterationTime(double(clock.nsecsElapsed()) / 1e9);
        QCoreApplication::processEvents();
    }
}
BENCHMARK(BM_AnalysisCancelAlone)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

} // namespace
