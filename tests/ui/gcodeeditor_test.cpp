#include "editor/gcodeeditor.h"

#include "nc/gcodehighlighter.h"
#include "programgenerator.h"
#include "workspace/editordocument.h"

#include <QTest>
#include <gtest/gtest.h>

using Sci = QsciScintillaBase;
using ColorClass = GCodeHighlighter::ColorClass;

namespace {

struct EditorTest : ::testing::Test {
    GCodeEditor editor;

    void SetUp() override
    {
        editor.resize(640, 400);
        editor.show();
    }
    void show(EditorDocument &document)
    {
        editor.setDocument(&document);
        QCoreApplication::processEvents();
    }
    long sci(unsigned msg, unsigned long w = 0, long l = 0) { return editor.SendScintilla(msg, w, l); }
    int styleAt(qsizetype byte) { return int(sci(Sci::SCI_GETSTYLEAT, byte)); }
    static int style(ColorClass color, bool bold = false, bool italic = false)
    {
        return GCodeEditor::styleFor(int(color), bold, italic);
    }
    static qsizetype byteOf(const QString &text, const char *needle)
    {
        return text.left(text.indexOf(QString::fromUtf8(needle))).toUtf8().size();
    }
    QString selected() const
    {
        return editor.wholeText().mid(editor.selectionStart16(), editor.selectionLength16());
    }
    void typeAt(qsizetype utf16, const QString &keys)
    {
        editor.selectAndReveal(utf16, 0);
        QTest::keyClicks(&editor, keys);
    }
};

} // namespace

TEST_F(EditorTest, ColoursOnlyNearTheScreenAndRemembersWhatItColoured)
{
    const QString text = ProgramGenerator::milling(1'000'000);
    EditorDocument document(QUrl(), text);
    show(document);
    const qsizetype lastG = text.toUtf8().lastIndexOf(" G0") + 1;
    EXPECT_EQ(styleAt(byteOf(text, " G0") + 1), style(ColorClass::gCode)) << "the first screen is coloured";
    EXPECT_EQ(styleAt(lastG), 0) << "the end of a 1 MB program is not coloured before it is seen";
    // Coloured: the screen and 8000 characters after it, to the end of that line.
    const auto coloured = [&](long line) {
        for (long at = sci(Sci::SCI_POSITIONFROMLINE, line); at < sci(Sci::SCI_GETLINEENDPOSITION, line);
             ++at) {
            if (styleAt(at) != 0) {
                return true;
            }
        }
        return false;
    };
    const long edge =
        sci(Sci::SCI_LINEFROMPOSITION, sci(Sci::SCI_GETLINEENDPOSITION, sci(Sci::SCI_LINESONSCREEN)) + 7999);
    EXPECT_TRUE(coloured(edge));
    EXPECT_FALSE(coloured(edge + 1));

    const int passes = editor.colouringPasses();
    const auto scrollTo = [&](long line) {
        sci(Sci::SCI_SETFIRSTVISIBLELINE, line);
        QCoreApplication::processEvents();
    };
    scrollTo(sci(Sci::SCI_GETLINECOUNT) - 5);
    EXPECT_EQ(styleAt(lastG), style(ColorClass::gCode));
    scrollTo(0);
    scrollTo(sci(Sci::SCI_GETLINECOUNT) - 5);
    EXPECT_EQ(editor.colouringPasses(), passes + 1) << "scrolling over coloured text runs no pass";
}

TEST_F(EditorTest, TypingRecoloursTheLineAtOnceAndReachesTheDocumentAsOneUndoStep)
{
    const QString text = QStringLiteral("(ñ 😀)\nN10 X1\n");
    EditorDocument document(QUrl(), text);
    show(document);
    const qint64 revision = document.revision();
    typeAt(text.indexOf("X1"), "G01 ");
    // No event loop turn in between: the edited line is coloured already.
    const QString expected = QStringLiteral("(ñ 😀)\nN10 G01 X1\n");
    EXPECT_EQ(styleAt(byteOf(expected, "G01")), style(ColorClass::gCode));
    EXPECT_EQ(styleAt(byteOf(expected, "X1")), style(ColorClass::axis));
    EXPECT_EQ(document.text(), expected);
    EXPECT_EQ(document.revision(), revision + 4) << "one revision per keystroke";
    EXPECT_TRUE(document.isDirty());
    editor.undo();
    editor.flushEdits();
    EXPECT_EQ(document.text(), text);
    EXPECT_FALSE(document.isDirty()) << "undone back to the saved text is clean";
    EXPECT_EQ(document.revision(), revision + 5);
}

TEST_F(EditorTest, EachDocumentComesBackWhereTheUserLeftIt)
{
    QString longText;
    for (int i = 1; i <= 400; ++i) {
        longText += QStringLiteral("N%1 G01 X%1\n").arg(i);
    }
    EditorDocument a(QUrl(), longText);
    EditorDocument b(QUrl(), "G00 X0\n");
    show(a);
    editor.selectAndReveal(longText.indexOf("N300 "), 4);
    const long firstLine = sci(Sci::SCI_GETFIRSTVISIBLELINE);
    ASSERT_GT(firstLine, 0);
    show(b);
    EXPECT_EQ(editor.text(), "G00 X0\n");
    EXPECT_EQ(a.text(), longText) << "the hidden document holds its own text again";
    editor.selectAndReveal(4, 2);
    show(a);
    EXPECT_EQ(selected(), "N300");
    EXPECT_EQ(editor.selectionStart16(), longText.indexOf("N300 "));
    EXPECT_EQ(sci(Sci::SCI_GETFIRSTVISIBLELINE), firstLine);
    show(b);
    a.setText("N1\n"); // shortened while away
    show(a);
    EXPECT_EQ(editor.selectionStart16(), 3) << "clamped to the shorter text";
    EXPECT_EQ(editor.selectionLength16(), 0);
    show(b);
    EXPECT_EQ(selected(), "X0");

    auto gone = std::make_unique<EditorDocument>(QUrl(), "G01\n");
    show(*gone);
    gone.reset(); // closing the shown document empties the view
    EXPECT_EQ(editor.document(), nullptr);
    EXPECT_TRUE(editor.text().isEmpty());
    QTest::keyClicks(&editor, "X"); // edits with no document go nowhere, safely
}

TEST_F(EditorTest, LinesDamagedOnTheWayFromTheMachineAreMarkedOnlyInTheirDocument)
{
    EditorDocument received;
    received.setText("%\nO1\nG1X?1\nG1Y2\nM30\n%\n");
    received.setMarkedLines({2, 4});
    EditorDocument other;
    other.setText("G0X0\nG1X1\nG1X2\n");
    show(received);
    for (int line = 0; line < 6; ++line) {
        EXPECT_EQ(sci(Sci::SCI_MARKERGET, line) != 0, line == 2 || line == 4) << "line " << line;
    }
    show(other);
    EXPECT_EQ(sci(Sci::SCI_MARKERNEXT, 0, ~0L), -1);
    show(received);
    EXPECT_NE(sci(Sci::SCI_MARKERGET, 2), 0);
}

TEST_F(EditorTest, LineNumberGutterWidensWithTheDigitsAndSelectsTheClickedLine)
{
    QString text;
    for (int line = 1; line <= 9; ++line) {
        text += QStringLiteral("N%1 G1 X%1\n").arg(line);
    }
    EditorDocument document(QUrl(), text);
    show(document);
    EXPECT_EQ(sci(Sci::SCI_GETMARGINS), 0) << "off at first: the view keeps its usual look";
    editor.setLineNumbersVisible(true);
    QCoreApplication::processEvents();
    const int narrow = editor.lineNumbersWidth();
    EXPECT_GT(narrow, 0);
    EXPECT_EQ(sci(Sci::SCI_GETMARGINWIDTHN, 0), narrow);

    const long y = sci(Sci::SCI_POINTYFROMPOSITION, 0, sci(Sci::SCI_POSITIONFROMLINE, 4));
    QTest::mouseClick(editor.viewport(), Qt::LeftButton, {}, QPoint(narrow / 2, int(y) + 3));
    EXPECT_EQ(selected(), QStringLiteral("N5 G1 X5\n"));

    document.setText(text.repeated(12)); // 108 lines
    QCoreApplication::processEvents();
    EXPECT_GT(editor.lineNumbersWidth(), narrow) << "a third digit needs room";
    editor.setLineNumbersVisible(false);
    EXPECT_EQ(editor.lineNumbersWidth(), 0);
    EXPECT_EQ(sci(Sci::SCI_GETMARGINS), 0);
}
