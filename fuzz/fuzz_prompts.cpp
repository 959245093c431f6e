// Any answer typed into the "Remove M Codes" prompt: every code found is a
// non-negative run of ASCII digits that occurs in the answer, in order, and
// removing the codes from a program never crashes whatever they are.
#include "fuzzsupport.h"

#include "nc/nctools.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The prompt hands over whatever the user typed, so take it leniently as
    // the text field would (invalid bytes become replacement characters).
    const QString answer = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const QList<qint64> codes = NCTools::parseMCodeList(answer);

    qsizetype from = 0;
    for (const qint64 code : codes) {
        FUZZ_CHECK(code >= 0);
        // Leading zeros are allowed ("08"), so find the digits without them.
        const QString digits = QString::number(code);
        const qsizetype at = answer.indexOf(digits, from);
        FUZZ_CHECK(at >= 0);
        from = at + digits.size();
    }
    FUZZ_CHECK(codes.size() <= answer.size());

    static const QString program =
        QStringLiteral("%\nO1000\nN10 G0 X0 M3 S1200 M8\nN20 M08 (M9)\nM9\nM30\n%\n");
    const QString removed = NCTools::removeMCodes(program, codes);
    FUZZ_CHECK(FuzzSupport::framedLineCount(removed) <= FuzzSupport::framedLineCount(program));
    return 0;
}
