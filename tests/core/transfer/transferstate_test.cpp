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
    struct Row {
        const char *raw;
        const char *label;
        bool active;
    };
    const Row rows[] = {
        {"idle", "Ready", false},
        {"connecting", "Connecting…", true},
        {"sending", "Sending…", true},
        {"finishing", "Finishing…", true},
        {"success", "Transfer Completed", false},
        {"error", "Error", false},
        {"cancelled", "Transfer Cancelled", false},
    };
    const auto statuses = TransferState::allStatuses();
    ASSERT_EQ(statuses.size(), std::size(rows));
    for (size_t i = 0; i < statuses.size(); ++i) {
        SCOPED_TRACE(rows[i].raw);
        EXPECT_EQ(TransferState::rawValue(statuses[i]), rows[i].raw);
        EXPECT_EQ(TransferState::statusFromRawValue(rows[i].raw), statuses[i]);
        EXPECT_EQ(TransferState::label(statuses[i], AppLanguage::english), QString::fromUtf8(rows[i].label));
        EXPECT_EQ(stateOf(statuses[i], 0, 0).isActive(), rows[i].active);
    }
    EXPECT_EQ(TransferState::statusFromRawValue("Idle"), std::nullopt);
}

TEST(TransferState, PercentTruncatesCapsAndTreatsAnEmptyPayloadAsDoneOnlyOnSuccess)
{
    EXPECT_EQ(stateOf(Status::success, 0, 0).percent(), 100);
    for (Status status : {Status::idle, Status::connecting, Status::sending, Status::finishing, Status::error,
                          Status::cancelled}) {
        EXPECT_EQ(stateOf(status, 0, 0).percent(), 0);
    }
    EXPECT_EQ(stateOf(Status::sending, 1, 3).percent(), 33);
    EXPECT_EQ(stateOf(Status::sending, 2, 3).percent(), 66);
    EXPECT_EQ(stateOf(Status::sending, 599, 600).percent(), 99);
    EXPECT_EQ(stateOf(Status::sending, 600, 600).percent(), 100);
    EXPECT_EQ(stateOf(Status::sending, 900, 600).percent(), 100);
    EXPECT_EQ(stateOf(Status::sending, 5, -1).percent(), 0);
    // Large programs must not overflow on the way to a percentage.
    EXPECT_EQ(stateOf(Status::sending, qint64(1) << 61, qint64(1) << 62).percent(), 50);
}

TEST(TransferState, ByteCountsReadLikeFileSizes)
{
    struct Row {
        qint64 bytes;
        const char *english;
        const char *spanish;
    };
    const Row rows[] = {
        {0, "0 bytes", "0 bytes"},
        {1, "1 byte", "1 byte"},
        {600, "600 bytes", "600 bytes"},
        {999, "999 bytes", "999 bytes"},
        {1000, "1 KB", "1 KB"},
        {12345, "12 KB", "12 KB"},
        {48000, "48 KB", "48 KB"},
        {999499, "999 KB", "999 KB"},
        {999500, "1 MB", "1 MB"},
        {1500000, "1.5 MB", "1,5 MB"},
        {2000000, "2 MB", "2 MB"},
        {2250000000, "2.25 GB", "2,25 GB"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.bytes);
        EXPECT_EQ(TransferState::formatByteCount(row.bytes, AppLanguage::english), row.english);
        // Spanish words come from the table; the numbers from the "es" locale.
        const QString spanish = TransferState::formatByteCount(row.bytes, AppLanguage::spanish);
        if (row.bytes >= 1000) {
            EXPECT_EQ(spanish, row.spanish);
        } else {
            EXPECT_TRUE(spanish.startsWith(QString::number(row.bytes) + " ")) << spanish.toStdString();
        }
    }
}

TEST(TransferState, ProgressLabelShowsSentOfTotal)
{
    EXPECT_EQ(stateOf(Status::sending, 12000, 48000).progressLabel(AppLanguage::english), "12 KB of 48 KB");
    EXPECT_EQ(stateOf(Status::sending, 0, 600).progressLabel(AppLanguage::english), "0 bytes of 600 bytes");
    // After a finished transfer the sent count equals the total.
    EXPECT_EQ(stateOf(Status::success, 1500000, 1500000).progressLabel(AppLanguage::english), "1.5 MB of 1.5 MB");
    EXPECT_EQ(stateOf(Status::success, 0, 0).progressLabel(AppLanguage::english), "");
}

} // namespace
