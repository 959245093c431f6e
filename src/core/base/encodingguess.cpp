#include "encodingguess.h"

#include <QFile>

#include <algorithm>

namespace {

// Collects the sample line by line, fed a piece of the input at a time.
class SampleCollector {
public:
    explicit SampleCollector(int maxLines) : m_maxLines(maxLines) {}

    bool full() const { return m_sample.lines.size() >= m_maxLines; }

    void feed(QByteArrayView bytes)
    {
        for (const char c : bytes) {
            if (full()) {
                return;
            }
            if (c == '\n' && m_afterCarriageReturn) {
                m_afterCarriageReturn = false; // the second half of "\r\n"
                continue;
            }
            m_afterCarriageReturn = c == '\r';
            if (c == '\n' || c == '\r') {
                endLine();
                continue;
            }
            m_hasHighByte = m_hasHighByte || static_cast<unsigned char>(c) >= 0x80;
            if (m_line.size() < EncodingSample::kMaxLineBytes) {
                m_line.append(c);
            }
        }
    }

    EncodingSample finish()
    {
        if (!full()) {
            endLine();
        }
        return std::move(m_sample);
    }

private:
    void endLine()
    {
        ++m_number;
        if (m_hasHighByte) {
            m_sample.lines.append({m_number, m_line});
        }
        m_line.clear();
        m_hasHighByte = false;
    }

    int m_maxLines;
    EncodingSample m_sample;
    QByteArray m_line;
    qint64 m_number = 0;
    bool m_hasHighByte = false;
    bool m_afterCarriageReturn = false;
};

// Russian letters, most frequent first. A text read in the right Cyrillic
// code page is made of the front of this list; read in the wrong one, the same
// bytes give letters from all over it.
const QString &russianByFrequency()
{
    static const QString letters = QStringLiteral("оеаинтсрвлкмдпуяыьгзбчйхжшюцщэфъё");
    return letters;
}

// Accented letters that Portuguese, Spanish, French and German words use often.
const QString &commonLatinAccents()
{
    static const QString letters = QStringLiteral("áéíóúãõçâêôàñüöäèßº");
    return letters;
}

bool isCyrillic(QChar c)
{
    return c.unicode() >= 0x0400 && c.unicode() <= 0x04FF;
}

bool isLatinLetter(QChar c)
{
    return c.isLetter() && c.unicode() < 0x0250;
}

bool isControl(QChar c)
{
    const char16_t u = c.unicode();
    return u < 0x20 || (u >= 0x7F && u < 0xA0);
}

// The case most ASCII letters of a line have: +1 upper, -1 lower, 0 neither.
int dominantAsciiCase(QStringView line)
{
    int upper = 0;
    int lower = 0;
    for (const QChar c : line) {
        if (c.unicode() < 0x80 && c.isLetter()) {
            (c.isUpper() ? upper : lower) += 1;
        }
    }
    return upper > lower ? 1 : (lower > upper ? -1 : 0);
}

double letterScore(QChar c, QChar previous, QChar next, int lineCase)
{
    double points = 0;
    if (isCyrillic(c)) {
        const qsizetype rank = russianByFrequency().indexOf(c.toLower());
        points += rank < 0 ? -1.0 : 2.0 + (16.0 - double(rank)) / 8.0;
        // A Cyrillic letter beside a Latin one: the word is a misreading.
        if (isLatinLetter(previous) || isLatinLetter(next)) {
            points -= 4;
        }
    } else if (isLatinLetter(c)) {
        points += commonLatinAccents().contains(c.toLower()) ? 3.0 : 1.5;
        if (isCyrillic(previous) || isCyrillic(next)) {
            points -= 4;
        }
    }
    // Case inside a word: "Фреза" and "FURAÇÃO" are words, "тПЕГЮ" and
    // "FURAçAO" are misreadings.
    if (previous.isLetter() && previous.isLower() && c.isUpper()) {
        points -= 2;
    }
    if (c.isLower() && previous.isLetter() && previous.isUpper() && next.isLetter() && next.isUpper()) {
        points -= 2;
    }
    // Beside no ASCII letter, the case the line's codes are written in decides:
    // programs are mostly in capitals, and a comment usually follows them.
    const auto asciiLetter = [](QChar x) { return x.unicode() < 0x80 && x.isLetter(); };
    if (lineCase != 0 && !asciiLetter(previous) && !asciiLetter(next)) {
        points += (c.isUpper() ? 0.5 : -0.5) * lineCase;
    }
    return points;
}

double characterScore(QChar c, QChar previous, QChar next, int lineCase)
{
    if (c.isLetter()) {
        return letterScore(c, previous, next, lineCase);
    }
    if (isControl(c)) {
        return -6;
    }
    if (previous.isLetter() && next.isLetter()) {
        return -3; // a symbol or a box-drawing piece in the middle of a word
    }
    if (c == QChar(0x00B0) && previous.isDigit()) {
        return 2; // an angle: "30°"
    }
    return -1;
}

} // namespace

EncodingSample EncodingSample::fromBytes(QByteArrayView bytes, int maxLines)
{
    SampleCollector collector(maxLines);
    collector.feed(bytes);
    return collector.finish();
}

EncodingSample EncodingSample::fromFile(const QString &path, int maxLines)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    SampleCollector collector(maxLines);
    QByteArray piece(qsizetype(1) << 20, Qt::Uninitialized);
    while (!collector.full()) {
        const qint64 got = file.read(piece.data(), piece.size());
        if (got <= 0) {
            break;
        }
        collector.feed(QByteArrayView(piece.constData(), got));
    }
    return collector.finish();
}

namespace EncodingGuess {

double score(const EncodingSample &sample, TextEncoding encoding)
{
    double total = 0;
    for (const EncodingSample::Line &line : sample.lines) {
        const QString text = TextEncodings::decode(line.bytes, encoding);
        const int lineCase = dominantAsciiCase(text);
        for (qsizetype i = 0; i < text.size(); ++i) {
            if (static_cast<unsigned char>(line.bytes[i]) < 0x80) {
                continue;
            }
            const QChar previous = i > 0 ? text[i - 1] : QChar(u' ');
            const QChar next = i + 1 < text.size() ? text[i + 1] : QChar(u' ');
            total += characterScore(text[i], previous, next, lineCase);
        }
    }
    return total;
}

QList<TextEncoding> rank(const EncodingSample &sample)
{
    QList<std::pair<double, TextEncoding>> scored;
    for (const TextEncoding encoding : TextEncodings::legacy()) {
        scored.append({score(sample, encoding), encoding});
    }
    std::stable_sort(scored.begin(), scored.end(), [](const auto &a, const auto &b) { return a.first > b.first; });
    QList<TextEncoding> ranked;
    for (const auto &entry : scored) {
        ranked.append(entry.second);
    }
    return ranked;
}

} // namespace EncodingGuess
