#pragma once

#include <QChar>
#include <QList>
#include <QRegularExpression>
#include <QString>

// Program-wide text tools for NC part programs: renumbering N blocks,
// numbering the blocks that lack a number, stripping N numbers, uniform
// spacing, removing coolant or chosen M codes, scaling every F or S value,
// and measuring the axis extents.
//
// Every function is pure and thread-safe: whole text in, whole new text out.
// The line tools read "\r\n", "\n" and a lone "\r" as line breaks and write
// "\r\n" throughout when the input held any "\r\n", else "\n"; a final line
// break survives. None of them reports an error: numbers that do not parse
// are skipped and an empty code list changes nothing. Two cases are
// programming errors that stop the program (qFatal): an N counter that
// overflows 64 bits and a scaled integer that does not round into 64 bits.
// Callers holding user input check numberingFits() and scalingFits() first.
namespace NCTools {

// The measured extent of one axis; identified by its upper-case letter.
struct AxisRange {
    QChar axis;
    double min = 0;
    double max = 0;

    bool operator==(const AxisRange &other) const = default;
};

// Gives every block a fresh N number: start, start + increment, ... Blank,
// "%", "(" and O lines keep their place and text.
QString renumber(const QString &text, qint64 start, qint64 increment);
// Numbers only the blocks that do not begin with an N word.
QString addLineNumbers(const QString &text, qint64 start, qint64 increment);
// Strips the leading N word of every block.
QString removeLineNumbers(const QString &text);
// Trims every block and collapses runs of blanks to one space.
QString formatSpacing(const QString &text);
// Removes M8 (M08, m008, ...) everywhere, comments included.
QString removeCoolant(const QString &text);
// Removes the given M codes with any leading zeros; an empty list changes nothing.
QString removeMCodes(const QString &text, const QList<qint64> &codes);
// Multiplies every F (S) value, keeping the decimals each number was written with.
QString scaleFeed(const QString &text, double factor);
QString scaleSpindle(const QString &text, double factor);
// The extent of each of `axes` (upper case) in that order, comments ignored;
// axes that never occur are left out.
QList<AxisRange> axisRanges(const QString &text, const QList<QChar> &axes);

// Removes every match of `regex` from each line, then collapses blanks, cuts
// trailing blanks and drops lines left holding at most an N number.
QString removeMatching(const QString &text, const QRegularExpression &regex);
// Writes `value` with the decimals of `original` (1 to 4), or as an integer
// rounded half away from zero when `original` has no decimal point.
QString formatLikeOriginal(double value, const QString &original);

// The codes in the user's answer to "Remove M Codes": every run of digits
// is one code; runs that are not plain decimal integers are dropped.
QList<qint64> parseMCodeList(const QString &answer);

// Whether renumber/addLineNumbers can count through every block of `text`
// without the counter leaving 64 bits (counts every block, so it is also
// safe, if strict, for addLineNumbers).
bool numberingFits(const QString &text, qint64 start, qint64 increment);
// Whether every integer `letter` value (F or S, either case) scaled by
// `factor` rounds inside 64 bits, and every decimal one stays a finite number.
bool scalingFits(const QString &text, QChar letter, double factor);

} // namespace NCTools
