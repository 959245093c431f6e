// The program tools through their prompts: what is asked, which answers act,
// and which must leave the program exactly as it was.
#include "appmodelfixture.h"

#include "workspace/editornavigator.h"

#include <QFile>

namespace {

// Every row of prompts.tsv: a command, the answer typed, the program before and after.
TEST_F(AppModelTest, PromptedToolsApplyOnlyAcceptedAnswers)
{
    const QHash<QString, void (AppModel::*)()> commands = {{"reduce-feed", &AppModel::reduceFeedPrompt},
                                                          {"adjust-spindle", &AppModel::adjustSpindlePrompt},
                                                          {"remove-m", &AppModel::removeMCodesPrompt}};
    const QHash<QString, QString> samples = {{"feed", "G01 X1. F450.\nG01 Y2. F1000"},
                                             {"spindle", "S1000 M3\nS3001"},
                                             {"codes", "N10 G0 X0 M08\nN20 M09\nN30 M05"}};
    QFile table(QStringLiteral(VARN_SOURCE_DIR "/tests/data/workspace/prompts.tsv"));
    ASSERT_TRUE(table.open(QIODevice::ReadOnly));
    int rows = 0;
    for (const QString &line : QString::fromUtf8(table.readAll()).split('\n', Qt::SkipEmptyParts)) {
        const QStringList row = line.split('\t');
        if (line.startsWith('#') || row.size() != 4) {
            continue;
        }
        SCOPED_TRACE(line.toStdString());
        const QString before = samples.value(row[2], row[2]);
        const QString after = row[3] == "=" ? before : QString(row[3]).replace("\\n", "\n");
        EditorDocument *doc = model->newDocument();
        doc->setText(before);
        const qint64 revision = doc->revision();
        dialogs.asked.clear();
        dialogs.promptAnswers = {row[1] == "<cancel>" ? std::nullopt : std::optional(row[1])};
        (model.get()->*commands.value(row[0]))();
        EXPECT_EQ(dialogs.asked.size(), 1);
        EXPECT_EQ(doc->text(), after);
        EXPECT_EQ(doc->revision(), revision + (after == before ? 0 : 1));
        EXPECT_FALSE(model->alert()) << "a refused answer shows nothing";
        ++rows;
    }
    EXPECT_EQ(rows, 18);
}

TEST_F(AppModelTest, PromptsAskInTheInterfaceLanguageAndNothingAsksWithoutADocument)
{
    const struct {
        void (AppModel::*command)();
        const char *title, *message, *defaultText;
    } prompts[] = {
        {&AppModel::goToPrompt, "Go To", "Line number or N block number (e.g. 120 or N120):", ""},
        {&AppModel::removeMCodesPrompt, "Remove M Codes", "M codes to remove, separated by commas (e.g. 8, 9, 0):", "8, 9"},
        {&AppModel::reduceFeedPrompt, "Reduce Feed", "Reduce ALL F feed rates by this percentage:", "10"},
        {&AppModel::adjustSpindlePrompt, "Adjust Spindle S",
         "Change ALL S values by % (positive increases, negative decreases):", "0"},
    };
    model->newDocument();
    for (AppLanguage language : AppLanguages::allCases) {
        model->setLanguage(language);
        for (const auto &p : prompts) {
            dialogs.asked.clear();
            (model.get()->*p.command)();
            EXPECT_EQ(dialogs.asked, QStringList{QStringList({"prompt", L10n::text(p.title, language),
                                                              L10n::text(p.message, language), p.defaultText,
                                                              L10n::text("Apply", language), L10n::text("Cancel", language)})
                                                     .join('|')});
        }
    }
    EXPECT_NE(L10n::text("Apply", AppLanguage::spanish), "Apply");

    dialogs.asked.clear();
    model->setSelectedDocumentId(std::nullopt);
    for (auto command : {&AppModel::goToPrompt, &AppModel::removeMCodesPrompt, &AppModel::reduceFeedPrompt,
                         &AppModel::adjustSpindlePrompt, &AppModel::showAxisRanges, &AppModel::saveSelected}) {
        (model.get()->*command)();
    }
    model->applyTool(AppModel::Tool::renumber);
    EXPECT_TRUE(dialogs.asked.isEmpty());
    EXPECT_FALSE(model->alert());
}

TEST_F(AppModelTest, LineToolsWorkOnTheSelectedProgramOnly)
{
    EditorDocument *other = model->newDocument();
    other->setText("G0");
    EditorDocument *doc = model->newDocument();
    doc->setText("%\nN5 G0 X0 M08\nG1  X1\n");
    const std::pair<AppModel::Tool, QString> steps[] = {
        {AppModel::Tool::renumber, "%\nN10 G0 X0 M08\nN20 G1  X1\n"},
        {AppModel::Tool::removeCoolant, "%\nN10 G0 X0\nN20 G1 X1\n"},
        {AppModel::Tool::removeLineNumbers, "%\nG0 X0\nG1 X1\n"},
        {AppModel::Tool::addLineNumbers, "%\nN10 G0 X0\nN20 G1 X1\n"},
    };
    for (const auto &[tool, expected] : steps) {
        model->applyTool(tool);
        EXPECT_EQ(doc->text(), expected);
    }
    doc->setText("  G0   X1  ");
    model->applyTool(AppModel::Tool::formatSpacing);
    EXPECT_EQ(doc->text(), "G0 X1");
    EXPECT_TRUE(doc->isDirty());
    EXPECT_EQ(other->text(), "G0");
}

class RecordingNavigator : public EditorNavigator {
public:
    void goToLine(int line) override { calls << QStringLiteral("line %1").arg(line); }
    void goToBlockN(qint64 number) override { calls << QStringLiteral("block %1").arg(number); }
    QStringList calls;
};

TEST_F(AppModelTest, GoToTakesALineOrAnNBlock)
{
    RecordingNavigator navigator;
    model->setEditor(&navigator);
    model->newDocument();
    dialogs.promptAnswers = {"120", " n0120 ", "N 7", "99999999999", "12a", "-3", "", "N", "N99999999999999999999",
                             std::nullopt};
    for (int i = 0; i < 10; ++i) {
        model->goToPrompt();
    }
    EXPECT_EQ(navigator.calls, QStringList({"line 120", "block 120", "block 7", "line 2147483647"}));
    model->setEditor(nullptr);
    dialogs.promptAnswers = {"5"};
    model->goToPrompt(); // no editor: nothing to move, nothing breaks
    EXPECT_EQ(navigator.calls.size(), 4);
}

TEST_F(AppModelTest, AxisRangesAlertNamesTheProgram)
{
    EditorDocument *doc = model->newDocument();
    doc->setText("G0 X-1.5 Y2\nG1 X10 (X99)\n");
    model->showAxisRanges();
    ASSERT_TRUE(model->alert());
    EXPECT_EQ(model->alert()->title, "Axis Ranges (Untitled)");
    EXPECT_EQ(model->alert()->message, "X:   min -1.5    max 10    (\u0394 11.5)\nY:   min 2    max 2    (\u0394 0)");
    doc->setText("M30");
    model->setLanguage(AppLanguage::spanish);
    model->showAxisRanges();
    EXPECT_EQ(model->alert()->message,
              L10n::text("No X, Y, or Z coordinates were found in the program.", AppLanguage::spanish));
}

} // namespace
