// The program tools through their prompts: what is asked, which answers act,
// and which must leave the program exactly as it was.
#include "appmodelfixture.h"

#include "workspace/editornavigator.h"

namespace {

struct PromptCase {
    const char *name;
    void (AppModel::*command)();
    std::optional<QString> answer;
    QString before;
    QString after; // equal to `before`: the answer must change nothing
};

class ToolPromptTest : public AppModelTest, public ::testing::WithParamInterface<PromptCase> {};

TEST_P(ToolPromptTest, AppliesOnlyAcceptedAnswers)
{
    const PromptCase &c = GetParam();
    EditorDocument *doc = model->newDocument();
    doc->setText(c.before);
    const qint64 revision = doc->revision();
    dialogs.promptAnswers = {c.answer};

    (model.get()->*c.command)();

    ASSERT_EQ(dialogs.prompts.size(), 1);
    EXPECT_EQ(doc->text(), c.after);
    EXPECT_EQ(doc->revision(), revision + (c.after == c.before ? 0 : 1));
    EXPECT_FALSE(model->alert()) << "a refused answer shows nothing";
}

const QString kFeed = QStringLiteral("G01 X1. F450.\nG01 Y2. F1000");
const QString kSpindle = QStringLiteral("S1000 M3\nS3001");
const QString kCodes = QStringLiteral("N10 G0 X0 M08\nN20 M09\nN30 M05");

INSTANTIATE_TEST_SUITE_P(
    Answers, ToolPromptTest,
    ::testing::Values(
        PromptCase{"feed10", &AppModel::reduceFeedPrompt, QStringLiteral("10"), kFeed,
                   QStringLiteral("G01 X1. F405.\nG01 Y2. F900")},
        PromptCase{"feedComma", &AppModel::reduceFeedPrompt, QStringLiteral(" 12,5 % "), QStringLiteral("F1000"),
                   QStringLiteral("F875")},
        PromptCase{"feed0", &AppModel::reduceFeedPrompt, QStringLiteral("0"), kFeed, kFeed},
        PromptCase{"feed100", &AppModel::reduceFeedPrompt, QStringLiteral("100"), kFeed, kFeed},
        PromptCase{"feedNegative", &AppModel::reduceFeedPrompt, QStringLiteral("-5"), kFeed, kFeed},
        PromptCase{"feedText", &AppModel::reduceFeedPrompt, QStringLiteral("ten"), kFeed, kFeed},
        PromptCase{"feedNan", &AppModel::reduceFeedPrompt, QStringLiteral("nan"), kFeed, kFeed},
        PromptCase{"feedCancel", &AppModel::reduceFeedPrompt, std::nullopt, kFeed, kFeed},
        PromptCase{"spindleHalf", &AppModel::adjustSpindlePrompt, QStringLiteral("-50"), kSpindle,
                   QStringLiteral("S500 M3\nS1501")},
        PromptCase{"spindleUp", &AppModel::adjustSpindlePrompt, QStringLiteral("+10"), kSpindle,
                   QStringLiteral("S1100 M3\nS3301")},
        PromptCase{"spindle0", &AppModel::adjustSpindlePrompt, QStringLiteral("0"), kSpindle, kSpindle},
        PromptCase{"spindleInf", &AppModel::adjustSpindlePrompt, QStringLiteral("inf"), kSpindle, kSpindle},
        PromptCase{"spindleOverflow", &AppModel::adjustSpindlePrompt, QStringLiteral("1e18"), kSpindle, kSpindle},
        PromptCase{"spindleCancel", &AppModel::adjustSpindlePrompt, std::nullopt, kSpindle, kSpindle},
        PromptCase{"codesDefault", &AppModel::removeMCodesPrompt, QStringLiteral("8, 9"), kCodes,
                   QStringLiteral("N10 G0 X0\nN30 M05")},
        PromptCase{"codesLoose", &AppModel::removeMCodesPrompt, QStringLiteral(" 5 ,x, "), kCodes,
                   QStringLiteral("N10 G0 X0 M08\nN20 M09")},
        PromptCase{"codesNone", &AppModel::removeMCodesPrompt, QStringLiteral("x, y"), kCodes, kCodes},
        PromptCase{"codesCancel", &AppModel::removeMCodesPrompt, std::nullopt, kCodes, kCodes}),
    [](const ::testing::TestParamInfo<PromptCase> &param) { return std::string(param.param.name); });

TEST_F(AppModelTest, PromptsAskInTheInterfaceLanguage)
{
    const struct {
        void (AppModel::*command)();
        const char *title;
        const char *message;
        QString defaultText;
    } prompts[] = {
        {&AppModel::goToPrompt, "Go To", "Line number or N block number (e.g. 120 or N120):", QString()},
        {&AppModel::removeMCodesPrompt, "Remove M Codes", "M codes to remove, separated by commas (e.g. 8, 9, 0):",
         QStringLiteral("8, 9")},
        {&AppModel::reduceFeedPrompt, "Reduce Feed", "Reduce ALL F feed rates by this percentage:",
         QStringLiteral("10")},
        {&AppModel::adjustSpindlePrompt, "Adjust Spindle S",
         "Change ALL S values by % (positive increases, negative decreases):", QStringLiteral("0")},
    };
    model->newDocument();
    for (AppLanguage language : AppLanguages::allCases) {
        model->setLanguage(language);
        for (const auto &p : prompts) {
            dialogs.prompts.clear();
            (model.get()->*p.command)();
            ASSERT_EQ(dialogs.prompts.size(), 1) << p.title;
            const FakeDialogs::Prompt &asked = dialogs.prompts[0];
            EXPECT_EQ(asked.title, L10n::text(p.title, language));
            EXPECT_EQ(asked.message, L10n::text(p.message, language));
            EXPECT_EQ(asked.defaultText, p.defaultText);
            EXPECT_EQ(asked.applyLabel, L10n::text("Apply", language));
            EXPECT_EQ(asked.cancelLabel, L10n::text("Cancel", language));
        }
    }
    EXPECT_NE(L10n::text("Apply", AppLanguage::spanish), QStringLiteral("Apply"));
}

TEST_F(AppModelTest, WithoutADocumentNoCommandAsksOrActs)
{
    model->closeDocument(model->newDocument());
    model->setSelectedDocumentId(std::nullopt);
    for (auto command : {&AppModel::goToPrompt, &AppModel::removeMCodesPrompt, &AppModel::reduceFeedPrompt,
                         &AppModel::adjustSpindlePrompt, &AppModel::showAxisRanges, &AppModel::saveSelected}) {
        (model.get()->*command)();
    }
    model->applyTool(AppModel::Tool::renumber);
    EXPECT_TRUE(dialogs.prompts.isEmpty());
    EXPECT_TRUE(dialogs.savePanels.isEmpty());
    EXPECT_FALSE(model->alert());
}

TEST_F(AppModelTest, LineToolsWorkOnTheSelectedProgramOnly)
{
    EditorDocument *other = model->newDocument();
    other->setText(QStringLiteral("G0"));
    EditorDocument *doc = model->newDocument();
    doc->setText(QStringLiteral("%\nN5 G0 X0 M08\nG1  X1\n"));

    model->applyTool(AppModel::Tool::renumber);
    EXPECT_EQ(doc->text(), QStringLiteral("%\nN10 G0 X0 M08\nN20 G1  X1\n"));
    model->applyTool(AppModel::Tool::removeCoolant);
    EXPECT_EQ(doc->text(), QStringLiteral("%\nN10 G0 X0\nN20 G1 X1\n"));
    model->applyTool(AppModel::Tool::removeLineNumbers);
    EXPECT_EQ(doc->text(), QStringLiteral("%\nG0 X0\nG1 X1\n"));
    model->applyTool(AppModel::Tool::addLineNumbers);
    EXPECT_EQ(doc->text(), QStringLiteral("%\nN10 G0 X0\nN20 G1 X1\n"));
    doc->setText(QStringLiteral("  G0   X1  "));
    model->applyTool(AppModel::Tool::formatSpacing);
    EXPECT_EQ(doc->text(), QStringLiteral("G0 X1"));
    EXPECT_TRUE(doc->isDirty());
    EXPECT_EQ(other->text(), QStringLiteral("G0"));
}

class RecordingNavigator : public EditorNavigator {
public:
    void goToLine(int line) override { calls.append(QStringLiteral("line %1").arg(line)); }
    void goToBlockN(qint64 number) override { calls.append(QStringLiteral("block %1").arg(number)); }
    QStringList calls;
};

TEST_F(AppModelTest, GoToTakesALineOrAnNBlock)
{
    RecordingNavigator navigator;
    model->setEditor(&navigator);
    model->newDocument();
    dialogs.promptAnswers = {QStringLiteral("120"),         QStringLiteral(" n0120 "),
                             QStringLiteral("N 7"),         QStringLiteral("99999999999"),
                             QStringLiteral("12a"),         QStringLiteral("-3"),
                             QStringLiteral(""),            QStringLiteral("N"),
                             QStringLiteral("N99999999999999999999"), std::nullopt};
    for (int i = 0; i < 10; ++i) {
        model->goToPrompt();
    }
    EXPECT_EQ(navigator.calls,
              (QStringList{QStringLiteral("line 120"), QStringLiteral("block 120"), QStringLiteral("block 7"),
                           QStringLiteral("line 2147483647")}));

    model->setEditor(nullptr);
    dialogs.promptAnswers = {QStringLiteral("5")};
    model->goToPrompt(); // no editor: nothing to move, nothing breaks
    EXPECT_EQ(navigator.calls.size(), 4);
}

TEST_F(AppModelTest, AxisRangesAlertNamesTheProgram)
{
    EditorDocument *doc = model->newDocument();
    doc->setText(QStringLiteral("G0 X-1.5 Y2\nG1 X10 (X99)\n"));
    model->showAxisRanges();
    ASSERT_TRUE(model->alert());
    EXPECT_EQ(model->alert()->title, QStringLiteral("Axis Ranges (Untitled)"));
    EXPECT_EQ(model->alert()->message, QStringLiteral("X:   min -1.5    max 10    (\u0394 11.5)\n"
                                                      "Y:   min 2    max 2    (\u0394 0)"));

    doc->setText(QStringLiteral("M30"));
    model->setLanguage(AppLanguage::spanish);
    model->showAxisRanges();
    EXPECT_EQ(model->alert()->message,
              L10n::text("No X, Y, or Z coordinates were found in the program.", AppLanguage::spanish));
}

} // namespace
