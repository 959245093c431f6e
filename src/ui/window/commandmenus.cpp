#include "commandmenus.h"

#include "translatedaction.h"

#include "compare/compareview.h"
#include "editor/editorcontroller.h"
#include "editor/gcodeeditor.h"

#include "panels/bytepreviewdialog.h"
#include "panels/restartdialog.h"
#include "panels/transferlogdialog.h"

#include "workspace/appmodel.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>

namespace {

// One window of each kind: a second choice of the menu item brings the open
// one to the front.
template <typename Dialog>
void showSingle(QWidget *window, const std::function<Dialog *()> &make)
{
    Dialog *dialog = window->findChild<Dialog *>(QString(), Qt::FindDirectChildrenOnly);
    if (!dialog) {
        dialog = make();
        dialog->setAttribute(Qt::WA_DeleteOnClose);
    }
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

} // namespace

CommandMenus::CommandMenus(AppModel &model, EditorController &controller, QMenuBar *bar, WindowHooks hooks)
    : QObject(bar), m_model(model), m_controller(controller), m_bar(bar), m_hooks(std::move(hooks))
{
    build();
    connect(&m_model, &AppModel::languageChanged, this, &CommandMenus::retranslate);
    retranslate();
}

QAction *CommandMenus::action(const QString &englishText) const
{
    for (QAction *candidate : findChildren<QAction *>()) {
        if (candidate->property("varnTextKey").toString() == englishText) {
            return candidate;
        }
    }
    return nullptr;
}

void CommandMenus::build()
{
    AppModel &model = m_model;
    EditorController &controller = m_controller;
    const auto add = [this](QMenu *menu, const char *key, const QList<QKeySequence> &keys, std::function<void()> run) {
        QAction *action = TranslatedAction::create(this, key, nullptr, {}, std::move(run));
        action->setShortcuts(keys);
        menu->addAction(action);
        return action;
    };
    // The editing commands act on the editor on screen, if any, and hand the
    // change to the document at once.
    const auto onEditor = [&controller](void (GCodeEditor::*command)()) {
        return [&controller, command] {
            if (GCodeEditor *editor = controller.editor()) {
                (editor->*command)();
                editor->flushEdits();
            }
        };
    };
    const auto tool = [&model](AppModel::Tool t) { return [&model, t] { model.applyTool(t); }; };

    QMenu *file = TranslatedAction::menu(m_bar, VARN_TR_KEY("File"));
    add(file, VARN_TR_KEY("New Program"), {QKeySequence(QStringLiteral("Ctrl+N"))}, [&model] { model.newDocument(); });
    add(file, VARN_TR_KEY("Open…"), {QKeySequence(QStringLiteral("Ctrl+O"))}, [&model] { model.openDocument(); });
    add(file, VARN_TR_KEY("Add Folder…"), {QKeySequence(QStringLiteral("Ctrl+Shift+O"))},
        [&model] { model.addFolders(); });
    add(file, VARN_TR_KEY("Save"), {QKeySequence(QStringLiteral("Ctrl+S"))}, [&model] { model.saveSelected(); });
    add(file, VARN_TR_KEY("Save As…"), {QKeySequence(QStringLiteral("Ctrl+Shift+S"))},
        [&model] { model.saveAs(model.selectedDocument()); });
    file->addSeparator();
    add(file, VARN_TR_KEY("Compare With…"), {},
        [&model, bar = m_bar] { CompareView::compareSelectedWith(model, bar->window()); });
    add(file, VARN_TR_KEY("Restore Backup…"), {}, [&model] { model.openBackup(); });
    add(file, VARN_TR_KEY("Show Backups Folder"), {}, [&model] { model.showBackupsFolder(); });
    file->addSeparator();
    add(file, VARN_TR_KEY("Preferences…"), {QKeySequence(QStringLiteral("Ctrl+,"))}, m_hooks.showPreferences);
    file->addSeparator();
    QAction *quit = add(file, VARN_TR_KEY("Quit"), {QKeySequence(QStringLiteral("Ctrl+Q"))}, m_hooks.quit);
    quit->setMenuRole(QAction::QuitRole);

    QMenu *edit = TranslatedAction::menu(m_bar, VARN_TR_KEY("Edit"));
    add(edit, VARN_TR_KEY("Undo"), {QKeySequence::Undo}, onEditor(&GCodeEditor::undo));
    add(edit, VARN_TR_KEY("Redo"), {QKeySequence::Redo}, onEditor(&GCodeEditor::redo));
    edit->addSeparator();
    add(edit, VARN_TR_KEY("Cut"), {QKeySequence::Cut}, onEditor(&GCodeEditor::cut));
    add(edit, VARN_TR_KEY("Copy"), {QKeySequence::Copy}, onEditor(&GCodeEditor::copy));
    add(edit, VARN_TR_KEY("Paste"), {QKeySequence::Paste}, onEditor(&GCodeEditor::paste));
    add(edit, VARN_TR_KEY("Select All"), {QKeySequence::SelectAll}, [&controller] {
        if (GCodeEditor *editor = controller.editor()) {
            editor->selectAll();
        }
    });
    edit->addSeparator();
    add(edit, VARN_TR_KEY("Find"), {QKeySequence(QStringLiteral("Ctrl+F"))}, [&controller] { controller.showFind(); });
    add(edit, VARN_TR_KEY("Replace"), {QKeySequence(QStringLiteral("Ctrl+H"))},
        [&controller] { controller.showReplace(); });

    QMenu *program = TranslatedAction::menu(m_bar, VARN_TR_KEY("Program"));
    add(program, VARN_TR_KEY("Go to Line or N Block…"), {QKeySequence(QStringLiteral("Ctrl+L"))},
        [&model] { model.goToPrompt(); });
    program->addSeparator();
    add(program, VARN_TR_KEY("Renumber N Lines"), {}, tool(AppModel::Tool::renumber));
    add(program, VARN_TR_KEY("Number Missing Lines"), {}, tool(AppModel::Tool::addLineNumbers));
    add(program, VARN_TR_KEY("Remove N Line Numbers"), {}, tool(AppModel::Tool::removeLineNumbers));
    add(program, VARN_TR_KEY("Format Uniform Spacing"), {}, tool(AppModel::Tool::formatSpacing));
    program->addSeparator();
    add(program, VARN_TR_KEY("Remove Coolant (M8/M08)"), {}, tool(AppModel::Tool::removeCoolant));
    add(program, VARN_TR_KEY("Remove M Codes…"), {}, [&model] { model.removeMCodesPrompt(); });
    add(program, VARN_TR_KEY("Reduce Feed F by Percentage…"), {}, [&model] { model.reduceFeedPrompt(); });
    add(program, VARN_TR_KEY("Adjust Spindle S by Percentage…"), {}, [&model] { model.adjustSpindlePrompt(); });
    program->addSeparator();
    add(program, VARN_TR_KEY("XYZ Axis Ranges"), {}, [&model] { model.showAxisRanges(); });
    program->addSeparator();
    add(program, VARN_TR_KEY("Next Tool Change"), {},
        [&controller] { controller.jumpToNext(EditorController::toolChangePattern()); });
    add(program, VARN_TR_KEY("Next Spindle Speed S"), {},
        [&controller] { controller.jumpToNext(EditorController::spindlePattern()); });

    QMenu *view = TranslatedAction::menu(m_bar, VARN_TR_KEY("View"));
    QAction *inspector = add(view, VARN_TR_KEY("Analysis Panel"), {QKeySequence(QStringLiteral("Ctrl+I"))},
                             [&model] { model.toggleInspector(); });
    inspector->setCheckable(true);
    inspector->setChecked(model.showInspector());
    connect(&model, &AppModel::showInspectorChanged, inspector, &QAction::setChecked);
    QAction *lineNumbers = add(view, VARN_TR_KEY("Line Numbers"), {},
                               [&model] { model.setShowLineNumbers(!model.showLineNumbers()); });
    lineNumbers->setCheckable(true);
    lineNumbers->setChecked(model.showLineNumbers());
    connect(&model, &AppModel::showLineNumbersChanged, lineNumbers, &QAction::setChecked);
    view->addSeparator();
    // Ctrl+= as well: on most keyboards "+" needs Shift, "=" shares its key.
    add(view, VARN_TR_KEY("Increase Font Size"),
        {QKeySequence(QStringLiteral("Ctrl++")), QKeySequence(QStringLiteral("Ctrl+="))},
        [&model] { model.setFontSize(model.editorFontSize() + 1); });
    add(view, VARN_TR_KEY("Decrease Font Size"), {QKeySequence(QStringLiteral("Ctrl+-"))},
        [&model] { model.setFontSize(model.editorFontSize() - 1); });

    QMenu *machine = TranslatedAction::menu(m_bar, VARN_TR_KEY("Machine"));
    add(machine, VARN_TR_KEY("Send to Machine"), {QKeySequence(QStringLiteral("Ctrl+E"))}, [&model] { model.send(); });
    add(machine, VARN_TR_KEY("Send from Line…"), {QKeySequence(QStringLiteral("Ctrl+Shift+E"))}, [this, &model] {
        if (!model.selectedDocument())
            return;
        int line = 0, index = 0;
        if (GCodeEditor *editor = m_controller.editor())
            editor->getCursorPosition(&line, &index);
        auto *dialog = new RestartDialog(model, line + 1, m_bar->window());
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->setWindowModality(Qt::WindowModal);
        dialog->show();
    });
    add(machine, VARN_TR_KEY("Cancel Transfer"), {QKeySequence(QStringLiteral("Ctrl+."))},
        [&model] { model.transfer().cancel(); });
    add(machine, VARN_TR_KEY("Receive from Machine…"), {},
        [&model] { model.showReceive(AppModel::ReceiveMode::open); });
    add(machine, VARN_TR_KEY("Compare with the Machine…"), {},
        [&model] { model.showReceive(AppModel::ReceiveMode::compare); });
    machine->addSeparator();
    add(machine, VARN_TR_KEY("Refresh Ports"), {}, [&model] { model.refreshPorts(); });
    add(machine, VARN_TR_KEY("Manage Machines…"), {}, [&model] { model.setShowingMachines(true); });
    machine->addSeparator();
    add(machine, VARN_TR_KEY("Byte Preview"), {}, [this, &model] {
        QWidget *window = m_bar->window();
        showSingle<BytePreviewDialog>(window, [&] { return new BytePreviewDialog(model, window); });
    });
    add(machine, VARN_TR_KEY("Transfer Log…"), {}, [this, &model] {
        QWidget *window = m_bar->window();
        showSingle<TransferLogDialog>(
            window, [&] { return new TransferLogDialog(model, model.transfer().transferLog(), window); });
    });

    QMenu *help = TranslatedAction::menu(m_bar, VARN_TR_KEY("Help"));
    add(help, VARN_TR_KEY("About VARN Edit"), {}, m_hooks.showAbout)->setMenuRole(QAction::AboutRole);

    for (QMenu *menu : {file, edit, program, view, machine, help}) {
        m_bar->addMenu(menu);
    }
}

void CommandMenus::retranslate()
{
    // The actions are ours and we are the bar's: one sweep reaches both.
    TranslatedAction::retranslate(m_bar, m_model.language());
}
