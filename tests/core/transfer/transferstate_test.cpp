#include "transfer/transferstate.h"

#include <gtest/gtest.h>

namespace {

using Status = TransferState::Status;

TransferState stateOf(Status status, qint64 sent, qint64 total)
{
    TransferState state;
    state.status = status;
    state.bytesSent = sent;
    state.totalBytes = total;
    return state;
}

TEST(TransferState, StatusesRawValuesLabelsAndActivity)
{
    const struct {
        const char *raw, *label;
        bool active;
    } rows[] = {{"idle", "Ready", false},          {"connecting", "Connecting…", true},
                {"sending", "Sending…", true},     {"finishing", "Finishing…", true},
                {"success", "Transfer Completed", false}, {"error", "Error", false},
                {"cancelled", "Transfer Cancelled", false}};
    const auto statuses = TransferState::allStatuses();
    ASSERT_EQ(statuses.size(), std::size(rows));
    for (size_t i = 0; i < statuses.size(); ++i) {
        SCOPED_TRACE(rows[i].raw);
        EXPECT_EQ(TransferState::rawValue(statuses[i]), rows[i].raw);
        EXPECT_EQ(TransferState::statusFromRawValue(rows[i].raw), statuses[i]);
        EXPECT_EQ(TransferState::label(statuses[i], AppLanguage::english), QString::fromUtf8(rows[i].label));
        EXPECT_EQ(stateOf(statuses[i], 0, 0).isActive(), rows[i].active);
        // An empty payload counts as done only once it succeeded.
        EXPECT_EQ(stateOf(statuses[i], 0, 0).percent(), statuses[i] == Status::success ? 100 : 0);
    }
    EXPECT_EQ(TransferState::statusFromRawValue("Idle"), std::nullopt);
}

TEST(TransferState, PercentTruncatesAndCaps)
{
    const qint64 rows[][3] = {{1, 3, 33}, {2, 3, 66}, {599, 600, 99}, {600, 600, 100}, {900, 600, 100},
                              {5, -1, 0}, {qint64(1) << 61, qint64(1) << 62, 50}};
    for (const auto &row : rows) {
        EXPECT_EQ(stateOf(Status::sending, row[0], row[1]).percent(), row[2]) << row[0] << " of " << row[1];
    }
}

TEST(TransferState, ByteCountsReadLikeFileSizesAndLabelShowsSentOfTotal)
{
    const struct {
        qint64 bytes;
        const char *english, *spanish;
    } rows[] = {{0, "0 bytes", nullptr},     {1, "1 byte", nullptr},         {999, "999 bytes", nullptr},
                {1000, "1 KB", "1 KB"},      {12345, "12 KB", "12 KB"},      {999499, "999 KB", "999 KB"},
                {999500, "1 MB", "1 MB"},    {1500000, "1.5 MB", "1,5 MB"}, {2250000000, "2.25 GB", "2,25 GB"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.bytes);
        EXPECT_EQ(TransferState::formatByteCount(row.bytes, AppLanguage::english), row.english);
        const QString spanish = TransferState::formatByteCount(row.bytes, AppLanguage::spanish);
        EXPECT_TRUE(row.spanish ? spanish == row.spanish : spanish.startsWith(QString::number(row.bytes) + " "))
            << spanish.toStdString();
    }
    EXPECT_EQ(stateOf(Status::sending, 12000, 48000).progressLabel(AppLanguage::english), "12 KB of 48 KB");
    EXPECT_EQ(stateOf(Status::success, 1500000, 1500000).progressLabel(AppLanguage::english), "1.5 MB of 1.5 MB");
    EXPECT_EQ(stateOf(Status::success, 0, 0).progressLabel(AppLanguage::english), "");
}

} // namespace
