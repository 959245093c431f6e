#include "textencoding.h"

#include <QtGlobal>

#include <array>
#include <cstring>
#include <cerrno>
#include <iconv.h>
#include <memory>
#include <mutex>
#include <vector>

namespace {

// One iconv conversion descriptor, closed when it goes out of scope.
class Iconv {
public:
    Iconv(const char *to, const char *from) : m_cd(iconv_open(to, from)) {}
    ~Iconv()
    {
        if (isOpen()) {
            iconv_close(m_cd);
        }
    }
    Iconv(const Iconv &) = delete;
    Iconv &operator=(const Iconv &) = delete;

    bool isOpen() const { return m_cd != reinterpret_cast<iconv_t>(-1); }

    // Converts all of `in` from the start state; none when the input holds a
    // sequence the source does not define or the target cannot hold.
    std::optional<QByteArray> convert(QByteArrayView in)
    {
        iconv(m_cd, nullptr, nullptr, nullptr, nullptr);
        QByteArray out(in.size() * 4 + 8, Qt::Uninitialized);
        char *inPtr = const_cast<char *>(in.data());
        size_t inLeft = size_t(in.size());
        char *outPtr = out.data();
        size_t outLeft = size_t(out.size());
        while (inLeft > 0) {
            if (iconv(m_cd, &inPtr, &inLeft, &outPtr, &outLeft) == size_t(-1)) {
                return std::nullopt; // EILSEQ or EINVAL; the output is sized so E2BIG cannot happen
            }
        }
        out.resize(out.size() - qsizetype(outLeft));
        return out;
    }

private:
    iconv_t m_cd;
};

const char *iconvName(TextEncoding encoding)
{
    switch (encoding) {
    case TextEncoding::windows1252:
        return "CP1252";
    case TextEncoding::iso88591:
        return "ISO-8859-1";
    case TextEncoding::cp850:
        return "IBM850";
    case TextEncoding::cp437:
        return "IBM437";
    case TextEncoding::windows1251:
        return "CP1251";
    case TextEncoding::koi8r:
        return "KOI8-R";
    case TextEncoding::utf8:
        break;
    }
    return "UTF-8";
}

constexpr qsizetype kNoByte = -1;

// The 256 characters of a code page and the way back.
struct CodePage {
    std::array<char16_t, 256> toUnicode{};
    std::array<bool, 256> defined{};
    std::array<char, 256 * 3> utf8{}; // each byte's character as UTF-8, 3 bytes at most
    std::array<quint8, 256> utf8Length{};
    std::vector<qint16> fromUnicode = std::vector<qint16>(0x10000, kNoByte);
};

std::unique_ptr<CodePage> buildCodePage(TextEncoding encoding)
{
    auto page = std::make_unique<CodePage>();
    Iconv toUtf16(
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
        "UTF-16LE",
#else
        "UTF-16BE",
#endif
        iconvName(encoding));
    // Without the converter module the C library is broken; the byte is then
    // kept as Latin-1, which still round-trips.
    Q_ASSERT(toUtf16.isOpen());
    for (int byte = 0; byte < 256; ++byte) {
        const char in = char(byte);
        std::optional<QByteArray> out = toUtf16.isOpen() ? toUtf16.convert(QByteArrayView(&in, 1)) : std::nullopt;
        char16_t unit = char16_t(byte);
        page->defined[byte] = out && out->size() == 2;
        if (page->defined[byte]) {
            std::memcpy(&unit, out->constData(), 2);
        }
        page->toUnicode[byte] = unit;
    }
    for (int byte = 0; byte < 256; ++byte) {
        const char16_t unit = page->toUnicode[byte];
        // Two bytes reading as one character would break the round trip;
        // none of the code pages here does that.
        Q_ASSERT(page->fromUnicode[unit] == kNoByte);
        page->fromUnicode[unit] = qint16(byte);
        const QByteArray utf8 = QString(QChar(unit)).toUtf8();
        std::memcpy(page->utf8.data() + byte * 3, utf8.constData(), size_t(utf8.size()));
        page->utf8Length[byte] = quint8(utf8.size());
    }
    return page;
}

const CodePage &codePage(TextEncoding encoding)
{
    Q_ASSERT(encoding != TextEncoding::utf8);
    static std::once_flag once[7];
    static std::unique_ptr<CodePage> pages[7];
    const auto index = size_t(encoding);
    std::call_once(once[index], [&] { pages[index] = buildCodePage(encoding); });
    return *pages[index];
}

struct Alias {
    const char *name;
    TextEncoding encoding;
};

// Compared after dropping dashes, underscores and blanks, in lower case.
constexpr Alias kAliases[] = {
    {"utf8", TextEncoding::utf8},
    {"windows1252", TextEncoding::windows1252}, {"cp1252", TextEncoding::windows1252},
    {"iso88591", TextEncoding::iso88591},       {"latin1", TextEncoding::iso88591},
    {"cp850", TextEncoding::cp850},             {"ibm850", TextEncoding::cp850},
    {"cp437", TextEncoding::cp437},             {"ibm437", TextEncoding::cp437},
    {"windows1251", TextEncoding::windows1251}, {"cp1251", TextEncoding::windows1251},
    {"koi8r", TextEncoding::koi8r},
};

} // namespace

namespace TextEncodings {

QList<TextEncoding> legacy()
{
    return {TextEncoding::windows1252, TextEncoding::iso88591,    TextEncoding::cp850,
            TextEncoding::cp437,       TextEncoding::windows1251, TextEncoding::koi8r};
}

QString name(TextEncoding encoding)
{
    switch (encoding) {
    case TextEncoding::utf8:
        return QStringLiteral("UTF-8");
    case TextEncoding::windows1252:
        return QStringLiteral("Windows-1252");
    case TextEncoding::iso88591:
        return QStringLiteral("ISO-8859-1");
    case TextEncoding::cp850:
        return QStringLiteral("CP850");
    case TextEncoding::cp437:
        return QStringLiteral("CP437");
    case TextEncoding::windows1251:
        return QStringLiteral("Windows-1251");
    case TextEncoding::koi8r:
        return QStringLiteral("KOI8-R");
    }
    return {};
}

std::optional<TextEncoding> fromName(QStringView name)
{
    QString key;
    for (const QChar c : name) {
        if (c != QLatin1Char('-') && c != QLatin1Char('_') && !c.isSpace()) {
            key.append(c.toLower());
        }
    }
    for (const Alias &alias : kAliases) {
        if (key == QLatin1String(alias.name)) {
            return alias.encoding;
        }
    }
    return std::nullopt;
}

QString nameList()
{
    QStringList names{name(TextEncoding::utf8).toLower()};
    for (const TextEncoding encoding : legacy()) {
        names.append(name(encoding).toLower());
    }
    return names.join(QStringLiteral(", "));
}

bool defines(TextEncoding encoding, unsigned char byte)
{
    return encoding == TextEncoding::utf8 ? byte < 0x80 : codePage(encoding).defined[byte];
}

QString decode(QByteArrayView bytes, TextEncoding encoding)
{
    const CodePage &page = codePage(encoding);
    QString text(bytes.size(), Qt::Uninitialized);
    QChar *out = text.data();
    for (const char c : bytes) {
        *out++ = QChar(page.toUnicode[static_cast<unsigned char>(c)]);
    }
    return text;
}

QByteArray decodeToUtf8(QByteArrayView bytes, TextEncoding encoding)
{
    const CodePage &page = codePage(encoding);
    QByteArray utf8(bytes.size() * 3, Qt::Uninitialized);
    char *out = utf8.data();
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80 && page.toUnicode[byte] == byte) {
            *out++ = c; // ASCII, the bulk of any program
            continue;
        }
        const quint8 length = page.utf8Length[byte];
        std::memcpy(out, page.utf8.data() + byte * 3, length);
        out += length;
    }
    utf8.resize(out - utf8.constData());
    return utf8;
}

Encoded encode(QStringView text, TextEncoding encoding)
{
    const CodePage &page = codePage(encoding);
    Encoded result;
    result.bytes.resize(text.size());
    char *out = result.bytes.data();
    for (qsizetype i = 0; i < text.size(); ++i) {
        const qint16 byte = page.fromUnicode[text[i].unicode()];
        if (byte == kNoByte) {
            result.bytes.clear();
            result.failedAt = i;
            return result;
        }
        *out++ = char(byte);
    }
    return result;
}

} // namespace TextEncodings
