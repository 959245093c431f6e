#pragma once

#include "textencoding.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

// The lines of a file that hold bytes outside ASCII: what tells the code pages
// apart, and what the user looks at while choosing one. A program is nearly
// all ASCII, so a few hundred such lines are plenty for both.
struct EncodingSample {
    struct Line {
        qint64 number = 0; // 1-based; "\n", "\r\n" and a lone "\r" each end a line
        QByteArray bytes;  // without the line end, cut after kMaxLineBytes
    };
    static constexpr int kMaxLines = 200;
    static constexpr qsizetype kMaxLineBytes = 400;

    QList<Line> lines;

    // Scans until `maxLines` such lines are found or the input ends.
    static EncodingSample fromBytes(QByteArrayView bytes, int maxLines = kMaxLines);
    // The same for a file, read in pieces; empty when it cannot be read.
    static EncodingSample fromFile(const QString &path, int maxLines = kMaxLines);
};

// Which code page a sample was most likely written in. Each candidate reads
// the sample, and what it reads is judged as text: letters of one script
// within a word, case that agrees with the rest of the word, common letters of
// Western European and Russian words score; control characters, symbols and
// box-drawing characters in the middle of a word, and a Cyrillic letter beside
// a Latin one, cost. "FURAÇÃO" in CP850 reads as "FURA€ÇO" in Windows-1252 and
// as "FURAЂЗO" in Windows-1251, so CP850 wins clearly.
namespace EncodingGuess {

// Every code page of TextEncodings::legacy(), likeliest first; equal scores
// keep that list's order, so an empty sample gives it unchanged.
QList<TextEncoding> rank(const EncodingSample &sample);
// The score behind the ranking; higher is likelier. Only comparable between
// code pages for one sample.
double score(const EncodingSample &sample, TextEncoding encoding);

} // namespace EncodingGuess
