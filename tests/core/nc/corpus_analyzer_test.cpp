// Real programs written by others, when the corpus folder is present: the
// analyzer must read them exactly as the plain regular expressions do, and the
// highlighter must tile what the editor asks it to colour.
#include "programanalyzer_reference.h"

#include "nc/gcodehighlighter.h"
#include "nc/programanalyzer.h"

#include <QDir>
#include <gtest/gtest.h>

TEST(CorpusAnalyzer, ProgramsMatchTheReferenceAndHighlightingTilesThem)
{
    const QFileInfoList files = QDir(QStringLiteral(VARN_CORPUS_DIR)).entryInfoList(QDir::Files, QDir::Name);
    if (files.isEmpty()) {
        GTEST_SKIP() << "no corpus at " << VARN_CORPUS_DIR;
    }
    for (const QFileInfo &info : files) {
        SCOPED_TRACE(info.fileName().toStdString());
        QFile file(info.filePath());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(file.readAll());
        const QString diff = ReferenceAnalyzer::difference(ProgramAnalyzer::analyze(text, AppLanguage::english),
                                                           ReferenceAnalyzer::analyze(text, AppLanguage::english));
        EXPECT_TRUE(diff.isEmpty()) << diff.toStdString();

        // The editor asks for whole lines: the first 20,000 characters, extended to the line end.
        qsizetype length = std::min<qsizetype>(text.size(), 20'000);
        while (length < text.size() && text[length] != u'\n' && text[length] != u'\r') {
            ++length;
        }
        const auto result = GCodeHighlighter::spans(text, 0, length, AppLanguage::english);
        qsizetype next = 0;
        for (const GCodeHighlighter::Run &run : result.runs) {
            ASSERT_EQ(run.start, next);
            ASSERT_GT(run.length, 0);
            ASSERT_FALSE(run.bold && run.italic);
            next += run.length;
        }
        EXPECT_EQ(next, length);
        qsizetype tooltipEnd = 0;
        for (const auto &tip : result.tooltips) {
            EXPECT_GE(tip.start, tooltipEnd);
            EXPECT_GT(tip.length, 1);
            EXPECT_FALSE(tip.text.isEmpty());
            tooltipEnd = tip.start + tip.length;
        }
        EXPECT_LE(tooltipEnd, length);
    }
}
