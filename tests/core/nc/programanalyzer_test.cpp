#include "nc/programanalyzer.h"

#include <gtest/gtest.h>

#include <QSet>

namespace {

const AppLanguage en = AppLanguage::english;

} // namespace

TEST(ProgramAnalyzer, EntryIdsAreFreshRandomUuids)
{
    const ProgramAnalysis first = ProgramAnalyzer::analyze("(A)\nT1\nG5\n", en);
    const ProgramAnalysis second = ProgramAnalyzer::analyze("(A)\nT1\nG5\n", en);
    EXPECT_NE(first, second);
    QSet<QUuid> ids;
    for (const auto *a : {&first, &second}) {
        ids << a->tools[0].id << a->comments[0].id;
        for (const auto &w : a->warnings) {
            ids << w.id;
            EXPECT_EQ(w.id.version(), QUuid::Random);
        }
    }
    EXPECT_EQ(ids.size(), 2 * (1 + 1 + 4));
}

// Whole or fed in pieces of any size, the check comes at the same lines.
TEST(ProgramAnalyzer, CancellationIsAskedEvery512LinesAndStopsTheScan)
{
    const QString text = QString("G0 X1\r\n").repeated(1100); // 1101 lines: asked at 0, 512, 1024
    for (const qsizetype piece : {qsizetype(0), qsizetype(1), qsizetype(5), qsizetype(700)}) {
        for (const int stopAt : {0, 2}) {
            int asked = 0;
            const auto isCancelled = [&] { return ++asked == stopAt; };
            ProgramAnalysis a;
            if (piece == 0) {
                a = ProgramAnalyzer::analyze(text, en, isCancelled);
            } else {
                ProgramAnalyzer::Session session(en, isCancelled);
                bool going = true;
                for (qsizetype from = 0; from < text.size(); from += piece) {
                    going = session.feed(QStringView(text).mid(from, piece)) && going;
                }
                EXPECT_EQ(going, stopAt == 0);
                a = session.finish();
            }
            EXPECT_EQ(asked, stopAt == 0 ? 3 : 2) << "pieces of " << piece;
            EXPECT_EQ(a.cancelled, stopAt != 0);
            EXPECT_EQ(a.lineCount, stopAt == 0 ? 1101 : a.lineCount);
        }
    }
    EXPECT_TRUE(ProgramAnalyzer::analyze("", en, [] { return true; }).cancelled);
}
