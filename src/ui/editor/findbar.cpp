#include "findbar.h"

#include "gcodeeditor.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>

FindBar::FindBar(GCodeEditor *editor)
    : QWidget(editor), m_editor(editor), m_find(new QLineEdit(this)), m_replace(new QLineEdit(this)),
      m_previous(new QToolButton(this)), m_next(new QToolButton(this)), m_matchCase(new QCheckBox(this)),
      m_replaceOne(new QPushButton(this)), m_replaceAll(new QPushButton(this)), m_close(new QToolButton(this)),
      m_status(new QLabel(this)), m_replaceRow(new QWidget(this))
{
    setAutoFillBackground(true);
    setFocusPolicy(Qt::StrongFocus);
    m_previous->setArrowType(Qt::UpArrow);
    m_next->setArrowType(Qt::DownArrow);
    m_close->setText(QStringLiteral("✕"));
    m_find->setClearButtonEnabled(true);
    m_status->setForegroundRole(QPalette::BrightText);

    auto *findRow = new QHBoxLayout;
    findRow->setContentsMargins(0, 0, 0, 0);
    findRow->addWidget(m_find, 1);
    findRow->addWidget(m_status);
    findRow->addWidget(m_previous);
    findRow->addWidget(m_next);
    findRow->addWidget(m_matchCase);
    findRow->addWidget(m_close);

    auto *replaceRow = new QHBoxLayout(m_replaceRow);
    replaceRow->setContentsMargins(0, 0, 0, 0);
    replaceRow->addWidget(m_replace, 1);
    replaceRow->addWidget(m_replaceOne);
    replaceRow->addWidget(m_replaceAll);

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(6, 4, 6, 4);
    column->setSpacing(4);
    column->addLayout(findRow);
    column->addWidget(m_replaceRow);

    connect(m_find, &QLineEdit::textEdited, this, [this] { find(true, true); });
    connect(m_find, &QLineEdit::returnPressed, this, [this] { findNext(); });
    connect(m_replace, &QLineEdit::returnPressed, this, [this] { replaceCurrent(); });
    connect(m_next, &QToolButton::clicked, this, [this] { findNext(); });
    connect(m_previous, &QToolButton::clicked, this, [this] { findPrevious(); });
    connect(m_matchCase, &QCheckBox::toggled, this, [this] { find(true, true); });
    connect(m_replaceOne, &QPushButton::clicked, this, [this] { replaceCurrent(); });
    connect(m_replaceAll, &QPushButton::clicked, this, [this] { replaceAll(); });
    connect(m_close, &QToolButton::clicked, this, [this] { close(); });
}

void FindBar::retranslate()
{
    const AppLanguage language = m_editor->language();
    m_find->setPlaceholderText(L10n::text("Find", language));
    m_replace->setPlaceholderText(L10n::text("Replace with", language));
    m_previous->setToolTip(L10n::text("Previous", language));
    m_next->setToolTip(L10n::text("Next", language));
    m_matchCase->setText(L10n::text("Match Case", language));
    m_replaceOne->setText(L10n::text("Replace", language));
    m_replaceAll->setText(L10n::text("Replace All", language));
    m_close->setToolTip(L10n::text("Close", language));
    m_status->setText(L10n::text("Not found", language));
}

void FindBar::open(bool withReplace)
{
    retranslate();
    m_replaceRow->setVisible(withReplace);
    showNotFound(false);
    // A selection within one line is what the user wants to look for.
    const QString selected = m_editor->selectedText();
    if (!selected.isEmpty() && !selected.contains(QLatin1Char('\n')) && !selected.contains(QLatin1Char('\r'))) {
        m_find->setText(selected);
    }
    show();
    raise();
    reposition();
    m_find->setFocus(Qt::ShortcutFocusReason);
    m_find->selectAll();
}

void FindBar::close()
{
    hide();
    m_editor->setFocus(Qt::OtherFocusReason);
}

void FindBar::setSearchText(const QString &text)
{
    m_find->setText(text);
}

void FindBar::setReplaceText(const QString &text)
{
    m_replace->setText(text);
}

void FindBar::setMatchCase(bool matchCase)
{
    const QSignalBlocker blocker(m_matchCase);
    m_matchCase->setChecked(matchCase);
}

bool FindBar::isReplaceShown() const
{
    return !m_replaceRow->isHidden();
}

bool FindBar::notFoundShown() const
{
    return !m_status->isHidden();
}

void FindBar::showNotFound(bool notFound)
{
    m_status->setVisible(notFound);
}

void FindBar::reposition()
{
    const QWidget *area = m_editor->viewport();
    const int width = std::min(area->width(), std::max(360, sizeHint().width()));
    const int right = area->geometry().right();
    resize(width, sizeHint().height());
    move(right - width + 1, area->geometry().top());
}

void FindBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
        (event->modifiers() & Qt::ShiftModifier)) {
        findPrevious();
        return;
    }
    QWidget::keyPressEvent(event);
}

bool FindBar::findNext()
{
    return find(true, false);
}

bool FindBar::findPrevious()
{
    return find(false, false);
}

qsizetype FindBar::search(qsizetype from, qsizetype to, qsizetype *matchEnd) const
{
    const QByteArray needle = m_find->text().toUtf8();
    if (needle.isEmpty()) {
        return -1;
    }
    m_editor->SendScintilla(QsciScintillaBase::SCI_SETSEARCHFLAGS,
                            m_matchCase->isChecked() ? QsciScintillaBase::SCFIND_MATCHCASE : 0);
    m_editor->SendScintilla(QsciScintillaBase::SCI_SETTARGETRANGE, static_cast<unsigned long>(from),
                            static_cast<long>(to));
    const long found = m_editor->SendScintilla(QsciScintillaBase::SCI_SEARCHINTARGET,
                                               static_cast<uintptr_t>(needle.size()), needle.constData());
    if (found >= 0 && matchEnd) {
        *matchEnd = m_editor->SendScintilla(QsciScintillaBase::SCI_GETTARGETEND);
    }
    return found;
}

bool FindBar::find(bool forward, bool includeSelection)
{
    const qsizetype length = m_editor->SendScintilla(QsciScintillaBase::SCI_GETLENGTH);
    const qsizetype selStart = m_editor->SendScintilla(QsciScintillaBase::SCI_GETSELECTIONSTART);
    const qsizetype selEnd = m_editor->SendScintilla(QsciScintillaBase::SCI_GETSELECTIONEND);
    if (m_find->text().isEmpty()) {
        showNotFound(false);
        return false;
    }
    qsizetype end = -1;
    qsizetype found = -1;
    if (forward) {
        // Typing into the field keeps a match that still fits where it began.
        const qsizetype from = includeSelection ? selStart : selEnd;
        found = search(from, length, &end);
        if (found < 0) {
            found = search(0, std::min(length, from + qsizetype(m_find->text().toUtf8().size())), &end);
        }
    } else {
        // A target running backwards finds the match nearest its start.
        found = search(selStart, 0, &end);
        if (found < 0) {
            found = search(length, selStart, &end);
        }
    }
    showNotFound(found < 0);
    if (found < 0) {
        return false;
    }
    m_editor->SendScintilla(QsciScintillaBase::SCI_SETSEL, static_cast<unsigned long>(found), static_cast<long>(end));
    m_editor->SendScintilla(QsciScintillaBase::SCI_SCROLLRANGE, static_cast<unsigned long>(end),
                            static_cast<long>(found));
    return true;
}

bool FindBar::selectionIsMatch() const
{
    const qsizetype selStart = m_editor->SendScintilla(QsciScintillaBase::SCI_GETSELECTIONSTART);
    const qsizetype selEnd = m_editor->SendScintilla(QsciScintillaBase::SCI_GETSELECTIONEND);
    qsizetype end = -1;
    return selEnd > selStart && search(selStart, selEnd, &end) == selStart && end == selEnd;
}

bool FindBar::replaceCurrent()
{
    if (m_editor->isReadOnly()) {
        return false;
    }
    if (selectionIsMatch()) {
        const QByteArray replacement = m_replace->text().toUtf8();
        m_editor->SendScintilla(QsciScintillaBase::SCI_TARGETFROMSELECTION);
        m_editor->SendScintilla(QsciScintillaBase::SCI_REPLACETARGET, static_cast<uintptr_t>(replacement.size()),
                                replacement.constData());
        const long after = m_editor->SendScintilla(QsciScintillaBase::SCI_GETTARGETEND);
        m_editor->SendScintilla(QsciScintillaBase::SCI_SETSEL, static_cast<unsigned long>(after),
                                static_cast<long>(after));
        m_editor->flushEdits();
    }
    return findNext();
}

int FindBar::replaceAll()
{
    if (m_editor->isReadOnly() || m_find->text().isEmpty()) {
        return 0;
    }
    const QByteArray replacement = m_replace->text().toUtf8();
    int count = 0;
    qsizetype from = 0;
    m_editor->SendScintilla(QsciScintillaBase::SCI_BEGINUNDOACTION);
    for (;;) {
        const qsizetype length = m_editor->SendScintilla(QsciScintillaBase::SCI_GETLENGTH);
        qsizetype end = -1;
        const qsizetype found = search(from, length, &end);
        if (found < 0) {
            break;
        }
        m_editor->SendScintilla(QsciScintillaBase::SCI_REPLACETARGET, static_cast<uintptr_t>(replacement.size()),
                                replacement.constData());
        from = m_editor->SendScintilla(QsciScintillaBase::SCI_GETTARGETEND);
        ++count;
    }
    m_editor->SendScintilla(QsciScintillaBase::SCI_ENDUNDOACTION);
    m_editor->flushEdits(); // one change for the document, however many matches
    showNotFound(count == 0);
    return count;
}
