// A program read in a code page, as the window shows it.
#include "uifixture.h"

#include "panels/encodingdialog.h"

#include <QLabel>
#include <QTabBar>

TEST_F(UiTest, TheEncodingPreviewFollowsTheChoiceAndTheWindowNamesTheCodePageOnlyForSuchPrograms)
{
    EncodingQuestion question;
    question.encodings = {TextEncoding::cp850, TextEncoding::windows1252};
    question.sample = EncodingSample::fromBytes("%\r\nN10 (FURA\x80\xC7O)\r\nN20 M30\r\n(REVIS\xC7O)\r\n");
    EncodingDialog dialog(question);
    EXPECT_EQ(dialog.chosen(), TextEncoding::cp850);
    EXPECT_EQ(dialog.previewText(), "2  N10 (FURAÇÃO)\n4  (REVISÃO)");
    dialog.choose(TextEncoding::windows1252);
    EXPECT_EQ(dialog.previewText(), "2  N10 (FURA€ÇO)\n4  (REVISÇO)");

    MainWindow &shown = showWindow();
    EditorPane *pane = shown.editorPane();
    openFile("plain.nc", "G0 X1\n");
    EXPECT_FALSE(pane->encodingStatus()->isVisibleTo(pane));
    dialogs.encodingAnswers = {TextEncoding::cp850};
    EditorDocument *legacy = openFile("flange.nc", "N10 (FURA\x80\xC7O)\n");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model->isLoadingAnyFile() && !legacy->isLoading(); }));
    EXPECT_TRUE(pane->encodingStatus()->isVisibleTo(pane));
    EXPECT_EQ(pane->encodingStatus()->text(), "Encoding: CP850");
    EXPECT_EQ(pane->tabBar()->tabToolTip(pane->tabBar()->currentIndex()), path("flange.nc") + "\nEncoding: CP850");
    model->setSelectedDocumentId(model->documents().first()->id());
    EXPECT_FALSE(pane->encodingStatus()->isVisibleTo(pane));
}
