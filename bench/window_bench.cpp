// How long a user looks at an empty window after opening a 100 MB program:
// from the open command through the background load to the first screen of
// text painted in the editor, with the whole main window on screen (menus,
// action bar, tabs, analysis panel closed).
#include "programgenerator.h"
#include "editor/gcodeeditor.h"
#include "window/editorpane.h"
#include "window/mainwindow.h"
#include "workspace/appmodel.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
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

void windowFirstScreen(benchmark::State &state)
{
    if (!haveWidgets()) {
        state.SkipWithError("another benchmark made a non-widget application first; run this one alone");
        return;
    }
    const QUrl url = QUrl::fromLocalFile(largeProgram());
    for (auto _ : state) {
        QTemporaryDir dir;
        AppModel::Options options;
        options.settingsFile = dir.filePath(QStringLiteral("settings.ini"));
        options.machineStoreFile = dir.filePath(QStringLiteral("machines.json"));
        options.backupFolder = dir.filePath(QStringLiteral("Backups"));
        options.listPorts = [] { return QList<SerialPort>{}; };
        AppModel model(std::move(options));
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

} // namespace

BENCHMARK(windowFirstScreen)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
