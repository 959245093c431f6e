// Any bytes as machines.json. Decoding is all or nothing; whatever decodes
// re-encodes with every key in field order, decodes back to the same profiles,
// and a profile that passes validation opens the port with in-range codes.
#include "fuzzsupport.h"

#include "machines/machine.h"

#include <QStringList>

#include <algorithm>
#include <climits>

namespace {

const QStringList kFieldOrder = {"id",     "name",     "baudRate",    "dataBits",
                                 "parity", "stopBits", "flowControl", "lineTerminator",
                                 "dtr",    "rts",      "dripFeed"};

// The keys of one flat JSON object in the order they are written. Values of a
// profile are strings, numbers and booleans only, so depth never exceeds one.
QStringList keysInOrder(const QByteArray &object)
{
    QStringList keys;
    bool expectKey = true;
    for (qsizetype i = 0; i < object.size(); ++i) {
        const char c = object[i];
        if (c == '"') {
            QByteArray token;
            for (++i; i < object.size() && object[i] != '"'; ++i) {
                if (object[i] == '\\') {
                    ++i;
                }
                token += object[i];
            }
            if (expectKey) {
                keys << QString::fromUtf8(token);
                expectKey = false;
            }
        } else if (c == ',' || c == '{') {
            expectKey = true;
        }
    }
    return keys;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<QList<Machine>> decoded = Machine::decodeList(FuzzSupport::bytes(data, size));
    if (!decoded) {
        return 0;
    }
    for (const Machine &machine : *decoded) {
        const QByteArray json = machine.toJson();
        FUZZ_CHECK(keysInOrder(json) == kFieldOrder);
        // Decoded profiles go to the port unvalidated, so any number must
        // reach it clamped, never wrapped and never as an assertion.
        const SerialLineSettings line = machine.lineSettings();
        FUZZ_CHECK(qint64(line.baudRate) == std::clamp<qint64>(machine.baudRate, INT_MIN, INT_MAX));
        FUZZ_CHECK(qint64(line.dataBits) == std::clamp<qint64>(machine.dataBits, INT_MIN, INT_MAX));
        FUZZ_CHECK(qint64(line.stopBits) == std::clamp<qint64>(machine.stopBits, INT_MIN, INT_MAX));
        const auto checked = machine.validated();
        if (const Machine *valid = std::get_if<Machine>(&checked)) {
            FUZZ_CHECK(valid->baudRate >= 1 && valid->dataBits >= 5 && valid->dataBits <= 8);
            FUZZ_CHECK(valid->name == valid->name.trimmed() && !valid->name.isEmpty());
        }
    }
    const std::optional<QList<Machine>> again = Machine::decodeList(Machine::encodeList(*decoded));
    FUZZ_CHECK(again.has_value());
    FUZZ_CHECK(*again == *decoded);
    return 0;
}
