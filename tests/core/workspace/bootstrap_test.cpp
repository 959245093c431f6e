// The start-up sequence, staged through the environment and the settings file.
#include "appmodelfixture.h"

#include "workspace/externalfileopencoordinator.h"

#include <QSignalSpy>

namespace {

// Sets environment variables for one test; none of them is set outside.
struct ScopedEnvironment {
    QList<const char *> names;
    void set(const char *name, const QByteArray &value)
    {
        names.append(name);
        qputenv(name, value);
    }
    ~ScopedEnvironment()
    {
        for (const char *name : names) {
            qunsetenv(name);
        }
    }
};

class BootstrapTest : public AppModelTest {
protected:
    void writeSetting(const QString &key, const QVariant &value)
    {
        QSettings settings(path(QStringLiteral("settings.ini")), QSettings::IniFormat);
        settings.setValue(key, value);
    }
};

TEST_F(BootstrapTest, PlainStartHasOneDocumentTheFirstMachineAndTheTimer)
{
    ports = {{QStringLiteral("/dev/ttyUSB3"), {}}};
    QSignalSpy applied(model.get(), &AppModel::appearanceApplied);
    model->bootstrap();
    ASSERT_EQ(model->documents().size(), 1);
    EXPECT_TRUE(model->selectedDocument()->isUntitled());
    EXPECT_EQ(model->selectedMachineId(), model->machineStore().machines().first().id);
    EXPECT_EQ(model->selectedPortPath(), QStringLiteral("/dev/ttyUSB3"));
    EXPECT_EQ(model->appearance(), AppearanceMode::system);
    ASSERT_EQ(applied.size(), 1) << "the default appearance is applied too";
    EXPECT_EQ(model->editorFontSize(), 13.0);
    EXPECT_TRUE(model->isAutosaveTimerActive());
    EXPECT_FALSE(model->showInspector());
}

TEST_F(BootstrapTest, StoredSettingsAreTakenAsTheyAre)
{
    const struct {
        QVariant appearance;
        QVariant fontSize;
        AppearanceMode expectedMode;
        double expectedSize;
    } cases[] = {
        {QStringLiteral("dark"), 3.0, AppearanceMode::dark, 3.0},
        {QStringLiteral("light"), QStringLiteral("40.5"), AppearanceMode::light, 40.5},
        {QStringLiteral("Dark"), QStringLiteral("big"), AppearanceMode::system, 13.0},
        {QVariant(), QVariant(), AppearanceMode::system, 13.0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.appearance.toString().toStdString());
        writeSetting(QStringLiteral("varn.appearance"), c.appearance);
        writeSetting(QStringLiteral("varn.fontSize"), c.fontSize);
        model = makeModel();
        QSignalSpy applied(model.get(), &AppModel::appearanceApplied);
        model->bootstrap();
        EXPECT_EQ(model->appearance(), c.expectedMode);
        EXPECT_EQ(model->editorFontSize(), c.expectedSize);
        ASSERT_EQ(applied.size(), 1);
        EXPECT_EQ(applied[0][0].value<AppearanceMode>(), c.expectedMode);
    }
}

TEST_F(BootstrapTest, CaptureModeNeverAppliesTheStoredAppearance)
{
    ScopedEnvironment env;
    env.set("VARN_SHOT", "/tmp/shot.png");
    writeSetting(QStringLiteral("varn.appearance"), QStringLiteral("light"));
    model = makeModel();
    QSignalSpy applied(model.get(), &AppModel::appearanceApplied);
    model->bootstrap();
    EXPECT_EQ(model->appearance(), AppearanceMode::light);
    EXPECT_EQ(applied.size(), 0);
}

TEST_F(BootstrapTest, EnvironmentStagesFoldersAFileAndTheInspector)
{
    QDir(dir.path()).mkpath(QStringLiteral("remembered"));
    writeSetting(QStringLiteral("varn.folders"), QStringList{path(QStringLiteral("remembered"))});
    const QUrl program = writeFile(QStringLiteral("programs/demo.nc"), "T1 M6\nG0 X1\n");
    ScopedEnvironment env;
    env.set("VARN_FOLDER", "/a::/b:");
    env.set("VARN_OPEN", program.toLocalFile().toUtf8());
    env.set("VARN_INSPECTOR", "");
    model = makeModel();
    model->bootstrap();

    EXPECT_EQ(model->folderUrls(), (QList<QUrl>{QUrl::fromLocalFile("/a"), QUrl::fromLocalFile("/b")}));
    EXPECT_EQ(model->fileTreeRoots().size(), 2);
    ASSERT_EQ(model->documents().size(), 1) << "the file takes the untouched untitled tab's place";
    EXPECT_EQ(model->selectedDocument()->url(), program);
    EXPECT_TRUE(model->showInspector());
    ASSERT_TRUE(waitUntil([&] { return model->analysis() && model->analysis()->tools.size() == 1; }));
    EXPECT_EQ(stored(QStringLiteral("varn.folders")).toStringList(), QStringList{path(QStringLiteral("remembered"))})
        << "the staged folders are not remembered";
}

TEST_F(BootstrapTest, FilesHandedOverBeforeStartAreOpenedOnce)
{
    const QUrl a = writeFile(QStringLiteral("a.nc"), "G0 X1");
    const QUrl b = writeFile(QStringLiteral("b.nc"), "G0 X2");
    ExternalFileOpenCoordinator &coordinator = ExternalFileOpenCoordinator::shared();
    coordinator.enqueue({a, QUrl::fromLocalFile(dir.path() + QStringLiteral("/./a.nc")), b});
    model->bootstrap();
    ASSERT_EQ(model->documents().size(), 2);
    EXPECT_EQ(model->documents()[0]->url(), a);
    EXPECT_EQ(model->documents()[1]->url(), b);
    EXPECT_EQ(model->selectedDocument()->url(), b);

    // Once running, files go straight to the model, which selects an open one.
    coordinator.enqueue({a});
    EXPECT_EQ(model->selectedDocument()->url(), a);
    EXPECT_EQ(model->documents().size(), 2);
    model.reset();
    EXPECT_FALSE(coordinator.isConnected());
}

} // namespace
