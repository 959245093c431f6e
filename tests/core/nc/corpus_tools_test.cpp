// Real programs written by others, through every tool: line endings survive,
// the idempotent tools are idempotent, the removal tools never add lines and
// scaling touches nothing but the numbers. Skips when the corpus is not there.
#include "nc/nctools.h"

#include <QDirIterator>
#include <QStringDecoder>
#include <gtest/gtest.h>

namespace {

qsizetype lineCount(const QString &text)
{
    return text.count(u'\n') + text.count(u'\r') - text.count(QStringLiteral("\r\n")) + 1;
}

// With any CRLF in the input, every break out is CRLF; otherwise no CR at all.
bool breaksFollowInput(const QString &input, const QString &output)
{
    if (!input.contains(QStringLiteral("\r\n"))) {
        return !output.contains(u'\r');
    }
    const qsizetype pairs = output.count(QStringLiteral("\r\n"));
    return output.count(u'\r') == pairs && output.count(u'\n') == pairs;
}

} // namespace

TEST(CorpusTools, LineToolsKeepBreaksAndCountsAndAreIdempotent)
{
    int programs = 0, scaled = 0;
    for (QDirIterator it(QStringLiteral(VARN_CORPUS_DIR), QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
        QFile file(it.next());
        QStringDecoder decoder(QStringDecoder::Utf8);
        const QString text = file.open(QIODevice::ReadOnly) ? decoder(file.readAll()) : QString();
        if (decoder.hasError() || text.isEmpty()) {
            continue;
        }
        ++programs;
        SCOPED_TRACE(file.fileName().toStdString());
        const qsizetype lines = lineCount(text);
        using Tool = std::function<QString(const QString &)>;
        const std::pair<Tool, bool> tools[] = {// the tool, and whether a second run must change nothing
                                               {[](const QString &t) { return NCTools::renumber(t, 10, 10); }, true},
                                               {[](const QString &t) { return NCTools::addLineNumbers(t, 1, 1); }, false},
                                               {NCTools::removeLineNumbers, true},
                                               {NCTools::formatSpacing, true}};
        for (const auto &[tool, idempotent] : tools) {
            const QString once = tool(text);
            EXPECT_TRUE(breaksFollowInput(text, once));
            EXPECT_EQ(lineCount(once), lines);
            EXPECT_TRUE(!idempotent || tool(once) == once);
        }
        const QString dry = NCTools::removeCoolant(text);
        EXPECT_TRUE(breaksFollowInput(text, dry));
        EXPECT_LE(lineCount(dry), lines);
        EXPECT_EQ(NCTools::removeCoolant(dry), dry);
        EXPECT_LE(lineCount(NCTools::removeMCodes(text, {0, 1, 8, 9, 30})), lines);

        const QList<NCTools::AxisRange> ranges = NCTools::axisRanges(text, {'X', 'Y', 'Z'});
        if (NCTools::scalingFits(text, 'F', 0.9) && NCTools::scalingFits(text, 'S', 1.25)) {
            const QString changed = NCTools::scaleSpindle(NCTools::scaleFeed(text, 0.9), 1.25);
            EXPECT_EQ(lineCount(changed), lines);
            EXPECT_EQ(changed.count(u'F', Qt::CaseInsensitive), text.count(u'F', Qt::CaseInsensitive));
            EXPECT_EQ(changed.count(u'S', Qt::CaseInsensitive), text.count(u'S', Qt::CaseInsensitive));
            EXPECT_EQ(NCTools::axisRanges(changed, {'X', 'Y', 'Z'}), ranges);
            ++scaled;
        }
    }
    if (programs == 0) {
        GTEST_SKIP() << "no corpus at " VARN_CORPUS_DIR;
    }
    EXPECT_GT(scaled, 0);
}
