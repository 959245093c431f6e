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
    EXPECT_NE(last->id(), a->id());
    EXPECT_TRUE(last->isUntitled() && last->isEmpty());
    EXPECT_EQ(model->selectedDocumentId(), last->id());
}

TEST_F(AppModelTest, OpeningLoadsInTheBackgroundAndAnOpenFileIsOnlySelected)
{
    EditorDocument *other = model->newDocument();
    other->setText(QStringLiteral("typed"));
    const QUrl url = writeFile(QStringLiteral("a.nc"), "G0 X1\n");

    model->openFile(QUrl::fromLocalFile(dir.path() + QStringLiteral("/./programs/../a.nc")));
    EditorDocument *doc = model->selectedDocument();
    ASSERT_NE(doc, other);
    EXPECT_EQ(doc->url(), url);
    EXPECT_TRUE(doc->isLoading());
    ASSERT_TRUE(waitUntil([&] { return !doc->isLoading(); }));
    EXPECT_EQ(doc->text(), QStringLiteral("G0 X1\n"));
    EXPECT_FALSE(doc->isDirty());
    EXPECT_EQ(model->cachedFileText(url), QStringLiteral("G0 X1\n"));
    EXPECT_EQ(model->fileCacheCost(), 6);

    doc->setText(QStringLiteral("edited"));
    model->setSelectedDocumentId(other->id());
    model->openFile(url);
    EXPECT_EQ(model->selectedDocumentId(), doc->id());
    EXPECT_EQ(model->documents().size(), 2);
    EXPECT_EQ(doc->text(), QStringLiteral("edited"));

    model->openFile(QUrl(QStringLiteral("https://example.com/a.nc")));
    EXPECT_EQ(model->documents().size(), 2);
}

TEST_F(AppModelTest, AFileTakesThePlaceOfAnUntouchedUntitledTab)
{
    EditorDocument *blank = model->newDocument();
    QPointer<EditorDocument> gone(blank);
    EditorDocument *doc = openLoaded(writeFile(QStringLiteral("a.nc"), "X1"));
    EXPECT_EQ(model->documents(), QList<EditorDocument *>{doc});
    EXPECT_TRUE(waitUntil([&] { return gone.isNull(); }));

    // One that was typed into (even back to empty) stays.
    EditorDocument *typed = model->newDocument();
    typed->setText(QStringLiteral("x"));
    typed->setText(QString());
    openLoaded(writeFile(QStringLiteral("b.nc"), "X2"));
    EXPECT_EQ(model->documents().size(), 3);
}

TEST_F(AppModelTest, AnUnreadableFileIsRefusedWithNoHalfDocument)
{
    struct Case {
        const char *name;
        QByteArray bytes;
        bool create;
    };
    const Case cases[] = {{"latin1.nc", QByteArray("G0 X1 (\xd1" "ANDU)\n"), true}, {"missing.nc", {}, false}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        model = makeModel();
        const QUrl url = c.create ? writeFile(QString::fromLatin1(c.name), c.bytes)
                                  : QUrl::fromLocalFile(path(QString::fromLatin1(c.name)));
        model->setLanguage(AppLanguage::spanish);
        openLoaded(url);
        ASSERT_TRUE(model->alert());
        EXPECT_EQ(model->alert()->title, L10n::text("Unable to Open", AppLanguage::spanish));
        EXPECT_EQ(model->alert()->message,
                  L10n::format("Unable to read %@.", AppLanguage::spanish, {QString::fromLatin1(c.name)}));
        ASSERT_EQ(model->documents().size(), 1);
        EXPECT_TRUE(model->documents().first()->isUntitled());
        EXPECT_EQ(model->selectedDocument(), model->documents().first());
        EXPECT_FALSE(model->cachedFileText(url));
    }
}

TEST_F(AppModelTest, SaveAsksWhereForAnUntitledProgramAndCancelChangesNothing)
{
    const QString folder = path(QStringLiteral("programs"));
    dialogs.folderAnswers = {{QUrl::fromLocalFile(folder)}};
    model->addFolders();
    EditorDocument *doc = model->newDocument();
    doc->setText(QStringLiteral("G0 X1"));

    model->saveSelected(); // cancelled
    ASSERT_EQ(dialogs.savePanels.size(), 1);
    EXPECT_EQ(dialogs.savePanels[0].text, QStringLiteral("program.nc"));
    EXPECT_EQ(dialogs.savePanels[0].startFolder, QUrl::fromLocalFile(folder));
    EXPECT_TRUE(doc->isUntitled());
    EXPECT_TRUE(doc->isDirty());

    model->storeFileEntry(QUrl::fromLocalFile(path(QStringLiteral("x.nc"))), {QStringLiteral("x"), 1});
    const QUrl target = QUrl::fromLocalFile(folder + QStringLiteral("/part.nc"));
    dialogs.saveAnswers = {target};
    model->saveSelected();
    EXPECT_EQ(doc->url(), target);
    EXPECT_FALSE(doc->isDirty());
    EXPECT_EQ(TextFile::read(target.toLocalFile()).text, QStringLiteral("G0 X1"));
    EXPECT_EQ(model->fileCacheCost(), 0) << "a save invalidates what was read ahead";
    EXPECT_FALSE(model->alert());

    // Save As on a file starts beside it, with its name.
    model->saveAs(doc);
    EXPECT_EQ(dialogs.savePanels.last().text, QStringLiteral("part.nc"));
    EXPECT_EQ(dialogs.savePanels.last().startFolder, QUrl::fromLocalFile(folder));

    // Save on a file writes without asking.
    doc->setText(QStringLiteral("G0 X2"));
    model->saveSelected();
    EXPECT_EQ(dialogs.savePanels.size(), 3);
    EXPECT_EQ(TextFile::read(target.toLocalFile()).text, QStringLiteral("G0 X2"));
}

TEST_F(AppModelTest, AFailedSaveAlertsAndLeavesFileAndDocumentAsTheyWere)
{
    const QString folder = path(QStringLiteral("programs"));
    const QUrl url = writeFile(QStringLiteral("programs/a.nc"), "old");
    EditorDocument *doc = openLoaded(url);
    doc->setText(QStringLiteral("new"));
    ReadOnlyFolder readOnly(folder);
    if (readOnly.writable()) {
        GTEST_SKIP() << "cannot make a read-only folder here";
    }
    EXPECT_FALSE(model->write(doc, url));
    ASSERT_TRUE(model->alert());
    EXPECT_EQ(model->alert()->title, QStringLiteral("Unable to Save"));
    EXPECT_FALSE(model->alert()->message.isEmpty());
    EXPECT_TRUE(doc->isDirty());
    EXPECT_EQ(doc->savedText(), QStringLiteral("old"));
    EXPECT_EQ(TextFile::read(url.toLocalFile()).text, QStringLiteral("old"));
}

TEST_F(AppModelTest, BackupsAreOpenedAsProgramsAndRevealed)
{
    model->newDocument()->setText(QStringLiteral("G1"));
    model->newDocument(); // empty: never backed up
    const QStringList written = model->autosave();
    ASSERT_EQ(written.size(), 1);
    EXPECT_TRUE(written[0].endsWith(QStringLiteral("/Backups/Untitled_20250303-140509.nc.bak")));

    dialogs.fileAnswers = {{QUrl::fromLocalFile(written[0])}};
    model->openBackup();
    ASSERT_EQ(dialogs.filePanels.size(), 1);
    EXPECT_EQ(dialogs.filePanels[0].text, QStringLiteral("Choose a backup (.bak) to open"));
    EXPECT_EQ(dialogs.filePanels[0].startFolder, QUrl::fromLocalFile(path(QStringLiteral("Backups"))));
    EditorDocument *restored = model->selectedDocument();
    EXPECT_EQ(restored->url(), QUrl::fromLocalFile(written[0]));
    ASSERT_TRUE(waitUntil([&] { return !restored->isLoading(); }));
    EXPECT_EQ(restored->text(), QStringLiteral("G1"));

    model->showBackupsFolder();
    EXPECT_EQ(dialogs.revealed, QList<QUrl>{QUrl::fromLocalFile(path(QStringLiteral("Backups")))});
}

TEST_F(AppModelTest, FoldersAreAddedOnceRememberedAndDroppedWhenGone)
{
    const QUrl a = QUrl::fromLocalFile(path(QStringLiteral("programs")));
    QDir(dir.path()).mkpath(QStringLiteral("more"));
    const QUrl b = QUrl::fromLocalFile(path(QStringLiteral("more")));
    dialogs.folderAnswers = {{a, b}, {b}};
    model->addFolders();
    model->addFolders();
    EXPECT_EQ(dialogs.folderPanels[0].text, QStringLiteral("Choose folders to show in Explorer"));
    EXPECT_EQ(model->folderUrls(), (QList<QUrl>{a, b}));
    ASSERT_EQ(model->fileTreeRoots().size(), 2);
    EXPECT_EQ(model->fileTreeRoots()[1]->url(), b);
    EXPECT_EQ(stored(QStringLiteral("varn.folders")).toStringList(), (QStringList{a.toLocalFile(), b.toLocalFile()}));

    model->removeFolder(a);
    EXPECT_EQ(stored(QStringLiteral("varn.folders")).toStringList(), QStringList{b.toLocalFile()});

    QDir(b.toLocalFile()).removeRecursively();
    auto fresh = makeModel();
    fresh->loadFolders();
    EXPECT_TRUE(fresh->folderUrls().isEmpty());
}

TEST_F(AppModelTest, SettingsAreStoredUnderTheirKeysWhenTheyChange)
{
    QSignalSpy applied(model.get(), &AppModel::appearanceApplied);
    model->setAppearance(AppearanceMode::dark);
    EXPECT_EQ(stored(QStringLiteral("varn.appearance")).toString(), QStringLiteral("dark"));
    ASSERT_EQ(applied.size(), 1);
    EXPECT_EQ(applied[0][0].value<AppearanceMode>(), AppearanceMode::dark);


    model->setLanguage(AppLanguage::spanish);
    EXPECT_EQ(stored(QStringLiteral("varn.language")).toString(), QStringLiteral("es"));
    EXPECT_EQ(model->transfer().language(), AppLanguage::spanish);
    EXPECT_EQ(makeModel()->language(), AppLanguage::spanish);

    const struct {
        double request;
        double expected;
    } sizes[] = {{28, 28}, {29, 28}, {9, 9}, {8, 9}, {14.5, 14.5}};
    for (const auto &s : sizes) {
        model->setFontSize(s.request);
        EXPECT_EQ(model->editorFontSize(), s.expected) << s.request;
        EXPECT_EQ(stored(QStringLiteral("varn.fontSize")).toDouble(), s.expected);
    }
}

TEST_F(AppModelTest, RefreshingPortsKeepsAChoiceThatIsStillThere)
{
    const SerialPort usb0{QStringLiteral("/dev/ttyUSB0"), {}}, usb1{QStringLiteral("/dev/ttyUSB1"), {}};
    const struct {
        QList<SerialPort> found;
        std::optional<QString> choose;
        std::optional<QString> expected;
    } steps[] = {{{usb0, usb1}, std::nullopt, usb0.path},
                 {{usb1}, usb1.path, usb1.path},
                 {{usb0, usb1}, std::nullopt, usb1.path},
                 {{}, std::nullopt, std::nullopt}};
    for (const auto &step : steps) {
        if (step.choose) {
            model->setSelectedPortPath(step.choose);
        }
        ports = step.found;
        model->refreshPorts();
        EXPECT_EQ(model->selectedPortPath(), step.expected);
    }
}

TEST_F(AppModelTest, SendingNeedsAMachineAndAPort)
{
    EditorDocument *doc = model->newDocument();
    doc->setText(QStringLiteral("G0 X1\nM30"));
    const struct {
        std::optional<QString> machine;
        QList<SerialPort> found;
        const char *title;
        const char *message;
    } refusals[] = {
        {std::nullopt, {}, "No Machine", "Add or select a machine in the panel below."},
        {QStringLiteral("no-such-id"), {}, "No Machine", "Add or select a machine in the panel below."},
        {QStringLiteral("fanuc"), {}, "No Serial Port", "Connect a USB-to-serial adapter and click Refresh Ports."},
    };
    for (const auto &r : refusals) {
        model->setSelectedMachineId(r.machine);
        model->send();
        ASSERT_TRUE(model->alert());
        EXPECT_EQ(model->alert()->title, QString::fromUtf8(r.title));
        EXPECT_EQ(model->alert()->message, QString::fromUtf8(r.message));
        model->clearAlert();
    }

    // Both chosen: the transfer controller takes over (and fails on a device
    // that is not there, which is its own report, not the model's).
    ports = {{path(QStringLiteral("no-such-device")), {}}};
    model->refreshPorts();
    model->send();
    EXPECT_FALSE(model->alert());
    ASSERT_TRUE(waitUntil([&] { return model->transfer().state().status == TransferState::Status::error; }));
    EXPECT_EQ(model->transfer().state().fileName, QStringLiteral("Untitled"));
    EXPECT_EQ(model->transfer().state().machineName, QStringLiteral("Fanuc"));
}

} // namespace
