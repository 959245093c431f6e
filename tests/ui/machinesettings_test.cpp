#include "uifixture.h"

#include "panels/machinesettingsdialog.h"
#include "panels/preferencesdialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QSpinBox>

namespace {

class MachineSettingsTest : public UiTest {
protected:
    void SetUp() override
    {
        makeModel().setSelectedMachineId("fadal");
        model->setShowingMachines(true);
        dialog = std::make_unique<MachineSettingsDialog>(*model);
    }
    std::unique_ptr<MachineSettingsDialog> dialog;
};

} // namespace

TEST_F(MachineSettingsTest, SaveRefusesABrokenProfileAndStoresEveryFieldOfAGoodOne)
{
    EXPECT_EQ(dialog->nameField()->text(), "Fadal");
    EXPECT_EQ(dialog->baudRateField()->currentText(), "9600");

    const std::tuple<QString, QString, const char *> broken[] = {
        {" \n ", "9600", "Name is required"},
        {"Mill", "0", "Baud rate must be greater than zero"},
        {"Mill", "", "Baud rate must be greater than zero"},
        {"", "0", "Name is required"},
    };
    for (const auto &[name, baud, message] : broken) {
        dialog->nameField()->setText(name);
        dialog->baudRateField()->setEditText(baud);
        EXPECT_FALSE(dialog->save());
        EXPECT_EQ(dialog->validationMessage(), message) << name.toStdString() << "/" << baud.toStdString();
    }
    EXPECT_EQ(model->machineStore().machines(), Machine::defaults()) << "nothing reached the store";

    dialog->nameField()->setText("  Haas VF-2  ");
    dialog->baudRateField()->setEditText("250000"); // not offered, still a valid speed
    dialog->dataBitsField()->setCurrentText("7");
    dialog->parityField()->setCurrentIndex(int(Machine::Parity::odd));
    dialog->stopBitsField()->setCurrentText("2");
    dialog->flowControlField()->setCurrentIndex(int(Machine::FlowControl::rtsCts));
    dialog->lineTerminatorField()->setCurrentIndex(int(Machine::LineTerminator::lf));
    for (QCheckBox *box : {dialog->dtrField(), dialog->rtsField(), dialog->dripFeedField()}) {
        box->setChecked(true);
    }
    ASSERT_TRUE(dialog->save());
    const Machine expected{"fadal",
                           "Haas VF-2",
                           250000,
                           7,
                           Machine::Parity::odd,
                           2,
                           Machine::FlowControl::rtsCts,
                           Machine::LineTerminator::lf,
                           true,
                           true,
                           true};
    EXPECT_EQ(MachineStore(path("machines.json")).machines().value(1), expected)
        << "in place, read back from the file";
    EXPECT_FALSE(dialog->hasUnsavedChanges());
    EXPECT_TRUE(dialog->list()->item(1)->text().startsWith("Haas VF-2\n250000 7O2"));
}

TEST_F(UiTest, PreferencesApplyAtOnceAndAreStoredUnderTheirKeys)
{
    PreferencesDialog dialog(makeModel());
    EXPECT_EQ(dialog.languagePicker()->currentText(), "English");
    EXPECT_EQ(dialog.appearancePicker()->currentText(), "System");
    EXPECT_EQ(dialog.fontSizeField()->value(), 13);
    emit dialog.languagePicker()->activated(1);
    EXPECT_EQ(model->language(), AppLanguage::spanish);
    EXPECT_EQ(stored("varn.language").toString(), "es");
    EXPECT_EQ(dialog.appearancePicker()->itemText(2), L10n::text("Dark", AppLanguage::spanish));
    emit dialog.appearancePicker()->activated(2);
    EXPECT_EQ(model->appearance(), AppearanceMode::dark);
    EXPECT_EQ(stored("varn.appearance").toString(), "dark");
    dialog.fontSizeField()->setValue(40);
    EXPECT_EQ(model->editorFontSize(), 28);
    EXPECT_EQ(stored("varn.fontSize").toDouble(), 28);
    model->setFontSize(12); // from the menu while the dialog is open
    EXPECT_EQ(dialog.fontSizeField()->value(), 12);
}
