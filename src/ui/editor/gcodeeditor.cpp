#include "gcodeeditor.h"

#include "theme/varnpalette.h"

#include "findbar.h"
#include "linenumbergutter.h"
#include "scintillatextstorage.h"
#include "theme/appearance.h"

#include "nc/gcodehighlighter.h"
#include "workspace/editordocument.h"

#include "base/textfile.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QFontDatabase>
#include <QMimeData>
#include <QResizeEvent>
#include <QScrollBar>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

// The buffer a loaded program gets: its bytes and room to type. Exactly its
// size would make the first keystroke grow the text and its styles by
// copying them whole (0.4–0.8 s at 100 MB); a sixteenth more is typed into
// for a long time before the buffer grows.
qsizetype roomFor(qsizetype bytes)
{
    return bytes + bytes / 16 + 4096;
}

using ColorClass = GCodeHighlighter::ColorClass;

constexpr qsizetype kMargin = 8000;          // characters coloured beyond each side of the screen
constexpr qsizetype kLoadChunk = 1 << 20;    // UTF-16 units converted per append while loading
constexpr qsizetype kCompareChunk = 1 << 16; // UTF-16 units compared per step
constexpr qsizetype kTakeChunk = 4 << 20;    // bytes per block when the text leaves the buffer
constexpr int kFirstStyle = 40;              // above Scintilla's predefined styles 32..39
constexpr int kDwellMilliseconds = 500;

// The UTF-8 files we show are valid UTF-8 (they came from a QString), so a
// lead byte tells both how many bytes and how many UTF-16 units follow.
int sequenceLength(unsigned char lead)
{
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xF0) {
        return 4;
    }
    if (lead >= 0xE0) {
        return 3;
    }
    return lead >= 0xC0 ? 2 : 1;
}

// A chunk end that does not split a surrogate pair.
qsizetype chunkEnd(QStringView text, qsizetype from, qsizetype size)
{
    qsizetype end = std::min(text.size(), from + size);
    if (end < text.size() && end > from && text[end - 1].isHighSurrogate()) {
        --end;
    }
    return end;
}

QColor rgb(quint32 value)
{
    return QColor(int((value >> 16) & 0xFF), int((value >> 8) & 0xFF), int(value & 0xFF));
}

// The editing component's own accessibility interface turns every caret move,
// insert and delete into a count of the characters from the start of the text
// to the caret: 0.4 s per keystroke in the middle of a 100 MB program, even
// with no screen reader listening (Qt creates the interface on the first focus
// event regardless). While no assistive technology is active the editor is
// described as a plain editable widget instead, which costs nothing; with one
// active, the full text interface is kept.
QAccessibleInterface *plainEditorAccessible(const QString &className, QObject *object)
{
    if (className != QLatin1String("GCodeEditor") || QAccessible::isActive() || !object->isWidgetType()) {
        return nullptr;
    }
    return new QAccessibleWidget(static_cast<QWidget *>(object), QAccessible::EditableText);
}

} // namespace

GCodeEditor::GCodeEditor(QWidget *parent) : QsciScintilla(parent)
{
    // Factories asked last-installed first, so this one wins over the component's.
    static const bool accessibleInstalled = [] {
        QAccessible::installFactory(plainEditorAccessible);
        return true;
    }();
    Q_UNUSED(accessibleInstalled);
    SendScintilla(SCI_SETCODEPAGE, SC_CP_UTF8);
    // No lexer: styles are ours alone and nothing restyles text behind our back.
    SendScintilla(SCI_SETLEXER, 0UL /* SCLEX_CONTAINER */);
    SendScintilla(SCI_SETWRAPMODE, SC_WRAP_NONE);
    SendScintilla(SCI_SETSCROLLWIDTH, 1UL);
    SendScintilla(SCI_SETSCROLLWIDTHTRACKING, 1UL);
    SendScintilla(SCI_SETMARGINS, 0UL);
    SendScintilla(SCI_SETMARGINLEFT, 0UL, 6L);
    SendScintilla(SCI_SETMARGINRIGHT, 0UL, 6L);
    SendScintilla(SCI_SETEXTRAASCENT, 1L);
    SendScintilla(SCI_SETEXTRADESCENT, 1L);
    setMarginWidth(0, 0);
    setMarginWidth(1, 0);
    setMarginWidth(2, 0);
    SendScintilla(SCI_SETMOUSEDWELLTIME, kDwellMilliseconds);
    // The buffer keeps a UTF-16 start for every line, updated with each edit,
    // so a position converts between bytes and UTF-16 at the cost of one line.
    SendScintilla(SCI_ALLOCATELINECHARACTERINDEX, SC_LINECHARACTERINDEX_UTF16);
    // Only the "before" notifications: this widget answers an insert or delete
    // notification with work proportional to the whole text (28 ms per
    // keystroke at 10 MB), which "before" notifications do not cost. They
    // carry all we need, the position and the size of the change.
    SendScintilla(SCI_SETMODEVENTMASK, SC_MOD_BEFOREINSERT | SC_MOD_BEFOREDELETE);
    connect(this, &QsciScintillaBase::SCN_MODIFIED, this,
            [this](int position, int type, const char *, int length, int, int, int, int, int, int) {
                onModified(position, type, length);
            });
    connect(this, &QsciScintillaBase::SCN_DWELLSTART, this, &GCodeEditor::showDwellTip);
    connect(this, &QsciScintillaBase::SCN_DWELLEND, this, [] { QToolTip::hideText(); });
    // Scrolling by any means (wheel, keys, scroll bar, the caret, our own
    // calls) ends in an update notification; the scroll bar alone stays quiet
    // when the view moves itself.
    connect(this, &QsciScintillaBase::SCN_UPDATEUI, this, [this](int updated) {
        if (updated & (SC_UPDATE_V_SCROLL | SC_UPDATE_H_SCROLL)) {
            scheduleVisibleHighlight();
        }
        m_gutter->refresh();
    });
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { scheduleVisibleHighlight(); });

    setAcceptDrops(true);
    viewport()->setAcceptDrops(true);

    m_gutter = new LineNumberGutter(this);
    m_dark = Appearance::isDark(palette());
    setFontSize(QFontDatabase::systemFont(QFontDatabase::FixedFont).pointSizeF());

    m_findBar = new FindBar(this);
    m_findBar->hide();
}

GCodeEditor::~GCodeEditor()
{
    // Give the document its text back while the buffer still exists.
    if (m_document && m_storage) {
        flushEdits();
        m_storage = nullptr;
        m_document->detachStorage();
    }
}

int GCodeEditor::styleFor(int colorClass, bool bold, bool italic)
{
    if (colorClass == int(ColorClass::plain) && !bold && !italic) {
        return 0;
    }
    return kFirstStyle + colorClass * 3 + (bold ? 1 : italic ? 2 : 0);
}

// ---- document and storage ------------------------------------------------------------------------

void GCodeEditor::setDocument(EditorDocument *document)
{
    if (document == m_document && (document == nullptr || m_storage)) {
        return;
    }
    flushEdits();
    if (m_document && m_storage) {
        saveViewState();
        m_storage = nullptr;
        m_document->detachStorage(); // reads the text out of the buffer; the old storage goes
    }
    m_document = document;
    m_documentId = document ? document->id() : QUuid();
    if (!document) {
        loadText(QString(), false);
        return;
    }
    auto storage = std::make_unique<ScintillaTextStorage>(this);
    m_storage = storage.get();
    m_restoreOnLoad = true;
    document->attachStorage(std::move(storage)); // hands the text over through applyExternalText
    m_restoreOnLoad = false;
    markDamagedLines();
}

void GCodeEditor::storageDestroyed(ScintillaTextStorage *storage)
{
    if (storage != m_storage) {
        return;
    }
    // The document is being destroyed: forget it and show nothing.
    m_storage = nullptr;
    m_states.remove(m_documentId);
    m_document = nullptr;
    m_documentId = QUuid();
    m_pending = {};
    m_insertion = {};
    loadText(QString(), false);
}

void GCodeEditor::applyExternalText(const QString &text)
{
    loadText(text, m_restoreOnLoad);
}

void GCodeEditor::applyExternalUtf8(QList<QByteArray> blocks)
{
    loadUtf8(std::move(blocks), m_restoreOnLoad);
}

void GCodeEditor::applyExternalReplace(qsizetype position, qsizetype removed, const QString &inserted)
{
    flushEdits();
    const qsizetype from = toBytes(position);
    const qsizetype to = toBytes(position + removed);
    const QByteArray utf8 = inserted.toUtf8();
    m_applyingExternalChange = true;
    SendScintilla(SCI_SETUNDOCOLLECTION, 0UL);
    SendScintilla(SCI_SETTARGETRANGE, static_cast<unsigned long>(from), static_cast<long>(to));
    SendScintilla(SCI_REPLACETARGET, static_cast<uintptr_t>(utf8.size()), utf8.constData());
    // Undo never reaches behind a change the program made.
    SendScintilla(SCI_EMPTYUNDOBUFFER);
    SendScintilla(SCI_SETUNDOCOLLECTION, 1UL);
    m_applyingExternalChange = false;
    m_length16 += inserted.size() - removed;
    m_textCacheValid = false;
    ++m_loadGeneration;
    m_highlightScheduled = false;
    m_coloured.clear();
    scheduleVisibleHighlight();
}

qsizetype GCodeEditor::firstDifference(qsizetype position, QStringView expected) const
{
    const_cast<GCodeEditor *>(this)->flushEdits();
    qsizetype byte = toBytes(position);
    const qsizetype byteLength = SendScintilla(SCI_GETLENGTH);
    for (qsizetype from = 0; from < expected.size();) {
        const qsizetype to = chunkEnd(expected, from, kCompareChunk);
        const QByteArray want = expected.sliced(from, to - from).toUtf8();
        const qsizetype available = std::min<qsizetype>(want.size(), byteLength - byte);
        const auto *have = reinterpret_cast<const char *>(SendScintilla(
            SCI_GETRANGEPOINTER, static_cast<unsigned long>(byte), static_cast<long>(available)));
        if (available < want.size() || std::memcmp(have, want.constData(), size_t(want.size())) != 0) {
            const QString ours = TextFile::decodeVerbatim(QByteArrayView(have, available));
            const QStringView theirs = expected.sliced(from, to - from);
            const qsizetype n = std::min(ours.size(), theirs.size());
            const auto found = std::mismatch(ours.begin(), ours.begin() + n, theirs.begin());
            return from + (found.first - ours.begin());
        }
        byte += want.size();
        from = to;
    }
    return -1;
}

QString GCodeEditor::textRange16(qsizetype position, qsizetype length) const
{
    // No flush: the document reads here while an edit is being announced.
    const qsizetype from = toBytes(position);
    const qsizetype to = toBytes(position + length);
    if (to <= from) {
        return QString();
    }
    const auto *bytes = reinterpret_cast<const char *>(
        SendScintilla(SCI_GETRANGEPOINTER, static_cast<unsigned long>(from), static_cast<long>(to - from)));
    return TextFile::decodeVerbatim(QByteArrayView(bytes, to - from));
}

QList<QByteArray> GCodeEditor::utf8Blocks() const
{
    const_cast<GCodeEditor *>(this)->flushEdits();
    const qsizetype length = SendScintilla(SCI_GETLENGTH);
    const auto *bytes = static_cast<const char *>(SendScintillaPtrResult(SCI_GETCHARACTERPOINTER));
    QList<QByteArray> blocks;
    for (qsizetype from = 0; from < length;) {
        qsizetype to = std::min(length, from + kTakeChunk);
        if (to < length) {
            // Whole lines where there is a line break, whole characters always.
            const auto *lineEnd =
                static_cast<const char *>(std::memchr(bytes + from, '\n', size_t(to - from)));
            if (lineEnd) {
                for (const char *p = bytes + to - 1; p >= lineEnd; --p) {
                    if (*p == '\n') {
                        to = p - bytes + 1;
                        break;
                    }
                }
            } else {
                while (to > from + 1 && (static_cast<unsigned char>(bytes[to]) & 0xC0) == 0x80) {
                    --to;
                }
            }
        }
        blocks.append(QByteArray(bytes + from, to - from));
        from = to;
    }
    return blocks;
}

QString GCodeEditor::wholeText() const
{
    const_cast<GCodeEditor *>(this)->flushEdits();
    if (!m_textCacheValid) {
        const qsizetype length = SendScintilla(SCI_GETLENGTH);
        const auto *bytes = static_cast<const char *>(SendScintillaPtrResult(SCI_GETCHARACTERPOINTER));
        m_textCache = length > 0 ? TextFile::decodeVerbatim(QByteArrayView(bytes, length)) : QString();
        m_textCacheValid = true;
    }
    return m_textCache;
}

qsizetype GCodeEditor::toUtf16(qsizetype bytePosition) const
{
    const qsizetype length = SendScintilla(SCI_GETLENGTH);
    bytePosition = std::clamp<qsizetype>(bytePosition, 0, length);
    const long line = SendScintilla(SCI_LINEFROMPOSITION, static_cast<unsigned long>(bytePosition));
    const long lineStart = SendScintilla(SCI_POSITIONFROMLINE, static_cast<unsigned long>(line));
    return SendScintilla(SCI_INDEXPOSITIONFROMLINE, static_cast<unsigned long>(line),
                         long(SC_LINECHARACTERINDEX_UTF16)) +
           SendScintilla(SCI_COUNTCODEUNITS, static_cast<unsigned long>(lineStart),
                         static_cast<long>(bytePosition));
}

qsizetype GCodeEditor::toBytes(qsizetype utf16Position) const
{
    resolveInsertion();
    utf16Position = std::clamp<qsizetype>(utf16Position, 0, m_length16);
    if (utf16Position == m_length16) {
        return SendScintilla(SCI_GETLENGTH);
    }
    const long line = SendScintilla(SCI_LINEFROMINDEXPOSITION, static_cast<unsigned long>(utf16Position),
                                    long(SC_LINECHARACTERINDEX_UTF16));
    const long lineStart16 = SendScintilla(SCI_INDEXPOSITIONFROMLINE, static_cast<unsigned long>(line),
                                           long(SC_LINECHARACTERINDEX_UTF16));
    const long lineStart = SendScintilla(SCI_POSITIONFROMLINE, static_cast<unsigned long>(line));
    if (utf16Position == lineStart16) {
        return lineStart;
    }
    return SendScintilla(SCI_POSITIONRELATIVECODEUNITS, static_cast<unsigned long>(lineStart),
                         static_cast<long>(utf16Position - lineStart16));
}

// ---- loading and view state ----------------------------------------------------------------------

void GCodeEditor::beginLoad()
{
    ++m_loadGeneration;
    Q_ASSERT(m_loadGeneration > 0); // overflow would let stale passes through
    m_highlightScheduled = false;
    m_coloured.clear();
    m_pending = {};
    m_insertion = {};
}

void GCodeEditor::loadText(const QString &text, bool restoring)
{
    const ViewState current = captureViewState();
    beginLoad();
    m_applyingExternalChange = true;
    setBufferText(text);
    m_applyingExternalChange = false;
    m_length16 = text.size();
    m_textCache = text;
    m_textCacheValid = true;
    endLoad(current, restoring);
}

void GCodeEditor::loadUtf8(QList<QByteArray> blocks, bool restoring)
{
    const ViewState current = captureViewState();
    beginLoad();
    qsizetype bytes = 0;
    for (const QByteArray &block : std::as_const(blocks)) {
        bytes += block.size();
    }
    // Each block is released once it is in the buffer, so the program is
    // never held twice in full; no undo record either (a copy of it all).
    m_applyingExternalChange = true;
    SendScintilla(SCI_SETUNDOCOLLECTION, 0UL);
    SendScintilla(SCI_CLEARALL);
    SendScintilla(SCI_ALLOCATE, static_cast<unsigned long>(roomFor(bytes)));
    qsizetype units = 0;
    bool crlf = false;
    bool breakSeen = false;
    char previous = 0;
    while (!blocks.isEmpty()) {
        const QByteArray block = blocks.takeFirst();
        if (block.isEmpty()) {
            continue;
        }
        if (!breakSeen) {
            const qsizetype firstBreak = block.indexOf('\n');
            if (firstBreak >= 0) {
                breakSeen = true;
                crlf = (firstBreak > 0 ? block.at(firstBreak - 1) : previous) == '\r';
            }
        }
        previous = block.back();
        units += TextFile::utf16Length(block);
        SendScintilla(SCI_APPENDTEXT, static_cast<uintptr_t>(block.size()), block.constData());
    }
    moveGapToTop();
    SendScintilla(SCI_EMPTYUNDOBUFFER);
    SendScintilla(SCI_SETUNDOCOLLECTION, 1UL);
    SendScintilla(SCI_SETSAVEPOINT);
    // New lines typed follow the file's own convention.
    SendScintilla(SCI_SETEOLMODE, crlf ? SC_EOL_CRLF : SC_EOL_LF);
    m_applyingExternalChange = false;
    m_length16 = units;
    m_textCache = QString();
    m_textCacheValid = false;
    endLoad(current, restoring);
}

void GCodeEditor::endLoad(const ViewState &current, bool restoring)
{
    if (restoring) {
        const auto saved = m_states.constFind(m_documentId);
        restoreViewState(saved == m_states.constEnd() ? nullptr : &*saved);
    } else {
        restoreViewState(&current);
    }
    scheduleVisibleHighlight();
}

void GCodeEditor::moveGapToTop()
{
    // Appending leaves the buffer's gap at the end of the text, and the first
    // keystroke at the top would move all of it (19 ms at 100 MB): move it
    // now, while the program is still opening. Undo is off and the change is
    // the loader's own.
    if (SendScintilla(SCI_GETLENGTH) > 0) {
        SendScintilla(SCI_INSERTTEXT, 0UL, " ");
        SendScintilla(SCI_DELETERANGE, 0UL, 1UL);
    }
}

void GCodeEditor::setBufferText(const QString &text)
{
    // The text goes in without an undo record (a copy of the whole program)
    // and in slices, so no second full-size UTF-8 copy exists at any time.
    SendScintilla(SCI_SETUNDOCOLLECTION, 0UL);
    SendScintilla(SCI_CLEARALL);
    qsizetype bytes = 0;
    for (qsizetype from = 0; from < text.size();) {
        const qsizetype to = chunkEnd(text, from, kLoadChunk);
        const QByteArray chunk = QStringView(text).sliced(from, to - from).toUtf8();
        if (from == 0) {
            // Most programs are ASCII; reserve for that at once.
            SendScintilla(SCI_ALLOCATE, static_cast<unsigned long>(roomFor(text.size())));
        }
        SendScintilla(SCI_APPENDTEXT, static_cast<uintptr_t>(chunk.size()), chunk.constData());
        bytes += chunk.size();
        from = to;
    }
    moveGapToTop();
    SendScintilla(SCI_EMPTYUNDOBUFFER);
    SendScintilla(SCI_SETUNDOCOLLECTION, 1UL);
    SendScintilla(SCI_SETSAVEPOINT);
    // New lines typed follow the file's own convention.
    const qsizetype firstBreak = text.indexOf(QLatin1Char('\n'));
    const bool crlf = firstBreak > 0 && text[firstBreak - 1] == QLatin1Char('\r');
    SendScintilla(SCI_SETEOLMODE, crlf ? SC_EOL_CRLF : SC_EOL_LF);
    Q_UNUSED(bytes);
}

GCodeEditor::ViewState GCodeEditor::captureViewState() const
{
    ViewState state;
    state.selectionStart = selectionStart16();
    state.selectionLength = selectionLength16();
    state.firstVisibleLine = int(SendScintilla(SCI_GETFIRSTVISIBLELINE));
    state.xOffset = int(SendScintilla(SCI_GETXOFFSET));
    return state;
}

void GCodeEditor::saveViewState()
{
    if (!m_documentId.isNull()) {
        m_states.insert(m_documentId, captureViewState());
    }
}

void GCodeEditor::restoreViewState(const ViewState *state)
{
    const ViewState none;
    const ViewState &s = state ? *state : none;
    const qsizetype start = std::min(s.selectionStart, m_length16);
    const qsizetype length = std::min(m_length16 - start, s.selectionLength);
    SendScintilla(SCI_SETSEL, static_cast<unsigned long>(toBytes(start)),
                  static_cast<long>(toBytes(start + length)));
    SendScintilla(SCI_SETFIRSTVISIBLELINE, static_cast<unsigned long>(std::max(0, s.firstVisibleLine)));
    SendScintilla(SCI_SETXOFFSET, static_cast<unsigned long>(std::max(0, s.xOffset)));
}

qsizetype GCodeEditor::selectionStart16() const
{
    return toUtf16(SendScintilla(SCI_GETSELECTIONSTART));
}

qsizetype GCodeEditor::selectionLength16() const
{
    return toUtf16(SendScintilla(SCI_GETSELECTIONEND)) - selectionStart16();
}

void GCodeEditor::selectAndReveal(qsizetype start, qsizetype length)
{
    const qsizetype from = toBytes(start);
    const qsizetype to = toBytes(start + length);
    SendScintilla(SCI_SETSEL, static_cast<unsigned long>(from), static_cast<long>(to));
    // Show the whole range where it fits, its start where it does not.
    SendScintilla(SCI_SCROLLRANGE, static_cast<unsigned long>(to), static_cast<long>(from));
    setFocus(Qt::OtherFocusReason);
}

// ---- inputs --------------------------------------------------------------------------------------

void GCodeEditor::setEditable(bool editable)
{
    setReadOnly(!editable);
}

void GCodeEditor::setFontSize(double points)
{
    if (points <= 0 || std::abs(points - m_fontSize) <= 0.1) {
        return;
    }
    m_fontSize = points;
    applyStyles();
    // The colours stay valid (they live per style, not per character); only
    // a queued pass measured for the old line height is stale.
    ++m_loadGeneration;
    m_highlightScheduled = false;
    m_coloured.clear();
    scheduleVisibleHighlight();
}

void GCodeEditor::setLanguage(AppLanguage language)
{
    if (language == m_language) {
        return;
    }
    m_language = language;
    // Tooltips are looked up when shown, so only the pass bookkeeping restarts.
    ++m_loadGeneration;
    m_highlightScheduled = false;
    m_coloured.clear();
    scheduleVisibleHighlight();
}

void GCodeEditor::applyStyles()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(m_fontSize);
    const QByteArray family = font.family().toUtf8();
    SendScintilla(SCI_STYLESETFONT, static_cast<uintptr_t>(STYLE_DEFAULT), family.constData());
    SendScintilla(SCI_STYLESETSIZEFRACTIONAL, static_cast<unsigned long>(STYLE_DEFAULT),
                  long(std::lround(m_fontSize * double(int(SC_FONT_SIZE_MULTIPLIER)))));
    SendScintilla(SCI_STYLESETBOLD, static_cast<unsigned long>(STYLE_DEFAULT), 0L);
    SendScintilla(SCI_STYLESETITALIC, static_cast<unsigned long>(STYLE_DEFAULT), 0L);
    SendScintilla(SCI_STYLECLEARALL);
    for (ColorClass color : GCodeHighlighter::allColorClasses) {
        for (int variant = 0; variant < 3; ++variant) {
            const int style = styleFor(int(color), variant == 1, variant == 2);
            SendScintilla(SCI_STYLESETBOLD, static_cast<unsigned long>(style), long(variant == 1));
            SendScintilla(SCI_STYLESETITALIC, static_cast<unsigned long>(style), long(variant == 2));
        }
    }
    applyStyleColours();
}

void GCodeEditor::applyStyleColours()
{
    const QPalette p = palette();
    const QColor paper = p.color(QPalette::Base);
    const auto plain = GCodeHighlighter::colorValues(ColorClass::plain);
    const QColor text = rgb(m_dark ? plain.dark : plain.light);
    SendScintilla(SCI_STYLESETFORE, static_cast<unsigned long>(STYLE_DEFAULT), text);
    SendScintilla(SCI_STYLESETBACK, static_cast<unsigned long>(STYLE_DEFAULT), paper);
    for (ColorClass color : GCodeHighlighter::allColorClasses) {
        const auto pair = GCodeHighlighter::colorValues(color);
        const QColor fore = rgb(m_dark ? pair.dark : pair.light);
        for (int variant = 0; variant < 3; ++variant) {
            const int style = styleFor(int(color), variant == 1, variant == 2);
            SendScintilla(SCI_STYLESETFORE, static_cast<unsigned long>(style), fore);
            SendScintilla(SCI_STYLESETBACK, static_cast<unsigned long>(style), paper);
        }
    }
    SendScintilla(SCI_SETCARETFORE, text);
    SendScintilla(SCI_SETSELFORE, 0UL, 0L);
    SendScintilla(SCI_SETSELBACK, 1UL,
                  p.color(QPalette::Active, QPalette::Highlight).lighter(m_dark ? 80 : 160));
    SendScintilla(SCI_SETCARETLINEVISIBLE, 0UL);
    // Lines damaged on the way from the machine: a tinted line, readable in
    // both appearances.
    const QColor danger = VarnPalette::danger();
    const auto mix = [&](int a, int b) { return (a + 3 * b) / 4; };
    const QColor damaged(mix(danger.red(), paper.red()), mix(danger.green(), paper.green()),
                         mix(danger.blue(), paper.blue()));
    SendScintilla(SCI_MARKERDEFINE, static_cast<unsigned long>(kDamagedLineMarker), long(SC_MARK_BACKGROUND));
    SendScintilla(SCI_MARKERSETBACK, static_cast<unsigned long>(kDamagedLineMarker), damaged);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(m_fontSize);
    if (m_gutter) { // palette changes may arrive while the constructor runs
        m_gutter->restyle(font, paper, text);
    }
}

void GCodeEditor::markDamagedLines()
{
    SendScintilla(SCI_MARKERDELETEALL, static_cast<unsigned long>(kDamagedLineMarker));
    if (!m_document) {
        return;
    }
    for (const int line : m_document->markedLines()) {
        SendScintilla(SCI_MARKERADD, static_cast<unsigned long>(line), long(kDamagedLineMarker));
    }
}

void GCodeEditor::setLineNumbersVisible(bool visible)
{
    m_gutter->setVisible(visible);
}

bool GCodeEditor::lineNumbersVisible() const
{
    return m_gutter->isVisible();
}

int GCodeEditor::lineNumbersWidth() const
{
    return m_gutter->width();
}

// ---- edits ---------------------------------------------------------------------------------------

void GCodeEditor::onModified(int position, int type, int length)
{
    if (m_applyingExternalChange) {
        return;
    }
    // The buffer is about to change and still holds the text the change
    // applies to: measure it in UTF-16 now. An insertion before this one is
    // in the buffer by now and can be counted.
    resolveInsertion();
    const bool inserting = type & SC_MOD_BEFOREINSERT;
    if ((!inserting && !(type & SC_MOD_BEFOREDELETE)) || length == 0) {
        return;
    }
    const qsizetype at = toUtf16(position);
    const qsizetype removed = inserting
                                  ? 0
                                  : SendScintilla(SCI_COUNTCODEUNITS, static_cast<unsigned long>(position),
                                                  static_cast<long>(position + length));
    if (m_document && m_storage) {
        // The document copies what it needs of the saved text while the
        // buffer still holds it. Changes already pending stay pending: one
        // user action is one revision.
        m_announcingEdit = true;
        m_document->willEdit(at, removed);
        m_announcingEdit = false;
    }
    if (inserting) {
        // The notification does not carry the text, so the inserted units
        // are counted once they are in the buffer.
        m_insertion = {true, position, length};
    }
    // Several changes before one report merge into one: what lies before the
    // first touched unit and after the last one is unchanged.
    const qsizetype after = m_length16 - at - removed;
    if (!m_pending.active) {
        m_pending = {true, at, after, m_length16};
    } else {
        m_pending.prefix = std::min(m_pending.prefix, at);
        m_pending.suffix = std::min(m_pending.suffix, after);
    }
    m_length16 -= removed;
    m_textCacheValid = false;
    if (!m_flushQueued) {
        m_flushQueued = true;
        QMetaObject::invokeMethod(
            this,
            [this] {
                m_flushQueued = false;
                flushEdits();
            },
            Qt::QueuedConnection);
    }
}

void GCodeEditor::resolveInsertion() const
{
    if (!m_insertion.active) {
        return;
    }
    const Insertion insertion = std::exchange(m_insertion, {});
    m_length16 += SendScintilla(SCI_COUNTCODEUNITS, static_cast<unsigned long>(insertion.position),
                                static_cast<long>(insertion.position + insertion.length));
}

void GCodeEditor::flushEdits()
{
    if (!m_pending.active || m_announcingEdit) {
        return;
    }
    resolveInsertion();
    const PendingEdit edit = std::exchange(m_pending, {});
    textDidChange();
    if (m_document && m_storage) {
        m_document->recordEdit(edit.prefix, edit.oldLength - edit.suffix - edit.prefix,
                               m_length16 - edit.suffix - edit.prefix);
    }
    scheduleVisibleHighlight();
}

void GCodeEditor::textDidChange()
{
    // The whole set, not only the edited part: the next pass recolours all of
    // what is visible, since positions after the edit have moved.
    m_coloured.clear();
    repaintEditedLine();
}

void GCodeEditor::repaintEditedLine()
{
    const qsizetype length = SendScintilla(SCI_GETLENGTH);
    if (length == 0) {
        return;
    }
    const qsizetype caret = std::min<qsizetype>(SendScintilla(SCI_GETSELECTIONSTART), length);
    const long line = SendScintilla(SCI_LINEFROMPOSITION, static_cast<unsigned long>(caret));
    const qsizetype start = SendScintilla(SCI_POSITIONFROMLINE, static_cast<unsigned long>(line));
    const long lines = SendScintilla(SCI_GETLINECOUNT);
    const qsizetype end =
        line + 1 < lines ? SendScintilla(SCI_POSITIONFROMLINE, static_cast<unsigned long>(line + 1)) : length;
    colourBytes(start, end);
}

// ---- colouring -----------------------------------------------------------------------------------

void GCodeEditor::scheduleVisibleHighlight()
{
    if (m_highlightScheduled) {
        return;
    }
    m_highlightScheduled = true;
    const qint64 generation = m_loadGeneration;
    QMetaObject::invokeMethod(
        this,
        [this, generation] {
            m_highlightScheduled = false;
            if (generation == m_loadGeneration) {
                highlightVisibleRange();
            }
        },
        Qt::QueuedConnection);
}

void GCodeEditor::highlightVisibleRange()
{
    const qsizetype length = SendScintilla(SCI_GETLENGTH);
    if (length == 0) {
        return;
    }
    const long lines = SendScintilla(SCI_GETLINECOUNT);
    const long first = SendScintilla(SCI_DOCLINEFROMVISIBLE, SendScintilla(SCI_GETFIRSTVISIBLELINE));
    const long last = std::min<long>(lines - 1, first + SendScintilla(SCI_LINESONSCREEN));
    const qsizetype visibleStart = SendScintilla(SCI_POSITIONFROMLINE, static_cast<unsigned long>(first));
    const qsizetype visibleEnd = SendScintilla(SCI_GETLINEENDPOSITION, static_cast<unsigned long>(last));

    // The margin is counted in UTF-16 units like everything the document sees.
    // Moving past either end answers 0, which is right only for the start.
    qsizetype start = SendScintilla(SCI_POSITIONRELATIVECODEUNITS, static_cast<unsigned long>(visibleStart),
                                    static_cast<long>(-kMargin));
    qsizetype end = SendScintilla(SCI_POSITIONRELATIVECODEUNITS, static_cast<unsigned long>(visibleEnd),
                                  static_cast<long>(kMargin));
    if (end <= 0) {
        end = length;
    }
    // Whole lines only: a word cut at the range's edge would read as another word.
    start = SendScintilla(
        SCI_POSITIONFROMLINE,
        static_cast<unsigned long>(SendScintilla(SCI_LINEFROMPOSITION, static_cast<unsigned long>(start))));
    const long endLine =
        SendScintilla(SCI_LINEFROMPOSITION, static_cast<unsigned long>(std::max(start, end - 1)));
    end = endLine + 1 < lines ? SendScintilla(SCI_POSITIONFROMLINE, static_cast<unsigned long>(endLine + 1))
                              : length;

    const auto covering =
        std::upper_bound(m_coloured.begin(), m_coloured.end(), start,
                         [](qsizetype value, const auto &range) { return value < range.first; });
    if (covering != m_coloured.begin() && std::prev(covering)->second >= end) {
        return; // seen before: nothing changed since
    }
    colourBytes(start, end);
    ++m_colouringPasses;

    // Remember [start, end), merged with every range it touches.
    auto first_ = std::lower_bound(m_coloured.begin(), m_coloured.end(), start,
                                   [](const auto &range, qsizetype value) { return range.second < value; });
    auto last_ = first_;
    qsizetype mergedStart = start;
    qsizetype mergedEnd = end;
    while (last_ != m_coloured.end() && last_->first <= end) {
        mergedStart = std::min(mergedStart, last_->first);
        mergedEnd = std::max(mergedEnd, last_->second);
        ++last_;
    }
    first_ = m_coloured.erase(first_, last_);
    m_coloured.insert(first_, {mergedStart, mergedEnd});
}

void GCodeEditor::colourBytes(qsizetype start, qsizetype end)
{
    if (end <= start) {
        return;
    }
    QByteArray bytes(end - start + 1, Qt::Uninitialized);
    SendScintilla(SCI_GETTEXTRANGE, long(start), long(end), bytes.data());
    bytes.truncate(end - start);
    const QString text = TextFile::decodeVerbatim(bytes);
    const auto result = GCodeHighlighter::spans(text, 0, text.size(), m_language);

    // Runs count UTF-16 units; styles are per byte.
    QByteArray styles(bytes.size(), 0);
    qsizetype byte = 0;
    qsizetype unit = 0;
    for (const GCodeHighlighter::Run &run : result.runs) {
        const char style = char(styleFor(int(run.color), run.bold, run.italic));
        const qsizetype runEnd = run.start + run.length;
        while (unit < runEnd && byte < bytes.size()) {
            const int n = sequenceLength(static_cast<unsigned char>(bytes[byte]));
            const qsizetype take = std::min<qsizetype>(n, bytes.size() - byte);
            std::memset(styles.data() + byte, style, size_t(take));
            byte += take;
            unit += n == 4 ? 2 : 1;
        }
    }
    SendScintilla(SCI_STARTSTYLING, static_cast<unsigned long>(start), 0L);
    SendScintilla(SCI_SETSTYLINGEX, static_cast<uintptr_t>(styles.size()), styles.constData());
}

QString GCodeEditor::toolTipAt(qsizetype bytePosition) const
{
    const qsizetype length = SendScintilla(SCI_GETLENGTH);
    if (bytePosition < 0 || bytePosition >= length) {
        return {};
    }
    const long line = SendScintilla(SCI_LINEFROMPOSITION, static_cast<unsigned long>(bytePosition));
    const qsizetype start = SendScintilla(SCI_POSITIONFROMLINE, static_cast<unsigned long>(line));
    const qsizetype end = SendScintilla(SCI_GETLINEENDPOSITION, static_cast<unsigned long>(line));
    QByteArray bytes(end - start + 1, Qt::Uninitialized);
    SendScintilla(SCI_GETTEXTRANGE, long(start), long(end), bytes.data());
    bytes.truncate(end - start);
    const QString text = TextFile::decodeVerbatim(bytes);
    const qsizetype at = TextFile::utf16Length(QByteArrayView(bytes.constData(), bytePosition - start));
    for (const auto &tip : GCodeHighlighter::spans(text, 0, text.size(), m_language).tooltips) {
        if (at >= tip.start && at < tip.start + tip.length) {
            return tip.text;
        }
    }
    return {};
}

void GCodeEditor::showDwellTip(int position, int x, int y)
{
    const QString tip = toolTipAt(position);
    if (tip.isEmpty()) {
        QToolTip::hideText();
        return;
    }
    QToolTip::showText(viewport()->mapToGlobal(QPoint(x, y)), tip, viewport());
}

// ---- find bar ------------------------------------------------------------------------------------

void GCodeEditor::showFindBar(bool withReplace)
{
    m_findBar->open(withReplace);
}

// ---- events --------------------------------------------------------------------------------------

bool GCodeEditor::event(QEvent *event)
{
    const bool handled = QsciScintilla::event(event);
    flushEdits(); // a key press, an input method, a shortcut: report as one change
    return handled;
}

bool GCodeEditor::viewportEvent(QEvent *event)
{
    const bool handled = QsciScintilla::viewportEvent(event);
    flushEdits(); // a drop or a middle-click paste
    return handled;
}

void GCodeEditor::changeEvent(QEvent *event)
{
    QsciScintilla::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange) {
        // Only the style colours change; the styled text stays as it is.
        m_dark = Appearance::isDark(palette());
        applyStyleColours();
    }
}

void GCodeEditor::resizeEvent(QResizeEvent *event)
{
    QsciScintilla::resizeEvent(event);
    m_findBar->reposition();
    scheduleVisibleHighlight();
}

namespace {

QList<QUrl> fileUrls(const QMimeData *mime)
{
    QList<QUrl> files;
    if (mime && mime->hasUrls()) {
        for (const QUrl &url : mime->urls()) {
            if (url.isLocalFile()) {
                files.append(url);
            }
        }
    }
    return files;
}

} // namespace

void GCodeEditor::dragEnterEvent(QDragEnterEvent *event)
{
    if (!fileUrls(event->mimeData()).isEmpty()) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        return;
    }
    QsciScintilla::dragEnterEvent(event);
}

void GCodeEditor::dragMoveEvent(QDragMoveEvent *event)
{
    if (!fileUrls(event->mimeData()).isEmpty()) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        return;
    }
    QsciScintilla::dragMoveEvent(event);
}

void GCodeEditor::dropEvent(QDropEvent *event)
{
    const QList<QUrl> files = fileUrls(event->mimeData());
    if (!files.isEmpty()) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        emit filesDropped(files);
        return;
    }
    QsciScintilla::dropEvent(event);
}
