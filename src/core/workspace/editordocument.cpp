#include "editordocument.h"

#include "base/textfile.h"
#include "utf8blockstorage.h"

#include <QtGlobal>

#include <algorithm>
#include <cstring>

namespace {

// Compares in blocks with memcmp and only looks unit by unit inside the block
// that differs: a clean 100 MB program is compared at memory speed.
qsizetype firstDifferenceOf(QStringView a, QStringView b)
{
    Q_ASSERT(a.size() == b.size());
    if (a.data() == b.data()) {
        return -1; // one shared buffer, as right after a load or a save
    }
    constexpr qsizetype kBlock = 4096;
    for (qsizetype from = 0; from < a.size(); from += kBlock) {
        const qsizetype n = std::min(kBlock, a.size() - from);
        if (std::memcmp(a.data() + from, b.data() + from, size_t(n) * sizeof(QChar)) != 0) {
            const auto *begin = a.data() + from;
            const auto found = std::mismatch(begin, begin + n, b.data() + from);
            return from + (found.first - begin);
        }
    }
    return -1;
}

// Pieces of text moved between storages and compared from the end.
constexpr qsizetype kPieceUnits = qsizetype(4) << 20;
constexpr qsizetype kCompareUnits = qsizetype(64) << 10;

} // namespace

QList<QByteArray> DocumentTextStorage::utf8Blocks() const
{
    const QString all = text();
    QList<QByteArray> blocks;
    for (qsizetype from = 0; from < all.size();) {
        qsizetype to = std::min(all.size(), from + kPieceUnits);
        if (to < all.size() && all[to - 1].isHighSurrogate()) {
            --to;
        }
        blocks.append(QStringView(all).sliced(from, to - from).toUtf8());
        from = to;
    }
    return blocks;
}

void DocumentTextStorage::setUtf8Blocks(QList<QByteArray> blocks)
{
    QString all;
    while (!blocks.isEmpty()) {
        all.append(TextFile::decodeVerbatim(blocks.takeFirst()));
    }
    setText(all);
}

void StringTextStorage::replace(qsizetype position, qsizetype removed, const QString &inserted)
{
    m_text.replace(position, removed, inserted);
}

qsizetype StringTextStorage::firstDifference(qsizetype position, QStringView expected) const
{
    Q_ASSERT(position >= 0 && position + expected.size() <= m_text.size());
    return firstDifferenceOf(QStringView(m_text).mid(position, expected.size()), expected);
}

EditorDocument::EditorDocument(QObject *parent)
    : QObject(parent), m_storage(std::make_unique<StringTextStorage>())
{
    markSavedEqualsText();
}

EditorDocument::EditorDocument(const QUrl &url, QObject *parent) : EditorDocument(parent)
{
    m_url = url;
    m_loading = true;
}

EditorDocument::EditorDocument(const QUrl &url, const QString &contents, QObject *parent)
    : QObject(parent), m_url(url), m_storage(std::make_unique<StringTextStorage>(contents))
{
    markSavedEqualsText();
}

EditorDocument::~EditorDocument() = default;

void EditorDocument::setUrl(const QUrl &url)
{
    if (url == m_url) {
        return;
    }
    m_url = url;
    emit urlChanged(m_url);
}

QString EditorDocument::displayName(AppLanguage language) const
{
    const QString name = m_url.fileName();
    if (!name.isEmpty()) {
        return name;
    }
    return m_suggestedName.isEmpty() ? L10n::text("Untitled", language) : m_suggestedName;
}

QString EditorDocument::text() const
{
    return m_storage->text();
}

qsizetype EditorDocument::textLength() const
{
    return m_storage->length();
}

void EditorDocument::setText(const QString &text)
{
    const qsizetype length = m_storage->length();
    const qsizetype shorter = std::min(length, text.size());
    const qsizetype found = m_storage->firstDifference(0, QStringView(text).first(shorter));
    if (found < 0 && length == text.size()) {
        return;
    }
    // A tool usually leaves the ends of a program alone; only what lies
    // between the common prefix and suffix goes into the saved window.
    const qsizetype prefix = found < 0 ? shorter : found;
    qsizetype suffix = 0;
    while (suffix < shorter - prefix) {
        const qsizetype n = std::min(kCompareUnits, shorter - prefix - suffix);
        const QString ours = m_storage->textRange(length - suffix - n, n);
        const QStringView theirs = QStringView(text).sliced(text.size() - suffix - n, n);
        qsizetype same = 0;
        while (same < n && ours[n - 1 - same] == theirs[n - 1 - same]) {
            ++same;
        }
        suffix += same;
        if (same < n) {
            break;
        }
    }
    willEdit(prefix, length - prefix - suffix);
    m_storage->setText(text);
    textDidChange();
}

void EditorDocument::replace(qsizetype position, qsizetype removed, const QString &inserted)
{
    const qsizetype length = m_storage->length();
    position = std::clamp<qsizetype>(position, 0, length);
    removed = std::clamp<qsizetype>(removed, 0, length - position);
    if (removed == inserted.size() && m_storage->firstDifference(position, inserted) < 0) {
        return; // nothing changes, including replacing nothing with nothing
    }
    willEdit(position, removed);
    m_storage->replace(position, removed, inserted);
    recordEdit(position, removed, inserted.size());
}

void EditorDocument::willEdit(qsizetype position, qsizetype removed)
{
    if (m_savedUnknown) {
        return;
    }
    const qsizetype length = m_storage->length();
    position = std::clamp<qsizetype>(position, 0, length);
    removed = std::clamp<qsizetype>(removed, 0, length - position);
    const qsizetype end = position + removed;
    if (!m_windowOpen) {
        // Text and saved text are equal: the window is just what goes away.
        m_savedWindow = m_storage->textRange(position, removed);
        m_windowStart = position;
        m_windowTail = length - end;
        m_windowOpen = true;
        m_windowStartsAtDifference = false;
        return;
    }
    // The units newly covered lie outside the window, so they are still the
    // saved ones: copy them before they change.
    if (position <= m_windowStart) {
        m_savedWindow.prepend(m_storage->textRange(position, m_windowStart - position));
        m_windowStart = position;
        m_windowStartsAtDifference = false;
    }
    const qsizetype windowEnd = length - m_windowTail;
    if (end > windowEnd) {
        m_savedWindow.append(m_storage->textRange(windowEnd, end - windowEnd));
        m_windowTail = length - end;
    }
}

void EditorDocument::recordEdit(qsizetype position, qsizetype removed, qsizetype inserted)
{
    if (removed == 0 && inserted == 0) {
        return;
    }
    const qsizetype length = m_storage->length();
    Q_ASSERT(position >= 0 && removed >= 0 && inserted >= 0 && position + inserted <= length);
    // The announcement widened the window over the edit; without one the
    // saved units it replaced are gone.
    const bool announced =
        m_windowOpen && position >= m_windowStart && length - position - inserted >= m_windowTail;
    if (!announced && !m_savedUnknown) {
        qWarning("EditorDocument: an edit at %lld arrived unannounced; the document stays dirty until saved",
                 static_cast<long long>(position));
        m_savedUnknown = true;
    }
    textDidChange();
}

void EditorDocument::recordEdit()
{
    if (!(m_windowOpen && m_windowStart == 0 && m_windowTail == 0) && !m_savedUnknown) {
        qWarning("EditorDocument: the whole text changed unannounced; the document stays dirty until saved");
        m_savedUnknown = true;
    }
    textDidChange();
}

QString EditorDocument::savedText() const
{
    if (!m_windowOpen) {
        return text();
    }
    const qsizetype length = m_storage->length();
    return m_storage->textRange(0, m_windowStart) + m_savedWindow +
           m_storage->textRange(length - m_windowTail, m_windowTail);
}

qsizetype EditorDocument::savedLength() const
{
    return m_windowOpen ? m_windowStart + m_savedWindow.size() + m_windowTail : m_storage->length();
}

void EditorDocument::setSavedText(const QString &savedText)
{
    m_windowOpen = true;
    m_windowStart = 0;
    m_windowTail = 0;
    m_savedWindow = savedText;
    m_windowStartsAtDifference = false;
    m_savedUnknown = false;
    m_dirtyRevision = -1;
    emit savedTextChanged();
}

void EditorDocument::setLoading(bool loading)
{
    if (loading == m_loading) {
        return;
    }
    m_loading = loading;
    emit loadingChanged(m_loading);
}

void EditorDocument::finishLoading(const QString &contents)
{
    const qsizetype length = m_storage->length();
    const bool changed = !(length == contents.size() && m_storage->firstDifference(0, contents) < 0);
    if (changed) {
        if (m_attached) {
            m_storage->setText(contents);
        } else {
            m_storage = std::make_unique<StringTextStorage>(contents);
        }
    }
    finishLoadingWith(changed);
}

void EditorDocument::finishLoading(QList<QByteArray> utf8Blocks)
{
    const bool changed = m_storage->length() > 0 ||
                         std::any_of(utf8Blocks.cbegin(), utf8Blocks.cend(),
                                     [](const QByteArray &block) { return !block.isEmpty(); });
    if (m_attached) {
        m_storage->setUtf8Blocks(std::move(utf8Blocks));
    } else {
        m_storage = std::make_unique<Utf8BlockStorage>(std::move(utf8Blocks));
    }
    finishLoadingWith(changed);
}

void EditorDocument::finishLoadingWith(bool changed)
{
    // Saved text first, so whoever hears of the new text sees it clean.
    markSavedEqualsText();
    if (changed) {
        textDidChange();
    }
    emit savedTextChanged();
    setLoading(false);
}

bool EditorDocument::isDirty() const
{
    if (m_dirtyRevision == m_revision) {
        return m_dirty;
    }
    if (m_savedUnknown) {
        m_dirty = true;
    } else if (!m_windowOpen) {
        m_dirty = false;
    } else if (savedLength() != m_storage->length() || m_windowStartsAtDifference) {
        m_dirty = true;
    } else {
        const qsizetype found = m_storage->firstDifference(m_windowStart, m_savedWindow);
        if (found < 0) {
            // Equal again (an undo back to the saved text): nothing to keep.
            m_windowOpen = false;
            m_savedWindow = QString();
            m_dirty = false;
        } else {
            m_dirty = true;
            m_windowStart += found;
            m_savedWindow.remove(0, found);
            m_windowStartsAtDifference = true;
        }
    }
    m_dirtyRevision = m_revision;
    return m_dirty;
}

void EditorDocument::setEncoding(TextEncoding encoding)
{
    if (encoding == m_encoding) {
        return;
    }
    m_encoding = encoding;
    emit encodingChanged(m_encoding);
}

QString EditorDocument::saveTo(const QUrl &target, AppLanguage language)
{
    const QString written = text();
    const QString error = TextFile::writeAtomically(target.toLocalFile(), written, m_encoding, language);
    if (!error.isEmpty()) {
        return error;
    }
    setUrl(target);
    markSavedEqualsText();
    emit savedTextChanged();
    return {};
}

void EditorDocument::attachStorage(std::unique_ptr<DocumentTextStorage> storage)
{
    Q_ASSERT(storage);
    if (auto *blocks = dynamic_cast<Utf8BlockStorage *>(m_storage.get())) {
        // Block by block, so the program is never held twice in full.
        storage->setUtf8Blocks(blocks->takeBlocks());
    } else {
        storage->setText(m_storage->text());
    }
    m_storage = std::move(storage);
    m_attached = true;
}

std::unique_ptr<DocumentTextStorage> EditorDocument::detachStorage()
{
    if (!m_attached) {
        return nullptr;
    }
    auto plain = std::make_unique<Utf8BlockStorage>(m_storage->utf8Blocks());
    std::unique_ptr<DocumentTextStorage> old = std::exchange(m_storage, std::move(plain));
    m_attached = false;
    return old;
}

void EditorDocument::textDidChange()
{
    ++m_revision;
    emit textChanged(m_revision);
}

void EditorDocument::markSavedEqualsText()
{
    m_windowOpen = false;
    m_windowStart = 0;
    m_windowTail = 0;
    m_savedWindow = QString();
    m_windowStartsAtDifference = false;
    m_savedUnknown = false;
    m_dirtyRevision = m_revision;
    m_dirty = false;
}
