#include "editor/editorcontroller.h"
#include "editor/findbar.h"
#include "editor/gcodeeditor.h"
#include "theme/appearance.h"
#include "theme/varnpalette.h"

#include "workspace/editordocument.h"

#include <QApplication>
#include <QStyle>
#include <QTest>
#include <gtest/gtest.h>

namespace {

struct NavigationFixture : ::testing::Test {
    GCodeEditor editor;
    EditorController controller;
    int beeps = 0;

    void SetUp() override
    {
        editor.resize(640, 400);
        editor.show();
        controller.setEditor(&editor);
        controller.setBeep([this] { ++beeps; });
    }
    void show(EditorDocument &document)
    {
        editor.setDocument(&document);
        QCoreApplication::processEvents();
    }
    QString selected() const { return editor.wholeText().mid(editor.selectionStart16(), editor.selectionLength16()); }
};

} // namespace

TEST_F(NavigationFixture, GoToLineSelectsTheWholeLineAndIgnoresNumbersBelowOne)
{
    EditorDocument document(QUrl(), QStringLiteral("(ñ)\r\nG01 X1\r\nG00 Z5"));
    show(document);
    controller.goToLine(2);
    EXPECT_EQ(selected(), QStringLiteral("G01 X1\r\n"));
    controller.goToLine(0);
    controller.goToLine(-3);
    EXPECT_EQ(selected(), QStringLiteral("G01 X1\r\n")) << "nothing moves";
    controller.goToLine(99);
    EXPECT_EQ(selected(), QStringLiteral("G00 Z5")) << "past the end: the last line";
    EXPECT_EQ(beeps, 0);
}

TEST_F(NavigationFixture, GoToBlockMatchesTheNumberNotItsDigits)
{
    EditorDocument document(QUrl(), QStringLiteral("N50 G00\nN0005 G01 (ñ)\nn5 X1\n"));
    show(document);
    controller.goToBlockN(5);
    EXPECT_EQ(selected(), QStringLiteral("N0005 G01 (ñ)\n"));
    controller.goToBlockN(500);
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(selected(), QStringLiteral("N0005 G01 (ñ)\n")) << "a failed search leaves the selection";
}

TEST_F(NavigationFixture, NextToolChangeAndSpindleWrapAroundAndBeepWhenAbsent)
{
    const QString text = QStringLiteral("(AÑO) M60 M16 M06 T1\nPOS1 S1200 m6\nG01 S300\n");
    EditorDocument document(QUrl(), text);
    show(document);
    const auto &tool = EditorController::toolChangePattern();
    controller.jumpToNext(tool);
    EXPECT_EQ(editor.selectionStart16(), text.indexOf("M06"));
    EXPECT_EQ(selected(), QStringLiteral("M06"));
    controller.jumpToNext(tool);
    EXPECT_EQ(selected(), QStringLiteral("m6"));
    controller.jumpToNext(tool);
    EXPECT_EQ(editor.selectionStart16(), text.indexOf("M06")) << "wraps to the first";

    controller.jumpToNext(EditorController::spindlePattern());
    EXPECT_EQ(selected(), QStringLiteral("S1200")) << "POS1 is not a spindle speed";
    controller.jumpToNext(EditorController::spindlePattern());
    EXPECT_EQ(selected(), QStringLiteral("S300"));
    EXPECT_EQ(beeps, 0);

    document.setText(QStringLiteral("G01 X1\n"));
    controller.jumpToNext(tool);
    EXPECT_EQ(beeps, 1);
    document.setText(QString());
    controller.jumpToNext(tool);
    EXPECT_EQ(beeps, 1) << "an empty program is not a failed search";

    controller.setEditor(nullptr);
    controller.jumpToNext(tool);
    controller.showFind();
    controller.goToLine(1);
    EXPECT_EQ(beeps, 3);
}

TEST_F(NavigationFixture, FindBarSearchesIncrementallyAndReplacesAllAsOneChange)
{
    EditorDocument document(QUrl(), QStringLiteral("G01 X1 (g01 ñ)\nG01 X2\n"));
    show(document);
    controller.showReplace();
    FindBar *bar = editor.findBar();
    ASSERT_TRUE(bar->isVisible());
    EXPECT_TRUE(bar->isReplaceShown());

    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("g01"));
    EXPECT_EQ(selected(), QStringLiteral("G01")) << "case is ignored unless asked";
    EXPECT_EQ(editor.selectionStart16(), 0);
    bar->setMatchCase(true);
    EXPECT_TRUE(bar->findNext());
    EXPECT_EQ(selected(), QStringLiteral("g01"));
    EXPECT_TRUE(bar->findPrevious()) << "wraps backwards";
    bar->setSearchText(QStringLiteral("M30"));
    EXPECT_FALSE(bar->findNext());
    EXPECT_TRUE(bar->notFoundShown());

    bar->setMatchCase(false);
    bar->setSearchText(QStringLiteral("g01"));
    bar->setReplaceText(QStringLiteral("G1"));
    const qint64 revision = document.revision();
    EXPECT_EQ(bar->replaceAll(), 3);
    EXPECT_EQ(document.text(), QStringLiteral("G1 X1 (G1 ñ)\nG1 X2\n"));
    EXPECT_EQ(document.revision(), revision + 1);
    editor.undo();
    editor.flushEdits();
    EXPECT_EQ(document.text(), QStringLiteral("G01 X1 (g01 ñ)\nG01 X2\n"));
    EXPECT_FALSE(document.isDirty());

    QTest::keyClick(bar, Qt::Key_Escape);
    EXPECT_FALSE(bar->isVisible());
}

TEST(Appearance, LightAndDarkPalettesReadAsTheirNamesAndCarryTheBrandColours)
{
    EXPECT_FALSE(Appearance::isDark(Appearance::lightPalette()));
    EXPECT_TRUE(Appearance::isDark(Appearance::darkPalette()));
    EXPECT_EQ(Appearance::darkPalette().color(QPalette::Base), VarnPalette::bg0());
    EXPECT_EQ(VarnPalette::hairline().rgb(), VarnPalette::logoCyan().rgb());
    EXPECT_NEAR(VarnPalette::hairline().alphaF(), 0.16, 0.005);

    GCodeEditor editor;
    Appearance::applyDark();
    QCoreApplication::processEvents();
    EXPECT_TRUE(editor.isDarkAppearance()) << "the editor follows the application's switch";
    EXPECT_EQ(QApplication::style()->name().toLower(), QStringLiteral("fusion"));
    Appearance::applyLight();
    QCoreApplication::processEvents();
    EXPECT_FALSE(editor.isDarkAppearance());
    Appearance::applySystem();
    EXPECT_EQ(Appearance::isDark(QApplication::palette()), Appearance::systemPrefersDark());
}
