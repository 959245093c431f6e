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

TEST_F(AppModelTest, AnalysisIsCachedByRevisionAndFollowsEdits)
{
    EditorDocument *doc = model->newDocument();
    doc->setText(QStringLiteral("T1 M6\nG0 X1"));
    model->toggleInspector();
    EXPECT_TRUE(model->showInspector());
    EXPECT_TRUE(model->analysisInProgress());
    ASSERT_TRUE(waitUntil([&] { return analysisSettled(*model); }));
    ASSERT_TRUE(model->analysis());
    EXPECT_EQ(model->analysis()->tools.size(), 1);
    EXPECT_EQ(model->cachedAnalysis(doc->id())->revision, doc->revision());

    // Same revision: straight from the cache, no task.
    QSignalSpy started(model.get(), &AppModel::analysisInProgressChanged);
    model->refreshAnalysis();
    EXPECT_FALSE(model->analysisInProgress());
    EXPECT_EQ(started.size(), 0);

    // An edit while the panel is open is analysed once the typing pauses.
    doc->setText(QStringLiteral("T1 M6\nT2 M6\nG0 X1"));
    EXPECT_FALSE(model->analysisInProgress()) << "nothing runs per keystroke";
    ASSERT_TRUE(waitUntil([&] { return model->analysis()->tools.size() == 2; }));

    // Closed panel: edits start nothing.
    model->toggleInspector();
    doc->setText(QStringLiteral("G0"));
    QTest::qWait(AppModel::analysisDelayMs + 100);
    EXPECT_EQ(model->analysis()->tools.size(), 2);
}

TEST_F(AppModelTest, AResultForAnOlderRevisionIsNeverShown)
{
    EditorDocument *doc = model->newDocument();
    doc->setText(ProgramGenerator::milling(2'000'000));
    model->refreshAnalysis();
    doc->setText(QStringLiteral("T7 M6"));
    ASSERT_TRUE(waitUntil([&] { return analysisSettled(*model); }, 20000));
    ASSERT_TRUE(model->analysis());
    EXPECT_EQ(model->analysis()->lineCount, 1);
    EXPECT_EQ(model->cachedAnalysis(doc->id())->revision, doc->revision());
}

// How fast the older one stops is measured in the benchmarks; here, that its
// result never lands anywhere.
TEST_F(AppModelTest, ANewerRequestCancelsTheOlder)
{
    EditorDocument *big = model->newDocument();
    big->setText(ProgramGenerator::milling(5'000'000));
    model->refreshAnalysis();
    QFuture<ProgramAnalysis> older = model->analysisTask();
    EditorDocument *small = model->newDocument(); // selecting does not analyse while the panel is shut
    small->setText(QStringLiteral("G0 X1"));
    model->refreshAnalysis();
    EXPECT_TRUE(older.isCanceled());
    ASSERT_TRUE(waitUntil([&] { return analysisSettled(*model) && older.isFinished(); }));
    EXPECT_EQ(model->analysis()->lineCount, 1);
    EXPECT_FALSE(model->cachedAnalysis(big->id()));
    EXPECT_EQ(model->analysisCacheOrder(), QList<QUuid>{small->id()});
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
    EXPECT_EQ(model->analysisCacheOrder(),
              (QList<QUuid>{docs[2]->id(), docs[3]->id(), docs[0]->id(), docs[4]->id()}));
    EXPECT_FALSE(model->cachedAnalysis(docs[1]->id()));
}

TEST_F(AppModelTest, ALanguageChangeReanalysesInTheNewLanguage)
{
    EditorDocument *doc = model->newDocument();
    doc->setText(QStringLiteral("G999 X1")); // an unknown code is a warning
    model->refreshAnalysis();
    ASSERT_TRUE(waitUntil([&] { return analysisSettled(*model); }));
    ASSERT_FALSE(model->analysis()->warnings.isEmpty());
    const QString english = model->analysis()->warnings[0].message;
    model->setLanguage(AppLanguage::spanish);
    ASSERT_TRUE(waitUntil([&] { return analysisSettled(*model); }));
    EXPECT_NE(model->analysis()->warnings[0].message, english);
}

TEST_F(AppModelTest, FileCacheHoldsAtMost64MiB)
{
    constexpr qint64 MiB = 1024 * 1024;
    const QUrl a = QUrl::fromLocalFile(QStringLiteral("/p/a.nc"));
    const QUrl b = QUrl::fromLocalFile(QStringLiteral("/p/b.nc"));
    const QUrl c = QUrl::fromLocalFile(QStringLiteral("/p/c.nc"));

    model->storeFileEntry(a, {QStringLiteral("a"), 70 * MiB});
    EXPECT_FALSE(model->cachedFileText(a));
    EXPECT_EQ(model->fileCacheCost(), 0);

    model->storeFileEntry(a, {QStringLiteral("a"), 40 * MiB});
    model->storeFileEntry(b, {QStringLiteral("b"), 40 * MiB});
    EXPECT_EQ(model->fileCacheOrder(), QList<QUrl>{b});
    EXPECT_EQ(model->fileCacheCost(), 40 * MiB);

    model->storeFileEntry(b, {QStringLiteral("b2"), 64 * MiB}); // exactly the limit stays
    EXPECT_EQ(model->cachedFileText(b), QStringLiteral("b2"));
    EXPECT_EQ(model->fileCacheCost(), 64 * MiB);

    model->storeFileEntry(b, {QStringLiteral("b3"), 10});
    model->storeFileEntry(c, {QStringLiteral("c"), 20});
    model->openFile(b); // at once from the cache, and b moves to the back
    EXPECT_FALSE(model->selectedDocument()->isLoading());
    EXPECT_EQ(model->selectedDocument()->text(), QStringLiteral("b3"));
    EXPECT_EQ(model->fileCacheOrder(), (QList<QUrl>{c, b}));
    EXPECT_EQ(model->fileCacheCost(), 30);
    model->clearFileCache();
    EXPECT_EQ(model->fileCacheCost(), 0);
    EXPECT_TRUE(model->fileCacheOrder().isEmpty());
}

TEST_F(AppModelTest, ReadAheadCachesVisibleSmallFilesThatAreNotOpen)
{
    const QDir programs(path(QStringLiteral("programs")));
    programs.mkpath(QStringLiteral("sub"));
    programs.mkpath(QStringLiteral(".git"));
    const QUrl small = writeFile(QStringLiteral("programs/sub/small.nc"), "G0 X1");
    const QUrl open = writeFile(QStringLiteral("programs/open.nc"), "G0 X2");
    writeFile(QStringLiteral("programs/.hidden.nc"), "G0 X3");
    writeFile(QStringLiteral("programs/.git/config"), "x");
    writeFile(QStringLiteral("programs/latin1.nc"), "\xd1");
    const QUrl large = writeFile(QStringLiteral("programs/large.nc"), QByteArray(AppModel::prefetchFileLimit + 1, 'G'));

    openLoaded(open);
    model->clearFileCache();
    dialogs.folderAnswers = {{QUrl::fromLocalFile(programs.path())}};
    model->addFolders();
    const qint64 generation = model->prefetchGeneration();
    model->startExplorerPrefetch();
    EXPECT_EQ(model->prefetchGeneration(), generation + 1);
    ASSERT_TRUE(waitUntil([&] { return !model->isPrefetching(); }));
    QCoreApplication::processEvents();

    EXPECT_EQ(model->fileCacheOrder(), QList<QUrl>{small});
    EXPECT_EQ(model->fileCacheCost(), 5);
    EXPECT_FALSE(model->cachedFileText(large));

    model->openFile(small);
    EXPECT_FALSE(model->selectedDocument()->isLoading());
}

} // namespace
