#pragma once

#include "base/l10n.h"

#include <QList>
#include <QString>
#include <QStringView>

#include <array>

// Which characters of an NC program get which colour, font variant and tooltip.
// The core only computes the spans; the editor turns them into text formats,
// resolving each colour class for the current light or dark appearance at
// drawing time, so switching appearance needs no new pass.
//
// Three passes over the asked range, each overriding the last where they meet:
// words (a letter with an optional signed number; a lone letter is a word too),
// then comments ("( )", unclosed up to the end of its line, or ";" to the end of
// the line), then tape-marker lines (first non-blank character "%"). G and M
// words whose code is in the reference get its description as tooltip, which
// stays even when a comment recolours the word.
class GCodeHighlighter {
public:
    enum class ColorClass { plain, gCode, mCode, axis, arc, feed, spindle, tool, lineNo, progNo, comment, marker };

    static constexpr std::array<ColorClass, 12> allColorClasses = {
        ColorClass::plain,  ColorClass::gCode, ColorClass::mCode,  ColorClass::axis,
        ColorClass::arc,    ColorClass::feed,  ColorClass::spindle, ColorClass::tool,
        ColorClass::lineNo, ColorClass::progNo, ColorClass::comment, ColorClass::marker};

    // 0xRRGGBB, fully opaque sRGB.
    struct ColorPair {
        quint32 light;
        quint32 dark;
    };
    static ColorPair colorValues(ColorClass color);

    // The class of a word by its letter, upper-cased first; letters without a
    // class of their own (P, L ...) are plain.
    static ColorClass colorFor(QChar letter);

    // One stretch of equal attributes. Bold and italic are never both set: each
    // pass picks one variant of the base font.
    struct Run {
        qsizetype start = 0; // absolute UTF-16 offset into the text
        qsizetype length = 0;
        ColorClass color = ColorClass::plain;
        bool bold = false;
        bool italic = false;
        bool operator==(const Run &) const = default;
    };

    struct Tooltip {
        qsizetype start = 0;
        qsizetype length = 0;
        QString text;
        bool operator==(const Tooltip &) const = default;
    };

    struct HighlightResult {
        QList<Run> runs;         // cover the asked range exactly, in order, adjacent runs differ
        QList<Tooltip> tooltips; // in text order, never overlapping
    };

    // The spans of [from, from + length) of `text`, clamped to the text. The
    // range is matched as a text of its own, so pass whole lines: a word cut at
    // the range's start would be read as a different word.
    static HighlightResult spans(QStringView text, qsizetype from, qsizetype length, AppLanguage language);
};
