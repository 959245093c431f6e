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
        names << name;
        qputenv(name, value);
    }
    ~ScopedEnvironment()
    {
        for (const char *name : names) {
            qunsetenv(name);
        }
    }
};

TEST_F(AppModelTest, PlainStartTakesStoredSettingsAsTheyAreWithOneDocumentTheFirstMachineAndTheTimer)
{
    const struct {
        QVariant appearance, fontSize;
        AppearanceMode mode;
        double size;
    } cases[] = {
        {QVariant(), QVariant(), AppearanceMode::system, 13.0}, // the default appearance is applied too
        {"dark", 3.0, AppearanceMode::dark, 3.0},
        {"light", "40.5", AppearanceMode::light, 40.5},
        {"Dark", "big", AppearanceMode::system, 13.0},
    };
    ports = {{"/dev/ttyUSB3", {}}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.appearance.toString().toStdString());
        settings().setValue("varn.appearance", c.appearance);
        settings().setValue("varn.fontSize", c.fontSize);
        model = makeModel();
        QSignalSpy applied(model.get(), &AppModel::appearanceApplied);
        model->bootstrap();
        EXPECT_EQ(model->appearance(), c.mode);
        EXPECT_EQ(model->editorFontSize(), c.size);
        ASSERT_EQ(applied.size(), 1);
        EXPECT_EQ(applied[0][0].value<AppearanceMode>(), c.mode);
        ASSERT_EQ(model->documents().size(), 1);
        EXPECT_TRUE(model->selectedDocument()->isUntitled());
        EXPECT_EQ(model->selectedMachineId(), model->machineStore().machines().first().id);
        EXPECT_EQ(model->selectedPortPath(), "/dev/ttyUSB3");
        EXPECT_TRUE(model->isAutosaveTimerActive());
        EXPECT_FALSE(model->showInspector());
    }
    // A capture never applies the stored appearance.
    ScopedEnvironment env;
    env.set("VARN_SHOT", "/tmp/shot.png");
    settings().setValue("varn.appearance", "light");
    model = makeModel();
    QSignalSpy applied(model.get(), &AppModel::appearanceApplied);
    model->bootstrap();
    EXPECT_EQ(model->appearance(), AppearanceMode::light);
    EXPECT_EQ(applied.size(), 0);
}

TEST_F(AppModelTest, EnvironmentStagesFoldersAFileAndTheInspector)
{
    QDir(dir.path()).mkpath("remembered");
    settings().setValue("varn.folders", QStringList{path("remembered")});
    const QUrl program = writeFile("programs/demo.nc", "T1 M6\nG0 X1\n");
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
    EXPECT_EQ(stored("varn.folders").toStringList(), QStringList{path("remembered")}) << "staged folders are not remembered";
}

// How the coordinator queues and forwards is its own test; here, that start-up connects the model.
TEST_F(AppModelTest, FilesHandedOverBeforeStartAreOpenedAndLaterOnesGoStraightToTheModel)
{
    const QUrl a = writeFile("a.nc", "G0 X1"), b = writeFile("b.nc", "G0 X2");
    ExternalFileOpenCoordinator &coordinator = ExternalFileOpenCoordinator::shared();
    coordinator.enqueue({a, b});
    model->bootstrap();
    ASSERT_TRUE(waitUntil([&] { return !model->isLoadingAnyFile(); }));
    EXPECT_EQ(tabs(), QStringList({"a.nc: G0 X1", "*b.nc: G0 X2"}));
    coordinator.enqueue({a});
    EXPECT_EQ(model->selectedDocument()->url(), a);
    model.reset();
    EXPECT_FALSE(coordinator.isConnected());
}

QUrl file(const char *path)
{
    return QUrl::fromLocalFile(QString::fromUtf8(path));
}

} // namespace

TEST(ExternalFileOpenCoordinator, CollectsFilesOnceEachUntilAModelConnectsThenForwardsEveryOne)
{
    ExternalFileOpenCoordinator coordinator;
    coordinator.enqueue({file("/p/b.nc"), QUrl("https://example.com/x.nc"), file("/p/a.nc")});
    coordinator.enqueue({file("/p/./sub/../b.nc"), file("/p/c.nc")}); // the same b.nc, written another way
    auto model = std::make_unique<QObject>();
    QList<QUrl> opened;
    QList<qsizetype> pendingSeen;
    coordinator.connect(model.get(), [&](const QUrl &url) {
        pendingSeen << coordinator.pendingUrls().size();
        opened << url;
        if (url == file("/p/a.nc")) {
            coordinator.enqueue({file("/p/from-inside.nc")}); // goes straight to the model
        }
    });
    EXPECT_TRUE(coordinator.isConnected());
    EXPECT_EQ(opened, (QList<QUrl>{file("/p/b.nc"), file("/p/a.nc"), file("/p/from-inside.nc"), file("/p/c.nc")}));
    EXPECT_EQ(pendingSeen, (QList<qsizetype>{0, 0, 0, 0})) << "the queue is emptied before the model opens";

    // Twice the same file while connected: the model decides what that means.
    coordinator.enqueue({file("/p/d.nc"), file("/p/d.nc"), QUrl("mailto:someone@example.com")});
    EXPECT_EQ(opened.mid(4), (QList<QUrl>{file("/p/d.nc"), file("/p/d.nc")}));

    model.reset(); // the model is gone: its open function must not be called
    EXPECT_FALSE(coordinator.isConnected());
    coordinator.enqueue({file("/p/late.nc"), file("/p/late.nc")});
    EXPECT_EQ(opened.size(), 6);
    EXPECT_EQ(coordinator.pendingUrls(), QList<QUrl>{file("/p/late.nc")});
}
