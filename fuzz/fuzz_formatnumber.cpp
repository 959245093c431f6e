// formatLikeOriginal with any number text as the original and any double: the
// result is a plain number with the original's decimals (1 to 4), or an integer
// rounded half away from zero when the original has no point. A value that
// cannot round into 64 bits is kept out by the same guard the scaling uses.
#include "fuzzsupport.h"

#include "nc/nctools.h"

#include <QRegularExpression>

#include <cmath>
#include <cstring>

namespace {

bool roundsIntoInt64(double value)
{
    const double rounded = std::round(value);
    return rounded >= -9223372036854775808.0 && rounded < 9223372036854775808.0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < sizeof(double)) {
        return 0;
    }
    double value = 0;
    std::memcpy(&value, data, sizeof value);
    const std::optional<QString> original =
        FuzzSupport::programText(data + sizeof value, size - sizeof value);
    if (!original) {
        return 0;
    }
    const qsizetype point = original->indexOf(u'.');
    if (point < 0) {
        // The guard the tools and their callers rely on must say the same.
        const bool fits = NCTools::scalingFits(QStringLiteral("F1"), u'F', value);
        FUZZ_CHECK(fits == roundsIntoInt64(value));
        if (!fits) {
            return 0;
        }
    }
    const QString written = NCTools::formatLikeOriginal(value, *original);
    if (point < 0) {
        static const QRegularExpression integer(QStringLiteral("^-?[0-9]+$"));
        FUZZ_CHECK(integer.match(written).hasMatch());
        bool ok = false;
        const qint64 parsed = written.toLongLong(&ok);
        FUZZ_CHECK(ok);
        FUZZ_CHECK(std::abs(double(parsed) - value) <= 0.5 + std::abs(value) * 1e-15);
        return 0;
    }
    if (!std::isfinite(value)) {
        return 0; // the C library's "inf"/"nan"; no number text in a program parses to these
    }
    const qsizetype decimals = std::clamp<qsizetype>(original->size() - point - 1, 1, 4);
    static const QRegularExpression fixed(QStringLiteral("^-?[0-9]+\\.([0-9]+)$"));
    const QRegularExpressionMatch match = fixed.match(written);
    FUZZ_CHECK(match.hasMatch());
    FUZZ_CHECK(match.capturedLength(1) == decimals);
    const double parsed = written.toDouble();
    FUZZ_CHECK(std::abs(parsed - value) <= 0.5 * std::pow(10.0, -double(decimals)) + std::abs(value) * 1e-15);
    return 0;
}
