// Real programs written by others, when the corpus folder is present: the
// analyzer must frame them, keep every entry on a real line, read them exactly
// as the plain regular expressions do, and the highlighter must tile what it is
// asked to colour.

#include "programanalyzer_reference.h"

#include "nc/gcodehighlighter.h"
#include "nc/programanalyzer.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

namespace {

struct CorpusFile {
    QString name;
    QString text;
};

QList<CorpusFile> corpus()
{
    QList<CorpusFile> files;
    const QDir dir(QStringLiteral(VARN_CORPUS_DIR));
    for (const QFileInfo &info : dir.entryInfoList(QDir::Files, QDir::Name)) {
        QFile file(info.filePath());
        if (file.open(QIODevice::ReadOnly)) {
            files.append({info.fileName(), QString::fromUtf8(file.readAll())});
        }
    }
    return files;
}

qsizetype framedLineCount(const QString &text)
{
    QString framed = text;
    framed.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');
    return framed.split(u'\n').size();
}

} // namespace

TEST(CorpusAnalyzer, EveryProgramIsFramedAndMatchesTheReference)
{
    const QList<CorpusFile> files = corpus();
    if (files.isEmpty()) {
        GTEST_SKIP() << "no corpus at " << VARN_CORPUS_DIR;
    }
    for (const CorpusFile &file : files) {
        SCOPED_TRACE(file.name.toStdString());
        const ProgramAnalysis analysis = ProgramAnalyzer::analyze(file.text, AppLanguage::english);
        EXPECT_EQ(analysis.lineCount, framedLineCount(file.text));
        const auto onALine = [&](int line) { return line >= 1 && line <= analysis.lineCount; };
        for (const auto &entry : analysis.warnings) {
            EXPECT_TRUE(onALine(entry.line)) << entry.line;
        }
        for (const auto &entry : analysis.tools) {
            EXPECT_TRUE(onALine(entry.line)) << entry.line;
        }
        for (const auto &entry : analysis.comments) {
            EXPECT_TRUE(onALine(entry.line)) << entry.line;
        }
        const QString diff =
            ReferenceAnalyzer::difference(analysis, ReferenceAnalyzer::analyze(file.text, AppLanguage::english));
        EXPECT_TRUE(diff.isEmpty()) << diff.toStdString();
    }
}

TEST(CorpusAnalyzer, HighlighterTilesTheFirstLinesOfEveryProgram)
{
    const QList<CorpusFile> files = corpus();
    if (files.isEmpty()) {
        GTEST_SKIP() << "no corpus at " << VARN_CORPUS_DIR;
    }
    for (const CorpusFile &file : files) {
        SCOPED_TRACE(file.name.toStdString());
        // The editor asks for whole lines: the first 20,000 characters, extended to the line end.
        qsizetype length = std::min<qsizetype>(file.text.size(), 20'000);
        while (length < file.text.size() && file.text[length] != u'\n' && file.text[length] != u'\r') {
            ++length;
        }
        const auto result = GCodeHighlighter::spans(file.text, 0, length, AppLanguage::english);
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
            tooltipEnd = tip.start + tip.length;
            EXPECT_LE(tooltipEnd, length);
            EXPECT_FALSE(tip.text.isEmpty());
        }
    }
}
