// Any bytes as a program file: the decoder and our own UTF-8 scan must agree on
// every input, a refusal names the first bad byte, and accepted text writes
// back to the very same bytes (minus a byte order mark).
#include "fuzzsupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray raw = FuzzSupport::bytes(data, size);
    const TextFile::ReadResult result = TextFile::decode(raw);

    const bool bom = raw.startsWith("\xEF\xBB\xBF");
    FUZZ_CHECK(result.hadByteOrderMark == bom);
    const QByteArrayView body = QByteArrayView(raw).sliced(bom ? 3 : 0);
    const qint64 scanned = TextFile::firstInvalidUtf8Offset(body);

    if (result.ok()) {
        FUZZ_CHECK(scanned == -1);
        FUZZ_CHECK(result.text.toUtf8() == body);
    } else {
        FUZZ_CHECK(result.error == TextFile::ReadError::invalidUtf8);
        FUZZ_CHECK(scanned >= 0);
        FUZZ_CHECK(result.invalidByteOffset == scanned + (bom ? 3 : 0));
        FUZZ_CHECK(result.text.isEmpty());
        // Everything before the named byte is well-formed on its own.
        FUZZ_CHECK(TextFile::firstInvalidUtf8Offset(body.first(scanned)) == -1);
    }
    return 0;
}
