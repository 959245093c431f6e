#include "eiacode.h"

namespace EiaCode {
namespace {

// The character codes of EIA Standard RS-244-B, "Character Code for Numerical
// Machine Tape Records", as punched on one-inch eight-track tape. Holes, track 1
// = 0x01 ... track 8 = 0x80; the parity hole in track 5 (0x10) makes every
// count of holes odd. Only the characters a part program uses are listed: the
// shift and tape-handling codes (upper and lower case, backspace) have no ASCII
// twin in a program text.
constexpr Entry kTable[] = {
    {u'0', 0x20}, {u'1', 0x01}, {u'2', 0x02}, {u'3', 0x13}, {u'4', 0x04}, {u'5', 0x15}, {u'6', 0x16},
    {u'7', 0x07}, {u'8', 0x08}, {u'9', 0x19},

    {u'a', 0x61}, {u'b', 0x62}, {u'c', 0x73}, {u'd', 0x64}, {u'e', 0x75}, {u'f', 0x76}, {u'g', 0x67},
    {u'h', 0x68}, {u'i', 0x79}, {u'j', 0x51}, {u'k', 0x52}, {u'l', 0x43}, {u'm', 0x54}, {u'n', 0x45},
    {u'o', 0x46}, {u'p', 0x57}, {u'q', 0x58}, {u'r', 0x49}, {u's', 0x32}, {u't', 0x23}, {u'u', 0x34},
    {u'v', 0x25}, {u'w', 0x26}, {u'x', 0x37}, {u'y', 0x38}, {u'z', 0x29},

    {u' ', 0x10},  // space
    {u'-', 0x40},  // minus
    {u'+', 0x70},  // plus
    {u'.', 0x6B},  // period (decimal point)
    {u',', 0x3B},  // comma
    {u'/', 0x31},  // slash: optional block skip
    {u'%', 0x0B},  // rewind stop (end of record)
    {u'(', 0x1A},  // control out: the reader ignores what follows
    {u')', 0x4A},  // control in
    {u'&', 0x0E},  // ampersand
    {u'\t', 0x3E}, // tab
    {u'\x7F', 0x7F}, // delete: every hole but track 8, ignored by the reader
};

constexpr int kCount = int(sizeof kTable / sizeof kTable[0]);

// The code of each ASCII character, or 0 for none (0 is blank tape, never a
// character's code). Built once from the table so the two cannot disagree.
struct Lookup {
    unsigned char codes[128] = {};
    constexpr Lookup()
    {
        for (const Entry &entry : kTable) {
            codes[entry.character] = entry.code;
            if (entry.character >= u'a' && entry.character <= u'z') {
                codes[entry.character - u'a' + u'A'] = entry.code;
            }
        }
    }
};

constexpr Lookup kLookup;

} // namespace

std::optional<unsigned char> encode(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= 128 || kLookup.codes[u] == 0) {
        return std::nullopt;
    }
    return kLookup.codes[u];
}

const Entry *table(int *count)
{
    *count = kCount;
    return kTable;
}

} // namespace EiaCode
