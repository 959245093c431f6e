#include "editordocument.h"

#include "textfile.h"

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

} // namespace

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
    : QObject(parent), m_url(url), m_storage(std::make_unique<StringTextStorage>(contents)), m_savedText(contents)
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
    return name.isEmpty() ? L10n::text("Untitled", language) : name;
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
    if (m_storage->length() == text.size() && m_storage->firstDifference(0, text) < 0) {
        return;
    }
    m_storage->setText(text);
    forgetBounds();
    // A tool that finds nothing to change, or a revert, hands back the saved
    // text itself; no need to compare it.
    if (text.size() == m_savedText.size() && text.constData() == m_savedText.constData()) {
        markSavedEqualsText();
    }
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
    m_storage->replace(position, removed, inserted);
    recordEdit(position, removed, inserted.size());
}

void EditorDocument::recordEdit(qsizetype position, qsizetype removed, qsizetype inserted)
{
    if (removed == 0 && inserted == 0) {
        return;
    }
    const qsizetype oldLength = m_storage->length() - inserted + removed;
    Q_ASSERT(position >= 0 && removed >= 0 && inserted >= 0 && position + removed <= oldLength);
    position = std::clamp<qsizetype>(position, 0, oldLength);
    removed = std::clamp<qsizetype>(removed, 0, oldLength - position);
    // Everything before the edit and everything after it is as it was.
    if (position <= m_commonPrefix) {
        m_commonPrefix = position;
        m_prefixEndsAtDifference = false;
    }
    m_commonSuffix = std::min(m_commonSuffix, oldLength - position - removed);
    textDidChange();
}

void EditorDocument::recordEdit()
{
    forgetBounds();
    textDidChange();
}

void EditorDocument::setSavedText(const QString &savedText)
{
    m_savedText = savedText;
    forgetBounds();
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
    setText(contents);
    m_savedText = contents;
    markSavedEqualsText();
    emit savedTextChanged();
    setLoading(false);
}

bool EditorDocument::isDirty() const
{
    if (m_dirtyRevision == m_revision) {
        return m_dirty;
    }
    const qsizetype length = m_storage->length();
    if (length != m_savedText.size() || m_prefixEndsAtDifference) {
        m_dirty = true;
    } else if (m_commonPrefix + m_commonSuffix >= length) {
        m_dirty = false;
    } else {
        const qsizetype middle = length - m_commonPrefix - m_commonSuffix;
        const qsizetype found =
            m_storage->firstDifference(m_commonPrefix, QStringView(m_savedText).mid(m_commonPrefix, middle));
        if (found < 0) {
            m_dirty = false;
            m_commonPrefix = length;
            m_commonSuffix = length;
        } else {
            m_dirty = true;
            m_commonPrefix += found;
            m_prefixEndsAtDifference = true;
        }
    }
    m_dirtyRevision = m_revision;
    return m_dirty;
}

QString EditorDocument::saveTo(const QUrl &target)
{
    const QString written = text();
    const QString error = TextFile::writeAtomically(target.toLocalFile(), written);
    if (!error.isEmpty()) {
        return error;
    }
    setUrl(target);
    m_savedText = written;
    markSavedEqualsText();
    emit savedTextChanged();
    return {};
}

void EditorDocument::attachStorage(std::unique_ptr<DocumentTextStorage> storage)
{
    Q_ASSERT(storage);
    storage->setText(m_storage->text());
    m_storage = std::move(storage);
    m_attached = true;
}

std::unique_ptr<DocumentTextStorage> EditorDocument::detachStorage()
{
    if (!m_attached) {
        return nullptr;
    }
    auto plain = std::make_unique<StringTextStorage>(m_storage->text());
    std::unique_ptr<DocumentTextStorage> old = std::exchange(m_storage, std::move(plain));
    m_attached = false;
    return old;
}

void EditorDocument::textDidChange()
{
    ++m_revision;
    emit textChanged(m_revision);
}

void EditorDocument::forgetBounds()
{
    m_commonPrefix = 0;
    m_commonSuffix = 0;
    m_prefixEndsAtDifference = false;
}

void EditorDocument::markSavedEqualsText()
{
    // Equal texts share all of themselves from either end; the two bounds
    // may overlap, which only means more is known than needed.
    m_commonPrefix = m_storage->length();
    m_commonSuffix = m_commonPrefix;
    m_prefixEndsAtDifference = false;
    m_dirtyRevision = m_revision;
    m_dirty = false;
}
