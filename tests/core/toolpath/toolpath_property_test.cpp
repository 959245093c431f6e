// Properties every interpretation must keep, over the shared corpus and
// generated programs: the bounds hold every point the store draws, the length
// is the sum of the drawn moves, and the summary does not depend on how the
// text arrives (pieces of any size, a file read through its source).
#include "programgenerator.h"
#include "toolpath/toolpathinterpreter.h"
#include "toolpath/toolpathsource.h"
#include "toolpath/toolpathstore.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

struct Program {
    QString name;
    QString text;
    bool lathe = false;
};

std::vector<Program> programs()
{
    std::vector<Program> out;
    const QDir corpus(QStringLiteral(VARN_CORPUS_DIR));
    for (const QString &name : corpus.entryList(QDir::Files, QDir::Name)) {
        QFile file(corpus.filePath(name));
        if (file.open(QIODevice::ReadOnly)) {
            const QString text = QString::fromUtf8(file.readAll());
            out.push_back({name, text, false});
            if (name.contains(QLatin1String("lathe"), Qt::CaseInsensitive))
                out.push_back({name + QStringLiteral(" (lathe)"), text, true});
        }
    }
    out.push_back({QStringLiteral("generated"), ProgramGenerator::milling(400'000, 5, false, true)});
    out.push_back({QStringLiteral("generated crlf"), ProgramGenerator::milling(200'000, 9, true, true)});
    return out;
}

bool same(const ToolpathSummary &a, const ToolpathSummary &b)
{
    const auto bounds = [](const std::optional<ToolpathSummary::Bounds> &x) {
        return x ? std::vector<double>{x->min[0], x->min[1], x->min[2], x->max[0], x->max[1], x->max[2]}
                 : std::vector<double>{};
    };
    const auto tools = [](const ToolpathSummary &s) {
        std::vector<std::array<double, 3>> t;
        for (const auto &tool : s.tools)
            t.push_back({double(tool.tool), double(tool.line), tool.feedLength});
        return t;
    };
    const auto warnings = [](const ToolpathSummary &s) {
        QStringList w;
        for (const auto &warning : s.warnings)
            w << QString::number(warning.line) + warning.message;
        return w;
    };
    return a.inches == b.inches && a.rapidMoves == b.rapidMoves && a.feedMoves == b.feedMoves &&
           a.arcMoves == b.arcMoves && a.cycleHoles == b.cycleHoles && a.rapidLength == b.rapidLength &&
           a.feedLength == b.feedLength && bounds(a.rapidBounds) == bounds(b.rapidBounds) &&
           bounds(a.feedBounds) == bounds(b.feedBounds) && tools(a) == tools(b) && a.endLine == b.endLine &&
           warnings(a) == warnings(b) && a.feedSeconds == b.feedSeconds;
}

bool inside(const std::optional<ToolpathSummary::Bounds> &bounds, const std::array<double, 3> &p, bool lathe)
{
    if (!bounds)
        return false;
    for (int axis = 0; axis < 3; ++axis) {
        const double v = lathe && axis == 0 ? p[0] * 2 : p[axis];
        const double slack = 1e-3 + 1e-6 * std::abs(v); // the store keeps floats
        if (v < bounds->min[axis] - slack || v > bounds->max[axis] + slack)
            return false;
    }
    return true;
}

TEST(ToolpathProperties, BoundsHoldEveryPointAndLengthsAddUp)
{
    for (const Program &program : programs()) {
        SCOPED_TRACE(program.name.toStdString());
        ToolpathStore store;
        const ToolpathSummary s =
            ToolpathInterpreter::interpret(program.text, {program.lathe}, AppLanguage::english, &store);
        const std::array<double, 3> origin = store.origin();
        const auto at = [&](std::array<float, 3> p) {
            return std::array<double, 3>{origin[0] + p[0], origin[1] + p[1], origin[2] + p[2]};
        };
        double rapid = 0, feed = 0;
        std::vector<std::array<float, 3>> points;
        int outside = 0;
        for (std::size_t v = 1; v < store.size(); ++v) {
            const MoveKind kind = store.kind(v);
            if (kind == MoveKind::jump)
                continue;
            const bool isRapid = kind == MoveKind::rapid || kind == MoveKind::cycleRapid;
            const auto &bounds = isRapid ? s.rapidBounds : s.feedBounds;
            points.clear();
            if (kind == MoveKind::arc)
                store.arcPoints(v, 1e-4, points);
            points.push_back(store.position(v));
            std::array<double, 3> from = at(store.position(v - 1));
            outside += !inside(bounds, from, program.lathe);
            for (const auto &p : points) {
                const std::array<double, 3> to = at(p);
                outside += !inside(bounds, to, program.lathe);
                const double length = std::hypot(to[0] - from[0], to[1] - from[1], to[2] - from[2]);
                (isRapid ? rapid : feed) += length;
                from = to;
            }
        }
        EXPECT_EQ(0, outside);
        EXPECT_NEAR(s.rapidLength, rapid, 1e-3 + 1e-4 * s.rapidLength);
        EXPECT_NEAR(s.feedLength, feed, 1e-3 + 1e-4 * s.feedLength);
        double toolFeed = 0;
        for (const auto &tool : s.tools)
            toolFeed += tool.feedLength;
        EXPECT_NEAR(s.feedLength, toolFeed, 1e-6 * (1 + s.feedLength));
    }
}

TEST(ToolpathProperties, PiecesOfAnySizeAndFilesGiveTheSameSummary)
{
    std::mt19937 rng(7);
    QTemporaryDir dir;
    for (const Program &program : programs()) {
        SCOPED_TRACE(program.name.toStdString());
        const ToolpathSummary whole = ToolpathInterpreter::interpret(program.text, {program.lathe}, AppLanguage::english);
        for (const int largest : {1, 7, 4096}) {
            TextToolpathSource source(program.text);
            ToolpathInterpreter::Session session({program.lathe}, AppLanguage::english, &source);
            std::uniform_int_distribution<qsizetype> size(1, largest);
            for (qsizetype at = 0; at < program.text.size();) {
                const qsizetype n = std::min(size(rng), program.text.size() - at);
                session.feed(QStringView(program.text).sliced(at, n));
                at += n;
            }
            EXPECT_TRUE(same(whole, session.finish())) << "pieces up to " << largest;
        }
        const QString path = dir.filePath(QStringLiteral("program.nc"));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(program.text.toUtf8());
        file.close();
        FileToolpathSource source(path);
        ToolpathInterpreter::Session session({program.lathe}, AppLanguage::english, &source);
        session.feed(program.text);
        EXPECT_TRUE(same(whole, session.finish())) << "through the file";
    }
}

// Lines come back exactly, whatever their order: checkpoints, steps that do
// not fit a byte, and lines that go back (a subprogram run again).
TEST(ToolpathStoreLines, EveryVertexKeepsItsLineAndKind)
{
    std::mt19937 rng(3);
    std::uniform_int_distribution<int> jump(0, 99);
    ToolpathStore store;
    store.start({0, 0, 0}, 0);
    std::vector<std::uint32_t> lines{0};
    std::uint32_t line = 1;
    for (int i = 0; i < 20000; ++i) {
        const int r = jump(rng);
        line = r < 5 ? std::uint32_t(jump(rng) * 7) : r < 8 ? line + 40 + r : line + (r % 3);
        store.append(MoveKind(i % 5), line, {double(i), 0, 0});
        lines.push_back(line);
    }
    store.squeeze();
    for (std::size_t v = 0; v < lines.size(); ++v) {
        ASSERT_EQ(lines[v], store.line(v)) << v;
        if (v > 0)
            ASSERT_EQ(MoveKind((v - 1) % 5), store.kind(v)) << v;
    }
    for (const std::uint32_t probe : {0u, 7u, lines[777], lines[19999], 999999u}) {
        const auto first = std::find(lines.begin(), lines.end(), probe);
        EXPECT_EQ(std::uint32_t(first - lines.begin()), store.firstVertexOfLine(probe));
    }
}

} // namespace
