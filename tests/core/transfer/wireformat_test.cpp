#include "transfer/eiacode.h"
#include "transfer/gcodesender.h"
#include "transfer/wireformat.h"

#include <gtest/gtest.h>

#include <bit>
#include <functional>

namespace {

Machine with(std::function<void(Machine &)> change)
{
    Machine machine = Machine::defaults().at(0); // Fanuc: CR
    change(machine);
    return machine;
}

} // namespace

TEST(WireFormat, EachOptionShapesTheBytes)
{
    const QString program = QStringLiteral("%\nO1000 (Part one)\n\ng0 x1.5 ; rapid\nM30\n%\n");
    const QString plain = QStringLiteral("O1\nG0 X1\n");
    struct Case {
        const char *name;
        QString text;
        Machine machine;
        QByteArray expected;
    };
    const Case cases[] = {
        {"nothing set is the plain payload", program, with([](Machine &) {}),
         "%\rO1000 (Part one)\r\rg0 x1.5 ; rapid\rM30\r%\r"},
        {"leader and trailer", plain, with([](Machine &m) { m.leaderLength = 3, m.trailerLength = 2; }),
         QByteArray("\0\0\0O1\rG0 X1\r\0\0", 14)},
        {"percent framing added", plain,
         with([](Machine &m) { m.startCharacter = m.endCharacter = Machine::TapeMark::percent; }),
         "%\rO1\rG0 X1\r%\r"},
        {"percent framing not doubled", program,
         with([](Machine &m) {
             m.startCharacter = m.endCharacter = Machine::TapeMark::percent;
             m.stripBlankLines = true;
         }),
         "%\rO1000 (Part one)\rg0 x1.5 ; rapid\rM30\r%\r"},
        {"DC2 and DC4", plain,
         with([](Machine &m) { m.startCharacter = Machine::TapeMark::dc2, m.endCharacter = Machine::TapeMark::dc4; }),
         "\x12O1\rG0 X1\r\x14"},
        {"end of block override", plain, with([](Machine &m) { m.endOfBlock = "\n\r"; }), "O1\n\rG0 X1\n\r"},
        {"strip comments leaves the blank line", program, with([](Machine &m) { m.stripComments = true; }),
         "%\rO1000 \r\rg0 x1.5 \rM30\r%\r"},
        {"strip spaces keeps comment text", program, with([](Machine &m) { m.stripSpaces = true; }),
         "%\rO1000(Part one)\r\rg0x1.5;rapid\rM30\r%\r"},
        {"strip blank lines", program, with([](Machine &m) { m.stripBlankLines = true; }),
         "%\rO1000 (Part one)\rg0 x1.5 ; rapid\rM30\r%\r"},
        {"comment-only line goes with blank lines", QStringLiteral("(setup)\nG0\n"),
         with([](Machine &m) { m.stripComments = m.stripBlankLines = true; }), "G0\r"},
        {"upper case", program, with([](Machine &m) { m.upperCase = true; }),
         "%\rO1000 (PART ONE)\r\rG0 X1.5 ; RAPID\rM30\r%\r"},
        {"all clean-ups", program,
         with([](Machine &m) { m.stripComments = m.stripSpaces = m.stripBlankLines = m.upperCase = true; }),
         "%\rO1000\rG0X1.5\rM30\r%\r"},
        {"wait and delay alone change no byte", program,
         with([](Machine &m) { m.waitForXon = true, m.lineDelayMs = 50; }),
         "%\rO1000 (Part one)\r\rg0 x1.5 ; rapid\rM30\r%\r"},
        {"EIA with leader and rewind stop", QStringLiteral("n1 g0\n"),
         with([](Machine &m) {
             m.characterCode = Machine::CharacterCode::eia;
             m.leaderLength = 2;
             m.startCharacter = Machine::TapeMark::percent;
             m.endOfBlock = ";"; // tape has its own end of block
         }),
         QByteArray("\x00\x00\x0B\x80\x45\x01\x10\x67\x20\x80", 10)},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const WirePayload payload = WireFormat::build(c.text, c.machine);
        EXPECT_EQ(payload.bytes, c.expected);
        EXPECT_EQ(payload.unencodable, 0);
    }
}

TEST(WireFormat, PlainProfilesSendExactlyThePreparedPayload)
{
    const QString texts[] = {QString(), QStringLiteral("\n"), QStringLiteral("G0 X1\r\nG1 Y2\rM30"),
                             QStringLiteral("T1 (\u00B0 e\u0301 \u4E2D)\n\n")};
    for (const Machine &machine : Machine::defaults()) {
        for (const QString &text : texts) {
            EXPECT_EQ(WireFormat::build(text, machine).bytes,
                      GCodeSender::preparePayload(text, machine.lineTerminator));
        }
    }
    // The option path keeps the same Latin-1 rules: one '?' per character beyond it.
    const Machine leader = with([](Machine &m) { m.leaderLength = 1; });
    EXPECT_EQ(WireFormat::build(QStringLiteral("T1 (\u00B0 e\u0301 \u4E2D \U0001F600)"), leader).bytes,
              QByteArray("\0T1 (\xB0 \xE9 ? ?)\r", 14));
}

// A transfer is followed on the program's lines: each block's first byte on
// the wire, after the leader, without the lines the profile strips.
TEST(WireFormat, BlocksNameTheProgramLineOfEveryByte)
{
    const QString program = QStringLiteral("%\r\nG0 X1\r\n\r\n(NOTE)\r\nM30");
    const Machine plain = with([](Machine &) {});
    const Machine tape = with([](Machine &m) {
        m.leaderLength = 3;
        m.stripBlankLines = true;
        m.stripComments = true;
    });
    struct Case {
        const char *name;
        Machine machine;
        std::vector<std::pair<qint64, int>> bytesToLine;
    };
    // Plain: "%\r" "G0 X1\r" "\r" "(NOTE)\r" "M30\r". Tape: 3 NULs, "%\r" "G0 X1\r" "M30\r".
    const Case cases[] = {
        {"plain", plain, {{0, 1}, {1, 1}, {2, 2}, {7, 2}, {8, 3}, {9, 4}, {15, 4}, {16, 5}, {99, 5}}},
        {"tape", tape, {{0, 1}, {3, 1}, {5, 2}, {10, 2}, {11, 5}, {14, 5}}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<WireBlock> blocks;
        const QByteArray bytes = WireFormat::build(program, c.machine, &blocks).bytes;
        EXPECT_EQ(bytes, WireFormat::build(program, c.machine).bytes);
        for (const auto &[sent, line] : c.bytesToLine)
            EXPECT_EQ(WireFormat::lineAtByte(blocks, sent), line) << sent;
    }
}

TEST(EiaCode, EveryCharacterHasItsRs244CodeWithOddParity)
{
    // Written out from the standard's chart, independently of the table in the code.
    const std::pair<const char *, QByteArray> chart[] = {
        {"0123456789", "\x20\x01\x02\x13\x04\x15\x16\x07\x08\x19"},
        {"abcdefghi", "\x61\x62\x73\x64\x75\x76\x67\x68\x79"},
        {"jklmnopqr", "\x51\x52\x43\x54\x45\x46\x57\x58\x49"},
        {"stuvwxyz", "\x32\x23\x34\x25\x26\x37\x38\x29"},
        {" -+.,/%()&\t\x7F", "\x10\x40\x70\x6B\x3B\x31\x0B\x1A\x4A\x0E\x3E\x7F"},
    };
    int charted = 0;
    for (const auto &[characters, codes] : chart) {
        for (int i = 0; characters[i]; ++i) {
            const QChar c = QLatin1Char(characters[i]);
            SCOPED_TRACE(std::string(1, characters[i]));
            ASSERT_EQ(EiaCode::encode(c), static_cast<unsigned char>(codes[i]));
            EXPECT_EQ(EiaCode::encode(c.toUpper()), EiaCode::encode(c));
            EXPECT_EQ(std::popcount(static_cast<unsigned>(codes[i] & 0xFF)) % 2, 1);
            ++charted;
        }
    }
    int count = 0;
    EiaCode::table(&count);
    EXPECT_EQ(count, charted);
    for (const char absent : {'#', '=', '*', ':', '\n', '\r', '@', '_'}) {
        EXPECT_FALSE(EiaCode::encode(QLatin1Char(absent))) << absent;
    }
    EXPECT_FALSE(EiaCode::encode(QChar(0x00E9)));
    const Machine eia = with([](Machine &m) { m.characterCode = Machine::CharacterCode::eia; });
    EXPECT_EQ(WireFormat::build(QStringLiteral("#1=2\n"), eia).unencodable, 2);
}

TEST(WireFormat, PreviewShowsControlCharactersAndBlockEnds)
{
    const Machine tape = with([](Machine &m) {
        m.leaderLength = 2;
        m.startCharacter = Machine::TapeMark::dc2;
        m.lineTerminator = Machine::LineTerminator::crlf;
    });
    const QByteArray bytes = WireFormat::build(QStringLiteral("G0\n"), tape).bytes;
    EXPECT_EQ(WireFormat::visible(bytes, tape), QStringLiteral("<NUL><NUL><DC2>G0<CR><LF>\u23CE\n"));
    const Machine eia = with([](Machine &m) { m.characterCode = Machine::CharacterCode::eia; });
    EXPECT_EQ(WireFormat::visible(WireFormat::build(QStringLiteral("%\nx-1.5\n"), eia).bytes, eia),
              QStringLiteral("%<EOB>\u23CE\nX-1.5<EOB>\u23CE\n"));
}
