// Documents, files, folders, settings, ports and sending, as the window's
// commands drive them.
#include "appmodelfixture.h"
#include "readonlyfolder.h"

#include "workspace/textfile.h"

#include <QSignalSpy>

namespace {

TEST_F(AppModelTest, ClosingKeepsOneDocumentAndSelectsTheNeighbour)
{
    EditorDocument *a = model->newDocument();
    EditorDocument *b = model->newDocument();
    EditorDocument *c = model->newDocument();
    model->setSelectedDocumentId(b->id());
    model->closeDocument(b);
    EXPECT_EQ(model->selectedDocumentId(), c->id());
    model->closeDocument(c);
    EXPECT_EQ(model->selectedDocumentId(), a->id());
    model->closeDocument(a);
    ASSERT_EQ(model->documents().size(), 1);
    EditorDocument *last = model->documents().first();
    EXPECT_TRUE(last->id() != a->id() && last->isUntitled() && last->isEmpty());
    EXPECT_EQ(model->selectedDocumentId(), last->id());
}

TEST_F(AppModelTest, OpeningLoadsInTheBackgroundReplacesAnUntouchedTabAndSelectsAnOpenFile)
{
    EditorDocument *blank = model->newDocument();
    QPointer<EditorDocument> gone(blank);
    const QUrl url = writeFile("a.nc", "G0 X1\n");
    model->openFile(QUrl::fromLocalFile(dir.path() + "/./programs/../a.nc"));
    EditorDocument *doc = model->selectedDocument();
    EXPECT_EQ(doc->url(), url);
    EXPECT_TRUE(doc->isLoading());
    ASSERT_TRUE(waitUntil([&] { return !doc->isLoading() && gone.isNull(); }));
    EXPECT_EQ(model->documents(), QList<EditorDocument *>{doc});
    EXPECT_EQ(doc->text(), "G0 X1\n");
    EXPECT_FALSE(doc->isDirty());
    EXPECT_EQ(model->cachedFileText(url), "G0 X1\n");
    EXPECT_EQ(model->fileCacheCost(), 6);

    // One that was typed into (even back to empty) stays; an open file is only selected.
    EditorDocument *typed = model->newDocument();
    typed->setText("x");
    typed->setText(QString());
    doc->setText("edited");
    model->openFile(url);
    EXPECT_EQ(model->selectedDocument(), doc);
    EXPECT_EQ(doc->text(), "edited");
    openLoaded(writeFile("b.nc", "X2"));
    model->openFile(QUrl("https://example.com/a.nc"));
    EXPECT_EQ(model->documents().size(), 3);
}

TEST_F(AppModelTest, AnUnreadableFileIsRefusedWithNoHalfDocument)
{
    for (const QString name : {"latin1.nc", "missing.nc"}) {
        SCOPED_TRACE(name.toStdString());
        model = makeModel();
        const QUrl url = name == "latin1.nc" ? writeFile(name, "G0 X1 (\xd1" "ANDU)\n") : QUrl::fromLocalFile(path(name));
        model->setLanguage(AppLanguage::spanish);
        openLoaded(url);
        ASSERT_TRUE(model->alert());
        EXPECT_EQ(model->alert()->title, L10n::text("Unable to Open", AppLanguage::spanish));
        EXPECT_EQ(model->alert()->message, L10n::format("Unable to read %@.", AppLanguage::spanish, {name}));
        ASSERT_EQ(model->documents().size(), 1);
        EXPECT_TRUE(model->documents().first()->isUntitled());
        EXPECT_EQ(model->selectedDocument(), model->documents().first());
        EXPECT_FALSE(model->cachedFileText(url));
    }
}

TEST_F(AppModelTest, SaveAsksWhereOnlyForAnUntitledProgramAndAFailedSaveChangesNothing)
{
    const QString folder = path("programs");
    dialogs.folderAnswers = {{QUrl::fromLocalFile(folder)}};
    model->addFolders();
    EditorDocument *doc = model->newDocument();
    doc->setText("G0 X1");
    model->saveSelected(); // cancelled
    EXPECT_TRUE(doc->isUntitled() && doc->isDirty());

    model->storeFileEntry(QUrl::fromLocalFile(path("x.nc")), {"x", 1});
    const QUrl target = QUrl::fromLocalFile(folder + "/part.nc");
    dialogs.saveAnswers = {target};
    model->saveSelected();
    EXPECT_EQ(doc->url(), target);
    EXPECT_FALSE(doc->isDirty());
    EXPECT_EQ(TextFile::read(target.toLocalFile()).text, "G0 X1");
    EXPECT_EQ(model->fileCacheCost(), 0) << "a save invalidates what was read ahead";
    model->saveAs(doc); // beside the file, with its name; cancelled
    doc->setText("G0 X2");
    model->saveSelected(); // a file is written without asking
    EXPECT_EQ(TextFile::read(target.toLocalFile()).text, "G0 X2");
    EXPECT_FALSE(model->alert());
    EXPECT_EQ(dialogs.asked, QStringList({"folders|Choose folders to show in Explorer", "save|program.nc|" + folder,
                                          "save|program.nc|" + folder, "save|part.nc|" + folder}));

    doc->setText("new");
    ReadOnlyFolder readOnly(folder);
    if (readOnly.writable()) {
        GTEST_SKIP() << "cannot make a read-only folder here";
    }
    EXPECT_FALSE(model->write(doc, target));
    ASSERT_TRUE(model->alert());
    EXPECT_EQ(model->alert()->title, "Unable to Save");
    EXPECT_FALSE(model->alert()->message.isEmpty());
    EXPECT_TRUE(doc->isDirty());
    EXPECT_EQ(doc->savedText(), "G0 X2");
    EXPECT_EQ(TextFile::read(target.toLocalFile()).text, "G0 X2");
}

TEST_F(AppModelTest, BackupsAreOpenedAsProgramsAndRevealed)
{
    model->newDocument()->setText("G1");
    model->newDocument(); // empty: never backed up
    const QStringList written = model->autosave();
    ASSERT_EQ(written, QStringList{path("Backups/Untitled_20250303-140509.nc.bak")});
    dialogs.fileAnswers = {{QUrl::fromLocalFile(written[0])}};
    model->openBackup();
    EditorDocument *restored = model->selectedDocument();
    EXPECT_EQ(restored->url(), QUrl::fromLocalFile(written[0]));
    ASSERT_TRUE(waitUntil([&] { return !restored->isLoading(); }));
    EXPECT_EQ(restored->text(), "G1");
    model->showBackupsFolder();
    EXPECT_EQ(dialogs.asked, QStringList({"files|Choose a backup (.bak) to open|" + path("Backups"),
                                          "reveal|" + path("Backups")}));
}

TEST_F(AppModelTest, FoldersAreAddedOnceRememberedAndDroppedWhenGone)
{
    QDir(dir.path()).mkpath("more");
    const QUrl a = QUrl::fromLocalFile(path("programs")), b = QUrl::fromLocalFile(path("more"));
    dialogs.folderAnswers = {{a, b}, {b}};
    model->addFolders();
    model->addFolders();
    EXPECT_EQ(model->folderUrls(), (QList<QUrl>{a, b}));
    ASSERT_EQ(model->fileTreeRoots().size(), 2);
    EXPECT_EQ(model->fileTreeRoots()[1]->url(), b);
    EXPECT_EQ(stored("varn.folders").toStringList(), (QStringList{a.toLocalFile(), b.toLocalFile()}));
    model->removeFolder(a);
    EXPECT_EQ(stored("varn.folders").toStringList(), QStringList{b.toLocalFile()});
    QDir(b.toLocalFile()).removeRecursively();
    auto fresh = makeModel();
    fresh->loadFolders();
    EXPECT_TRUE(fresh->folderUrls().isEmpty());
}

TEST_F(AppModelTest, SettingsAreStoredUnderTheirKeysWhenTheyChange)
{
    QSignalSpy applied(model.get(), &AppModel::appearanceApplied);
    model->setAppearance(AppearanceMode::dark);
    EXPECT_EQ(stored("varn.appearance").toString(), "dark");
    ASSERT_EQ(applied.size(), 1);
    EXPECT_EQ(applied[0][0].value<AppearanceMode>(), AppearanceMode::dark);
    model->setLanguage(AppLanguage::spanish);
    EXPECT_EQ(stored("varn.language").toString(), "es");
    EXPECT_EQ(model->transfer().language(), AppLanguage::spanish);
    EXPECT_EQ(makeModel()->language(), AppLanguage::spanish);
    const std::pair<double, double> sizes[] = {{28, 28}, {29, 28}, {9, 9}, {8, 9}, {14.5, 14.5}};
    for (const auto &[request, expected] : sizes) {
        model->setFontSize(request);
        EXPECT_EQ(model->editorFontSize(), expected) << request;
        EXPECT_EQ(stored("varn.fontSize").toDouble(), expected);
    }
}

TEST_F(AppModelTest, PortsKeepAChoiceThatIsStillThereAndSendingNeedsAMachineAndAPort)
{
    const SerialPort usb0{"/dev/ttyUSB0", {}}, usb1{"/dev/ttyUSB1", {}};
    const std::tuple<QList<SerialPort>, std::optional<QString>, std::optional<QString>> steps[] = {
        {{usb0, usb1}, std::nullopt, usb0.path}, {{usb1}, usb1.path, usb1.path},
        {{usb0, usb1}, std::nullopt, usb1.path}, {{}, std::nullopt, std::nullopt}};
    for (const auto &[found, choose, expected] : steps) {
        if (choose) {
            model->setSelectedPortPath(choose);
        }
        ports = found;
        model->refreshPorts();
        EXPECT_EQ(model->selectedPortPath(), expected);
    }

    model->newDocument()->setText("G0 X1\nM30");
    const std::tuple<std::optional<QString>, const char *, const char *> refusals[] = {
        {std::nullopt, "No Machine", "Add or select a machine in the panel below."},
        {"no-such-id", "No Machine", "Add or select a machine in the panel below."},
        {"fanuc", "No Serial Port", "Connect a USB-to-serial adapter and click Refresh Ports."},
    };
    for (const auto &[machine, title, message] : refusals) {
        model->setSelectedMachineId(machine);
        model->send();
        ASSERT_TRUE(model->alert());
        EXPECT_EQ(model->alert()->title, title);
        EXPECT_EQ(model->alert()->message, message);
        model->clearAlert();
    }
    // Both chosen: the transfer controller takes over (and fails on a device
    // that is not there, which is its own report, not the model's).
    ports = {{path("no-such-device"), {}}};
    model->refreshPorts();
    model->send();
    EXPECT_FALSE(model->alert());
    ASSERT_TRUE(waitUntil([&] { return model->transfer().state().status == TransferState::Status::error; }));
    EXPECT_EQ(model->transfer().state().fileName, "Untitled");
    EXPECT_EQ(model->transfer().state().machineName, "Fanuc");
}

} // namespace
