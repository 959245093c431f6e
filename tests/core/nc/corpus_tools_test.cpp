// Real programs written by others, through every tool: line endings survive,
// the idempotent tools are idempotent, the removal tools never add lines.
// Skips when the corpus folder is not there.
#include "nc/nctools.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QStringDecoder>
#include <gtest/gtest.h>

#include <string>

namespace {

struct CorpusProgram {
    QString name;
    QString text;
};

// Every readable file, decoded as UTF-8; files that are not valid UTF-8 are counted, not used.
QList<CorpusProgram> loadCorpus(int *notUtf8)
{
    QList<CorpusProgram> programs;
    QDirIterator it(QStringLiteral(VARN_CORPUS_DIR), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            continue;
        }
        const QByteArray bytes = file.readAll();
        QStringDecoder decoder(QStringDecoder::Utf8);
        const QString text = decoder(bytes);
        if (decoder.hasError()) {
            ++*notUtf8;
            continue;
        }
        programs.append({QFileInfo(path).fileName(), text});
    }
    return programs;
}

qsizetype lineCount(const QString &text)
{
    qsizetype breaks = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'\n' || (text[i] == u'\r' && (i + 1 == text.size() || text[i + 1] != u'\n'))) {
            ++breaks;
        }
    }
    return breaks + 1;
}

// With any CRLF in the input, every break out is CRLF; otherwise no CR at all.
bool breaksFollowInput(const QString &input, const QString &output)
{
    if (input.contains(QStringLiteral("\r\n"))) {
        for (qsizetype i = 0; i < output.size(); ++i) {
            const bool loneCr = output[i] == u'\r' && (i + 1 == output.size() || output[i + 1] != u'\n');
            const bool loneLf = output[i] == u'\n' && (i == 0 || output[i - 1] != u'\r');
            if (loneCr || loneLf) {
                return false;
            }
        }
        return true;
    }
    return !output.contains(u'\r');
}

class CorpusTools : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_notUtf8 = 0;
        s_programs = QDir(QStringLiteral(VARN_CORPUS_DIR)).exists() ? loadCorpus(&s_notUtf8)
                                                                     : QList<CorpusProgram>{};
    }
    void SetUp() override
    {
        if (s_programs.isEmpty()) {
            GTEST_SKIP() << "no corpus at " VARN_CORPUS_DIR;
        }
    }

    static inline QList<CorpusProgram> s_programs;
    static inline int s_notUtf8 = 0;
};

} // namespace

TEST_F(CorpusTools, LineToolsKeepTheLineEndingStyle)
{
    RecordProperty("files_not_utf8", s_notUtf8);
    std::printf("corpus: %lld programs, %d not UTF-8 and skipped\n", qlonglong(s_programs.size()), s_notUtf8);
    for (const CorpusProgram &p : s_programs) {
        const std::string name = p.name.toStdString();
        EXPECT_TRUE(breaksFollowInput(p.text, NCTools::renumber(p.text, 10, 10))) << name;
        EXPECT_TRUE(breaksFollowInput(p.text, NCTools::addLineNumbers(p.text, 10, 10))) << name;
        EXPECT_TRUE(breaksFollowInput(p.text, NCTools::removeLineNumbers(p.text))) << name;
        EXPECT_TRUE(breaksFollowInput(p.text, NCTools::formatSpacing(p.text))) << name;
        EXPECT_TRUE(breaksFollowInput(p.text, NCTools::removeCoolant(p.text))) << name;
        EXPECT_TRUE(breaksFollowInput(p.text, NCTools::removeMCodes(p.text, {8, 9}))) << name;
    }
}

TEST_F(CorpusTools, SecondRunChangesNothing)
{
    for (const CorpusProgram &p : s_programs) {
        const std::string name = p.name.toStdString();
        const QString renumbered = NCTools::renumber(p.text, 10, 10);
        EXPECT_EQ(NCTools::renumber(renumbered, 10, 10), renumbered) << name;
        const QString stripped = NCTools::removeLineNumbers(p.text);
        EXPECT_EQ(NCTools::removeLineNumbers(stripped), stripped) << name;
        const QString spaced = NCTools::formatSpacing(p.text);
        EXPECT_EQ(NCTools::formatSpacing(spaced), spaced) << name;
        const QString dry = NCTools::removeCoolant(p.text);
        EXPECT_EQ(NCTools::removeCoolant(dry), dry) << name;
    }
}

TEST_F(CorpusTools, LineCountsFollowTheTool)
{
    for (const CorpusProgram &p : s_programs) {
        const std::string name = p.name.toStdString();
        const qsizetype lines = lineCount(p.text);
        EXPECT_EQ(lineCount(NCTools::renumber(p.text, 10, 10)), lines) << name;
        EXPECT_EQ(lineCount(NCTools::addLineNumbers(p.text, 1, 1)), lines) << name;
        EXPECT_EQ(lineCount(NCTools::removeLineNumbers(p.text)), lines) << name;
        EXPECT_EQ(lineCount(NCTools::formatSpacing(p.text)), lines) << name;
        // Removal drops lines; an empty result still counts as one empty line.
        EXPECT_LE(lineCount(NCTools::removeCoolant(p.text)), lines) << name;
        EXPECT_LE(lineCount(NCTools::removeMCodes(p.text, {0, 1, 8, 9, 30})), lines) << name;
    }
}

TEST_F(CorpusTools, ScalingTouchesOnlyFeedsAndSpeeds)
{
    int scaled = 0;
    for (const CorpusProgram &p : s_programs) {
        const std::string name = p.name.toStdString();
        const QList<NCTools::AxisRange> ranges = NCTools::axisRanges(p.text, {'X', 'Y', 'Z'});
        for (const NCTools::AxisRange &r : ranges) {
            EXPECT_LE(r.min, r.max) << name << " " << char(r.axis.unicode());
        }
        // Only the numbers behind F (S) change: lines, letters and every axis
        // word stay as they were.
        if (NCTools::scalingFits(p.text, 'F', 0.9)) {
            const QString slower = NCTools::scaleFeed(p.text, 0.9);
            EXPECT_EQ(lineCount(slower), lineCount(p.text)) << name;
            EXPECT_EQ(slower.count(u'F') + slower.count(u'f'), p.text.count(u'F') + p.text.count(u'f')) << name;
            EXPECT_EQ(NCTools::axisRanges(slower, {'X', 'Y', 'Z'}), ranges) << name;
            ++scaled;
        }
        if (NCTools::scalingFits(p.text, 'S', 1.25)) {
            const QString faster = NCTools::scaleSpindle(p.text, 1.25);
            EXPECT_EQ(faster.count(u'S') + faster.count(u's'), p.text.count(u'S') + p.text.count(u's')) << name;
            EXPECT_EQ(NCTools::axisRanges(faster, {'X', 'Y', 'Z'}), ranges) << name;
        }
    }
    EXPECT_GT(scaled, 0);
}
