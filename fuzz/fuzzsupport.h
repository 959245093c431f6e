#pragma once

// Shared pieces of the fuzz targets: how raw bytes become a program, the line
// framing every tool uses, and a check that stops the run with a readable line.

#include "base/textfile.h"

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>

// An invariant, not an expectation: a broken one is a finding and must stop the
// fuzzer with the input saved, exactly as a crash would.
#define FUZZ_CHECK(condition)                                                                                \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::fprintf(stderr, "invariant broken: %s (%s:%d)\n", #condition, __FILE__, __LINE__);          \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (false)

namespace FuzzSupport {

inline QByteArray bytes(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), qsizetype(size));
}

// The text the program would show for a file holding these bytes, or nothing
// when it would refuse the file. A refusal must still name a byte inside it.
inline std::optional<QString> programText(const uint8_t *data, size_t size)
{
    const QByteArray raw = bytes(data, size);
    TextFile::ReadResult result = TextFile::decode(raw);
    if (!result.ok()) {
        FUZZ_CHECK(result.error == TextFile::ReadError::invalidUtf8);
        FUZZ_CHECK(result.invalidByteOffset >= 0 && result.invalidByteOffset < raw.size());
        FUZZ_CHECK(result.text.isEmpty());
        return std::nullopt;
    }
    return std::move(result.text);
}

// "\r\n", a lone "\r" and "\n" each end a line; empty pieces count, so an empty
// text is one line and a final break adds an empty last line.
inline qsizetype framedLineCount(QStringView text)
{
    qsizetype lines = 1;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'\r') {
            ++lines;
            if (i + 1 < text.size() && text[i + 1] == u'\n') {
                ++i;
            }
        } else if (text[i] == u'\n') {
            ++lines;
        }
    }
    return lines;
}

inline bool containsCrLf(QStringView text)
{
    return text.contains(u"\r\n");
}

// What a line tool writes: "\r\n" throughout when its input held any, else
// "\n" throughout, and never a lone "\r" (that was a line break on the way in).
inline bool usesOnlyBreaks(QStringView text, bool crlf)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'\r') {
            if (!crlf || i + 1 >= text.size() || text[i + 1] != u'\n') {
                return false;
            }
            ++i;
        } else if (text[i] == u'\n' && crlf) {
            return false;
        }
    }
    return true;
}

// A cheap, stable hash of the input, so a target can vary its parameters
// without spending the input's first bytes on them (the seeds are whole programs).
inline quint64 hash(const uint8_t *data, size_t size)
{
    quint64 h = 1469598103934665603ull;
    for (size_t i = 0; i < size; ++i) {
        h = (h ^ data[i]) * 1099511628211ull;
    }
    return h;
}

} // namespace FuzzSupport
