// How long a user looks at an empty window after opening a 100 MB program:
// from the open command through the background load to the first screen of
// text painted in the editor, with the whole main window on screen (menus,
// action bar, tabs, analysis panel closed).
#include "programgenerator.h"
#include "editor/gcodeeditor.h"
#include "toolpath/toolpathpanel.h"
#include "toolpath/toolpathview.h"
#include "window/editorpane.h"
#include "window/mainwindow.h"
#include "workspace/appmodel.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QKeyEvent>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

bool haveWidgets()
{
    static int argc = 1;
    static char name[] = "varn_bench";
    static char *argv[] = {name, nullptr};
    if (!QCoreApplication::instance()) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        new QApplication(argc, argv);
    }
    return qobject_cast<QApplication *>(QCoreApplication::instance()) != nullptr;
}

const QString &largeProgram()
{
    static QTemporaryDir dir;
    static const QString path = [] {
        const QString file = dir.filePath(QStringLiteral("large.nc"));
        QFile out(file);
        if (out.open(QIODevice::WriteOnly)) {
            out.write(ProgramGenerator::milling(100'000'000).toUtf8());
        }
        return file;
    }();
    return path;
}

// Settings, machines and backups in `dir`, and no ports: nothing of the user's is touched.
AppModel::Options privateOptions(const QTemporaryDir &dir)
{
    AppModel::Options options;
    options.settingsFile = dir.filePath(QStringLiteral("settings.ini"));
    options.machineStoreFile = dir.filePath(QStringLiteral("machines.json"));
    options.backupFolder = dir.filePath(QStringLiteral("Backups"));
    options.listPorts = [] { return QList<SerialPort>{}; };
    return options;
}

void windowFirstScreen(benchmark::State &state)
{
    if (!haveWidgets()) {
        state.SkipWithError("another benchmark made a non-widget application first; run this one alone");
        return;
    }
    const QUrl url = QUrl::fromLocalFile(largeProgram());
    for (auto _ : state) {
        QTemporaryDir dir;
        AppModel model(privateOptions(dir));
        MainWindow window(model);
        window.show();
        QCoreApplication::processEvents();
        GCodeEditor *editor = window.editorPane()->editor();

        QElapsedTimer clock;
        clock.start();
        model.openFile(url);
        EditorDocument *doc = model.selectedDocument();
        const QDeadlineTimer deadline(60'000);
        while (doc->isLoading() && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        QCoreApplication::processEvents();
        editor->viewport()->repaint();
        const double seconds = clock.nsecsElapsed() / 1e9;
        if (editor->textLength16() != doc->textLength() || editor->textLength16() == 0) {
            state.SkipWithError("the editor did not receive the program");
            return;
        }
        state.SetIterationTime(seconds);
    }
    state.counters["MB"] = double(QFile(largeProgram()).size()) / 1e6;
}

// Typing in the 100 MB program while the Toolpath panel follows it: each
// keystroke reaches the editor and is painted (target 16 ms), and the event
// loop is never held long (target 50 ms) while the path is interpreted again
// and redrawn on workers after each pause in typing.
void windowTypingWhileToolpathRedraws(benchmark::State &state)
{
    if (!haveWidgets()) {
        state.SkipWithError("another benchmark made a non-widget application first; run this one alone");
        return;
    }
    QTemporaryDir dir;
    AppModel model(privateOptions(dir));
    MainWindow window(model);
    window.resize(1180, 740);
    window.setToolpathVisible(true);
    window.show();
    model.openFile(QUrl::fromLocalFile(largeProgram()));
    const ToolpathView &view = *window.toolpathPanel()->view();
    const QDeadlineTimer deadline(120'000);
    while ((model.selectedDocument()->isLoading() || !view.store() || view.store()->size() < 1000 ||
            view.picture().isNull()) &&
           !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    GCodeEditor *editor = window.editorPane()->editor();
    editor->setFocus();
    double worstKey = 0;
    double worstHold = 0;
    int typed = 0;
    for (auto _ : state) {
        QElapsedTimer clock;
        clock.start();
        const bool type = typed++ % 2 == 0;
        QKeyEvent press(QEvent::KeyPress, type ? Qt::Key_X : Qt::Key_Backspace, Qt::NoModifier,
                        type ? QStringLiteral("x") : QString());
        QCoreApplication::sendEvent(editor, &press);
        editor->viewport()->repaint();
        const double key = clock.nsecsElapsed() / 1e6;
        worstKey = std::max(worstKey, key);
        if (typed == 1)
            state.counters["first_key_ms"] = key; // the edit that moves the buffer's gap from the end
        // A typist's pause: whatever the panel does meanwhile runs here.
        QElapsedTimer pause;
        pause.start();
        while (pause.elapsed() < 120) {
            QElapsedTimer hold;
            hold.start();
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            worstHold = std::max(worstHold, hold.nsecsElapsed() / 1e6);
        }
        state.SetIterationTime(key / 1e3);
    }
    state.counters["worst_key_ms"] = worstKey;
    state.counters["worst_hold_ms"] = worstHold;
}

} // namespace

BENCHMARK(windowTypingWhileToolpathRedraws)->UseManualTime()->Iterations(40)->Unit(benchmark::kMillisecond);
BENCHMARK(windowFirstScreen)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
