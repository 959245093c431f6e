#include "uifixture.h"

#include "editor/gcodeeditor.h"

#include <QMenuBar>

TEST_F(UiTest, MenuItemsCarryTheirShortcutsAndAskThroughTheModel)
{
    showWindow();
    const std::pair<const char *, QStringList> expected[] = {
        {"New Program", {"Ctrl+N"}},
        {"Open…", {"Ctrl+O"}},
        {"Add Folder…", {"Ctrl+Shift+O"}},
        {"Save", {"Ctrl+S"}},
        {"Save As…", {"Ctrl+Shift+S"}},
        {"Go to Line or N Block…", {"Ctrl+L"}},
        {"Analysis Panel", {"Ctrl+I"}},
        {"Increase Font Size", {"Ctrl++", "Ctrl+="}},
        {"Decrease Font Size", {"Ctrl+-"}},
        {"Send to Machine", {"Ctrl+E"}},
        {"Cancel Transfer", {"Ctrl+."}},
        {"Find", {"Ctrl+F"}},
        {"Replace", {"Ctrl+H"}},
        {"Preferences…", {"Ctrl+,"}},
        {"Renumber N Lines", {}},
        {"Manage Machines…", {}},
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

    for (const char *item :
         {"Open…", "Add Folder…", "Save", "Show Backups Folder", "Go to Line or N Block…", "Remove M Codes…",
          "Reduce Feed F by Percentage…", "Adjust Spindle S by Percentage…"}) {
        trigger(item);
    }
    // What each item asked, in order: the kind of panel, or the prompt's title.
    QStringList kinds;
    for (const QString &question : dialogs.asked) {
        const QStringList fields = question.split('|');
        kinds.append(fields[0] == "prompt" ? fields[1] : fields[0]);
    }
    EXPECT_EQ(kinds, (QStringList{"files", "folders", "save", "reveal", "Go To", "Remove M Codes", "Reduce Feed",
                                  "Adjust Spindle S"}))
        << "a program never saved is saved as";
    EXPECT_TRUE(dialogs.asked.contains("reveal|" + path("Backups")));
}

TEST_F(UiTest, MenuToolsRewriteTheProgramAndTheFontStepsOnePoint)
{
    showWindow();
    EditorDocument *doc = openFile("part.nc", "G0 X1\nG1 X2 F100\n");
    trigger("Renumber N Lines");
    EXPECT_EQ(window->editorPane()->editor()->wholeText(), "N10 G0 X1\nN20 G1 X2 F100\n");
    trigger("Save");
    EXPECT_TRUE(dialogs.asked.isEmpty()) << "an opened file is saved in place";
    QFile file(path("part.nc"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "N10 G0 X1\nN20 G1 X2 F100\n");
    EXPECT_FALSE(doc->isDirty());

    const double size = model->editorFontSize();
    trigger("Increase Font Size");
    trigger("Increase Font Size");
    trigger("Decrease Font Size");
    EXPECT_EQ(model->editorFontSize(), size + 1);
    EXPECT_EQ(window->editorPane()->editor()->fontSize(), size + 1);

    EXPECT_FALSE(window->editorPane()->editor()->lineNumbersVisible());
    trigger("Line Numbers");
    EXPECT_TRUE(window->editorPane()->editor()->lineNumbersVisible());
    EXPECT_TRUE(stored("varn.lineNumbers").toBool()) << "remembered for the next start";
    AppModel::Options options;
    options.settingsFile = path("settings.ini");
    options.machineStoreFile = path("machines.json");
    EXPECT_TRUE(AppModel(std::move(options)).showLineNumbers());
}

TEST_F(UiTest, SpanishLeavesNoMenuItemInEnglish)
{
    showWindow();
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
    EXPECT_EQ(spanish.first(), "Archivo");
    for (qsizetype i = 0; i < english.size(); ++i) {
        EXPECT_NE(spanish[i], english[i]) << "left in English: " << english[i].toStdString();
    }
    EXPECT_EQ(window->windowTitle(), "Sin título");
    model->setLanguage(AppLanguage::english);
    EXPECT_EQ(texts(), english);
}
