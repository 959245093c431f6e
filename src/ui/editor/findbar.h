#pragma once

#include <QWidget>

class GCodeEditor;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QToolButton;

// Find and replace for the editor, floating over its top right corner.
// The search is incremental: every keystroke in the find field moves the
// selection to the first match at or after where the search began, wrapping
// at the end. Enter finds the next match, Shift+Enter the previous one,
// Escape closes the bar and gives the focus back to the text. A search that
// finds nothing says so in the bar and leaves the selection alone.
class FindBar : public QWidget {
    Q_OBJECT

public:
    explicit FindBar(GCodeEditor *editor);

    void open(bool withReplace);
    void close();

    void setSearchText(const QString &text);
    void setReplaceText(const QString &text);
    void setMatchCase(bool matchCase);

    // Each selects the match it finds; false when there is none.
    bool findNext();
    bool findPrevious();
    // Replaces the selected match, then selects the next one.
    bool replaceCurrent();
    // Replaces every match as one undoable change; the number replaced.
    int replaceAll();

    bool isReplaceShown() const;
    bool notFoundShown() const;

    // Keeps the bar in the editor's top right corner.
    void reposition();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    bool find(bool forward, bool includeSelection);
    // The match of the search text in [from, to) nearest to `from` (or to `to`
    // searching backward), in bytes; -1 with none.
    qsizetype search(qsizetype from, qsizetype to, qsizetype *matchEnd) const;
    bool selectionIsMatch() const;
    void retranslate();
    void showNotFound(bool notFound);

    GCodeEditor *m_editor;
    QLineEdit *m_find;
    QLineEdit *m_replace;
    QToolButton *m_previous;
    QToolButton *m_next;
    QCheckBox *m_matchCase;
    QPushButton *m_replaceOne;
    QPushButton *m_replaceAll;
    QToolButton *m_close;
    QLabel *m_status;
    QWidget *m_replaceRow;
};
