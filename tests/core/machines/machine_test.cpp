#include "machines/machine.h"
#include "machines/machinestore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using Kind = MachineValidationError::Kind;
using P = Machine::Parity;
using FC = Machine::FlowControl;
using LT = Machine::LineTerminator;

Machine fanuc()
{
    return Machine::defaults().at(0);
}

Machine changed(std::function<void(Machine &)> change)
{
    Machine machine = fanuc();
    change(machine);
    return machine;
}

const QByteArray kFanucJson = R"({"id":"fanuc","name":"Fanuc","baudRate":4800,"dataBits":7,"parity":"E",)"
                              R"("stopBits":2,"flowControl":"xonxoff","lineTerminator":"CR","dtr":false,)"
                              R"("rts":false,"dripFeed":false})";
const QByteArray kFadalJson = R"({"id":"fadal","name":"Fadal","baudRate":9600,"dataBits":8,"parity":"N",)"
                              R"("stopBits":1,"flowControl":"xonxoff","lineTerminator":"CRLF","dtr":false,)"
                              R"("rts":false,"dripFeed":false})";

} // namespace

TEST(MachineValidation, TheFirstRuleBrokenDecidesAndTheNameIsTrimmed)
{
    const std::pair<Machine, std::optional<Kind>> cases[] = {
        {changed([](Machine &m) { m.name = " \n\t\u00A0\u2028 "; }), Kind::emptyName},
        {changed([](Machine &m) { m.name.clear(); }), Kind::emptyName},
        {changed([](Machine &m) { m.baudRate = 0; }), Kind::invalidBaudRate},
        {changed([](Machine &m) { m.baudRate = -9600; }), Kind::invalidBaudRate},
        {changed([](Machine &m) { m.baudRate = 1; }), std::nullopt},
        {changed([](Machine &m) { m.dataBits = 4; }), Kind::invalidDataBits},
        {changed([](Machine &m) { m.dataBits = 9; }), Kind::invalidDataBits},
        {changed([](Machine &m) { m.dataBits = 5; }), std::nullopt},
        {changed([](Machine &m) { m.stopBits = 0; }), Kind::invalidStopBits},
        {changed([](Machine &m) { m.stopBits = 3; }), Kind::invalidStopBits},
        {changed([](Machine &m) { m.name = "  ", m.baudRate = 0; }), Kind::emptyName},
        {changed([](Machine &m) { m.baudRate = 0, m.dataBits = 0, m.stopBits = 0; }), Kind::invalidBaudRate},
        {changed([](Machine &m) { m.dataBits = 10, m.stopBits = 5; }), Kind::invalidDataBits},
    };
    for (const auto &[machine, kind] : cases) {
        SCOPED_TRACE(machine.toJson().toStdString());
        const auto result = machine.validated();
        const auto *error = std::get_if<MachineValidationError>(&result);
        EXPECT_EQ(error ? std::optional(error->kind) : std::nullopt, kind);
    }
    // Only the name changes, and only by trimming.
    const Machine odd = changed([](Machine &m) { m.id = "  my-id  ", m.name = "\n  Haas VF-2  \t", m.baudRate = 250000; });
    Machine expected = odd;
    expected.name = "Haas VF-2";
    EXPECT_EQ(std::get<Machine>(odd.validated()), expected);

    const std::pair<Kind, const char *> messages[] = {{Kind::emptyName, "Name is required"},
                                                      {Kind::invalidBaudRate, "Baud rate must be greater than zero"},
                                                      {Kind::invalidDataBits, "Data bits must be 5, 6, 7, or 8"},
                                                      {Kind::invalidStopBits, "Stop bits must be 1 or 2"}};
    for (const auto &[kind, text] : messages) {
        EXPECT_EQ(MachineValidationError{kind}.description(AppLanguage::english), text);
    }
}

TEST(Machine, RawValuesDefaultsSummaryAndLineSettings)
{
    QStringList raw;
    for (auto p : Machine::allCases<P>()) {
        raw << Machine::rawValue(p);
    }
    for (auto f : Machine::allCases<FC>()) {
        raw << Machine::rawValue(f);
    }
    for (auto t : Machine::allCases<LT>()) {
        raw << Machine::rawValue(t) + '=' + Machine::terminatorBytes(t).toHex();
    }
    EXPECT_EQ(raw, QStringList({"N", "E", "O", "M", "S", "xonxoff", "rtscts", "none", "CR=0d", "CRLF=0d0a", "LF=0a"}));
    EXPECT_TRUE(Machine::fromRawValue<P>("M") == P::mark && Machine::fromRawValue<FC>("rtscts") == FC::rtsCts &&
                Machine::fromRawValue<LT>("CRLF") == LT::crlf);
    EXPECT_FALSE(Machine::fromRawValue<P>("e") || Machine::fromRawValue<FC>("XONXOFF") || Machine::fromRawValue<LT>(""));
    EXPECT_EQ(Machine::baudRateOptions,
              (std::array<qint64, 11>{110, 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200}));

    // Keys in their documented order; the second default is Fadal.
    ASSERT_EQ(Machine::defaults().size(), 2);
    EXPECT_EQ(fanuc().toJson(), kFanucJson);
    EXPECT_EQ(Machine::defaults()[1].toJson(), kFadalJson);

    const struct {
        Machine machine;
        QString summary;
        SerialLineSettings line; // parity none 0 .. space 4; flow none 0, XON/XOFF 1, RTS/CTS 2
    } rows[] = {
        {fanuc(), "4800 7E2 · XON/XOFF · CR", {4800, 7, 1, 2, 1, false, false, false}},
        {Machine::defaults()[1], "9600 8N1 · XON/XOFF · CRLF", {9600, 8, 0, 1, 1, false, false, false}},
        {changed([](Machine &m) {
             m.baudRate = 115200, m.dataBits = 8, m.parity = P::space, m.stopBits = 1;
             m.flowControl = FC::rtsCts, m.lineTerminator = LT::lf;
         }),
         "115200 8S1 · RTS/CTS · LF", {115200, 8, 4, 1, 2, false, false, false}},
        {changed([](Machine &m) {
             m.baudRate = 1000000, m.dataBits = 5, m.parity = P::mark, m.stopBits = 1, m.flowControl = FC::none;
             m.dtr = m.rts = m.dripFeed = true;
         }),
         "1000000 5M1 · no flow · CR", {1000000, 5, 3, 1, 0, true, true, true}},
        {changed([](Machine &m) { m.parity = P::odd; }), "4800 7O2 · XON/XOFF · CR", {4800, 7, 2, 2, 1, false, false, false}},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(row.machine.summary(AppLanguage::english), row.summary);
        EXPECT_EQ(row.machine.lineSettings(), row.line) << row.summary.toStdString();
    }
    // Only the "no flow" words are translated.
    EXPECT_EQ(rows[3].machine.summary(AppLanguage::spanish),
              "1000000 5M1 · " + L10n::text("no flow", AppLanguage::spanish) + " · CR");
}

TEST(MachineJson, RoundTripsAwkwardNamesAndRefusesAnythingIncomplete)
{
    Machine awkward = changed([](Machine &m) {
        m.id = "3f2a-\"id\"";
        m.name = QString::fromUtf8("Máquina \"Ñ\" \\ C:\\ tab\there\nline\x01 \u00B0 \U0001F600");
        m.baudRate = 250000, m.dataBits = 5, m.parity = P::mark, m.stopBits = 2;
        m.flowControl = FC::rtsCts, m.lineTerminator = LT::lf, m.dtr = true, m.dripFeed = true;
    });
    const QByteArray json = awkward.toJson();
    EXPECT_EQ(Machine::fromJson(QJsonDocument::fromJson(json).object()), awkward) << json.constData();
    EXPECT_FALSE(json.contains('\n'));

    const QJsonObject good = QJsonDocument::fromJson(kFanucJson).object();
    for (const QString &key : good.keys()) {
        QJsonObject missing = good;
        missing.remove(key);
        EXPECT_EQ(Machine::fromJson(missing), std::nullopt) << "without " << key.toStdString();
    }
    const std::pair<const char *, QJsonValue> wrong[] = {
        {"parity", "e"},          {"parity", "EVEN"},   {"flowControl", "XON/XOFF"}, {"lineTerminator", "cr"},
        {"baudRate", "4800"},     {"baudRate", 4800.5}, {"baudRate", 1e300},         {"dataBits", true},
        {"stopBits", QJsonValue()}, {"dtr", 0},         {"rts", "false"},            {"dripFeed", 1},
        {"id", 7},                {"name", QJsonValue(QJsonValue::Null)},
    };
    for (const auto &[key, value] : wrong) {
        QJsonObject object = good;
        object.insert(key, value);
        EXPECT_EQ(Machine::fromJson(object), std::nullopt) << key;
    }
    // A whole number with a fraction part is still that number; an extra key loses nothing.
    QJsonObject lenient = good;
    lenient.insert("baudRate", 4800.0);
    lenient.insert("colour", "red");
    EXPECT_EQ(Machine::fromJson(lenient), fanuc());
    EXPECT_EQ(Machine::fromJson(QJsonValue("fanuc")), std::nullopt);

    // Lists decode whole or not at all.
    const QByteArray both = Machine::encodeList(Machine::defaults());
    EXPECT_EQ(both, "[" + kFanucJson + "," + kFadalJson + "]");
    EXPECT_EQ(Machine::decodeList(both), Machine::defaults());
    EXPECT_EQ(Machine::encodeList({}), "[]");
    EXPECT_EQ(Machine::decodeList("[]"), QList<Machine>());
    for (const QByteArray &bad : {QByteArray(both).replace(",\"rts\":false", ""), QByteArray("{}"), QByteArray("[1]"),
                                  both.chopped(1), QByteArray()}) {
        EXPECT_EQ(Machine::decodeList(bad), std::nullopt) << bad.constData();
    }
}

namespace {

class MachineStoreTest : public ::testing::Test {
protected:
    QString path() const { return m_dir.filePath("VarnEdit/machines.json"); }
    void writeFile(const QByteArray &bytes) const
    {
        QDir().mkpath(QFileInfo(path()).absolutePath());
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QByteArray readFile() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    static Machine haas()
    {
        Machine machine;
        machine.id = "haas", machine.name = "Haas", machine.baudRate = 115200;
        return machine;
    }
    const Machine fanuc = Machine::defaults()[0], fadal = Machine::defaults()[1];
    QTemporaryDir m_dir;
};

TEST_F(MachineStoreTest, LoadsTheFileOrTheDefaultsAndLeavesAnUnusableFileUntilTheNextSave)
{
    MachineStore fresh(path());
    EXPECT_EQ(fresh.machines(), Machine::defaults());
    EXPECT_TRUE(QFileInfo(path()).dir().exists());
    EXPECT_FALSE(QFile::exists(path())) << "nothing is written before a change";

    writeFile(Machine::encodeList({haas(), fadal}));
    EXPECT_EQ(MachineStore(path()).machines(), QList<Machine>({haas(), fadal}));

    const QByteArray unusable[] = {"[]", "", "not json at all", "{\"id\":\"haas\"}",
                                   Machine::encodeList({haas(), fadal}).replace(R"("rts":false,)", ""),
                                   Machine::encodeList({haas()}).replace("\"N\"", "\"n\"")};
    for (const QByteArray &content : unusable) {
        SCOPED_TRACE(content.constData());
        writeFile(content);
        EXPECT_EQ(MachineStore(path()).machines(), Machine::defaults());
        EXPECT_EQ(readFile(), content);
    }
    // The broken file is overwritten by the first change; that is intended.
    MachineStore store(path());
    store.upsert(haas());
    EXPECT_EQ(readFile(), Machine::encodeList({fanuc, fadal, haas()}));
}

TEST_F(MachineStoreTest, UpsertAndRemoveSaveAndSignalAndAnEmptyListStartsWithTheDefaults)
{
    {
        MachineStore store(path());
        QSignalSpy changed(&store, &MachineStore::machinesChanged);
        store.upsert(haas());
        Machine renamed = fanuc;
        renamed.name = "Fanuc 0i", renamed.baudRate = 9600;
        store.upsert(renamed); // replaced in place
        EXPECT_EQ(store.machines(), QList<Machine>({renamed, fadal, haas()}));
        EXPECT_EQ(readFile(), Machine::encodeList(store.machines()));
        EXPECT_EQ(MachineStore(path()).machines(), store.machines());

        Machine stale = fadal;
        stale.name = "Renamed elsewhere";
        store.remove(stale); // matched by id only
        store.remove(renamed);
        store.remove(haas());
        EXPECT_TRUE(store.machines().isEmpty());
        store.remove(haas()); // not there: no change
        EXPECT_EQ(changed.count(), 5);
    }
    EXPECT_EQ(readFile(), "[]");
    EXPECT_EQ(MachineStore(path()).machines(), Machine::defaults());
}

TEST(MachineStoreLocation, DefaultFileLivesInTheUsersDataFolder)
{
    const QString expected = qEnvironmentVariable("XDG_DATA_HOME") + "/VarnEdit/machines.json";
    EXPECT_EQ(MachineStore::defaultFilePath(), expected);
    EXPECT_EQ(MachineStore().filePath(), expected);
}

} // namespace
