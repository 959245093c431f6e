// The Toolpath panel's figures on the 100 MB generated program at 1180×740:
// the first and the full picture after the program is shown, frames while
// panning, zooming and turning, memory per vertex, caret → highlight,
// click → line and one transfer progress step.
#include "toolpath/render/toolpathcoarse.h"
#include "toolpath/render/toolpathpicker.h"
#include "toolpath/render/toolpathpreview.h"
#include "toolpath/render/toolpathrenderer.h"

#include "programgenerator.h"
#ifdef VARN_BENCH_WIDGETS
#include "toolpath/toolpathpanel.h"
#include "transfer/wireformat.h"
#endif
#include "toolpath/toolpathinterpreter.h"
#include "toolpath/toolpathstore.h"
#include "toolpath/toolpathturning.h"

#include <QElapsedTimer>
#include <QPainter>
#include <benchmark/benchmark.h>

#include <memory>

namespace {

const QSize viewport(1180, 740);
// As the panel builds it.
constexpr std::size_t coarseVertices = 30000;

qint64 programBytes()
{
    const qint64 mb = qEnvironmentVariableIntValue("VARN_BENCH_TOOLPATH_MB");
    return (mb > 0 ? mb : 100) * 1000 * 1000;
}

const QString &program()
{
    static const QString text = ProgramGenerator::milling(programBytes());
    return text;
}

struct Path {
    ToolpathStore store;
    ToolpathStore coarse;
    long long lines = 0;
};

const Path &path()
{
    static const std::unique_ptr<Path> made = [] {
        auto p = std::make_unique<Path>();
        const ToolpathSummary summary =
            ToolpathInterpreter::interpret(program(), {}, AppLanguage::english, &p->store);
        p->lines = summary.endLine;
        p->coarse = ToolpathCoarse::build(p->store, ToolpathCoarse::toleranceFor(p->store, 1200, coarseVertices));
        return p;
    }();
    return *made;
}

ToolpathCamera camera(ToolpathCamera::View view = ToolpathCamera::View::iso)
{
    ToolpathCamera c;
    c.setView(view);
    c.setViewport(viewport);
    c.fit(path().store);
    return c;
}

// What the panel does from a program shown to its pictures: interpretation on
// one worker that draws a preview of the part read so far (after 350 ms, then
// every 500 ms), then the coarse level, then the full picture in two bands.
// "partial_s" is when the first preview was ready, the time the full picture.
void ToolpathShownToPicture(benchmark::State &state)
{
    const QString &text = program();
    double partial = 0;
    for (auto _ : state) {
        QElapsedTimer clock;
        clock.start();
        ToolpathCamera c;
        c.setView(ToolpathCamera::View::iso);
        c.setViewport(viewport);
        ToolpathStore store;
        double first = 0;
        ToolpathPreview preview(c, ToolpathStyle::forAppearance(true),
                                [&](const QImage &) { first = first > 0 ? first : clock.nsecsElapsed() / 1e9; },
                                350, 500);
        ToolpathInterpreter::interpret(text, {}, AppLanguage::english, &store, [&] {
            preview.check(store);
            return false;
        });
        const ToolpathStore coarse =
            ToolpathCoarse::build(store, ToolpathCoarse::toleranceFor(store, 1200, coarseVertices));
        c.fit(store);
        QImage image;
        ToolpathRenderer::render(store, c, ToolpathStyle::forAppearance(true), {}, image);
        benchmark::DoNotOptimize(image);
        benchmark::DoNotOptimize(coarse);
        partial += first;
    }
    state.counters["partial_s"] = partial / double(state.iterations());
}

// The full-quality picture of a finished store, two bands (both cores).
void ToolpathFullPicture(benchmark::State &state)
{
    const ToolpathCamera c = camera();
    ToolpathRenderOptions options;
    options.bands = int(state.range(0));
    QImage image;
    for (auto _ : state)
        ToolpathRenderer::render(path().store, c, ToolpathStyle::forAppearance(true), options, image);
    state.counters["vertices"] = double(path().store.size());
}

// A frame while turning: the coarse level (antialiased or not, bands).
void ToolpathTurnFrame(benchmark::State &state)
{
    ToolpathCamera c = camera();
    QImage image;
    ToolpathRenderOptions options;
    options.antialiased = state.range(0) != 0;
    options.bands = int(state.range(1));
    int frame = 0;
    for (auto _ : state) {
        // Back and forth over the same angles, so every variant draws the same frames.
        const double step = frame++ % 40 < 20 ? 3 : -3;
        c.rotateBy(step, step / 3);
        ToolpathRenderer::render(path().coarse, c, ToolpathStyle::forAppearance(true), options, image);
    }
    state.counters["coarse_vertices"] = double(path().coarse.size());
}

// A frame while panning or zooming: the finished picture moved and scaled.
void ToolpathPanZoomFrame(benchmark::State &state)
{
    QImage picture(viewport, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::darkGray);
    QImage screen(viewport, QImage::Format_ARGB32_Premultiplied);
    double k = 1;
    for (auto _ : state) {
        k = k > 2 ? 1 : k * 1.05;
        QPainter painter(&screen);
        painter.fillRect(screen.rect(), Qt::black);
        painter.translate(-20 * k, -10 * k);
        painter.scale(k, k);
        painter.drawImage(0, 0, picture);
    }
}

void ToolpathMemory(benchmark::State &state)
{
    const ToolpathStore &store = path().store;
    for (auto _ : state)
        benchmark::DoNotOptimize(store.bytesUsed());
    state.counters["bytes_per_vertex"] = double(store.bytesUsed()) / double(store.size());
    // The panel holds the coarse level too: counted against the full store's vertices.
    state.counters["with_coarse_per_vertex"] =
        double(store.bytesUsed() + path().coarse.bytesUsed()) / double(store.size());
    state.counters["store_MB"] = double(store.bytesUsed()) / 1e6;
    state.counters["lines"] = double(path().lines);
}

// Caret → highlight: the move of a line found, its tool, the move drawn over the picture.
void ToolpathCaretHighlight(benchmark::State &state)
{
    const ToolpathStore &store = path().store;
    const ToolpathCamera c = camera();
    QImage screen(viewport, QImage::Format_ARGB32_Premultiplied);
    std::uint32_t line = 1;
    for (auto _ : state) {
        line = (line * 7919 + 13) % std::uint32_t(path().lines) + 1;
        QPainter painter(&screen);
        painter.setRenderHint(QPainter::Antialiasing);
        const std::uint32_t vertex = store.firstVertexOfLine(line);
        if (vertex < store.size()) {
            benchmark::DoNotOptimize(store.toolAt(vertex));
            ToolpathRenderer::drawRange(store, c, painter, vertex, vertex + 1, Qt::yellow, 2.5);
        }
    }
}

// Click → line, at points on and off the path.
void ToolpathClick(benchmark::State &state)
{
    const ToolpathCamera c = camera(ToolpathCamera::View::top);
    int i = 0;
    for (auto _ : state) {
        ++i;
        const QPointF pixel((i * 97) % viewport.width(), (i * 57) % viewport.height());
        benchmark::DoNotOptimize(ToolpathPicker::pick(path().store, c, pixel));
    }
}

// One transfer progress step: the newly sent stretch (a chunk of 256 bytes is a dozen blocks) drawn over the picture.
void ToolpathTransferStep(benchmark::State &state)
{
    const ToolpathCamera c = camera();
    QImage picture(viewport, QImage::Format_ARGB32_Premultiplied);
    std::uint32_t sent = 0;
    for (auto _ : state) {
        const std::uint32_t next = std::min<std::uint32_t>(sent + 12, std::uint32_t(path().store.size()));
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        ToolpathRenderer::drawRange(path().store, c, painter, sent, next, Qt::green, 1.0);
        sent = next >= path().store.size() ? 0 : next;
    }
}

// On the main thread before and after each interpretation: whether the program looks like turning.
void ToolpathLatheGuess(benchmark::State &state)
{
    program(); // generated once, outside the timing
    for (auto _ : state)
        benchmark::DoNotOptimize(ToolpathTurning::looksLikeTurning(program()));
}
BENCHMARK(ToolpathLatheGuess)->Unit(benchmark::kMillisecond);

#ifdef VARN_BENCH_WIDGETS
// When a transfer starts, the payload's line starts are found on a worker
// (the marker waits for them); this is how long that takes.
void ToolpathTransferLineStarts(benchmark::State &state)
{
    program();
    for (auto _ : state)
    {
        std::vector<WireBlock> blocks;
        benchmark::DoNotOptimize(WireFormat::build(program(), Machine::defaults().at(1), &blocks));
    }
}
BENCHMARK(ToolpathTransferLineStarts)->Unit(benchmark::kMillisecond)->Iterations(2);
#endif

} // namespace

BENCHMARK(ToolpathMemory)->Iterations(1);
BENCHMARK(ToolpathShownToPicture)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);
BENCHMARK(ToolpathFullPicture)->Unit(benchmark::kMillisecond)->Arg(1)->Arg(2)->Iterations(3);
BENCHMARK(ToolpathTurnFrame)->Unit(benchmark::kMillisecond)->ArgsProduct({{0, 1}, {1, 2}});
BENCHMARK(ToolpathPanZoomFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(ToolpathCaretHighlight)->Unit(benchmark::kMillisecond);
BENCHMARK(ToolpathClick)->Unit(benchmark::kMillisecond);
BENCHMARK(ToolpathTransferStep)->Unit(benchmark::kMillisecond);
