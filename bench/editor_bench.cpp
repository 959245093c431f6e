// The editor on a 100 MB program, offscreen: the first screen after opening,
// a keystroke at the start, middle and end, and a jump to an unseen region.
// Targets: open under 2 s, a keystroke under 16 ms, a jump under 50 ms, and
// peak memory (VmHWM, reported with the open) at most 3x the file size. The
// open and the keystrokes run with the line-number gutter off and on
// (gutter:1), which must not cost them anything measurable.
//
// The program is opened the way a user opens it: from a file, through the
// model, into the editor. It is generated into that file first and the
// generated text is gone before the peak is reset, so the figure is what the
// open costs. Run editorOpen on its own for a clean peak.

#include "editor/gcodeeditor.h"
#include "programgenerator.h"
#include "workspace/appmodel.h"
#include "workspace/editordocument.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QKeyEvent>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstring>
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

double statusMegabytes(const char *field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(field)) {
            return line.mid(qsizetype(std::strlen(field))).trimmed().split(' ').value(0).toDouble() / 1024.0;
        }
    }
    return 0;
}

double peakMegabytes()
{
    return statusMegabytes("VmHWM:");
}

// Forgets the peak so far (Linux 4.0 and later); false where not allowed.
bool resetPeak()
{
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    return clear.open(QIODevice::WriteOnly) && clear.write("5") == 1;
}

// The program file, written once; the generated text is freed on return.
const QString &programFile()
{
    static QTemporaryDir dir;
    static const QString path = [] {
        const QString file = dir.filePath(QStringLiteral("large.nc"));
        QFile out(file);
        if (out.open(QIODevice::WriteOnly)) {
            out.write(ProgramGenerator::milling(kProgramBytes).toUtf8());
        }
        return file;
    }();
    return path;
}

struct Session {
    QTemporaryDir dir;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<GCodeEditor> editor;
    EditorDocument *document = nullptr;
    qint64 bytes = 0;
};

// Never destroyed: the widgets must not outlive the application's statics.
Session *&session()
{
    static Session *s = nullptr;
    return s;
}

void prepare(Session &s, bool lineNumbers = false)
{
    AppModel::Options options;
    options.settingsFile = s.dir.filePath(QStringLiteral("settings.ini"));
    options.machineStoreFile = s.dir.filePath(QStringLiteral("machines.json"));
    options.backupFolder = s.dir.filePath(QStringLiteral("Backups"));
    options.listPorts = [] { return QList<SerialPort>{}; };
    s.model = std::make_unique<AppModel>(std::move(options));
    s.editor = std::make_unique<GCodeEditor>();
    s.editor->resize(1100, 700);
    s.editor->setLineNumbersVisible(lineNumbers);
    s.editor->show();
    s.bytes = QFile(programFile()).size();
    QCoreApplication::processEvents();
}

// What the window does: show the new tab at once, the text when it arrives.
void open(Session &s)
{
    s.model->openFile(QUrl::fromLocalFile(programFile()));
    s.document = s.model->selectedDocument();
    s.editor->setDocument(s.document);
    QDeadlineTimer deadline(120'000);
    while (s.document->isLoading() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    QCoreApplication::processEvents(); // the first colouring pass and paint
}

Session &openSession()
{
    Session *&s = session();
    if (!s) {
        application();
        s = new Session;
        prepare(*s);
        open(*s);
    }
    return *s;
}

void editorOpen(benchmark::State &state)
{
    application();
    Session *&s = session();
    bool peakReset = false;
    for (auto _ : state) {
        state.PauseTiming();
        if (s) {
            s->editor.reset();
            s->model.reset();
            delete s;
        }
        s = new Session;
        prepare(*s, state.range(0) != 0);
        peakReset = resetPeak();
        state.counters["before_open_MB"] = statusMegabytes("VmRSS:");
        state.ResumeTiming();
        open(*s);
    }
    state.counters["passes"] = s->editor->colouringPasses();
    state.counters["file_MB"] = double(s->bytes) / 1e6;
    state.counters["VmHWM_MB"] = peakMegabytes();
    state.counters["VmHWM_per_file"] = peakMegabytes() * 1024 * 1024 / double(s->bytes);
    state.counters["peak_reset"] = peakReset ? 1 : 0;
    state.counters["after_open_MB"] = statusMegabytes("VmRSS:");
}
BENCHMARK(editorOpen)->ArgName("gutter")->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

void typeKey(GCodeEditor &editor, Qt::Key key, const QString &text)
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(&editor, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, text);
    QApplication::sendEvent(&editor, &release);
}

// Where: 0 start, 1 middle, 2 end; then the gutter off or on. Each iteration types a character and
// deletes it again, then lets the queued colouring pass and the paint run.
void editorKeystroke(benchmark::State &state)
{
    Session &s = openSession();
    GCodeEditor &editor = *s.editor;
    const qsizetype length = editor.textLength16();
    const qsizetype at = state.range(0) == 0 ? 0 : state.range(0) == 1 ? length / 2 : length;
    editor.setLineNumbersVisible(state.range(1) != 0);
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
BENCHMARK(editorKeystroke)->ArgNames({"at", "gutter"})->ArgsProduct({{0, 1, 2}, {0, 1}})->Unit(benchmark::kMillisecond)->MinTime(1.0);

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
