#pragma once

#include <QChar>

#include <optional>

// The EIA RS-244 punched-tape code that older controls read instead of ASCII.
// Eight tracks per character, track 1 the lowest bit; every character has an
// odd number of holes, the fifth track (0x10) supplying the parity hole. Letters
// have one code for both cases (tape knows no case), and characters the code
// does not have give no value: the caller decides whether to drop or refuse them.
namespace EiaCode {

// One row of the table, for the tests and for anyone wanting to print it.
struct Entry {
    char16_t character;
    unsigned char code;
};

// End of block: the tape's carriage return, a hole in track 8 only.
inline constexpr unsigned char endOfBlock = 0x80;
// Blank tape (feed holes only): the leader and trailer. The one code without
// the odd parity, by definition of a blank.
inline constexpr unsigned char blankTape = 0x00;

// The code for `c`; "%" is the rewind stop that frames an EIA program.
std::optional<unsigned char> encode(QChar c);

// Every character with a code, in table order.
const Entry *table(int *count);

} // namespace EiaCode
