// Any bytes as machines.json. Decoding is all or nothing; whatever decodes
// re-encodes with every key in field order, decodes back to the same profiles,
// and a profile that passes validation opens the port with in-range codes.
#include "fuzzsupport.h"

#include "machines/machine.h"

#include <QStringList>

namespace {

const QStringList kFieldOrder = {"id",          "name",           "baudRate", "dataBits", "parity",  "stopBits",
                                 "flowControl", "lineTerminator", "dtr",      "rts",      "dripFeed"};

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
        const auto checked = machine.validated();
        if (const Machine *valid = std::get_if<Machine>(&checked)) {
            const SerialLineSettings line = valid->lineSettings();
            FUZZ_CHECK(line.baudRate >= 1 && qint64(line.baudRate) == valid->baudRate);
            FUZZ_CHECK(line.dataBits >= 5 && line.dataBits <= 8);
            FUZZ_CHECK(line.stopBits == 1 || line.stopBits == 2);
        }
    }
    const std::optional<QList<Machine>> again = Machine::decodeList(Machine::encodeList(*decoded));
    FUZZ_CHECK(again.has_value());
    FUZZ_CHECK(*again == *decoded);
    return 0;
}
