#include "linenumbergutter.h"

#include <Qsci/qsciscintillabase.h>

#include <QPainter>
#include <QWidget>

namespace {

constexpr int kPadding = 6;   // pixels each side of the widest number
constexpr int kMinDigits = 2; // so that the first lines of a program do not widen it at line 10

// Scintilla leaves this much room right of a number in its number margin.
constexpr int kNumberPadding = 3;

// The caret line's number, painted over the margin in bold. The margin
// itself cannot style one number differently from the others, and an
// overlay costs one small widget moved with the caret, where a per-line
// marker would cost an entry for each of the program's lines.
class CurrentLineNumber : public QWidget {
public:
    explicit CurrentLineNumber(QWidget *parent) : QWidget(parent)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents); // clicks reach the margin below
    }

    void show(int line, const QFont &font, const QColor &paper, const QColor &text)
    {
        m_number = QString::number(line + 1);
        m_font = font;
        m_font.setBold(true);
        m_paper = paper;
        m_text = text;
        update();
        QWidget::show();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), m_paper);
        painter.setFont(m_font);
        painter.setPen(m_text);
        painter.drawText(rect().adjusted(0, 0, -kNumberPadding, 0), Qt::AlignRight | Qt::AlignVCenter, m_number);
    }

private:
    QString m_number;
    QFont m_font;
    QColor m_paper;
    QColor m_text;
};

int digitsOf(long count)
{
    int digits = 1;
    for (; count >= 10; count /= 10) {
        ++digits;
    }
    return std::max(digits, kMinDigits);
}

} // namespace

LineNumberGutter::LineNumberGutter(QsciScintillaBase *editor) : QObject(editor), m_editor(editor)
{
    m_current = new CurrentLineNumber(editor->viewport());
    m_current->hide();
    connect(editor, &QsciScintillaBase::SCN_MARGINCLICK, this,
            [this](int position, int, int margin) {
                if (margin == 0) {
                    selectLineAt(position);
                }
            });
}

void LineNumberGutter::setVisible(bool visible)
{
    if (visible == m_visible) {
        return;
    }
    m_visible = visible;
    if (!visible) {
        m_editor->SendScintilla(QsciScintillaBase::SCI_SETMARGINS, 0UL);
        m_current->hide();
        return;
    }
    m_editor->SendScintilla(QsciScintillaBase::SCI_SETMARGINS, 1UL);
    m_editor->SendScintilla(QsciScintillaBase::SCI_SETMARGINTYPEN, 0UL, long(QsciScintillaBase::SC_MARGIN_NUMBER));
    m_editor->SendScintilla(QsciScintillaBase::SCI_SETMARGINMASKN, 0UL, 0L);
    m_editor->SendScintilla(QsciScintillaBase::SCI_SETMARGINSENSITIVEN, 0UL, 1L);
    fitWidth(true);
    placeCurrentLine();
}

void LineNumberGutter::restyle(const QFont &font, const QColor &paper, const QColor &text)
{
    m_font = font;
    // A shade off the paper, numbers halfway between text and paper: present, not loud.
    m_paper = paper.lightness() < 128 ? paper.lighter(125) : paper.darker(106);
    m_text = text;
    const QColor numbers = QColor::fromRgbF((text.redF() + paper.redF()) / 2, (text.greenF() + paper.greenF()) / 2,
                                            (text.blueF() + paper.blueF()) / 2);
    const auto style = static_cast<unsigned long>(QsciScintillaBase::STYLE_LINENUMBER);
    m_editor->SendScintilla(QsciScintillaBase::SCI_STYLESETFORE, style, numbers);
    m_editor->SendScintilla(QsciScintillaBase::SCI_STYLESETBACK, style, m_paper);
    if (m_visible) {
        fitWidth(true);
        placeCurrentLine();
    }
}

void LineNumberGutter::refresh()
{
    if (m_visible) {
        fitWidth(false);
        placeCurrentLine();
    }
}

void LineNumberGutter::fitWidth(bool force)
{
    const int digits = digitsOf(m_editor->SendScintilla(QsciScintillaBase::SCI_GETLINECOUNT));
    if (!force && digits == m_digits) {
        return;
    }
    m_digits = digits;
    const QByteArray widest(digits, '9');
    const long textWidth = m_editor->SendScintilla(QsciScintillaBase::SCI_TEXTWIDTH,
                                                   static_cast<unsigned long>(QsciScintillaBase::STYLE_LINENUMBER),
                                                   widest.constData());
    m_width = int(textWidth) + 2 * kPadding;
    m_editor->SendScintilla(QsciScintillaBase::SCI_SETMARGINWIDTHN, 0UL, long(m_width));
}

void LineNumberGutter::placeCurrentLine()
{
    auto *current = static_cast<CurrentLineNumber *>(m_current.data());
    const long caret = m_editor->SendScintilla(QsciScintillaBase::SCI_GETCURRENTPOS);
    const long line = m_editor->SendScintilla(QsciScintillaBase::SCI_LINEFROMPOSITION, static_cast<unsigned long>(caret));
    const long start = m_editor->SendScintilla(QsciScintillaBase::SCI_POSITIONFROMLINE, static_cast<unsigned long>(line));
    const int y = int(m_editor->SendScintilla(QsciScintillaBase::SCI_POINTYFROMPOSITION, 0UL, start));
    const int height = int(m_editor->SendScintilla(QsciScintillaBase::SCI_TEXTHEIGHT, static_cast<unsigned long>(line)));
    if (y + height <= 0 || y >= m_editor->viewport()->height()) {
        current->hide();
        return;
    }
    current->setGeometry(0, y, m_width, height);
    current->show(int(line), m_font, m_paper, m_text);
}

void LineNumberGutter::selectLineAt(int position)
{
    // The whole line with its end, as going to a line selects it.
    const long line = m_editor->SendScintilla(QsciScintillaBase::SCI_LINEFROMPOSITION, static_cast<unsigned long>(position));
    const long start = m_editor->SendScintilla(QsciScintillaBase::SCI_POSITIONFROMLINE, static_cast<unsigned long>(line));
    const long end = m_editor->SendScintilla(QsciScintillaBase::SCI_POSITIONFROMLINE, static_cast<unsigned long>(line + 1));
    const long length = m_editor->SendScintilla(QsciScintillaBase::SCI_GETLENGTH);
    m_editor->SendScintilla(QsciScintillaBase::SCI_SETSEL, static_cast<unsigned long>(start), end < 0 ? length : end);
    m_editor->setFocus(Qt::MouseFocusReason);
}
