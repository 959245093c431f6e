// A Brazilian lathe program written in CP850 by a DOS-era CAM system: the
// model asks which code page, likeliest first, opens it and saves it back.
#include "appmodelfixture.h"

namespace {

QByteArray fixture()
{
    QFile file(QStringLiteral(VARN_SOURCE_DIR "/tests/data/encoding/furacao_cp850.nc"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

TEST_F(AppModelTest, AProgramInCp850OpensInTheChosenCodePageAndSavesBackByteForByte)
{
    const QByteArray original = fixture();
    const QUrl url = writeFile("programs/flange.nc", original);
    dialogs.encodingAnswers = {TextEncoding::cp850};
    EditorDocument *doc = openLoaded(url);
    ASSERT_TRUE(waitUntil([&] { return !model->isLoadingAnyFile() && doc && !doc->isLoading(); }));
    ASSERT_EQ(dialogs.asked.size(), 1);
    EXPECT_TRUE(dialogs.asked[0].startsWith("encoding|Choose an Encoding|flange.nc is not UTF-8 text.")) << dialogs.asked[0].toStdString();
    EXPECT_EQ(dialogs.lastEncodingQuestion.encodings.first(), TextEncoding::cp850);
    EXPECT_EQ(dialogs.lastEncodingQuestion.sample.lines.first().number, 2); // "O0850 (FLANGE - AÇO 1045)"

    EXPECT_EQ(doc->encoding(), TextEncoding::cp850);
    EXPECT_TRUE(doc->text().contains("(TORNEAMENTO E FURAÇÃO - PEÇA Nº 12)\r\n"));
    EXPECT_FALSE(model->cachedFileText(url)) << "the cache keeps UTF-8 texts only";
    model->saveSelected();
    QFile saved(url.toLocalFile());
    const auto bytes = [&] {
        saved.open(QIODevice::ReadOnly);
        const QByteArray all = saved.readAll();
        saved.close();
        return all;
    };
    EXPECT_EQ(bytes(), original);

    // One line edited: only its bytes change; a character CP850 lacks is refused with its line.
    doc->setText(doc->text().replace("JOSÉ", "JOÃO"));
    model->saveSelected();
    EXPECT_EQ(bytes(), QByteArray(original).replace("JOS\x90", "JO\xC7O"));
    doc->setText(doc->text().replace("N200 M30", "N200 M30 (€)"));
    model->saveSelected();
    ASSERT_TRUE(model->alert());
    EXPECT_TRUE(model->alert()->message.startsWith("Line 27 holds \u201C€\u201D, which CP850")) << model->alert()->message.toStdString();
    EXPECT_TRUE(doc->isDirty());
    EXPECT_EQ(bytes(), QByteArray(original).replace("JOS\x90", "JO\xC7O"));
}

TEST_F(AppModelTest, DecliningTheCodePageQuestionLeavesNoTabAndNoAlert)
{
    openLoaded(writeFile("latin1.nc", "G0 X1 (\xd1" "ANDU)\n"));
    EXPECT_TRUE(waitUntil([&] { return !model->isLoadingAnyFile(); }));
    EXPECT_EQ(dialogs.asked.size(), 1);
    EXPECT_FALSE(model->alert());
    EXPECT_EQ(tabs(), QStringList({"*Untitled: "}));
}

} // namespace
