#include "editor/gcodeeditor.h"
#include "theme/appearance.h"

#include "nc/gcodehighlighter.h"
#include "programgenerator.h"
#include "workspace/editordocument.h"

#include <QApplication>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using Sci = QsciScintillaBase;
using ColorClass = GCodeHighlighter::ColorClass;

QT_BEGIN_NAMESPACE
inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}
QT_END_NAMESPACE

namespace {

struct EditorFixture : ::testing::Test {
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
    qsizetype byteOf(const QString &text, const QString &needle, qsizetype from = 0)
    {
        return text.left(text.indexOf(needle, from)).toUtf8().size();
    }
    void scrollToLine(long line)
    {
        sci(Sci::SCI_SETFIRSTVISIBLELINE, line);
        QCoreApplication::processEvents();
    }
    void typeAt(qsizetype utf16, const QString &keys)
    {
        editor.selectAndReveal(utf16, 0);
        QTest::keyClicks(&editor, keys);
    }
};

} // namespace

TEST_F(EditorFixture, ColoursOnlyNearTheScreenAndRemembersWhatItColoured)
{
    const QString text = ProgramGenerator::milling(1'000'000);
    EditorDocument document(QUrl(), text);
    show(document);

    const qsizetype lastG = text.toUtf8().lastIndexOf(" G0") + 1;
    EXPECT_EQ(styleAt(byteOf(text, " G0") + 1), style(ColorClass::gCode)) << "the first screen is coloured";
    EXPECT_EQ(styleAt(lastG), 0) << "the end of a 1 MB program is not coloured before it is seen";

    const int passes = editor.colouringPasses();
    scrollToLine(sci(Sci::SCI_GETLINECOUNT) - 5);
    EXPECT_EQ(styleAt(lastG), style(ColorClass::gCode));
    EXPECT_EQ(editor.colouringPasses(), passes + 1);

    scrollToLine(0);
    scrollToLine(sci(Sci::SCI_GETLINECOUNT) - 5);
    EXPECT_EQ(editor.colouringPasses(), passes + 1) << "scrolling over coloured text runs no pass";
}

TEST_F(EditorFixture, PaintsWordsCommentsAndMarkersAcrossAccents)
{
    const QString text = QStringLiteral("%\nO1000 (FRESADO - ALUMINIO ñ 😀 G01)\nN10 G01 X1.5 F200 ; ñ\nS1200 M03\n");
    EditorDocument document(QUrl(), text);
    show(document);

    struct Case {
        const char *needle;
        int length; // bytes that carry the style
        int expected;
    } cases[] = {
        {"%", 1, style(ColorClass::marker, true)},
        {"O1000", 5, style(ColorClass::progNo, true)},
        {"G01)", 4, style(ColorClass::comment, false, true)},
        {"N10", 3, style(ColorClass::lineNo)},
        {"G01 X", 3, style(ColorClass::gCode)},
        {"X1.5", 4, style(ColorClass::axis)},
        {"F200", 4, style(ColorClass::feed)},
        {"; ñ", 4, style(ColorClass::comment, false, true)},
        {"S1200", 5, style(ColorClass::spindle)},
        {"M03", 3, style(ColorClass::mCode)},
    };
    for (const Case &c : cases) {
        const qsizetype at = byteOf(text, QString::fromUtf8(c.needle));
        const qsizetype last = at + c.length - 1;
        EXPECT_EQ(styleAt(at), c.expected) << c.needle;
        EXPECT_EQ(styleAt(last), c.expected) << c.needle << " (last byte)";
    }
    EXPECT_EQ(styleAt(byteOf(text, " X1.5")), 0) << "blanks between words stay plain";
}

TEST_F(EditorFixture, TypingRecoloursTheEditedLineAtOnceAndReachesTheDocument)
{
    const QString text = QStringLiteral("(ñ)\nN10 X1\n");
    EditorDocument document(QUrl(), text);
    show(document);
    const qint64 revision = document.revision();

    typeAt(text.indexOf("X1"), QStringLiteral("G01 "));
    // No event loop turn in between: the edited line is coloured already.
    const QString expected = QStringLiteral("(ñ)\nN10 G01 X1\n");
    EXPECT_EQ(styleAt(byteOf(expected, "G01")), style(ColorClass::gCode));
    EXPECT_EQ(styleAt(byteOf(expected, "X1")), style(ColorClass::axis));
    EXPECT_EQ(document.text(), expected);
    EXPECT_EQ(document.revision(), revision + 4) << "one revision per keystroke";
    EXPECT_TRUE(document.isDirty());

    editor.undo(); // the typing is one undo step
    editor.flushEdits();
    EXPECT_EQ(document.text(), text);
    EXPECT_FALSE(document.isDirty()) << "undone back to the saved text is clean";
    EXPECT_EQ(document.revision(), revision + 5);

    // Typing over a selection (delete + insert) is one change.
    editor.selectAndReveal(text.indexOf("X1"), 2);
    QTest::keyClicks(&editor, QStringLiteral("Y"));
    EXPECT_EQ(document.text(), QStringLiteral("(ñ)\nN10 Y\n"));
    EXPECT_EQ(document.revision(), revision + 6);
}

TEST_F(EditorFixture, ConvertsBetweenBytesAndUtf16AroundNonAsciiText)
{
    const QString text = QStringLiteral("(AÑO 😀 ñ)\nG01 X1 (é)\nM06\n");
    EditorDocument document(QUrl(), text);
    show(document);
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text[i].isLowSurrogate()) {
            continue;
        }
        const qsizetype byte = text.left(i).toUtf8().size();
        EXPECT_EQ(editor.toBytes(i), byte) << i;
        EXPECT_EQ(editor.toUtf16(byte), i) << i;
    }
    // An edit after the pair lands where the document expects it.
    typeAt(text.indexOf("X1"), QStringLiteral("Z"));
    EXPECT_EQ(document.text(), QStringLiteral("(AÑO 😀 ñ)\nG01 ZX1 (é)\nM06\n"));
    document.replace(document.text().indexOf("M06"), 3, QStringLiteral("M6 ñ"));
    EXPECT_EQ(editor.text(), QStringLiteral("(AÑO 😀 ñ)\nG01 ZX1 (é)\nM6 ñ\n"));
}

TEST_F(EditorFixture, ModelReplacementKeepsCaretClearsUndoAndIsNotEchoed)
{
    EditorDocument document(QUrl(), QStringLiteral("G00 X0\nG01 X1\nG01 X2\n"));
    show(document);
    typeAt(14, QStringLiteral("Y"));
    ASSERT_TRUE(editor.isUndoAvailable());
    editor.selectAndReveal(16, 3);
    const qint64 revision = document.revision();

    document.setText(QStringLiteral("N1 G00 X0\nN2 G01 X1\n")); // as a renumbering tool would
    QCoreApplication::processEvents();
    EXPECT_EQ(document.revision(), revision + 1) << "the model's change is not reported back";
    EXPECT_FALSE(editor.isUndoAvailable());
    EXPECT_EQ(editor.selectionStart16(), 16);
    EXPECT_EQ(editor.selectionLength16(), 3);

    document.setText(QStringLiteral("G0"));
    EXPECT_EQ(editor.selectionStart16(), 2) << "clamped to the shorter text";
    EXPECT_EQ(editor.selectionLength16(), 0);
    EXPECT_EQ(document.revision(), revision + 2);
}

TEST_F(EditorFixture, EachDocumentComesBackWhereTheUserLeftIt)
{
    QString longText;
    for (int i = 1; i <= 400; ++i) {
        longText += QStringLiteral("N%1 G01 X%1\n").arg(i);
    }
    EditorDocument a(QUrl(), longText);
    EditorDocument b(QUrl(), QStringLiteral("G00 X0\n"));
    show(a);
    editor.selectAndReveal(longText.indexOf("N300 "), 4);
    const long firstLine = sci(Sci::SCI_GETFIRSTVISIBLELINE);
    ASSERT_GT(firstLine, 0);

    show(b);
    EXPECT_EQ(editor.text(), QStringLiteral("G00 X0\n"));
    EXPECT_EQ(a.text(), longText) << "the hidden document holds its own text again";
    editor.selectAndReveal(3, 2);

    show(a);
    EXPECT_EQ(editor.selectionStart16(), longText.indexOf("N300 "));
    EXPECT_EQ(editor.selectionLength16(), 4);
    EXPECT_EQ(sci(Sci::SCI_GETFIRSTVISIBLELINE), firstLine);

    show(b);
    a.setText(QStringLiteral("N1\n")); // shortened while away
    show(a);
    EXPECT_EQ(editor.selectionStart16(), 3);
    EXPECT_EQ(editor.selectionLength16(), 0);
    show(b);
    EXPECT_EQ(editor.selectionStart16(), 3);
    EXPECT_EQ(editor.selectionLength16(), 2);
}

TEST_F(EditorFixture, ClosingTheShownDocumentEmptiesTheView)
{
    auto document = std::make_unique<EditorDocument>(QUrl(), QStringLiteral("G01\n"));
    show(*document);
    document.reset();
    EXPECT_EQ(editor.document(), nullptr);
    EXPECT_TRUE(editor.text().isEmpty());
    QTest::keyClicks(&editor, QStringLiteral("X")); // edits with no document go nowhere, safely
}

TEST_F(EditorFixture, AppearanceSwitchChangesStyleColoursWithoutAPass)
{
    EditorDocument document(QUrl(), QStringLiteral("G01 X1\n"));
    editor.setPalette(Appearance::lightPalette());
    show(document);
    const auto gCode = GCodeHighlighter::colorValues(ColorClass::gCode);
    const auto bgr = [](quint32 rgb) { return long(((rgb & 0xFF) << 16) | (rgb & 0xFF00) | ((rgb >> 16) & 0xFF)); };
    EXPECT_EQ(sci(Sci::SCI_STYLEGETFORE, style(ColorClass::gCode)), bgr(gCode.light));
    const int passes = editor.colouringPasses();

    editor.setPalette(Appearance::darkPalette());
    QCoreApplication::processEvents();
    EXPECT_TRUE(editor.isDarkAppearance());
    EXPECT_EQ(sci(Sci::SCI_STYLEGETFORE, style(ColorClass::gCode)), bgr(gCode.dark));
    EXPECT_EQ(sci(Sci::SCI_STYLEGETFORE, style(ColorClass::lineNo)),
              bgr(GCodeHighlighter::colorValues(ColorClass::lineNo).dark));
    EXPECT_EQ(styleAt(0), style(ColorClass::gCode));
    EXPECT_EQ(editor.colouringPasses(), passes);
}

TEST_F(EditorFixture, TooltipsDescribeKnownGAndMWordsInTheInterfaceLanguage)
{
    const QString text = QStringLiteral("G01 G5.1 M06 (ñ G00) X1\n");
    EditorDocument document(QUrl(), text);
    show(document);
    EXPECT_EQ(editor.toolTipAt(byteOf(text, "G01") + 1), QStringLiteral("G01 · Linear interpolation (cutting)"));
    EXPECT_EQ(editor.toolTipAt(byteOf(text, "G5.1")), QString());
    EXPECT_EQ(editor.toolTipAt(byteOf(text, "G00")), QStringLiteral("G00 · Rapid positioning (non-cutting)"));
    EXPECT_EQ(editor.toolTipAt(byteOf(text, "X1")), QString());
    editor.setLanguage(AppLanguage::spanish);
    EXPECT_EQ(editor.toolTipAt(byteOf(text, "M06")),
              QStringLiteral("M06 · ") + L10n::text("Tool change", AppLanguage::spanish));
}

TEST_F(EditorFixture, DroppedFilesAreAnnouncedAndLeaveTheTextAlone)
{
    EditorDocument document(QUrl(), QStringLiteral("G01\n"));
    show(document);
    QSignalSpy dropped(&editor, &GCodeEditor::filesDropped);
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile("/tmp/a.nc"), QUrl::fromLocalFile("/tmp/b.nc")});
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction | Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(editor.viewport(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction | Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(editor.viewport(), &drop);
    ASSERT_EQ(dropped.count(), 1);
    EXPECT_EQ(dropped.at(0).at(0).value<QList<QUrl>>().size(), 2);
    EXPECT_EQ(document.text(), QStringLiteral("G01\n"));
    EXPECT_EQ(document.revision(), 0);
}

TEST_F(EditorFixture, FontSizeFollowsTheModelBeyondATenthOfAPoint)
{
    editor.setFontSize(13);
    const auto size = [&] { return sci(Sci::SCI_STYLEGETSIZEFRACTIONAL, style(ColorClass::gCode)); };
    EXPECT_EQ(size(), 1300);
    editor.setFontSize(13.05);
    EXPECT_EQ(size(), 1300);
    editor.setFontSize(14);
    EXPECT_EQ(size(), 1400);
    EXPECT_EQ(sci(Sci::SCI_STYLEGETBOLD, style(ColorClass::progNo, true)), 1) << "variants survive a font change";
}
