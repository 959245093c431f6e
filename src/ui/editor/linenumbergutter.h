#pragma once

#include <QColor>
#include <QFont>
#include <QObject>
#include <QPointer>

class QsciScintillaBase;
class QWidget;

// The line numbers beside the program text: the component's own number
// margin, as wide as the largest line number needs, with the caret's line
// drawn bold and a click on a number selecting that line.
//
// Nothing here walks the text. The buffer keeps the count of lines, so the
// width is reconsidered on every change for the price of one call and
// changes only when the count gains or loses a digit; the component draws
// only the numbers on screen. A 100 MB program thus costs the gutter what a
// ten-line one does. Hidden, the view is exactly what it was without it.
//
// Main thread only; owned by the editor it decorates.
class LineNumberGutter : public QObject {
public:
    explicit LineNumberGutter(QsciScintillaBase *editor);

    void setVisible(bool visible);
    bool isVisible() const { return m_visible; }
    // Pixels taken from the left of the text; 0 while hidden.
    int width() const { return m_visible ? m_width : 0; }

    // The editor's font and colours changed.
    void restyle(const QFont &font, const QColor &paper, const QColor &text);
    // Follows the buffer and the caret; the editor calls it on each of the
    // component's update notifications (an edit, a caret move, a scroll).
    void refresh();

private:
    void fitWidth(bool force);
    void placeCurrentLine();
    void selectLineAt(int position);

    QsciScintillaBase *m_editor;
    QPointer<QWidget> m_current; // the caret line's number, drawn bold over the margin
    bool m_visible = false;
    int m_digits = 0;
    int m_width = 0;
    QFont m_font;
    QColor m_paper;
    QColor m_text;
};
