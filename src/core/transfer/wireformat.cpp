#include "wireformat.h"

#include <algorithm>

#include "transfer/eiacode.h"
#include "transfer/gcodesender.h"

#include <QHash>

#include <cstring>

namespace {

constexpr char kDc2 = 0x12;
constexpr char kDc4 = 0x14;

// A control reading "%" twice in a row takes the second as the end of the
// program, so a mark the program already carries is not added again.
bool isPercentLine(QStringView line)
{
    return line.trimmed() == u"%";
}

// The lines as preparePayload sees them: any line ending splits, and one
// trailing empty line (the text's final line break) is not a line.
QList<QStringView> splitLines(QStringView text)
{
    QList<QStringView> lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'\r' || c == u'\n') {
            lines.append(text.sliced(start, i - start));
            if (c == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') {
                ++i;
            }
            start = i + 1;
        }
    }
    if (start < text.size()) {
        lines.append(text.sliced(start));
    }
    return lines;
}

// Latin-1 as preparePayload writes it: one '?' per character beyond it.
void appendLatin1(QByteArray &out, QStringView line)
{
    for (qsizetype i = 0; i < line.size(); ++i) {
        const char16_t c = line[i].unicode();
        if (c <= 0xFF) {
            out += static_cast<char>(c);
            continue;
        }
        if (QChar::isHighSurrogate(c) && i + 1 < line.size() && line[i + 1].isLowSurrogate()) {
            ++i;
        }
        out += '?';
    }
}

void appendEia(QByteArray &out, QStringView line, qsizetype &unencodable)
{
    for (const QChar c : line) {
        if (const auto code = EiaCode::encode(c)) {
            out += static_cast<char>(*code);
        } else {
            ++unencodable;
        }
    }
}

QString controlName(unsigned char byte)
{
    static const char *const names[32] = {"NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL",
                                          "BS",  "TAB", "LF",  "VT",  "FF",  "CR",  "SO",  "SI",
                                          "DLE", "DC1", "DC2", "DC3", "DC4", "NAK", "SYN", "ETB",
                                          "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US"};
    if (byte < 32) {
        return QLatin1Char('<') + QLatin1String(names[byte]) + QLatin1Char('>');
    }
    if (byte == 0x7F) {
        return QStringLiteral("<DEL>");
    }
    return QStringLiteral("<%1>").arg(byte, 2, 16, QLatin1Char('0')).toUpper();
}

} // namespace

bool WireFormat::usesOptions(const Machine &m)
{
    return m.leaderLength != 0 || m.trailerLength != 0 || m.startCharacter != Machine::TapeMark::none ||
           m.endCharacter != Machine::TapeMark::none || m.lineDelayMs != 0 || m.stripComments || m.stripSpaces ||
           m.stripBlankLines || m.upperCase || m.waitForXon || m.characterCode != Machine::CharacterCode::ascii ||
           !m.endOfBlock.isEmpty();
}

QByteArray WireFormat::blockEnd(const Machine &machine)
{
    if (machine.characterCode == Machine::CharacterCode::eia) {
        return QByteArray(1, static_cast<char>(EiaCode::endOfBlock));
    }
    return machine.endOfBlock.isEmpty() ? Machine::terminatorBytes(machine.lineTerminator) : machine.endOfBlock;
}

QString WireFormat::cleanLine(QStringView line, const Machine &machine)
{
    if (!machine.stripComments && !machine.stripSpaces && !machine.upperCase) {
        return line.toString();
    }
    QString out;
    out.reserve(line.size());
    bool inComment = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (!inComment && c == u';' && machine.stripComments) {
            break; // the rest of the line is a comment
        }
        if (!inComment && c == u'(') {
            inComment = true;
        }
        const bool commentChar = inComment;
        if (inComment && c == u')') {
            inComment = false;
        }
        if (commentChar && machine.stripComments) {
            continue;
        }
        // Blanks inside a comment are its text; only the blanks between words go.
        if (!commentChar && machine.stripSpaces && (c == u' ' || c == u'\t')) {
            continue;
        }
        out += c;
    }
    return machine.upperCase ? out.toUpper() : out;
}

int WireFormat::lineAtByte(const std::vector<WireBlock> &blocks, qint64 bytesSent)
{
    if (blocks.empty())
        return 0;
    const auto after = std::upper_bound(blocks.begin(), blocks.end(), bytesSent,
                                        [](qint64 bytes, const WireBlock &block) { return bytes < block.offset; });
    return after == blocks.begin() ? blocks.front().line : std::prev(after)->line;
}

WirePayload WireFormat::build(const QString &content, const Machine &machine, std::vector<WireBlock> *blocks)
{
    if (!usesOptions(machine)) {
        WirePayload plain{GCodeSender::preparePayload(content, machine.lineTerminator), 0};
        if (blocks) {
            // Line for line: every line break of the program is one line end here.
            const QByteArray end = Machine::terminatorBytes(machine.lineTerminator);
            const QByteArray &bytes = plain.bytes;
            blocks->clear();
            qsizetype at = 0;
            for (int line = 1; at < bytes.size(); ++line) {
                blocks->push_back({at, line});
                const qsizetype next = bytes.indexOf(end, at);
                at = next < 0 ? bytes.size() : next + end.size();
            }
        }
        return plain;
    }
    bool needsNormalisation = false;
    for (const QChar c : content) {
        if (c.unicode() > 0xFF) {
            needsNormalisation = true;
            break;
        }
    }
    const QString text = needsNormalisation ? content.normalized(QString::NormalizationForm_C) : content;
    const bool eia = machine.characterCode == Machine::CharacterCode::eia;
    const QByteArray end = blockEnd(machine);

    QStringList lines;
    std::vector<int> sourceLines; // of each kept line
    int sourceLine = 0;
    for (QStringView line : splitLines(text)) {
        ++sourceLine;
        QString cleaned = cleanLine(line, machine);
        if (machine.stripBlankLines && cleaned.trimmed().isEmpty()) {
            continue;
        }
        lines.append(std::move(cleaned));
        if (blocks) {
            sourceLines.push_back(sourceLine);
        }
    }
    if (blocks) {
        blocks->clear();
    }

    WirePayload payload;
    QByteArray &out = payload.bytes;
    out.reserve(text.size() + text.size() / 16 + machine.leaderLength + machine.trailerLength + 8);
    auto appendLine = [&](QStringView line) {
        if (eia) {
            appendEia(out, line, payload.unencodable);
        } else {
            appendLatin1(out, line);
        }
        out += end;
    };
    auto appendMark = [&](Machine::TapeMark mark, bool programHasIt) {
        switch (mark) {
        case Machine::TapeMark::none:
            break;
        case Machine::TapeMark::percent:
            if (!programHasIt) {
                appendLine(u"%");
            }
            break;
        case Machine::TapeMark::dc2:
        case Machine::TapeMark::dc4:
            // Device controls for the reader or punch; tape code has none.
            if (eia) {
                ++payload.unencodable;
            } else {
                out += mark == Machine::TapeMark::dc2 ? kDc2 : kDc4;
            }
            break;
        }
    };

    const char blank = eia ? static_cast<char>(EiaCode::blankTape) : '\0';
    out.append(QByteArray(machine.leaderLength, blank));
    appendMark(machine.startCharacter, !lines.isEmpty() && isPercentLine(lines.first()));
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (blocks) {
            blocks->push_back({out.size(), sourceLines[std::size_t(i)]});
        }
        appendLine(lines[i]);
    }
    appendMark(machine.endCharacter, !lines.isEmpty() && isPercentLine(lines.last()));
    out.append(QByteArray(machine.trailerLength, blank));
    return payload;
}

QString WireFormat::visible(const QByteArray &bytes, const Machine &machine)
{
    const bool eia = machine.characterCode == Machine::CharacterCode::eia;
    const QByteArray end = blockEnd(machine);
    QHash<unsigned char, QChar> eiaChars;
    if (eia) {
        int count = 0;
        const EiaCode::Entry *table = EiaCode::table(&count);
        for (int i = 0; i < count; ++i) {
            eiaChars.insert(table[i].code, QChar(table[i].character).toUpper());
        }
    }

    QString out;
    out.reserve(bytes.size() + bytes.size() / 8);
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (!end.isEmpty() && i + end.size() <= bytes.size() &&
            std::memcmp(bytes.constData() + i, end.constData(), size_t(end.size())) == 0) {
            // The block end as the wire carries it, then a real break so the
            // preview reads like the program.
            if (eia) {
                out += QStringLiteral("<EOB>");
            } else {
                for (const char c : end) {
                    const auto byte = static_cast<unsigned char>(c);
                    out += byte < 32 || byte == 0x7F ? controlName(byte) : QString(QLatin1Char(c));
                }
            }
            out += QStringLiteral("\u23CE\n");
            i += end.size() - 1;
            continue;
        }
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (eia) {
            const auto found = eiaChars.constFind(byte);
            if (found != eiaChars.constEnd()) {
                out += *found == u'\t' ? controlName(0x09) : *found == QChar(0x7F) ? controlName(0x7F) : QString(*found);
            } else if (byte == EiaCode::blankTape) {
                out += QStringLiteral("<NUL>");
            } else {
                out += QStringLiteral("<%1>").arg(byte, 2, 16, QLatin1Char('0')).toUpper();
            }
        } else if (byte < 32 || byte == 0x7F) {
            out += controlName(byte);
        } else {
            out += QChar(byte); // Latin-1
        }
    }
    return out;
}
