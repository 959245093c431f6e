// The analysis with its cache and cancellation, the file text cache and the
// read-ahead of sidebar files.
#include "appmodelfixture.h"

#include "programgenerator.h"

#include <QSignalSpy>

namespace {

bool analysisSettled(const AppModel &model)
{
    return !model.analysisInProgress() && model.analysisTask().isFinished();
}

TEST_F(AppModelTest, AnalysisIsCachedByRevisionFollowsEditsAndTheLanguage)
{
    EditorDocument *doc = model->newDocument();
    doc->setText("T1 M6\nG999 X1"); // an unknown code is a warning
    model->toggleInspector();
    EXPECT_TRUE(model->showInspector() && model->analysisInProgress());
    ASSERT_TRUE(waitUntil([&] { return analysisSettled(*model); }));
    ASSERT_TRUE(model->analysis());
    EXPECT_EQ(model->analysis()->tools.size(), 1);
    EXPECT_EQ(model->cachedAnalysis(doc->id())->revision, doc->revision());

    // Same revision: straight from the cache, no task.
    QSignalSpy started(model.get(), &AppModel::analysisInProgressChanged);
    model->refreshAnalysis();
    EXPECT_FALSE(model->analysisInProgress());
    EXPECT_EQ(started.size(), 0);

    // An edit takes the figures of the old text away at once; the new text
    // is analysed once the typing pauses.
    doc->setText("T1 M6\nT2 M6\nG999 X1");
    EXPECT_FALSE(model->analysis());
    EXPECT_TRUE(model->analysisInProgress());
    EXPECT_TRUE(model->analysisTask().isFinished()) << "nothing runs per keystroke";
    ASSERT_TRUE(waitUntil([&] { return model->analysis() && model->analysis()->tools.size() == 2; }));
    const QString english = model->analysis()->warnings.value(0).message;
    model->setLanguage(AppLanguage::spanish);
    ASSERT_TRUE(waitUntil([&] { return analysisSettled(*model) && model->analysis()->warnings.value(0).message != english; }));

    // Closed panel: edits start nothing.
    model->toggleInspector();
    doc->setText("G0");
    QTest::qWait(AppModel::analysisDelayMs + 100);
    EXPECT_FALSE(model->analysis() || model->analysisInProgress());
}

TEST_F(AppModelTest, WhileAProgramLoadsTheAnalysisWaitsForItsText)
{
    model->toggleInspector();
    model->openFile(writeFile("part.nc", "T1 M6\nG0 X1\nM30\n"));
    ASSERT_TRUE(model->selectedDocument()->isLoading());
    EXPECT_FALSE(model->analysis()) << "not the figures of the empty document";
    EXPECT_TRUE(model->analysisInProgress());
    ASSERT_TRUE(waitUntil([&] { return analysisSettled(*model); }));
    EXPECT_EQ(model->analysis()->lineCount, 4);
    EXPECT_EQ(model->analysis()->tools.size(), 1);
}

// How fast the older one stops is measured in the benchmarks; here, that its
// result never lands anywhere.
TEST_F(AppModelTest, ANewerRequestCancelsTheOlderAndAnOlderRevisionIsNeverShown)
{
    EditorDocument *big = model->newDocument();
    big->setText(ProgramGenerator::milling(5'000'000));
    model->refreshAnalysis();
    QFuture<ProgramAnalysis> older = model->analysisTask();
    EditorDocument *small = model->newDocument(); // selecting does not analyse while the panel is shut
    small->setText("G0 X1");
    model->refreshAnalysis();
    EXPECT_TRUE(older.isCanceled());
    ASSERT_TRUE(waitUntil([&] { return analysisSettled(*model) && older.isFinished(); }, 20000));
    EXPECT_EQ(model->analysis()->lineCount, 1);
    EXPECT_FALSE(model->cachedAnalysis(big->id()));
    EXPECT_EQ(model->analysisCacheOrder(), QList<QUuid>{small->id()});

    EditorDocument *edited = model->newDocument();
    edited->setText(ProgramGenerator::milling(2'000'000));
    model->refreshAnalysis();
    edited->setText("T7 M6"); // while the analysis of the long text runs
    ASSERT_TRUE(waitUntil([&] { return analysisSettled(*model); }, 20000));
    EXPECT_EQ(model->analysis()->lineCount, 1);
    EXPECT_EQ(model->cachedAnalysis(edited->id())->revision, edited->revision());
}

TEST_F(AppModelTest, AnalysisCacheKeepsTheFourMostRecentlyUsed)
{
    QList<EditorDocument *> docs;
    for (int i = 0; i < 5; ++i) {
        docs.append(model->newDocument());
        docs.last()->setText(QStringLiteral("G0 X%1").arg(i));
        model->refreshAnalysis();
        ASSERT_TRUE(waitUntil([&] { return analysisSettled(*model); }));
        if (i == 3) {
            model->setSelectedDocumentId(docs[0]->id()); // a cache hit refreshes docs[0]
            model->refreshAnalysis();
            model->setSelectedDocumentId(docs[3]->id());
        }
    }
    EXPECT_EQ(model->analysisCacheOrder(), (QList<QUuid>{docs[2]->id(), docs[3]->id(), docs[0]->id(), docs[4]->id()}));
}

TEST_F(AppModelTest, FileCacheHoldsAtMost64MiBAndReadsAheadVisibleSmallFilesThatAreNotOpen)
{
    constexpr qint64 MiB = 1024 * 1024;
    const QUrl a = QUrl::fromLocalFile("/p/a.nc"), b = QUrl::fromLocalFile("/p/b.nc"), c = QUrl::fromLocalFile("/p/c.nc");
    model->storeFileEntry(a, {"a", 70 * MiB});
    EXPECT_EQ(model->fileCacheCost(), 0);
    model->storeFileEntry(a, {"a", 40 * MiB});
    model->storeFileEntry(b, {"b", 40 * MiB});
    EXPECT_EQ(model->fileCacheOrder(), QList<QUrl>{b});
    model->storeFileEntry(b, {"b2", 64 * MiB}); // exactly the limit stays
    EXPECT_EQ(model->cachedFileText(b), "b2");
    model->storeFileEntry(b, {"b3", 10});
    model->storeFileEntry(c, {"c", 20});
    model->openFile(b); // at once from the cache, and b moves to the back
    EXPECT_FALSE(model->selectedDocument()->isLoading());
    EXPECT_EQ(model->selectedDocument()->text(), "b3");
    EXPECT_EQ(model->fileCacheOrder(), (QList<QUrl>{c, b}));
    EXPECT_EQ(model->fileCacheCost(), 30);

    const QDir programs(path("programs"));
    programs.mkpath("sub");
    programs.mkpath(".git");
    const QUrl small = writeFile("programs/sub/small.nc", "G0 X1");
    const QUrl open = writeFile("programs/open.nc", "G0 X2");
    writeFile("programs/.hidden.nc", "G0 X3");
    writeFile("programs/.git/config", "x");
    writeFile("programs/latin1.nc", "\xd1");
    writeFile("programs/large.nc", QByteArray(AppModel::prefetchFileLimit + 1, 'G'));
    openLoaded(open);
    model->clearFileCache();
    EXPECT_TRUE(model->fileCacheOrder().isEmpty());
    dialogs.folderAnswers = {{QUrl::fromLocalFile(programs.path())}};
    model->addFolders();
    const qint64 generation = model->prefetchGeneration();
    model->startExplorerPrefetch();
    EXPECT_EQ(model->prefetchGeneration(), generation + 1);
    ASSERT_TRUE(waitUntil([&] { return !model->isPrefetching(); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(model->fileCacheOrder(), QList<QUrl>{small});
    EXPECT_EQ(model->fileCacheCost(), 5);
    model->openFile(small);
    EXPECT_FALSE(model->selectedDocument()->isLoading());
}

} // namespace
