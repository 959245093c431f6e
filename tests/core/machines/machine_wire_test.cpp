#include "machines/machine.h"
#include "machines/machinestore.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const QByteArray kOldFanuc = R"({"id":"fanuc","name":"Fanuc","baudRate":4800,"dataBits":7,"parity":"E",)"
                             R"("stopBits":2,"flowControl":"xonxoff","lineTerminator":"CR","dtr":false,)"
                             R"("rts":false,"dripFeed":false)";

std::optional<Machine> decode(const QByteArray &json)
{
    return Machine::fromJson(QJsonDocument::fromJson("[" + json + "]").array().at(0));
}

} // namespace

TEST(MachineWireFields, WrittenAfterTheOldKeysInOrderOnlyWhenUsed)
{
    Machine tape = Machine::defaults().at(0);
    EXPECT_EQ(tape.toJson(), kOldFanuc + "}");

    tape.leaderLength = 120;
    tape.trailerLength = 30;
    tape.startCharacter = Machine::TapeMark::dc2;
    tape.endCharacter = Machine::TapeMark::percent;
    tape.lineDelayMs = 40;
    tape.stripComments = true;
    tape.upperCase = true;
    tape.waitForXon = true;
    tape.characterCode = Machine::CharacterCode::eia;
    tape.receiveIdleSeconds = 8;
    tape.autoReceiveFolder = QStringLiteral("/srv/nc/in");
    tape.endOfBlock = "\n\r";
    const QByteArray expected =
        kOldFanuc +
        R"(,"leaderLength":120,"trailerLength":30,"startCharacter":"DC2","endCharacter":"%","lineDelayMs":40,)"
        R"("stripComments":true,"stripSpaces":false,"stripBlankLines":false,"upperCase":true,"waitForXon":true,)"
        R"("characterCode":"EIA","receiveIdleSeconds":8,"autoReceiveFolder":"/srv/nc/in","endOfBlock":"\n\r"})";
    EXPECT_EQ(tape.toJson(), expected);
    EXPECT_EQ(decode(expected), tape);
}

TEST(MachineWireFields, OldFilesTakeDefaultsAndBadValuesFailOrClamp)
{
    const std::optional<Machine> old = decode(kOldFanuc + "}");
    ASSERT_TRUE(old);
    EXPECT_EQ(*old, Machine::defaults().at(0));
    EXPECT_FALSE(old->hasExtendedFields());

    EXPECT_FALSE(decode(kOldFanuc + R"(,"leaderLength":"10"})"));
    EXPECT_FALSE(decode(kOldFanuc + R"(,"characterCode":"eia"})"));
    EXPECT_FALSE(decode(kOldFanuc + R"(,"startCharacter":"DC3"})"));
    const std::optional<Machine> wild =
        decode(kOldFanuc + R"(,"leaderLength":9000,"trailerLength":-4,"lineDelayMs":99999,"receiveIdleSeconds":0})");
    ASSERT_TRUE(wild);
    EXPECT_EQ(wild->leaderLength, Machine::maxLeaderLength);
    EXPECT_EQ(wild->trailerLength, 0);
    EXPECT_EQ(wild->lineDelayMs, Machine::maxLineDelayMs);
    EXPECT_EQ(wild->receiveIdleSeconds, 1);

    // A store written by an older version loads whole and saves back unchanged.
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("machines.json"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[" + kOldFanuc + "}]");
    file.close();
    MachineStore store(path);
    store.save();
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "[" + kOldFanuc + "}]");
}
