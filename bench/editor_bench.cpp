// The editor on a 100 MB program, offscreen: the first screen after opening,
// a keystroke at the start, middle and end, and a jump to an unseen region.
// Targets: open under 2 s, a keystroke under 16 ms, a jump under 50 ms, and
// peak memory (VmHWM, reported with the open) near 3x the file size.

#include "editor/gcodeeditor.h"
#include "programgenerator.h"
#include "workspace/editordocument.h"

#include <QApplication>
#include <QFile>
#include <QKeyEvent>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

constexpr qint64 kProgramBytes = 100'000'000;

QApplication &application()
{
    static int argc = 1;
    static char name[] = "varn_bench";
    static char *argv[] = {name, nullptr};
    static QApplication *app = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        return new QApplication(argc, argv);
    }();
    return *app;
}

double peakMegabytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:")) {
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
        }
    }
    return 0;
}

struct Session {
    std::unique_ptr<GCodeEditor> editor;
    std::unique_ptr<EditorDocument> document;
    qsizetype bytes = 0;
};

// Never destroyed: the widgets must not outlive the application's statics.
Session &session()
{
    static auto *s = new Session;
    return *s;
}

void open(Session &s)
{
    static const QString text = ProgramGenerator::milling(kProgramBytes);
    s.bytes = text.toUtf8().size();
    s.document = std::make_unique<EditorDocument>(QUrl(), text);
    s.editor = std::make_unique<GCodeEditor>();
    s.editor->resize(1100, 700);
    s.editor->show();
    QCoreApplication::processEvents();
}

Session &openSession()
{
    Session &s = session();
    if (!s.editor) {
        application();
        open(s);
        s.editor->setDocument(s.document.get());
        QCoreApplication::processEvents();
    }
    return s;
}

void editorOpen(benchmark::State &state)
{
    application();
    Session &s = session();
    for (auto _ : state) {
        state.PauseTiming();
        s = Session();
        open(s);
        state.ResumeTiming();
        s.editor->setDocument(s.document.get());
        QCoreApplication::processEvents(); // the first colouring pass and paint
    }
    state.counters["passes"] = s.editor->colouringPasses();
    state.counters["file_MB"] = double(s.bytes) / 1e6;
    state.counters["VmHWM_MB"] = peakMegabytes();
    state.counters["VmHWM_per_file"] = peakMegabytes() * 1024 * 1024 / double(s.bytes);
}
BENCHMARK(editorOpen)->Iterations(1)->Unit(benchmark::kMillisecond);

void typeKey(GCodeEditor &editor, Qt::Key key, const QString &text)
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(&editor, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, text);
    QApplication::sendEvent(&editor, &release);
}

// Where: 0 start, 1 middle, 2 end. Each iteration types a character and
// deletes it again, then lets the queued colouring pass and the paint run.
void editorKeystroke(benchmark::State &state)
{
    Session &s = openSession();
    GCodeEditor &editor = *s.editor;
    const qsizetype length = editor.textLength16();
    const qsizetype at = state.range(0) == 0 ? 0 : state.range(0) == 1 ? length / 2 : length;
    editor.selectAndReveal(at, 0);
    QCoreApplication::processEvents();
    const qint64 before = s.document->revision();
    for (auto _ : state) {
        typeKey(editor, Qt::Key_X, QStringLiteral("X"));
        QCoreApplication::processEvents();
        typeKey(editor, Qt::Key_Backspace, QString());
        QCoreApplication::processEvents();
    }
    state.counters["revisions_per_iteration"] =
        double(s.document->revision() - before) / double(std::max<qint64>(1, state.iterations()));
    state.SetLabel("two keystrokes per iteration (type, delete)");
}
BENCHMARK(editorKeystroke)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->MinTime(1.0);

// Each iteration scrolls to a region not yet seen, ending at the last screen.
void editorScrollToUnseen(benchmark::State &state)
{
    Session &s = openSession();
    GCodeEditor &editor = *s.editor;
    const long lines = editor.SendScintilla(QsciScintillaBase::SCI_GETLINECOUNT);
    long target = lines - 1;
    // The widget does work proportional to the caret's offset whenever the
    // view updates; keep the caret at the start so the figure is the scroll's.
    editor.selectAndReveal(0, 0);
    QCoreApplication::processEvents();
    for (auto _ : state) {
        editor.SendScintilla(QsciScintillaBase::SCI_SETFIRSTVISIBLELINE, static_cast<unsigned long>(target));
        QCoreApplication::processEvents();
        target = std::max<long>(0, target - 50'000);
    }
    state.counters["passes"] = editor.colouringPasses();
}
BENCHMARK(editorScrollToUnseen)->Iterations(20)->Unit(benchmark::kMillisecond);

} // namespace
