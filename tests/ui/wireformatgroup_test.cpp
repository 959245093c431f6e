#include "uifixture.h"

#include "panels/machinesettingsdialog.h"
#include "panels/wireformatgroup.h"

TEST(WireFormatGroup, EveryFieldSurvivesTheFormAndEndOfBlockNamesRoundTrip)
{
    Machine tape = Machine::defaults().at(0);
    tape.leaderLength = 250;
    tape.trailerLength = 12;
    tape.startCharacter = Machine::TapeMark::dc2;
    tape.endCharacter = Machine::TapeMark::dc4;
    tape.lineDelayMs = 75;
    tape.stripComments = tape.stripSpaces = tape.stripBlankLines = tape.upperCase = tape.waitForXon = true;
    tape.endOfBlock = "\n\r";
    WireFormatGroup group;
    group.retranslate(AppLanguage::spanish);
    group.showMachine(tape);
    EXPECT_EQ(group.apply(Machine::defaults().at(0)), tape);
    tape.characterCode = Machine::CharacterCode::eia;
    group.showMachine(tape);
    EXPECT_EQ(group.apply(Machine::defaults().at(0)), tape);

    const std::pair<QString, QByteArray> names[] = {
        {"", ""}, {"LF CR", "\n\r"}, {"CR CR LF", "\r\r\n"}, {";", ";"}, {"* LF", "*\n"}, {"NUL DC2", QByteArray("\0\x12", 2)}};
    for (const auto &[text, bytes] : names) {
        EXPECT_EQ(WireFormatGroup::endOfBlockFromText(text), bytes) << text.toStdString();
        EXPECT_EQ(WireFormatGroup::endOfBlockText(bytes), text);
    }
    EXPECT_EQ(WireFormatGroup::endOfBlockFromText("lf  cr"), "\n\r");
}

TEST_F(UiTest, MachineSettingsKeepFieldsTheFormDoesNotShow)
{
    makeModel();
    Machine fanuc = Machine::defaults().at(0);
    fanuc.receiveIdleSeconds = 9;
    fanuc.autoReceiveFolder = "/srv/in";
    model->machineStore().upsert(fanuc);
    MachineSettingsDialog dialog(*model);
    dialog.selectMachine("fanuc");
    EXPECT_FALSE(dialog.hasUnsavedChanges());
    dialog.wireFormatGroup()->showMachine([&] {
        Machine m = fanuc;
        m.leaderLength = 40;
        return m;
    }());
    ASSERT_TRUE(dialog.save());
    fanuc.leaderLength = 40;
    EXPECT_EQ(model->machineStore().machines().at(0), fanuc);
}
