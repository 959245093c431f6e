#pragma once

#include "base/l10n.h"
#include "base/textencoding.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringView>
#include <QUrl>
#include <QUuid>

#include <memory>

// Where the current text of a document lives. The document owns one storage at
// a time. By default that is a plain QString; the editor view attaches its own
// (the widget's gap buffer) so that typing never goes through a copy of the
// whole program. Positions and lengths are in UTF-16 code units, as in QString.
//
// The document calls `setText` and `replace` itself when the text changes from
// outside (a tool, a reload); a storage must not report those back through
// `EditorDocument::willEdit` or `EditorDocument::recordEdit`, or they would
// count twice.
class DocumentTextStorage {
public:
    virtual ~DocumentTextStorage() = default;

    virtual qsizetype length() const = 0;
    // The whole text; for tools, saving, backups and analysis, not per keystroke.
    virtual QString text() const = 0;
    virtual void setText(const QString &text) = 0;
    virtual void replace(qsizetype position, qsizetype removed, const QString &inserted) = 0;
    // Compares the `expected.size()` units starting at `position` with
    // `expected`: the offset (from `position`) of the first unit that differs,
    // or -1 when the whole range is equal. The dirty check calls this only on
    // the part of the text edited since the last save, so a storage should not
    // materialise the rest.
    virtual qsizetype firstDifference(qsizetype position, QStringView expected) const = 0;
    // The `length` units starting at `position`. The document reads the few
    // units an edit is about to overwrite, so a storage should not materialise
    // the rest. Called while the storage's owner is announcing an edit
    // (`EditorDocument::willEdit`): it must not report anything back from here.
    virtual QString textRange(qsizetype position, qsizetype length) const = 0;
    // The text as valid UTF-8 in pieces of a few megabytes, each ending on a
    // whole character, and the replacement of the text by such pieces. A
    // program moves between storages this way so that no full second copy,
    // and never a UTF-16 one, exists on the way. The defaults go through
    // `text()` and `setText()`.
    virtual QList<QByteArray> utf8Blocks() const;
    virtual void setUtf8Blocks(QList<QByteArray> blocks);
};

// The default storage: one implicitly shared QString. Right after a load or a
// save the text and the saved text share one buffer.
class StringTextStorage final : public DocumentTextStorage {
public:
    explicit StringTextStorage(QString text = {}) : m_text(std::move(text)) {}

    qsizetype length() const override { return m_text.size(); }
    QString text() const override { return m_text; }
    void setText(const QString &text) override { m_text = text; }
    void replace(qsizetype position, qsizetype removed, const QString &inserted) override;
    qsizetype firstDifference(qsizetype position, QStringView expected) const override;
    QString textRange(qsizetype position, qsizetype length) const override { return m_text.mid(position, length); }

private:
    QString m_text;
};

// One open program: its text as edited, the text as last read from or written
// to disk, where it lives, and a change counter.
//
// `revision` rises by exactly 1 with every change of the text and never
// otherwise; the editor view and the analysis cache pair it with `id` to tell
// whether what they hold is current. Setting the text it already has changes
// nothing and signals nothing.
//
// The saved text is not kept as a second copy of the program: a 100 MB file
// would cost another 200 MB of UTF-16 for text that is nearly always equal to
// what the editor holds. The document keeps the saved text as a window
// instead: saved = text[0, a) + W + text[L - b, L), where a and b are how many
// leading and trailing units the two share (lower bounds) and W is the saved
// content in between. Right after a load or a save the window is closed: the
// two are equal and W is empty. Before the text changes at `position`,
// removing `removed` units, the window is widened to cover them, copying the
// units it newly covers (still equal to the saved ones) into W; the first edit
// after a save copies only the units it removes. `savedText()` rebuilds the
// whole saved text on demand.
//
// Dirty means exactly "the text differs from savedText"; there is no stored
// flag, so an edit undone back to the saved text is clean again. `isDirty`
// first compares lengths, then compares only the window with W (usually a few
// characters around the edits made since the last save) and caches the answer
// for the current revision. A window found equal closes; a difference found
// in it is remembered: edits after it cannot undo it, so while the user types
// further down the text stays dirty without comparing.
//
// Edits come in two ways. `replace` edits through the document. An attached
// storage's owner (the editor widget) announces each change with `willEdit`
// while the storage still holds the old text, and reports it with `recordEdit`
// once made (several announced changes may be reported as one): the document
// is told where, not given the text. An edit reported without its
// announcement leaves the saved text unknown; the document then counts as
// dirty until the next save or load, never as clean by mistake.
//
// Saving writes the text atomically; a failed save leaves the file on disk and
// the document (url, saved text, dirty state) as they were, and hands the
// system's error text to the caller, which decides how to show it.
//
// Main thread only.
class EditorDocument : public QObject {
    Q_OBJECT

public:
    explicit EditorDocument(QObject *parent = nullptr);
    // A document for a file; it starts loading (empty text, `isLoading` true)
    // until `finishLoading` hands it the contents.
    explicit EditorDocument(const QUrl &url, QObject *parent = nullptr);
    // A document for a file whose contents are already at hand (read ahead):
    // text and saved text from the start, revision 0, not loading.
    EditorDocument(const QUrl &url, const QString &contents, QObject *parent = nullptr);
    ~EditorDocument() override;

    QUuid id() const { return m_id; }

    QUrl url() const { return m_url; }
    bool isUntitled() const { return m_url.isEmpty(); }
    void setUrl(const QUrl &url);
    // The last path component, else the suggested name, else "Untitled" in
    // the interface language.
    QString displayName(AppLanguage language) const;
    // What an untitled document that came from somewhere (a machine) is called
    // until it is saved, and the name offered when saving it ("O1234").
    const QString &suggestedName() const { return m_suggestedName; }
    void setSuggestedName(const QString &name) { m_suggestedName = name; }
    // Lines (0-based) the editor marks as damaged when it shows the document:
    // those a parity or framing error touched on the way from the machine.
    const QList<int> &markedLines() const { return m_markedLines; }
    void setMarkedLines(QList<int> lines) { m_markedLines = std::move(lines); }

    QString text() const;
    qsizetype textLength() const;
    bool isEmpty() const { return textLength() == 0; }
    void setText(const QString &text);
    // Replaces `removed` units at `position` with `inserted` through the storage.
    void replace(qsizetype position, qsizetype removed, const QString &inserted);
    // The attached storage is about to replace `removed` units at `position`
    // and still holds the text before that change.
    void willEdit(qsizetype position, qsizetype removed);
    // The attached storage has already replaced `removed` units at `position`
    // with `inserted` units; account for it. A change of nothing is ignored.
    void recordEdit(qsizetype position, qsizetype removed, qsizetype inserted);
    // The attached storage changed in a way its owner cannot describe; it
    // announced that with `willEdit(0, textLength())` beforehand.
    void recordEdit();

    // Rebuilt from the text and the window; for saving elsewhere and checks,
    // not per keystroke.
    QString savedText() const;
    qsizetype savedLength() const;
    void setSavedText(const QString &savedText);

    qint64 revision() const { return m_revision; }

    bool isLoading() const { return m_loading; }
    void setLoading(bool loading);
    // The file's contents arrived: they become both text and saved text (one
    // shared buffer), and loading ends.
    void finishLoading(const QString &contents);
    // The same for contents read as valid UTF-8 blocks (see
    // DocumentTextStorage::utf8Blocks), which the document keeps as they are
    // or hands on to its attached storage one block at a time.
    void finishLoading(QList<QByteArray> utf8Blocks);

    bool isDirty() const;

    // What the file was read in and is written back in; UTF-8 unless the user
    // chose a code page when opening it.
    TextEncoding encoding() const { return m_encoding; }
    void setEncoding(TextEncoding encoding);

    // Writes the text to `target` atomically, in the document's encoding. On
    // success `url` becomes the target and `savedText` the text written; on
    // failure nothing changes and the system's error text (or, for a character
    // the encoding cannot hold, which one and on which line, in `language`) is
    // returned. Empty on success.
    QString saveTo(const QUrl &target, AppLanguage language = AppLanguage::english);

    // Hands the text over to `storage`: its old contents are replaced by the
    // document's text. Revision and dirty state are unchanged.
    void attachStorage(std::unique_ptr<DocumentTextStorage> storage);
    // Takes the text back into UTF-8 blocks and returns the storage that was
    // attached (null if none was).
    std::unique_ptr<DocumentTextStorage> detachStorage();
    bool hasAttachedStorage() const { return m_attached; }

signals:
    // Views that show the dirty state ask `isDirty` again on `textChanged` and
    // `savedTextChanged`; that is cheap, see above.
    void urlChanged(const QUrl &url);
    // After every change of the text, with the new revision.
    void textChanged(qint64 revision);
    void savedTextChanged();
    void loadingChanged(bool loading);
    void encodingChanged(TextEncoding encoding);

private:
    void textDidChange();
    void markSavedEqualsText();
    void finishLoadingWith(bool changed);

    const QUuid m_id = QUuid::createUuid();
    QUrl m_url;
    QString m_suggestedName;
    QList<int> m_markedLines;
    std::unique_ptr<DocumentTextStorage> m_storage;
    bool m_attached = false;
    qint64 m_revision = 0;
    bool m_loading = false;
    TextEncoding m_encoding = TextEncoding::utf8;

    // The saved text, as a window over the text (see the class comment).
    // Closed: the two are equal. Open: they share the first m_windowStart and
    // the last m_windowTail units, and m_savedWindow is what the saved text
    // has in between.
    mutable bool m_windowOpen = false;
    mutable qsizetype m_windowStart = 0;
    mutable qsizetype m_windowTail = 0;
    mutable QString m_savedWindow;
    // The first unit of the window is known to differ from the saved one.
    mutable bool m_windowStartsAtDifference = false;
    // An edit arrived unannounced: what was saved is no longer known.
    bool m_savedUnknown = false;
    mutable qint64 m_dirtyRevision = -1; // revision the cached answer is for; -1 none
    mutable bool m_dirty = false;
};
