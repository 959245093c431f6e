#include "windowfixture.h"

#include "editor/gcodeeditor.h"
#include "panels/inspectorview.h"
#include "window/commandmenus.h"

#include <QDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTabBar>
#include <QToolButton>

TEST_F(MainWindowTest, MenuItemsCarryTheirShortcuts)
{
    const std::pair<const char *, QStringList> expected[] = {
        {"New Program", {"Ctrl+N"}},        {"Open…", {"Ctrl+O"}},
        {"Add Folder…", {"Ctrl+Shift+O"}},  {"Save", {"Ctrl+S"}},
        {"Save As…", {"Ctrl+Shift+S"}},     {"Go to Line or N Block…", {"Ctrl+L"}},
        {"Analysis Panel", {"Ctrl+I"}},     {"Increase Font Size", {"Ctrl++", "Ctrl+="}},
        {"Decrease Font Size", {"Ctrl+-"}}, {"Send to Machine", {"Ctrl+E"}},
        {"Cancel Transfer", {"Ctrl+."}},    {"Find", {"Ctrl+F"}},
        {"Replace", {"Ctrl+H"}},            {"Preferences…", {"Ctrl+,"}},
        {"Renumber N Lines", {}},           {"Manage Machines…", {}},
    };
    for (const auto &[text, keys] : expected) {
        QAction *action = window->menus()->action(QString::fromUtf8(text));
        ASSERT_NE(action, nullptr) << text;
        QStringList actual;
        for (const QKeySequence &key : action->shortcuts()) {
            actual.append(key.toString(QKeySequence::PortableText));
        }
        EXPECT_EQ(actual, keys) << text;
    }
}

TEST_F(MainWindowTest, MenuItemsAskTheUserThroughTheModel)
{
    trigger("Open…");
    trigger("Add Folder…");
    trigger("Save"); // never saved: behaves as Save As
    trigger("Show Backups Folder");
    EXPECT_EQ(dialogs.filePanels.size(), 1);
    EXPECT_EQ(dialogs.folderPanels.size(), 1);
    EXPECT_EQ(dialogs.savePanels.size(), 1);
    EXPECT_EQ(dialogs.revealed, QList<QUrl>{QUrl::fromLocalFile(path(QStringLiteral("Backups")))});

    for (const char *item : {"Go to Line or N Block…", "Remove M Codes…", "Reduce Feed F by Percentage…",
                             "Adjust Spindle S by Percentage…"}) {
        trigger(item);
    }
    QStringList titles;
    for (const FakeDialogs::Prompt &prompt : dialogs.prompts) {
        titles.append(prompt.title);
    }
    EXPECT_EQ(titles, (QStringList{"Go To", "Remove M Codes", "Reduce Feed", "Adjust Spindle S"}));
}

TEST_F(MainWindowTest, SaveWritesAnOpenFileInPlaceAndToolsRewriteTheProgram)
{
    const QUrl url = writeFile(QStringLiteral("part.nc"), "G0 X1\nG1 X2 F100\n");
    EditorDocument *doc = openLoaded(url);
    trigger("Renumber N Lines");
    EXPECT_EQ(window->editorPane()->editor()->wholeText(), QStringLiteral("N10 G0 X1\nN20 G1 X2 F100\n"));
    trigger("Save");
    EXPECT_TRUE(dialogs.savePanels.isEmpty());
    QFile file(url.toLocalFile());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("N10 G0 X1\nN20 G1 X2 F100\n"));
    EXPECT_FALSE(doc->isDirty());
}

TEST_F(MainWindowTest, FontSizeStepsOnePointAndTheEditorFollows)
{
    const double start = model->editorFontSize();
    trigger("Increase Font Size");
    trigger("Increase Font Size");
    trigger("Decrease Font Size");
    EXPECT_EQ(model->editorFontSize(), start + 1);
    EXPECT_EQ(window->editorPane()->editor()->fontSize(), start + 1);
}

TEST_F(MainWindowTest, AnalysisPanelAndMachineSettingsFollowTheModel)
{
    trigger("Analysis Panel");
    EXPECT_TRUE(window->inspector()->isVisible());
    EXPECT_TRUE(window->menus()->action(QStringLiteral("Analysis Panel"))->isChecked());
    trigger("Analysis Panel");
    EXPECT_FALSE(window->inspector()->isVisible());

    trigger("Manage Machines…");
    EXPECT_FALSE(model->showingMachines()) << "without a settings view the request must not stick";
    QPointer<QDialog> sheet;
    window->setMachineSettingsFactory([&sheet](QWidget *parent) { return sheet = new QDialog(parent); });
    trigger("Manage Machines…");
    ASSERT_TRUE(sheet && sheet->isVisible());
    sheet->reject();
    EXPECT_FALSE(model->showingMachines());
}

TEST_F(MainWindowTest, AlertShowsWithOneOkThatClearsIt)
{
    model->setAlert(QStringLiteral("Unable to Save"), QStringLiteral("Disk full."));
    QMessageBox *box = window->alertBox();
    ASSERT_NE(box, nullptr);
    ASSERT_EQ(box->buttons().size(), 1);
    EXPECT_EQ(box->buttons().first()->text(), QStringLiteral("OK"));
    EXPECT_TRUE(box->text().contains(QStringLiteral("Unable to Save")));
    EXPECT_EQ(box->informativeText(), QStringLiteral("Disk full."));
    box->buttons().first()->click();
    EXPECT_FALSE(model->alert().has_value());
}

TEST_F(MainWindowTest, TabsTitleAndViewStateFollowTheSelection)
{
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Untitled"));
    EditorDocument *a = openLoaded(writeFile(QStringLiteral("a.nc"), "G0 X1\nG0 X2\nG0 X3\nG0 X4\n"));
    EditorDocument *b = openLoaded(writeFile(QStringLiteral("b.nc"), "M3 S100\nM30\n"));
    QTabBar *tabs = window->editorPane()->tabBar();
    ASSERT_EQ(tabs->count(), 2) << "the blank tab made way for the first file";
    EXPECT_EQ(tabs->tabText(0), QStringLiteral("a.nc"));
    EXPECT_EQ(window->windowTitle(), QStringLiteral("b.nc"));

    GCodeEditor *editor = window->editorPane()->editor();
    tabs->setCurrentIndex(0);
    EXPECT_EQ(model->selectedDocument(), a);
    window->editorController().goToLine(3);
    tabs->setCurrentIndex(1);
    EXPECT_EQ(editor->wholeText(), b->text());
    tabs->setCurrentIndex(0);
    EXPECT_EQ(editor->wholeText().mid(editor->selectionStart16(), editor->selectionLength16()),
              QStringLiteral("G0 X3\n"));
    EXPECT_EQ(window->windowTitle(), QStringLiteral("a.nc"));

    editor->SendScintilla(QsciScintillaBase::SCI_INSERTTEXT, 0UL, "X");
    editor->flushEdits();
    EXPECT_EQ(tabs->tabText(0), QStringLiteral("a.nc \u2022"));

    window->editorPane()->newButton()->click();
    EXPECT_EQ(tabs->count(), 3);
    EXPECT_EQ(tabs->tabText(2), QStringLiteral("Untitled"));
}

TEST_F(MainWindowTest, ClosingUnsavedWorkAsksAndKeepsItUnlessToldOtherwise)
{
    EditorDocument *doc = model->selectedDocument();
    doc->setText(QStringLiteral("G0 X1"));
    model->newDocument();
    QTabBar *tabs = window->editorPane()->tabBar();
    auto closeFirst = [&] { qobject_cast<QToolButton *>(tabs->tabButton(0, QTabBar::RightSide))->click(); };

    closeFirst(); // cancel
    closeAnswers = {EditorPane::CloseAnswer::save}; // the save panel is cancelled
    closeFirst();
    EXPECT_EQ(closeQuestions, 2);
    EXPECT_EQ(dialogs.savePanels.size(), 1);
    ASSERT_EQ(model->documents().size(), 2) << "unsaved work stays";

    closeAnswers = {EditorPane::CloseAnswer::dontSave};
    closeFirst();
    EXPECT_EQ(model->documents().size(), 1);
    closeFirst(); // clean: no question
    EXPECT_EQ(closeQuestions, 3);
}

TEST_F(MainWindowTest, LanguageSwitchRetranslatesEveryMenuItem)
{
    auto texts = [this] {
        QStringList all;
        for (QAction *menu : window->menuBar()->actions()) {
            all.append(menu->text());
            for (QAction *item : menu->menu()->actions()) {
                if (!item->isSeparator()) {
                    all.append(item->text());
                }
            }
        }
        return all;
    };
    const QStringList english = texts();
    model->setLanguage(AppLanguage::spanish);
    const QStringList spanish = texts();
    ASSERT_EQ(spanish.size(), english.size());
    EXPECT_EQ(spanish.first(), QStringLiteral("Archivo"));
    for (qsizetype i = 0; i < english.size(); ++i) {
        EXPECT_NE(spanish[i], english[i]) << "left in English: " << english[i].toStdString();
    }
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Sin título"));
    model->setLanguage(AppLanguage::english);
    EXPECT_EQ(texts(), english);
}

TEST(MainWindowStart, EmptyUntilTheFirstAppearanceRunsTheStartUp)
{
    QTemporaryDir dir;
    AppModel::Options options;
    options.settingsFile = dir.filePath(QStringLiteral("settings.ini"));
    options.machineStoreFile = dir.filePath(QStringLiteral("machines.json"));
    options.backupFolder = dir.filePath(QStringLiteral("Backups"));
    options.listPorts = [] { return QList<SerialPort>{}; };
    AppModel model(std::move(options));
    MainWindow window(model);
    EXPECT_TRUE(window.editorPane()->isShowingEmptyState());
    EXPECT_EQ(window.windowTitle(), QStringLiteral("VARN Edit"));
    window.resize(400, 300);
    window.show();
    EXPECT_FALSE(window.editorPane()->isShowingEmptyState());
    EXPECT_EQ(model.documents().size(), 1);
    EXPECT_GE(window.width(), MainWindow::minimumWidth);
    EXPECT_GE(window.height(), MainWindow::minimumHeight);
}
