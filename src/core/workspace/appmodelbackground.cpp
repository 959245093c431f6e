// The model's background work and its two caches: the analysis of the
// selected program, the texts of sidebar files read ahead, and file loads.
// Every task works on copies and hands a value back; what comes back is
// applied on the main thread only after checking it is still wanted.
#include "appmodel.h"

#include "nc/programanalyzer.h"
#include "base/textfile.h"
#include "base/textfilestream.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QtConcurrent>

#include <algorithm>

namespace {

// The UTF-8 size of a text without making the UTF-8 copy.
qint64 utf8Length(QStringView text)
{
    qint64 bytes = 0;
    const QChar *p = text.data();
    const QChar *end = p + text.size();
    for (; p < end; ++p) {
        const char16_t c = p->unicode();
        if (c < 0x80) {
            bytes += 1;
        } else if (c < 0x800) {
            bytes += 2;
        } else if (QChar::isHighSurrogate(c) && p + 1 < end && QChar::isLowSurrogate(p[1].unicode())) {
            bytes += 4;
            ++p;
        } else {
            bytes += 3;
        }
    }
    return bytes;
}

struct PrefetchCandidate {
    QString path;
    qint64 size = 0;
};

// The regular files under `roots` worth reading ahead: visible (no entry
// whose name begins with a dot), not cached, not open, at most 8 MiB. The walk
// visits at most `walkLimit` entries, so a sidebar folder that happens to be
// a whole disk costs a bounded moment. Smallest first: many small programs
// fill the cache sooner than one large one, and are the ones people browse.
QList<PrefetchCandidate> collectPrefetchCandidates(const QStringList &roots, const QSet<QString> &excluded)
{
    QList<PrefetchCandidate> found;
    QStringList pending = roots;
    int visited = 0;
    while (!pending.isEmpty() && visited < AppModel::prefetchWalkLimit) {
        const QDir dir(pending.takeFirst());
        const QFileInfoList entries =
            dir.entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System, QDir::NoSort);
        for (const QFileInfo &entry : entries) {
            if (++visited >= AppModel::prefetchWalkLimit) {
                break;
            }
            if (entry.fileName().startsWith(QLatin1Char('.'))) {
                continue;
            }
            if (entry.isDir()) {
                // Links to folders are not followed here: a link back up the
                // tree would have the walk go round in circles.
                if (!entry.isSymLink()) {
                    pending.append(entry.filePath());
                }
            } else if (entry.isFile() && entry.size() <= AppModel::prefetchFileLimit &&
                       !excluded.contains(QDir::cleanPath(entry.absoluteFilePath()))) {
                found.append({QDir::cleanPath(entry.absoluteFilePath()), entry.size()});
            }
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const PrefetchCandidate &a, const PrefetchCandidate &b) { return a.size < b.size; });
    return found;
}

} // namespace

// --- File loads ----------------------------------------------------------------

void AppModel::loadFileInBackground(EditorDocument *doc, TextEncoding encoding)
{
    const QUuid id = doc->id();
    const QString path = doc->url().toLocalFile();
    // A watcher, not a continuation: its signal always arrives as an event,
    // so even a read done in no time lands after openFile has returned.
    auto *watcher = new QFutureWatcher<LoadResult>(this);
    connect(watcher, &QFutureWatcher<LoadResult>::finished, this, [this, id, watcher] {
        // Taken, not copied: the future must not keep the blocks alive while
        // the editor takes them over one at a time.
        QFuture<LoadResult> future = watcher->future();
        finishLoad(id, future.takeResult());
    });
    m_fileLoadTasks.insert(id, watcher);
    watcher->setFuture(QtConcurrent::run([path, encoding] {
        // Read in blocks of whole lines and kept as UTF-8: the file's bytes and
        // a decoded copy of the whole program never exist side by side.
        TextFileStream stream(path);
        stream.setEncoding(encoding);
        LoadResult result;
        result.encoding = encoding;
        while (std::optional<QByteArray> block = stream.nextBytes()) {
            result.cost += block->size();
            result.blocks.append(std::move(*block));
        }
        result.ok = stream.status().ok();
        if (!result.ok) {
            result.blocks.clear();
            if (stream.status().error == TextFile::ReadError::invalidUtf8) {
                result.notUtf8 = EncodingSample::fromFile(path);
            }
        } else if (result.cost <= fileCacheLimit) {
            // Small enough for the file text cache, which keeps text.
            result.text.reserve(result.cost);
            while (!result.blocks.isEmpty()) {
                result.text.append(TextFile::decodeVerbatim(result.blocks.takeFirst()));
            }
        }
        return result;
    }));
}

// --- Analysis ------------------------------------------------------------------

void AppModel::refreshAnalysis()
{
    m_analysisDelay.stop();
    m_analysisTask.cancel();
    EditorDocument *doc = selectedDocument();
    if (!doc) {
        setAnalysis(std::nullopt);
        setAnalysisInProgress(false);
        return;
    }
    const auto cached = m_analysisCache.constFind(doc->id());
    if (cached != m_analysisCache.cend() && cached->revision == doc->revision()) {
        setAnalysis(cached->value);
        setAnalysisInProgress(false);
        touchAnalysisCache(doc->id());
        return;
    }
    if (m_analysis) {
        setAnalysis(std::nullopt); // made from other text
    }
    setAnalysisInProgress(true);
    if (doc->isLoading()) {
        return; // the end of the load asks again, with the whole text
    }
    m_analysisDocumentId = doc->id();
    m_analysisRevision = doc->revision();
    m_analysisTask = QtConcurrent::run(
        [text = doc->text(), language = m_language](QPromise<ProgramAnalysis> &promise) {
            ProgramAnalysis result = ProgramAnalyzer::analyze(text, language, [&promise] { return promise.isCanceled(); });
            if (!result.cancelled) {
                promise.addResult(std::move(result));
            }
        });
    // Replacing the future also drops whatever the previous one still had queued.
    m_analysisWatcher.setFuture(m_analysisTask);
}

void AppModel::analysisFinished()
{
    const QFuture<ProgramAnalysis> finished = m_analysisWatcher.future();
    if (finished.isCanceled() || finished.resultCount() == 0) {
        return; // a newer request has taken over
    }
    EditorDocument *doc = document(m_analysisDocumentId);
    if (!doc) {
        setAnalysisInProgress(false);
        return;
    }
    if (doc->revision() != m_analysisRevision) {
        // Edited while we read it: what the user asked for is the current
        // text. While the typing goes on, the pending delayed refresh asks.
        if (!m_analysisDelay.isActive()) {
            refreshAnalysis();
        }
        return;
    }
    const ProgramAnalysis value = finished.result();
    storeAnalysis(doc->id(), {m_analysisRevision, value});
    if (m_selectedDocumentId == doc->id()) {
        setAnalysis(value);
    }
    setAnalysisInProgress(false);
}

void AppModel::setAnalysis(std::optional<ProgramAnalysis> analysis)
{
    m_analysis = std::move(analysis);
    emit analysisChanged();
}

void AppModel::setAnalysisInProgress(bool inProgress)
{
    if (inProgress != m_analysisInProgress) {
        m_analysisInProgress = inProgress;
        emit analysisInProgressChanged(inProgress);
    }
}

std::optional<AppModel::CachedAnalysis> AppModel::cachedAnalysis(const QUuid &id) const
{
    const auto found = m_analysisCache.constFind(id);
    if (found == m_analysisCache.cend()) {
        return std::nullopt;
    }
    return *found;
}

void AppModel::storeAnalysis(const QUuid &id, const CachedAnalysis &entry)
{
    m_analysisCache.insert(id, entry);
    touchAnalysisCache(id);
    while (m_analysisCacheOrder.size() > analysisCacheLimit) {
        m_analysisCache.remove(m_analysisCacheOrder.takeFirst());
    }
}

void AppModel::touchAnalysisCache(const QUuid &id)
{
    m_analysisCacheOrder.removeAll(id);
    m_analysisCacheOrder.append(id);
}

// --- File text cache -------------------------------------------------------------

std::optional<QString> AppModel::cachedFileText(const QUrl &url) const
{
    const auto found = m_fileTextCache.constFind(url);
    if (found == m_fileTextCache.cend()) {
        return std::nullopt;
    }
    return found->text;
}

void AppModel::storeFileEntry(const QUrl &url, const FileTextCacheEntry &entry)
{
    if (entry.cost > fileCacheLimit) {
        return;
    }
    if (const auto old = m_fileTextCache.constFind(url); old != m_fileTextCache.cend()) {
        m_fileCacheCost -= old->cost;
    }
    m_fileTextCache.insert(url, entry);
    m_fileCacheCost += entry.cost;
    touchFileCache(url);
    while (m_fileCacheCost > fileCacheLimit && !m_fileCacheOrder.isEmpty()) {
        const QUrl oldest = m_fileCacheOrder.takeFirst();
        m_fileCacheCost -= m_fileTextCache.take(oldest).cost;
    }
}

void AppModel::touchFileCache(const QUrl &url)
{
    m_fileCacheOrder.removeAll(url);
    m_fileCacheOrder.append(url);
}

void AppModel::clearFileCache()
{
    m_fileTextCache.clear();
    m_fileCacheOrder.clear();
    m_fileCacheCost = 0;
}

// --- Read-ahead of sidebar files ---------------------------------------------------

void AppModel::startExplorerPrefetch()
{
    ++m_prefetchGeneration;
    m_prefetchTask.cancel();

    QStringList roots;
    for (const QUrl &url : std::as_const(m_folderUrls)) {
        roots.append(url.toLocalFile());
    }
    QSet<QString> excluded;
    for (const QUrl &url : std::as_const(m_fileCacheOrder)) {
        excluded.insert(url.toLocalFile());
    }
    for (const EditorDocument *doc : std::as_const(m_documents)) {
        if (!doc->isUntitled()) {
            excluded.insert(doc->url().toLocalFile());
        }
    }

    // The walk runs in the task too: a large folder must not hold up the window.
    m_prefetchTask = QtConcurrent::run(
        [roots, excluded, generation = m_prefetchGeneration](QPromise<PrefetchItem> &promise) {
            const QList<PrefetchCandidate> candidates = collectPrefetchCandidates(roots, excluded);
            qint64 total = 0;
            for (const PrefetchCandidate &candidate : candidates) {
                if (promise.isCanceled() || total + candidate.size > fileCacheLimit) {
                    return;
                }
                total += candidate.size;
                TextFile::ReadResult read = TextFile::read(candidate.path);
                if (read.ok()) {
                    const qint64 cost = utf8Length(read.text);
                    promise.addResult(
                        PrefetchItem{generation, QUrl::fromLocalFile(candidate.path), std::move(read.text), cost});
                }
            }
        });
    // A fresh watcher per run: nothing the previous run still had queued can
    // reach the cache, and the generation check below catches the rest.
    m_prefetchWatcher = std::make_unique<QFutureWatcher<PrefetchItem>>();
    connect(m_prefetchWatcher.get(), &QFutureWatcher<PrefetchItem>::resultReadyAt, this,
            &AppModel::prefetchResultReady);
    connect(m_prefetchWatcher.get(), &QFutureWatcher<PrefetchItem>::finished, this, &AppModel::prefetchFinished);
    m_prefetchWatcher->setFuture(m_prefetchTask);
}

void AppModel::prefetchResultReady(int index)
{
    const QFuture<PrefetchItem> future = m_prefetchWatcher->future();
    if (future.isCanceled()) {
        return;
    }
    const PrefetchItem item = future.resultAt(index);
    if (item.generation != m_prefetchGeneration) {
        return;
    }
    storeFileEntry(item.url, {item.text, item.cost});
}
