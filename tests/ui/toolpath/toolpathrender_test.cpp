#include "toolpath/render/toolpathpicker.h"
#include "toolpath/render/toolpathpreview.h"
#include "toolpath/render/toolpathrenderer.h"
#include "toolpath/toolpathpanel.h"

#include "programgenerator.h"

#include "toolpath/toolpathinterpreter.h"
#include "toolpath/toolpathstore.h"
#include "toolpath/toolpathturning.h"

#include <QDir>
#include <QPainter>
#include <QRandomGenerator>
#include <gtest/gtest.h>

namespace {

const char *const millProgram = "G21 G90 G17\nT1 M6\nG0 X0 Y0 Z5\nG1 Z-1 F300\nG1 X40\nG2 X60 Y20 I0 J20\n"
                                "G3 X40 Y40 R20\nG1 X0 Y40\nG1 Y0\nG0 Z5\nT2 M6\n"
                                "G81 X10 Y10 Z-5 R2 F100\nX30 Y10\nX50 Y30\nG80\nG0 X0 Y0 Z20\nM30\n";
const char *const latheProgram = "G18 G21\nT0101\nG0 X60 Z2\nG1 X20 F0.2\nG1 Z-10\nG2 X40 Z-20 R10\n"
                                 "G1 X50 Z-30\nG1 Z-45\nG0 X70 Z2\nM30\n";

ToolpathStore interpreted(const char *program, bool lathe)
{
    ToolpathStore store;
    ToolpathOptions options;
    options.lathe = lathe;
    ToolpathInterpreter::interpret(QString::fromLatin1(program), options, AppLanguage::english, &store);
    return store;
}

QImage draw(const ToolpathStore &store, ToolpathCamera::View view, bool dark, QSize size,
            ToolpathRenderOptions options = {})
{
    ToolpathCamera camera;
    camera.setView(view);
    camera.setViewport(size);
    camera.fit(store);
    QImage image;
    ToolpathRenderer::render(store, camera, ToolpathStyle::forAppearance(dark), options, image);
    return image;
}

// Pixels whose channels differ by more than `tolerance`.
int differingPixels(const QImage &a, const QImage &b, int tolerance)
{
    int count = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            if (std::abs(qRed(p) - qRed(q)) > tolerance || std::abs(qGreen(p) - qGreen(q)) > tolerance ||
                std::abs(qBlue(p) - qBlue(q)) > tolerance)
                ++count;
        }
    return count;
}

} // namespace

// Reference pictures of small programs; VARN_UPDATE_REFERENCES=1 writes them anew.
TEST(ToolpathRenderer, PicturesMatchTheReferences)
{
    struct Case {
        const char *name;
        bool lathe;
        ToolpathCamera::View view;
        bool dark;
    };
    const Case cases[] = {
        {"mill-top-dark", false, ToolpathCamera::View::top, true},
        {"mill-top-light", false, ToolpathCamera::View::top, false},
        {"mill-front-light", false, ToolpathCamera::View::front, false},
        {"mill-side-dark", false, ToolpathCamera::View::side, true},
        {"mill-iso-dark", false, ToolpathCamera::View::iso, true},
        {"lathe-turning-light", true, ToolpathCamera::View::turning, false},
        {"lathe-turning-dark", true, ToolpathCamera::View::turning, true},
        {"lathe-top-light", true, ToolpathCamera::View::top, false}, // a flat path: one line
    };
    const QString folder = QStringLiteral(VARN_SOURCE_DIR "/tests/data/toolpath/");
    for (const Case &c : cases) {
        const QImage image = draw(interpreted(c.lathe ? latheProgram : millProgram, c.lathe), c.view, c.dark, {200, 150})
                                 .convertToFormat(QImage::Format_RGB32);
        const QString path = folder + QLatin1String(c.name) + QStringLiteral(".png");
        if (qEnvironmentVariable("VARN_UPDATE_REFERENCES") == QLatin1String("1"))
            image.save(path);
        const QImage reference = QImage(path).convertToFormat(QImage::Format_RGB32);
        ASSERT_EQ(reference.size(), image.size()) << c.name;
        // Anti-aliasing may round differently on another CPU; the shape may not change.
        EXPECT_LE(differingPixels(image, reference, 40), 30) << c.name;
    }
}

// Dropping vertices within half a pixel never moves the picture by more than a
// pixel: every inked pixel of one picture has ink of the other within the pixel
// the geometry may move plus the one the rasterizer may round to.
TEST(ToolpathRenderer, LevelOfDetailKeepsEveryVisibleMove)
{
    for (quint32 seed : {1u, 2u, 3u}) {
        QRandomGenerator random(seed);
        ToolpathStore store;
        std::array<double, 3> p{0, 0, 0};
        store.start(p);
        for (int i = 1; i < 20000; ++i) {
            // Mostly tiny steps (what the level of detail drops), now and then a long one.
            const double step = random.bounded(100) < 3 ? 20.0 : 0.02;
            for (int axis = 0; axis < 3; ++axis)
                p[axis] += (random.generateDouble() - 0.5) * step;
            store.append(random.bounded(10) == 0 ? MoveKind::rapid : MoveKind::feed, std::uint32_t(i), p);
        }
        for (ToolpathCamera::View view : {ToolpathCamera::View::top, ToolpathCamera::View::iso}) {
            ToolpathRenderOptions full, reduced;
            full.antialiased = reduced.antialiased = false;
            full.dropWithinPx = 0;
            const QImage a = draw(store, view, true, {300, 200}, full);
            const QImage b = draw(store, view, true, {300, 200}, reduced);
            const QRgb background = ToolpathStyle::forAppearance(true).background.rgb();
            auto inkNear = [&](const QImage &image, int x, int y) {
                for (int dy = -2; dy <= 2; ++dy)
                    for (int dx = -2; dx <= 2; ++dx)
                        if (image.rect().contains(x + dx, y + dy) && image.pixel(x + dx, y + dy) != background)
                            return true;
                return false;
            };
            int lost = 0, added = 0;
            for (int y = 0; y < a.height(); ++y)
                for (int x = 0; x < a.width(); ++x) {
                    lost += a.pixel(x, y) != background && !inkNear(b, x, y);
                    added += b.pixel(x, y) != background && !inkNear(a, x, y);
                }
            EXPECT_EQ(lost, 0) << "seed " << seed;
            EXPECT_EQ(added, 0) << "seed " << seed;
        }
    }
}

// A square of four feeds on lines 10–13, a rapid straight up at the first
// corner and a full circle of radius 50 at the top, 1 px per mm from the top.
TEST(ToolpathRenderer, TheCurrentToolsMovesGoOverTheOthersDimmed)
{
    // T1 cuts along Y through (20, 0); T2 cuts along X later, across it.
    const ToolpathStore store = interpreted("G17\nT1 M6\nG0 X20 Y-20\nG1 Y20 F100\nT2 M6\nG0 X0 Y0\nG1 X40\n", false);
    ToolpathCamera camera;
    camera.setView(ToolpathCamera::View::top);
    camera.setViewport({200, 200});
    camera.fit(store);
    const std::array<double, 3> o = store.origin();
    const auto pixel = [&](double x, double y) {
        return camera.project({float(x - o[0]), float(y - o[1]), float(-o[2])}).toPoint();
    };
    const ToolpathStyle style = ToolpathStyle::forAppearance(true);
    for (const int bright : {1, 2}) {
        SCOPED_TRACE(bright);
        ToolpathRenderOptions options;
        options.antialiased = false;
        options.brightTool = bright;
        QImage image;
        ToolpathRenderer::render(store, camera, style, options, image);
        const QColor crossing = image.pixelColor(pixel(20, 0));
        const QColor other = image.pixelColor(bright == 1 ? pixel(5, 0) : pixel(20, 10));
        EXPECT_EQ(crossing, style.feed) << crossing.name().toStdString();
        EXPECT_NE(other, style.feed);
        EXPECT_NE(other, style.background);
    }
}

TEST(ToolpathPicker, ClickFindsTheLinesOfTheMovesUnderThePointer)
{
    ToolpathStore store;
    store.start({0, 0, 0}, 1);
    store.append(MoveKind::feed, 10, {100, 0, 0});
    store.append(MoveKind::feed, 11, {100, 100, 0});
    store.append(MoveKind::feed, 12, {0, 100, 0});
    store.append(MoveKind::feed, 13, {0, 0, 0});
    store.append(MoveKind::rapid, 14, {0, 0, 50});
    store.appendArc(15, {0, 0, 50}, {50, 0, 50}, 6.283185307179586, 17);
    ToolpathCamera camera;
    camera.setViewport({200, 250});
    camera.fit(store, 50); // x 0..100 → 50..150, y −50..100 → 200..50
    ASSERT_NEAR(camera.scale(), 1.0, 1e-6);
    const struct {
        QPointF pixel;
        std::vector<std::uint32_t> lines;
    } rows[] = {
        {{100, 150}, {10}},
        {{100, 157}, {10}},
        {{100, 170}, {}},
        {{155, 100}, {11}},
        {{100, 100}, {15}}, // the circle's far point, not its chord
        {{50, 50}, {12, 13}},
        {{50, 150}, {10, 13, 14, 15}}, // every move through the first corner
        {{300, 300}, {}},
    };
    for (const auto &row : rows) {
        std::vector<std::uint32_t> lines;
        for (const ToolpathPicker::Hit &hit : ToolpathPicker::pick(store, camera, row.pixel))
            lines.push_back(hit.line);
        std::sort(lines.begin(), lines.end());
        EXPECT_EQ(lines, row.lines) << row.pixel.x() << "," << row.pixel.y();
    }
}

TEST(ToolpathTurning, LatheHabitsAreRecognised)
{
    const std::pair<const char *, bool> rows[] = {
        {"G71 U1 R0.5\nG71 P10 Q20 U0.2 W0.1 F0.25\n", true},
        {"g70p10q20\n", true},
        {"T0101\nG0 X20 Z2\n", true},
        {"T1 M6\nG0 X20 Y2\n", false},
        {"G73 X10 Y10 Z-5 R2 Q1 F100\n", false}, // a milling peck cycle
        {"T12345\n", false},
        {"G81 X1 Y1 Z-1 R1\n", false},
        {"G21\nG18 G8\nG0 X13.5 Z1\n", true}, // diameter or radius mode in the lathe's plane
        {"G7 G18\n", true},
        {"G08 P1\nG18 G2 X1 Z1 R1\n", false}, // a mill's look-ahead
    };
    for (const auto &[program, lathe] : rows)
        EXPECT_EQ(ToolpathTurning::looksLikeTurning(QString::fromLatin1(program)), lathe) << program;
}

// A path drawn while it grows, a piece at a time (and again whole when it
// leaves the picture), ends as the picture of the whole path with that camera.
TEST(ToolpathPreview, PiecesAddUpToThePictureOfTheWholePath)
{
    ToolpathCamera camera;
    camera.setView(ToolpathCamera::View::iso);
    camera.setViewport({200, 150});
    const ToolpathStyle style = ToolpathStyle::forAppearance(true);
    QImage last;
    int pictures = 0;
    ToolpathPreview preview(camera, style, [&](const QImage &image) { last = image, ++pictures; }, 0, 0);
    ToolpathStore store;
    ToolpathOptions options;
    const QString program = ProgramGenerator::milling(200000, 7, false, true);
    ToolpathInterpreter::interpret(program, options, AppLanguage::english, &store, [&] {
        preview.check(store);
        return false;
    });
    preview.check(store);
    ASSERT_GT(pictures, 3);
    ASSERT_EQ(preview.drawnVertices(), store.size());
    QImage whole;
    ToolpathRenderer::render(store, preview.camera(), style, {}, whole);
    // Pieces join where they meet, so only anti-aliasing at the joins may differ.
    EXPECT_LE(differingPixels(last, whole, 40), 30);
}
