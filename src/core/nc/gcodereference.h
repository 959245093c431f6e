#pragma once

#include "base/l10n.h"

#include <QMap>
#include <QString>
#include <QStringView>

#include <optional>

// What the program knows about G and M codes: whether a code exists (the
// analyzer warns about the ones that don't) and a one-line description for the
// editor's tooltips. Codes are plain integers, so G1, G01 and G001 are the same
// code and the fraction of G28.1 is not part of it. Nothing here fails: an
// unknown or malformed code is simply false or absent. Safe on any thread.
class GCodeReference {
public:
    // The run of digits at the start of the text after the letter, as an integer;
    // absent when the text does not start with a digit or the digits are not a
    // plain ASCII integer that fits ("01" -> 1, "28.1" -> 28, "-1" and "" -> absent).
    static std::optional<int> canonicalKey(QStringView codeText);

    // The letter is compared as given: callers pass "G" or "M" upper-cased.
    static bool isKnown(QChar letter, QStringView codeText);

    // "G01 · Linear interpolation (cutting)": the letter, the code with at least
    // two digits, a middle dot and the description in the interface language.
    static std::optional<QString> describe(QChar letter, QStringView codeText, AppLanguage language);

    // The English descriptions by code; they are also the translation keys.
    static const QMap<int, QString> &gCodes();
    static const QMap<int, QString> &mCodes();
};
