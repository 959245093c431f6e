#include "machines/machine.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace {

Machine fanuc()
{
    return Machine::defaults().at(0);
}

std::optional<MachineValidationError::Kind> validationError(const Machine &machine)
{
    const auto result = machine.validated();
    if (const auto *error = std::get_if<MachineValidationError>(&result)) {
        return error->kind;
    }
    return std::nullopt;
}

// ---- validation ------------------------------------------------------------

TEST(MachineValidation, EachRuleRejectsItsBoundaryAndAcceptsTheNeighbour)
{
    using Kind = MachineValidationError::Kind;
    struct Case {
        const char *what;
        std::function<void(Machine &)> change;
        std::optional<Kind> expected;
    };
    const Case cases[] = {
        {"blank and newline name", [](Machine &m) { m.name = " \n\t\u00A0\u2028 "; }, Kind::emptyName},
        {"empty name", [](Machine &m) { m.name.clear(); }, Kind::emptyName},
        {"baud 0", [](Machine &m) { m.baudRate = 0; }, Kind::invalidBaudRate},
        {"baud negative", [](Machine &m) { m.baudRate = -9600; }, Kind::invalidBaudRate},
        {"baud 1", [](Machine &m) { m.baudRate = 1; }, std::nullopt},
        {"baud off the list", [](Machine &m) { m.baudRate = 250000; }, std::nullopt},
        {"data bits 4", [](Machine &m) { m.dataBits = 4; }, Kind::invalidDataBits},
        {"data bits 9", [](Machine &m) { m.dataBits = 9; }, Kind::invalidDataBits},
        {"data bits 5", [](Machine &m) { m.dataBits = 5; }, std::nullopt},
        {"stop bits 0", [](Machine &m) { m.stopBits = 0; }, Kind::invalidStopBits},
        {"stop bits 3", [](Machine &m) { m.stopBits = 3; }, Kind::invalidStopBits},
        {"stop bits 2", [](Machine &m) { m.stopBits = 2; }, std::nullopt},
        // The first rule broken decides, in the order name, speed, data, stop.
        {"empty name and baud 0",
         [](Machine &m) {
             m.name = "  ";
             m.baudRate = 0;
         },
         Kind::emptyName},
        {"everything numeric wrong",
         [](Machine &m) {
             m.baudRate = 0;
             m.dataBits = 0;
             m.stopBits = 0;
         },
         Kind::invalidBaudRate},
        {"data and stop wrong",
         [](Machine &m) {
             m.dataBits = 10;
             m.stopBits = 5;
         },
         Kind::invalidDataBits},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Machine machine = fanuc();
        c.change(machine);
        EXPECT_EQ(validationError(machine), c.expected);
    }
}

TEST(MachineValidation, NameIsTrimmedAndNothingElseChanges)
{
    Machine machine = fanuc();
    machine.id = "  my-id  ";
    machine.name = "\n  Haas VF-2  \t";
    machine.baudRate = 250000;
    const auto result = machine.validated();
    ASSERT_TRUE(std::holds_alternative<Machine>(result));
    Machine expected = machine;
    expected.name = "Haas VF-2";
    EXPECT_EQ(std::get<Machine>(result), expected);
}

TEST(MachineValidation, MessagesAreTheUsersWords)
{
    using Kind = MachineValidationError::Kind;
    EXPECT_EQ(MachineValidationError{Kind::emptyName}.description(AppLanguage::english), "Name is required");
    EXPECT_EQ(MachineValidationError{Kind::invalidBaudRate}.description(AppLanguage::english),
              "Baud rate must be greater than zero");
    EXPECT_EQ(MachineValidationError{Kind::invalidDataBits}.description(AppLanguage::english),
              "Data bits must be 5, 6, 7, or 8");
    EXPECT_EQ(MachineValidationError{Kind::invalidStopBits}.description(AppLanguage::english),
              "Stop bits must be 1 or 2");
}

// ---- enumerations, defaults, summary ---------------------------------------

TEST(MachineEnumerations, RawValuesInDeclarationOrderAndExactMatching)
{
    QStringList parities, flows, terminators;
    for (auto p : Machine::allCases<Machine::Parity>()) {
        parities << Machine::rawValue(p);
    }
    for (auto f : Machine::allCases<Machine::FlowControl>()) {
        flows << Machine::rawValue(f);
    }
    for (auto t : Machine::allCases<Machine::LineTerminator>()) {
        terminators << Machine::rawValue(t);
    }
    EXPECT_EQ(parities, QStringList({"N", "E", "O", "M", "S"}));
    EXPECT_EQ(flows, QStringList({"xonxoff", "rtscts", "none"}));
    EXPECT_EQ(terminators, QStringList({"CR", "CRLF", "LF"}));

    EXPECT_EQ(Machine::fromRawValue<Machine::Parity>("M"), Machine::Parity::mark);
    EXPECT_EQ(Machine::fromRawValue<Machine::FlowControl>("rtscts"), Machine::FlowControl::rtsCts);
    EXPECT_EQ(Machine::fromRawValue<Machine::LineTerminator>("CRLF"), Machine::LineTerminator::crlf);
    EXPECT_EQ(Machine::fromRawValue<Machine::Parity>("e"), std::nullopt);
    EXPECT_EQ(Machine::fromRawValue<Machine::FlowControl>("XONXOFF"), std::nullopt);
    EXPECT_EQ(Machine::fromRawValue<Machine::LineTerminator>("cr"), std::nullopt);
    EXPECT_EQ(Machine::fromRawValue<Machine::LineTerminator>(""), std::nullopt);

    EXPECT_EQ(Machine::terminatorBytes(Machine::LineTerminator::cr), "\r");
    EXPECT_EQ(Machine::terminatorBytes(Machine::LineTerminator::crlf), "\r\n");
    EXPECT_EQ(Machine::terminatorBytes(Machine::LineTerminator::lf), "\n");
}

TEST(MachineDefaults, FanucThenFadalAndTheOfferedSpeeds)
{
    const QList<Machine> defaults = Machine::defaults();
    ASSERT_EQ(defaults.size(), 2);
    EXPECT_EQ(defaults[0].toJson(), R"({"id":"fanuc","name":"Fanuc","baudRate":4800,"dataBits":7,"parity":"E",)"
                                    R"("stopBits":2,"flowControl":"xonxoff","lineTerminator":"CR","dtr":false,)"
                                    R"("rts":false,"dripFeed":false})");
    EXPECT_EQ(defaults[1].toJson(), R"({"id":"fadal","name":"Fadal","baudRate":9600,"dataBits":8,"parity":"N",)"
                                    R"("stopBits":1,"flowControl":"xonxoff","lineTerminator":"CRLF","dtr":false,)"
                                    R"("rts":false,"dripFeed":false})");
    const std::array<qint64, 11> speeds = {110, 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};
    EXPECT_EQ(Machine::baudRateOptions, speeds);
}

TEST(MachineSummary, SpeedFramingFlowAndTerminator)
{
    EXPECT_EQ(Machine::defaults()[0].summary(AppLanguage::english), QString::fromUtf8("4800 7E2 · XON/XOFF · CR"));
    EXPECT_EQ(Machine::defaults()[1].summary(AppLanguage::english),
              QString::fromUtf8("9600 8N1 · XON/XOFF · CRLF"));
    Machine machine = fanuc();
    machine.baudRate = 115200;
    machine.dataBits = 8;
    machine.parity = Machine::Parity::space;
    machine.stopBits = 1;
    machine.flowControl = Machine::FlowControl::rtsCts;
    machine.lineTerminator = Machine::LineTerminator::lf;
    EXPECT_EQ(machine.summary(AppLanguage::english), QString::fromUtf8("115200 8S1 · RTS/CTS · LF"));
    machine.flowControl = Machine::FlowControl::none;
    machine.baudRate = 1000000;
    EXPECT_EQ(machine.summary(AppLanguage::english), QString::fromUtf8("1000000 8S1 · no flow · LF"));
    // Only the "no flow" words are translated; the rest is the same in any language.
    EXPECT_EQ(machine.summary(AppLanguage::spanish),
              QString::fromUtf8("1000000 8S1 · ") + L10n::text("no flow", AppLanguage::spanish) + " · LF");
}

TEST(MachineLineSettings, ProfileMapsToTheTransportsCodes)
{
    // Parity codes: none 0, even 1, odd 2, mark 3, space 4; flow: none 0, XON/XOFF 1, RTS/CTS 2.
    EXPECT_EQ(fanuc().lineSettings(), (SerialLineSettings{4800, 7, 1, 2, 1, false, false, false}));
    Machine machine = fanuc();
    machine.baudRate = 250000;
    machine.dataBits = 5;
    machine.parity = Machine::Parity::space;
    machine.stopBits = 1;
    machine.flowControl = Machine::FlowControl::none;
    machine.dtr = machine.rts = machine.dripFeed = true;
    EXPECT_EQ(machine.lineSettings(), (SerialLineSettings{250000, 5, 4, 1, 0, true, true, true}));
    machine.parity = Machine::Parity::mark;
    machine.flowControl = Machine::FlowControl::rtsCts;
    EXPECT_EQ(machine.lineSettings().parity, 3);
    EXPECT_EQ(machine.lineSettings().flowControl, 2);
    machine.parity = Machine::Parity::odd;
    EXPECT_EQ(machine.lineSettings().parity, 2);
}

// ---- encoding ----------------------------------------------------------------

TEST(MachineJson, RoundTripKeepsAwkwardNamesAndEveryField)
{
    Machine machine;
    machine.id = "3f2a-\"id\"";
    machine.name = QString::fromUtf8("Máquina \"Ñ\" \\ C:\\ tab\there\nline\x01 \u00B0 \U0001F600");
    machine.baudRate = 250000;
    machine.dataBits = 5;
    machine.parity = Machine::Parity::mark;
    machine.stopBits = 2;
    machine.flowControl = Machine::FlowControl::rtsCts;
    machine.lineTerminator = Machine::LineTerminator::lf;
    machine.dtr = true;
    machine.rts = false;
    machine.dripFeed = true;

    const QByteArray json = machine.toJson();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    ASSERT_EQ(error.error, QJsonParseError::NoError) << json.constData();
    EXPECT_EQ(Machine::fromJson(document.object()), machine);
    EXPECT_FALSE(json.contains('\n'));
    EXPECT_FALSE(json.contains(' ') && !json.contains("Máquina"));
}

TEST(MachineJson, EveryKeyIsRequiredWithItsTypeAndAKnownRawValue)
{
    const QJsonObject good = QJsonDocument::fromJson(fanuc().toJson()).object();
    ASSERT_EQ(Machine::fromJson(good), fanuc());
    for (const QString &key : good.keys()) {
        QJsonObject missing = good;
        missing.remove(key);
        EXPECT_EQ(Machine::fromJson(missing), std::nullopt) << "without " << key.toStdString();
    }
    const std::pair<const char *, QJsonValue> wrong[] = {
        {"parity", "e"},          {"parity", "EVEN"},       {"flowControl", "XON/XOFF"},
        {"lineTerminator", "cr"}, {"baudRate", "4800"},     {"baudRate", 4800.5},
        {"dataBits", true},       {"stopBits", QJsonValue()}, {"dtr", 0},
        {"rts", "false"},         {"dripFeed", 1},          {"id", 7},
        {"name", QJsonValue(QJsonValue::Null)},             {"baudRate", 1e300},
    };
    for (const auto &[key, value] : wrong) {
        QJsonObject object = good;
        object.insert(key, value);
        EXPECT_EQ(Machine::fromJson(object), std::nullopt) << key;
    }
    // A whole number written with a fraction part is still that number; an
    // unknown extra key is no reason to lose the profile.
    QJsonObject lenient = QJsonDocument::fromJson(R"({"id":"fanuc","name":"Fanuc","baudRate":4800.0,"dataBits":7,)"
                                                  R"("parity":"E","stopBits":2,"flowControl":"xonxoff",)"
                                                  R"("lineTerminator":"CR","dtr":false,"rts":false,)"
                                                  R"("dripFeed":false,"colour":"red"})")
                              .object();
    EXPECT_EQ(Machine::fromJson(lenient), fanuc());
    EXPECT_EQ(Machine::fromJson(QJsonValue("fanuc")), std::nullopt);
}

TEST(MachineJson, ListsDecodeWholeOrNotAtAll)
{
    EXPECT_EQ(Machine::encodeList({}), "[]");
    const QList<Machine> both = Machine::defaults();
    const QByteArray encoded = Machine::encodeList(both);
    EXPECT_EQ(encoded, "[" + both[0].toJson() + "," + both[1].toJson() + "]");
    EXPECT_EQ(Machine::decodeList(encoded), both);
    EXPECT_EQ(Machine::decodeList("[]"), QList<Machine>());

    QByteArray oneBroken = encoded;
    oneBroken.replace(",\"rts\":false", "");
    ASSERT_NE(oneBroken.size(), encoded.size());
    EXPECT_EQ(Machine::decodeList(oneBroken), std::nullopt);
    EXPECT_EQ(Machine::decodeList("{}"), std::nullopt);
    EXPECT_EQ(Machine::decodeList("[1]"), std::nullopt);
    EXPECT_EQ(Machine::decodeList(encoded.left(encoded.size() - 1)), std::nullopt);
    EXPECT_EQ(Machine::decodeList(""), std::nullopt);
}

} // namespace
