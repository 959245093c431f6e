#pragma once

// A model for the panels, wired to a private folder: its own settings file and
// machine store, ports the test lists, and scripted dialogs.
#include "core/workspace/fakedialogs.h"

#include "workspace/appmodel.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <memory>

template <typename Condition>
bool waitFor(Condition done, int ms = 5000)
{
    QDeadlineTimer deadline(ms);
    while (!done()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

class PanelTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    AppModel &makeModel(TransferController::TransportFactory factory = {})
    {
        AppModel::Options options;
        options.settingsFile = path("settings.ini");
        options.machineStoreFile = path("machines.json");
        options.backupFolder = path("Backups");
        options.listPorts = [this] { return ports; };
        options.transportFactory = std::move(factory);
        options.dialogs = &dialogs;
        model = std::make_unique<AppModel>(std::move(options));
        return *model;
    }

    QString path(const QString &name) const { return dir.path() + QLatin1Char('/') + name; }
    QVariant stored(const QString &key) const
    {
        return QSettings(path("settings.ini"), QSettings::IniFormat).value(key);
    }

    QTemporaryDir dir;
    FakeDialogs dialogs;
    QList<SerialPort> ports;
    std::unique_ptr<AppModel> model;
};
