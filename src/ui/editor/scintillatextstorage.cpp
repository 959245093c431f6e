#include "scintillatextstorage.h"

#include "gcodeeditor.h"

ScintillaTextStorage::ScintillaTextStorage(GCodeEditor *editor) : m_editor(editor) {}

ScintillaTextStorage::~ScintillaTextStorage()
{
    // The document is going away with this storage still attached: the editor
    // must stop showing it.
    if (m_editor) {
        m_editor->storageDestroyed(this);
    }
}

qsizetype ScintillaTextStorage::length() const
{
    if (!m_editor) {
        return 0;
    }
    m_editor->flushEdits();
    return m_editor->textLength16();
}

QString ScintillaTextStorage::text() const
{
    return m_editor ? m_editor->wholeText() : QString();
}

void ScintillaTextStorage::setText(const QString &text)
{
    if (m_editor) {
        m_editor->applyExternalText(text);
    }
}

void ScintillaTextStorage::replace(qsizetype position, qsizetype removed, const QString &inserted)
{
    if (m_editor) {
        m_editor->applyExternalReplace(position, removed, inserted);
    }
}

qsizetype ScintillaTextStorage::firstDifference(qsizetype position, QStringView expected) const
{
    if (!m_editor) {
        return expected.isEmpty() ? -1 : 0;
    }
    return m_editor->firstDifference(position, expected);
}

QString ScintillaTextStorage::textRange(qsizetype position, qsizetype length) const
{
    return m_editor ? m_editor->textRange16(position, length) : QString();
}

QList<QByteArray> ScintillaTextStorage::utf8Blocks() const
{
    return m_editor ? m_editor->utf8Blocks() : QList<QByteArray>();
}

void ScintillaTextStorage::setUtf8Blocks(QList<QByteArray> blocks)
{
    if (m_editor) {
        m_editor->applyExternalUtf8(std::move(blocks));
    }
}
