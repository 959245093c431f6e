#pragma once

// A model wired to a private folder (its own settings file, machine store and
// backups, ports the test lists, scripted dialogs) and, on request, a main
// window over it.
#include "core/workspace/fakedialogs.h"

#include "window/commandmenus.h"
#include "window/editorpane.h"
#include "window/mainwindow.h"

#include "workspace/appmodel.h"

#include <QAction>
#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

class UiTest : public ::testing::Test {
protected:
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
    MainWindow &showWindow()
    {
        makeModel();
        window = std::make_unique<MainWindow>(*model);
        window->show(); // runs the model's start-up
        QCoreApplication::processEvents();
        return *window;
    }
    void trigger(const char *englishMenuText)
    {
        QAction *action = window->menus()->action(QString::fromUtf8(englishMenuText));
        ASSERT_NE(action, nullptr) << englishMenuText;
        action->trigger();
        QCoreApplication::processEvents();
    }

    QString path(const QString &name) const { return dir.path() + QLatin1Char('/') + name; }
    QVariant stored(const QString &key) const
    {
        return QSettings(path("settings.ini"), QSettings::IniFormat).value(key);
    }
    // Writes a file and opens it, waiting until its text has arrived.
    EditorDocument *openFile(const QString &name, const QByteArray &bytes)
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        file.close();
        model->openFile(QUrl::fromLocalFile(path(name)));
        EXPECT_TRUE(QTest::qWaitFor([&] { return !model->isLoadingAnyFile(); }));
        return model->selectedDocument();
    }

    QTemporaryDir dir;
    FakeDialogs dialogs;
    QList<SerialPort> ports;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<MainWindow> window;
};
