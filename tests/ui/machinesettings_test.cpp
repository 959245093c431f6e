#include "panelfixture.h"

#include "panels/machinesettingsdialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

namespace {

class MachineSettingsTest : public PanelTest {
protected:
    void SetUp() override
    {
        PanelTest::SetUp();
        makeModel();
        model->setSelectedMachineId(QStringLiteral("fadal"));
        model->setShowingMachines(true);
        dialog = std::make_unique<MachineSettingsDialog>(*model);
    }

    QStringList storedNames() const
    {
        const MachineStore store(path("machines.json"));
        QStringList names;
        for (const Machine &m : store.machines()) {
            names << m.name;
        }
        return names;
    }
    static QStringList items(const QComboBox *picker)
    {
        QStringList out;
        for (int i = 0; i < picker->count(); ++i) {
            out << picker->itemText(i);
        }
        return out;
    }
    // Answers the next message box with the button labelled `label`.
    static void answerNextQuestion(const QString &label)
    {
        QTimer::singleShot(0, [label] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            for (QAbstractButton *button : box->buttons()) {
                if (button->text() == label) {
                    button->click();
                }
            }
        });
    }

    std::unique_ptr<MachineSettingsDialog> dialog;
};

} // namespace

TEST_F(MachineSettingsTest, ShowsTheChosenProfileWithPickersInTheirDeclaredOrder)
{
    EXPECT_EQ(dialog->nameField()->text(), "Fadal");
    EXPECT_EQ(dialog->baudRateField()->currentText(), "9600");
    EXPECT_EQ(items(dialog->parityField()), (QStringList{"None", "Even", "Odd", "Mark", "Space"}));
    EXPECT_EQ(items(dialog->flowControlField()), (QStringList{"XON/XOFF", "RTS/CTS", "no flow"}));
    EXPECT_EQ(items(dialog->lineTerminatorField()), (QStringList{"CR", "CRLF", "LF"}));
    EXPECT_EQ(dialog->lineTerminatorField()->currentText(), "CRLF");

    model->setLanguage(AppLanguage::spanish);
    EXPECT_EQ(dialog->flowControlField()->itemText(2), L10n::text("no flow", AppLanguage::spanish));
    EXPECT_EQ(dialog->windowTitle(), L10n::text("Machine Settings", AppLanguage::spanish));
}

TEST_F(MachineSettingsTest, SaveRefusesABrokenProfileWithTheRuleItBreaks)
{
    struct Case {
        QString name;
        QString baud;
        const char *message;
    };
    const Case cases[] = {
        {" \n ", "9600", "Name is required"},
        {"Mill", "0", "Baud rate must be greater than zero"},
        {"Mill", "", "Baud rate must be greater than zero"},
        {"", "0", "Name is required"},
    };
    for (const Case &c : cases) {
        dialog->nameField()->setText(c.name);
        dialog->baudRateField()->setEditText(c.baud);
        EXPECT_FALSE(dialog->save());
        EXPECT_EQ(dialog->validationMessage(), c.message) << c.name.toStdString() << "/" << c.baud.toStdString();
    }
    model->setLanguage(AppLanguage::spanish);
    EXPECT_EQ(dialog->validationMessage(), L10n::text("Name is required", AppLanguage::spanish));
    EXPECT_EQ(model->machineStore().machines(), Machine::defaults()) << "nothing reached the store";
}

TEST_F(MachineSettingsTest, SaveStoresEveryFieldInPlaceWithTheNameTrimmed)
{
    dialog->nameField()->setText("  Haas VF-2  ");
    dialog->baudRateField()->setEditText("250000"); // not offered, still a valid speed
    dialog->dataBitsField()->setCurrentText("7");
    dialog->parityField()->setCurrentIndex(int(Machine::Parity::odd));
    dialog->stopBitsField()->setCurrentText("2");
    dialog->flowControlField()->setCurrentIndex(int(Machine::FlowControl::rtsCts));
    dialog->lineTerminatorField()->setCurrentIndex(int(Machine::LineTerminator::lf));
    dialog->dtrField()->setChecked(true);
    dialog->rtsField()->setChecked(true);
    dialog->dripFeedField()->setChecked(true);
    EXPECT_TRUE(dialog->hasUnsavedChanges());
    ASSERT_TRUE(dialog->save());

    const Machine expected{"fadal", "Haas VF-2", 250000, 7, Machine::Parity::odd, 2, Machine::FlowControl::rtsCts,
                           Machine::LineTerminator::lf, true, true, true};
    const QList<Machine> saved = MachineStore(path("machines.json")).machines();
    ASSERT_EQ(saved.size(), 2);
    EXPECT_EQ(saved[1], expected) << "same place in the list, read back from the file";
    EXPECT_FALSE(dialog->hasUnsavedChanges());
    EXPECT_TRUE(dialog->list()->item(1)->text().startsWith("Haas VF-2\n250000 7O2"));
}

TEST_F(MachineSettingsTest, AddDuplicateAndDeleteGoThroughTheStore)
{
    dialog->addMachine();
    const QString newId = dialog->currentId();
    EXPECT_TRUE(!newId.isEmpty() && newId != "fanuc" && newId != "fadal");
    EXPECT_EQ(storedNames(), (QStringList{"Fanuc", "Fadal", "New Machine"}));

    dialog->selectMachine("fanuc");
    dialog->duplicateMachine();
    EXPECT_EQ(storedNames(), (QStringList{"Fanuc", "Fadal", "New Machine", "Fanuc Copy"}));
    Machine copy = model->machineStore().machines().last();
    EXPECT_NE(copy.id, newId);
    copy.id = "fanuc";
    copy.name = "Fanuc";
    EXPECT_EQ(copy, Machine::defaults()[0]) << "the copy keeps every line setting";

    answerNextQuestion("Cancel");
    dialog->deleteMachine();
    EXPECT_EQ(model->machineStore().machines().size(), 4);

    dialog->selectMachine("fadal");
    answerNextQuestion("Delete");
    dialog->deleteMachine();
    EXPECT_EQ(storedNames(), (QStringList{"Fanuc", "New Machine", "Fanuc Copy"}));
    EXPECT_EQ(dialog->currentId(), newId) << "the next profile takes the deleted one's place";
    EXPECT_EQ(model->selectedMachineId(), newId) << "the send panel's machine was the deleted one";
}

TEST_F(MachineSettingsTest, LeavingUnsavedEditsAsksAndClosingHidesTheSheet)
{
    dialog->nameField()->setText("Mori");
    answerNextQuestion("Don't Save");
    dialog->selectMachine("fanuc");
    EXPECT_EQ(dialog->currentId(), "fanuc");
    EXPECT_EQ(model->machineStore().machines()[1].name, "Fadal");

    dialog->nameField()->setText("Okuma");
    answerNextQuestion("Cancel");
    dialog->selectMachine("fadal");
    EXPECT_EQ(dialog->currentId(), "fanuc") << "Cancel stays with the edits";
    EXPECT_EQ(dialog->nameField()->text(), "Okuma");

    answerNextQuestion("Save");
    dialog->reject();
    EXPECT_EQ(model->machineStore().machines()[0].name, "Okuma");
    EXPECT_FALSE(model->showingMachines());
}
