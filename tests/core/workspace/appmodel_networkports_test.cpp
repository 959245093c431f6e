// Typed network ports: checked, selected, remembered per machine in the settings.
#include "appmodelfixture.h"

namespace {

TEST_F(AppModelTest, TypedNetworkPortsAreCheckedAndRememberedPerMachine)
{
    ports = {{"/dev/ttyUSB0", {}}};
    model->refreshPorts();
    const QString mill = model->machineStore().machines().at(0).id;
    const QString lathe = model->machineStore().machines().at(1).id;
    model->setSelectedMachineId(mill);

    const struct {
        const char *typed;
        std::optional<QString> selected; // after the choice; nullopt: refused, selection unchanged
        const char *alertTitle;
    } steps[] = {
        {" RFC2217://10.0.0.5:4001/ ", "rfc2217://10.0.0.5:4001", ""},
        {"tcp://10.0.0.6:4002", "tcp://10.0.0.6:4002", ""},
        {"tcp://10.0.0.6", std::nullopt, "Not a Network Address"},
        {"ttyUSB0", "/dev/ttyUSB0", ""},
        {"/dev/ttyUSB9", std::nullopt, "No Such Port"},
        {"rfc2217://10.0.0.5:4001", "rfc2217://10.0.0.5:4001", ""},
    };
    for (const auto &step : steps) {
        const std::optional<QString> before = model->selectedPortPath();
        EXPECT_EQ(model->choosePort(step.typed), step.selected.has_value()) << step.typed;
        EXPECT_EQ(model->selectedPortPath(), step.selected ? step.selected : before) << step.typed;
        EXPECT_EQ(model->alert() ? model->alert()->title : QString(), step.alertTitle) << step.typed;
        model->clearAlert();
    }
    // Most recent first; a network choice survives a refresh that finds no adapters.
    EXPECT_EQ(model->networkPorts(), QStringList({"rfc2217://10.0.0.5:4001", "tcp://10.0.0.6:4002"}));
    ports = {};
    model->refreshPorts();
    EXPECT_EQ(model->selectedPortPath(), "rfc2217://10.0.0.5:4001");

    model->setSelectedMachineId(lathe);
    EXPECT_TRUE(model->networkPorts().isEmpty());
    model = makeModel();
    model->setSelectedMachineId(mill);
    EXPECT_EQ(model->networkPorts(), QStringList({"rfc2217://10.0.0.5:4001", "tcp://10.0.0.6:4002"}));
}

} // namespace
