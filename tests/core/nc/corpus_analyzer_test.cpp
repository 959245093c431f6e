// Real programs written by others, when the corpus folder is present: the
// analyzer reads them exactly as the plain regular expressions do, whole or
// streamed in blocks, and the highlighter tiles what the editor asks it to colour.
#include "programanalyzer_reference.h"

#include "nc/gcodehighlighter.h"
#include "nc/programanalyzer.h"
#include "base/textfile.h"
#include "base/textfilestream.h"

#include <QDir>
#include <gtest/gtest.h>

TEST(CorpusAnalyzer, ProgramsMatchTheReferenceWholeAndStreamedAndHighlightingTilesThem)
{
    const QFileInfoList files = QDir(QStringLiteral(VARN_CORPUS_DIR)).entryInfoList(QDir::Files, QDir::Name);
    if (files.isEmpty()) {
        GTEST_SKIP() << "no corpus at " << VARN_CORPUS_DIR;
    }
    for (const QFileInfo &info : files) {
        SCOPED_TRACE(info.fileName().toStdString());
        const TextFile::ReadResult whole = TextFile::read(info.filePath());
        for (const qsizetype blockSize : {qsizetype(997), TextFileStream::kDefaultBlockSize}) {
            TextFileStream stream(info.filePath(), blockSize);
            ProgramAnalyzer::Session session(AppLanguage::english);
            while (const std::optional<QStringView> block = stream.next()) {
                session.feed(*block);
            }
            EXPECT_EQ(stream.status().error, whole.error);
            EXPECT_EQ(stream.status().invalidByteOffset, whole.invalidByteOffset);
            if (whole.ok()) {
                const QString diff = ReferenceAnalyzer::difference(
                    session.finish(), ReferenceAnalyzer::analyze(whole.text, AppLanguage::english));
                EXPECT_TRUE(diff.isEmpty()) << "in blocks of " << blockSize << "\n" << diff.toStdString();
            }
        }
        const QString &text = whole.text;
        EXPECT_TRUE(ReferenceAnalyzer::difference(ProgramAnalyzer::analyze(text, AppLanguage::english),
                                                  ReferenceAnalyzer::analyze(text, AppLanguage::english))
                        .isEmpty());

        // The editor asks for whole lines: the first 20,000 characters, extended to the line end.
        qsizetype length = std::min<qsizetype>(text.size(), 20'000);
        while (length < text.size() && text[length] != u'\n' && text[length] != u'\r') {
            ++length;
        }
        qsizetype next = 0;
        for (const GCodeHighlighter::Run &run : GCodeHighlighter::spans(text, 0, length, AppLanguage::english).runs) {
            ASSERT_EQ(run.start, next);
            next += run.length;
        }
        EXPECT_EQ(next, length);
    }
}
