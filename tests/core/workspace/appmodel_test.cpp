// Documents, files, folders, settings, ports and sending, as the window's commands drive them.
#include "appmodelfixture.h"

#include "base/textfile.h"

#include <QSignalSpy>

namespace {

TEST_F(AppModelTest, ClosingKeepsOneDocumentAndSelectsTheNeighbour)
{
    EditorDocument *a = model->newDocument(), *b = model->newDocument(), *c = model->newDocument();
    for (EditorDocument *doc : {a, b, c}) {
        doc->setText(doc == a ? "a" : doc == b ? "b" : "c");
    }
    model->setSelectedDocumentId(b->id());
    model->closeDocument(b);
    EXPECT_EQ(tabs(), QStringList({"Untitled+: a", "*Untitled+: c"}));
    model->closeDocument(c);
    EXPECT_EQ(tabs(), QStringList({"*Untitled+: a"}));
    model->closeDocument(a);
    EXPECT_EQ(tabs(), QStringList({"*Untitled: "}));
    EXPECT_NE(model->documents()[0]->id(), a->id());
}

TEST_F(AppModelTest, OpeningLoadsInTheBackgroundInPlaceOfAnUntouchedTabAndSelectsAnOpenFile)
{
    QPointer<EditorDocument> blank(model->newDocument());
    const QUrl url = writeFile("a.nc", "G0 X1\n");
    model->openFile(QUrl::fromLocalFile(dir.path() + "/./programs/../a.nc"));
    EditorDocument *doc = model->selectedDocument();
    EXPECT_EQ(doc->url(), url);
    EXPECT_TRUE(doc->isLoading());
    ASSERT_TRUE(waitUntil([&] { return !doc->isLoading() && blank.isNull(); }));
    EXPECT_EQ(tabs(), QStringList({"*a.nc: G0 X1\n"}));
    EXPECT_EQ(model->cachedFileText(url), "G0 X1\n");
    EXPECT_EQ(model->fileCacheCost(), 6);

    EditorDocument *typed = model->newDocument(); // typed into, even back to empty: it stays
    typed->setText("x");
    typed->setText(QString());
    doc->setText("edited");
    model->openFile(url);
    openLoaded(writeFile("b.nc", "X2"));
    model->openFile(url);
    model->openFile(QUrl("https://example.com/a.nc"));
    EXPECT_EQ(tabs(), QStringList({"*a.nc+: edited", "Untitled: ", "b.nc: X2"}));
}

TEST_F(AppModelTest, AnUnreadableFileIsRefusedWithNoHalfDocument)
{
    for (const QString name : {"latin1.nc", "missing.nc"}) {
        SCOPED_TRACE(name.toStdString());
        model = makeModel();
        model->setDialogs(nullptr); // nobody to ask which code page: refused as it always was
        const QUrl url = name == "latin1.nc" ? writeFile(name, "G0 X1 (\xd1" "ANDU)\n") : QUrl::fromLocalFile(path(name));
        model->setLanguage(AppLanguage::spanish);
        openLoaded(url);
        ASSERT_TRUE(model->alert());
        EXPECT_EQ(model->alert()->title, L10n::text("Unable to Open", AppLanguage::spanish));
        EXPECT_EQ(model->alert()->message, L10n::format("Unable to read %@.", AppLanguage::spanish, {name}));
        EXPECT_EQ(tabs(), QStringList({"*Untitled: "}));
        EXPECT_FALSE(model->cachedFileText(url));
    }
}

TEST_F(AppModelTest, SaveAsksWhereOnlyForAnUntitledProgramAndAFailedSaveChangesNothing)
{
    const QString folder = path("programs");
    const QUrl target = QUrl::fromLocalFile(folder + "/part.nc");
    dialogs.folderAnswers = {{QUrl::fromLocalFile(folder)}};
    dialogs.saveAnswers = {std::nullopt, target};
    model->addFolders();
    EditorDocument *doc = model->newDocument();
    doc->setText("G0 X1");
    model->saveSelected(); // cancelled
    EXPECT_EQ(tabs(), QStringList({"*Untitled+: G0 X1"}));
    model->storeFileEntry(QUrl::fromLocalFile(path("x.nc")), {"x", 1});
    model->saveSelected();
    EXPECT_EQ(tabs(), QStringList({"*part.nc: G0 X1"}));
    EXPECT_EQ(model->fileCacheCost(), 0) << "a save invalidates what was read ahead";
    model->saveAs(doc); // beside the file, with its name; cancelled
    doc->setText("G0 X2");
    model->saveSelected(); // a file is written without asking
    EXPECT_EQ(TextFile::read(target.toLocalFile()).text, "G0 X2");
    EXPECT_FALSE(model->alert());
    EXPECT_EQ(dialogs.asked, QStringList({"folders|Choose folders to show in Explorer", "save|program.nc|" + folder,
                                          "save|program.nc|" + folder, "save|part.nc|" + folder}));

    // A folder under a regular file cannot be made, not even by root.
    doc->setText("new");
    writeFile("blocker", "");
    EXPECT_FALSE(model->write(doc, QUrl::fromLocalFile(path("blocker/part.nc"))));
    ASSERT_TRUE(model->alert());
    EXPECT_EQ(model->alert()->title, "Unable to Save");
    EXPECT_EQ(tabs(), QStringList({"*part.nc+: new"}));
    EXPECT_EQ(doc->savedText(), "G0 X2");
}

TEST_F(AppModelTest, BackupsAreOpenedAsProgramsAndRevealed)
{
    model->newDocument()->setText("G1");
    model->newDocument(); // empty: never backed up
    const QStringList written = model->autosave();
    ASSERT_EQ(written, QStringList{path("Backups/Untitled_20250303-140509.nc.bak")});
    dialogs.fileAnswers = {{QUrl::fromLocalFile(written[0])}};
    model->openBackup();
    EXPECT_EQ(model->selectedDocument()->url(), QUrl::fromLocalFile(written[0]));
    ASSERT_TRUE(waitUntil([&] { return !model->isLoadingAnyFile(); }));
    EXPECT_EQ(model->selectedDocument()->text(), "G1");
    model->showBackupsFolder();
    EXPECT_EQ(dialogs.asked, QStringList({"files|Choose a backup (.bak) to open|" + path("Backups"), "reveal|" + path("Backups")}));
}

TEST_F(AppModelTest, FoldersAndSettingsAreStoredUnderTheirKeys)
{
    QDir(dir.path()).mkpath("more");
    const QUrl a = QUrl::fromLocalFile(path("programs")), b = QUrl::fromLocalFile(path("more"));
    dialogs.folderAnswers = {{a, b}, {b}};
    model->addFolders();
    model->addFolders(); // b again: added once
    ASSERT_EQ(model->fileTreeRoots().size(), 2);
    EXPECT_EQ(model->fileTreeRoots()[1]->url(), b);
    EXPECT_EQ(stored("varn.folders").toStringList(), (QStringList{a.toLocalFile(), b.toLocalFile()}));
    model->removeFolder(a);
    EXPECT_EQ(stored("varn.folders").toStringList(), QStringList{b.toLocalFile()});
    QDir(b.toLocalFile()).removeRecursively();
    auto fresh = makeModel();
    fresh->loadFolders();
    EXPECT_TRUE(fresh->folderUrls().isEmpty()) << "a folder that is gone is dropped";

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
    const std::pair<std::optional<QString>, QString> refusals[] = {
        {std::nullopt, "No Machine|Add or select a machine in the panel below."},
        {"no-such-id", "No Machine|Add or select a machine in the panel below."},
        {"fanuc", "No Serial Port|Connect a USB-to-serial adapter and click Refresh Ports."}};
    for (const auto &[machine, alert] : refusals) {
        model->setSelectedMachineId(machine);
        model->send();
        ASSERT_TRUE(model->alert());
        EXPECT_EQ(model->alert()->title + '|' + model->alert()->message, alert);
        model->clearAlert();
    }
    // Both chosen: the transfer controller takes over (and fails on a device
    // that is not there, which is its own report, not the model's).
    ports = {{path("no-such-device"), {}}};
    model->refreshPorts();
    model->send();
    EXPECT_FALSE(model->alert());
    ASSERT_TRUE(waitUntil([&] { return model->transfer().state().status == TransferState::Status::error; }));
    EXPECT_EQ(model->transfer().state().fileName + '|' + model->transfer().state().machineName, "Untitled|Fanuc");
}

} // namespace
