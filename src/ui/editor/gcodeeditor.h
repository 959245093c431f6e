#pragma once

#include "workspace/editordocument.h"
#include "base/l10n.h"

#include <Qsci/qsciscintilla.h>

#include <QHash>
#include <QList>
#include <QPointer>
#include <QUrl>
#include <QUuid>

#include <utility>
#include <vector>

class FindBar;
class LineNumberGutter;
class ScintillaTextStorage;

// The code editor: the text of one EditorDocument in a monospaced,
// non-wrapping view with G-code colouring, undo, a find bar and file drops.
//
// While a document is shown, the widget's own buffer *is* the document's text:
// the editor attaches itself as the document's text storage, so a keystroke
// never copies the program, and the whole text is produced only when a tool,
// a save or the analysis asks for it. Every change the user makes reaches the
// document through recordEdit, one revision per user action (a keystroke, a
// paste, an undo, a replace-all); changes the document makes (a tool, a
// reload) come in through the storage and are never reported back.
//
// Positions towards the document are UTF-16 units; the buffer counts UTF-8
// bytes. The two are translated through the buffer's per-line UTF-16 index,
// so a conversion costs one line, not the text before it.
//
// Colouring is lazy: a pass colours the visible lines plus 8000 characters
// each side, extended to whole lines, and remembers what it coloured so that
// scrolling back costs nothing. At most one pass is queued; a load bumps a
// generation counter that drops a pass queued before it. An edit recolours the
// edited line at once and the rest on the next turn of the event loop.
// Switching between light and dark appearance only changes the style colours.
//
// Main thread only.
class GCodeEditor : public QsciScintilla {
    Q_OBJECT

public:
    // Where the user was in a document, kept while another one is shown.
    struct ViewState {
        qsizetype selectionStart = 0; // UTF-16 units
        qsizetype selectionLength = 0;
        int firstVisibleLine = 0;
        int xOffset = 0; // pixels scrolled to the right
    };

    explicit GCodeEditor(QWidget *parent = nullptr);
    ~GCodeEditor() override;

    // Shows `document` (null: nothing). The document shown before keeps its
    // caret and scroll position for when it comes back, and takes its text
    // back into a string of its own.
    void setDocument(EditorDocument *document);
    EditorDocument *document() const { return m_document; }

    void setEditable(bool editable);
    // The desktop's fixed-pitch font at this size; changes of 0.1 pt or less
    // are ignored so that rounding never restyles the view.
    void setFontSize(double points);
    double fontSize() const { return m_fontSize; }
    // The language of the code tooltips.
    void setLanguage(AppLanguage language);
    AppLanguage language() const { return m_language; }

    // The line-number gutter at the left of the text; hidden at first.
    void setLineNumbersVisible(bool visible);
    bool lineNumbersVisible() const;
    // Its width in pixels, 0 while hidden.
    int lineNumbersWidth() const;

    // Follows the widget's palette: dark when its window colour is dark.
    bool isDarkAppearance() const { return m_dark; }

    // The whole text. Kept until the next change, so repeated navigation
    // over a large program converts it once.
    QString wholeText() const;
    qsizetype textLength16() const
    {
        resolveInsertion();
        return m_length16;
    }
    qsizetype toUtf16(qsizetype bytePosition) const;
    qsizetype toBytes(qsizetype utf16Position) const;

    // The selection in UTF-16 units.
    qsizetype selectionStart16() const;
    qsizetype selectionLength16() const;
    // Selects [start, start + length) in UTF-16 units, scrolls it into view
    // and takes the keyboard focus.
    void selectAndReveal(qsizetype start, qsizetype length);

    // The description shown when the mouse rests on the G or M word at this
    // byte position, or empty.
    QString toolTipAt(qsizetype bytePosition) const;

    // The find bar, shown with or without its replace row.
    void showFindBar(bool withReplace);
    FindBar *findBar() const { return m_findBar; }

    // How many colouring passes have run; lets tests and benchmarks tell a
    // cheap scroll-back from a new pass.
    int colouringPasses() const { return m_colouringPasses; }

    // Reports the user's changes that are still pending to the document now.
    // Input events do this when they end; other callers of the editing API
    // (menus, the find bar) do it on return, or it happens on the next turn
    // of the event loop.
    void flushEdits();

    // Scintilla style number of a colour class with its font variant; the
    // plain class without a variant is the default style 0.
    static int styleFor(int colorClass, bool bold, bool italic);

signals:
    // Files were dropped on the editor; the text is left as it was.
    void filesDropped(const QList<QUrl> &urls);

protected:
    bool event(QEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    friend class ScintillaTextStorage;

    // One change or several changes merged into one, in UTF-16 units of the
    // text as it was before the first of them.
    struct PendingEdit {
        bool active = false;
        qsizetype prefix = 0;    // units before the first changed unit
        qsizetype suffix = 0;    // unchanged units at the end
        qsizetype oldLength = 0; // length before the first change
    };

    // Storage side, called by the document through ScintillaTextStorage.
    void applyExternalText(const QString &text);
    void applyExternalReplace(qsizetype position, qsizetype removed, const QString &inserted);
    void applyExternalUtf8(QList<QByteArray> blocks);
    qsizetype firstDifference(qsizetype position, QStringView expected) const;
    QString textRange16(qsizetype position, qsizetype length) const;
    QList<QByteArray> utf8Blocks() const;
    void storageDestroyed(ScintillaTextStorage *storage);

    void loadText(const QString &text, bool restoring);
    void loadUtf8(QList<QByteArray> blocks, bool restoring);
    void beginLoad();
    void endLoad(const ViewState &current, bool restoring);
    void moveGapToTop();
    void setBufferText(const QString &text);
    ViewState captureViewState() const;
    void saveViewState();
    void restoreViewState(const ViewState *state);

    void onModified(int position, int type, int length);
    void resolveInsertion() const;
    void textDidChange();

    void scheduleVisibleHighlight();
    void highlightVisibleRange();
    void repaintEditedLine();
    void colourBytes(qsizetype start, qsizetype end);
    void applyStyles();
    void applyStyleColours();
    // Tints the lines the document lists as damaged (a parity or framing error
    // on the way from the machine).
    void markDamagedLines();
    static constexpr int kDamagedLineMarker = 20;
    void showDwellTip(int position, int x, int y);

    QPointer<EditorDocument> m_document;
    ScintillaTextStorage *m_storage = nullptr;
    QUuid m_documentId;
    QHash<QUuid, ViewState> m_states;

    double m_fontSize = 0;
    AppLanguage m_language = AppLanguage::english;
    bool m_dark = false;

    // An insertion announced but not yet counted (bytes in the buffer).
    struct Insertion {
        bool active = false;
        qsizetype position = 0;
        qsizetype length = 0;
    };

    mutable qsizetype m_length16 = 0;
    PendingEdit m_pending;
    mutable Insertion m_insertion;
    bool m_flushQueued = false;
    bool m_applyingExternalChange = false;
    // The document is being told of a change about to happen; it may read
    // the text, but nothing may be reported back to it meanwhile.
    bool m_announcingEdit = false;
    bool m_restoreOnLoad = false;
    mutable QString m_textCache;
    mutable bool m_textCacheValid = false;

    // Byte ranges coloured since the last reset: sorted, disjoint, not touching.
    std::vector<std::pair<qsizetype, qsizetype>> m_coloured;
    bool m_highlightScheduled = false;
    qint64 m_loadGeneration = 0;
    int m_colouringPasses = 0;

    FindBar *m_findBar = nullptr;
    LineNumberGutter *m_gutter = nullptr;
};
