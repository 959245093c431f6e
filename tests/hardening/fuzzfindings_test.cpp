// Inputs the fuzz targets found, kept so the faults stay fixed.
#include "machines/machine.h"
#include "nc/gcodehighlighter.h"
#include "base/textfile.h"

#include <gtest/gtest.h>

#include <limits>

TEST(FuzzFindings, HighlightRangeStartingBeforeTheTextIsCutNotShifted)
{
    const QString text = QStringLiteral("S1000 M3");
    const qsizetype max = std::numeric_limits<qsizetype>::max();
    const qsizetype min = std::numeric_limits<qsizetype>::min();
    struct Case {
        qsizetype from, length, begin, end;
    };
    for (const Case c : {Case{-4, 6, 0, 2}, Case{-10, 5, 0, 0}, Case{3, max, 3, 8}, Case{min, max, 0, 0},
                         Case{9, 4, 8, 8}, Case{2, -3, 2, 2}}) {
        SCOPED_TRACE(testing::Message() << c.from << "+" << c.length);
        const auto result = GCodeHighlighter::spans(text, c.from, c.length, AppLanguage::english);
        qsizetype at = c.begin;
        for (const auto &run : result.runs) {
            EXPECT_EQ(run.start, at);
            at += run.length;
        }
        EXPECT_EQ(at, c.end);
        for (const auto &tip : result.tooltips) {
            EXPECT_GE(tip.start, c.begin);
            EXPECT_LE(tip.start + tip.length, c.end);
        }
    }
}

TEST(FuzzFindings, OnlyTheFirstByteOrderMarkIsDropped)
{
    const TextFile::ReadResult twice = TextFile::decode("\xEF\xBB\xBF\xEF\xBB\xBF");
    ASSERT_TRUE(twice.ok());
    EXPECT_TRUE(twice.hadByteOrderMark);
    EXPECT_EQ(twice.text, QString(QChar(0xFEFF)));
}

TEST(FuzzFindings, HandEditedSpeedsBeyondAnIntReachThePortClamped)
{
    // Valid JSON, every key of the right type: the store takes it without validation.
    const QByteArray json =
        R"([{"id":"x","name":"Mill","baudRate":4294967296,"dataBits":-4294967296,)"
        R"("parity":"N","stopBits":9000000000,"flowControl":"none","lineTerminator":"LF",)"
        R"("dtr":false,"rts":false,"dripFeed":false}])";
    const std::optional<QList<Machine>> decoded = Machine::decodeList(json);
    ASSERT_TRUE(decoded.has_value());
    const SerialLineSettings line = decoded->first().lineSettings();
    EXPECT_EQ(line.baudRate, std::numeric_limits<int>::max());
    EXPECT_EQ(line.dataBits, std::numeric_limits<int>::min());
    EXPECT_EQ(line.stopBits, std::numeric_limits<int>::max());
}
