#pragma once

// A model wired to a private folder (settings, machine store, backups), a fixed
// clock, a port list the test controls and the scripted dialogs.
#include "fakedialogs.h"

#include "workspace/appmodel.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>

// Runs the event loop until `done` holds or `ms` pass; says which.
template <typename Condition>
bool waitUntil(Condition done, int ms = 5000)
{
    QDeadlineTimer deadline(ms);
    while (!done()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

class AppModelTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        QDir(dir.path()).mkpath("programs");
        model = makeModel();
    }
    std::unique_ptr<AppModel> makeModel()
    {
        AppModel::Options options;
        options.settingsFile = path("settings.ini");
        options.machineStoreFile = path("machines.json");
        options.backupFolder = path("Backups");
        options.clock = [] { return QDateTime(QDate(2025, 3, 3), QTime(14, 5, 9)); };
        options.listPorts = [this] { return ports; };
        options.dialogs = &dialogs;
        return std::make_unique<AppModel>(std::move(options));
    }
    QString path(const QString &name) const { return dir.path() + '/' + name; }
    QUrl writeFile(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return QUrl::fromLocalFile(path(name));
    }
    // Opens a file and waits until its text has arrived.
    EditorDocument *openLoaded(const QUrl &url)
    {
        model->openFile(url);
        EXPECT_TRUE(waitUntil([&] { return !model->isLoadingAnyFile(); }));
        return model->selectedDocument();
    }
    // Every tab as "name: text", "+" when dirty, "*" on the selected one.
    QStringList tabs() const
    {
        QStringList out;
        for (EditorDocument *doc : model->documents()) {
            out << (doc == model->selectedDocument() ? "*" : "") + doc->displayName(AppLanguage::english) +
                       (doc->isDirty() ? "+: " : ": ") + doc->text();
        }
        return out;
    }
    QSettings settings() const { return QSettings(path("settings.ini"), QSettings::IniFormat); }
    QVariant stored(const QString &key) const { return settings().value(key); }

    QTemporaryDir dir;
    FakeDialogs dialogs;
    QList<SerialPort> ports;
    std::unique_ptr<AppModel> model;
};
