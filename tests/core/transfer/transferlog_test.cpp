#include "transfer/transferlog.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

TransferLogEntry entry(int n)
{
    TransferLogEntry e;
    e.time = QDateTime(QDate(2026, 3, 1), QTime(8, 0), Qt::UTC).addSecs(n);
    e.machine = QStringLiteral("Fanuc");
    e.port = QStringLiteral("/dev/ttyUSB0");
    e.file = QStringLiteral("part%1.nc").arg(n);
    e.bytes = n;
    e.result = QStringLiteral("success");
    e.durationMs = 1500;
    return e;
}

} // namespace

TEST(TransferLog, KeepsTheLastEntriesAndSkipsDamagedLines)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("sub/transfers.log"));
    const TransferLog log(path, 5);

    TransferLogEntry odd = entry(0);
    odd.direction = TransferLogEntry::Direction::receive;
    odd.file = QStringLiteral("a\tb\nc.nc");
    odd.result = QStringLiteral("error");
    odd.message = QStringLiteral("Send error: Input/output error");
    ASSERT_TRUE(log.append(odd));
    odd.file = QStringLiteral("a b c.nc"); // tabs and breaks inside a field become blanks
    EXPECT_EQ(log.entries(), QList<TransferLogEntry>{odd});

    for (int n = 1; n <= 300; ++n) {
        ASSERT_TRUE(log.append(entry(n)));
    }
    QList<TransferLogEntry> expected;
    for (int n = 296; n <= 300; ++n) {
        expected.append(entry(n));
    }
    EXPECT_EQ(log.entries(), expected);

    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("not a log line\n");
    file.close();
    EXPECT_EQ(log.entries(), expected);
}
