#include "toolpathblock.h"

#include <QByteArray>

#include <cmath>
#include <cstdlib>
#include <numbers>

namespace {

constexpr bool isLetter(char16_t c)
{
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

constexpr bool isDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

constexpr char16_t upper(char16_t c)
{
    return (c >= u'a' && c <= u'z') ? char16_t(c - 32) : c;
}

const double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                               1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

double radians(double degrees)
{
    return degrees * std::numbers::pi / 180.0;
}

double degrees(double radians)
{
    return radians * 180.0 / std::numbers::pi;
}

} // namespace

// Recursive descent over one block. Values are computed as they are read: the
// program's expressions are short and an operator tree would cost more than it
// saves.
class ExpressionParser {
public:
    using Failure = ToolpathBlockReader::Failure;

    ExpressionParser(ToolpathBlockReader &reader, const char16_t *p, const char16_t *end, int line)
        : m_reader(reader), m_p(p), m_end(end), m_line(line)
    {
    }

    ToolpathBlockReader &m_reader;
    const char16_t *m_p;
    const char16_t *m_end;
    int m_line;
    Failure failure = Failure::none;
    QString failedFunction;
    int digits = 0; // integer digits of the last number read

    // Comments inside a block are blanks to the words around them.
    void skipBlanks()
    {
        while (m_p < m_end) {
            const char16_t c = *m_p;
            if (c == u' ' || c == u'\t') {
                ++m_p;
            } else if (c == u'(') {
                while (m_p < m_end && *m_p != u')')
                    ++m_p;
                if (m_p < m_end)
                    ++m_p;
            } else if (c == u';') {
                m_p = m_end;
            } else {
                return;
            }
        }
    }

    bool atEnd()
    {
        skipBlanks();
        return m_p >= m_end;
    }

    void fail(Failure why)
    {
        if (failure == Failure::none)
            failure = why;
    }

    // The run of letters at the cursor, upper case; empty when none.
    QString peekKeyword(const char16_t **after)
    {
        const char16_t *q = m_p;
        QString word;
        while (q < m_end && isLetter(*q)) {
            word += QChar(upper(*q));
            ++q;
        }
        *after = q;
        return word;
    }

    bool takeKeyword(const char *keyword)
    {
        skipBlanks();
        const char16_t *after = nullptr;
        const char16_t *q = m_p;
        const char *k = keyword;
        while (*k && q < m_end && upper(*q) == char16_t(*k)) {
            ++q;
            ++k;
        }
        (void)after;
        if (*k != 0 || (q < m_end && isLetter(*q)))
            return false;
        m_p = q;
        return true;
    }

    // An unsigned decimal number at the cursor.
    double number()
    {
        const char16_t *start = m_p;
        std::uint64_t mantissa = 0;
        int significant = 0;
        int fraction = 0;
        digits = 0;
        while (m_p < m_end && isDigit(*m_p)) {
            if (significant < 19) {
                mantissa = mantissa * 10 + (*m_p - u'0');
                if (mantissa)
                    ++significant;
            } else {
                significant = 99;
            }
            ++digits;
            ++m_p;
        }
        bool point = false;
        if (m_p < m_end && *m_p == u'.') {
            point = true;
            ++m_p;
            while (m_p < m_end && isDigit(*m_p)) {
                if (significant < 19) {
                    mantissa = mantissa * 10 + (*m_p - u'0');
                    if (mantissa)
                        ++significant;
                    ++fraction;
                } else {
                    significant = 99;
                }
                ++m_p;
            }
        }
        if (m_p == start || (point && m_p == start + 1 && digits == 0)) {
            fail(Failure::malformed);
            return 0;
        }
        // Exact while the digits fit a double's mantissa: one correctly rounded division.
        if (significant <= 15 && fraction <= 22)
            return double(mantissa) / kPowersOfTen[fraction];
        QByteArray ascii;
        for (const char16_t *q = start; q < m_p; ++q)
            ascii.append(char(*q));
        return std::strtod(ascii.constData(), nullptr);
    }

    // `#12`, `#[expr]`, `##1`, `#<name>` after the "#".
    double variable()
    {
        skipBlanks();
        if (m_p < m_end && *m_p == u'<') {
            ++m_p;
            QString name;
            while (m_p < m_end && *m_p != u'>') {
                if (*m_p != u' ' && *m_p != u'\t')
                    name += QChar(*m_p).toLower();
                ++m_p;
            }
            if (m_p >= m_end || name.isEmpty()) {
                fail(Failure::malformed);
                return 0;
            }
            ++m_p;
            return m_reader.readNamed(name, m_line);
        }
        const double index = indexValue();
        if (failure != Failure::none)
            return 0;
        return m_reader.readVariable((long long)index, m_line);
    }

    // The number of a variable: digits, a bracketed expression or another variable.
    double indexValue()
    {
        skipBlanks();
        double index = 0;
        if (m_p < m_end && isDigit(*m_p)) {
            index = number();
        } else if (m_p < m_end && *m_p == u'[') {
            ++m_p;
            index = expression();
            if (!close())
                return 0;
        } else if (m_p < m_end && *m_p == u'#') {
            ++m_p;
            index = variable();
        } else {
            fail(Failure::malformed);
            return 0;
        }
        index = std::round(index);
        if (index < 0 || index > 1e9) {
            fail(Failure::malformed);
            return 0;
        }
        return index;
    }

    bool close()
    {
        skipBlanks();
        if (m_p < m_end && *m_p == u']') {
            ++m_p;
            return true;
        }
        fail(Failure::malformed);
        return false;
    }

    double bracketed()
    {
        skipBlanks();
        if (m_p >= m_end || *m_p != u'[') {
            fail(Failure::malformed);
            return 0;
        }
        ++m_p;
        const double v = expression();
        close();
        return v;
    }

    double domain(const QString &function)
    {
        if (failure == Failure::none) {
            failure = Failure::domain;
            failedFunction = function;
        }
        return 0;
    }

    double function(const QString &name)
    {
        if (name == QLatin1String("ATAN")) {
            const double a = bracketed();
            skipBlanks();
            if (m_p < m_end && *m_p == u'/') {
                ++m_p;
                const double b = bracketed();
                return degrees(std::atan2(a, b));
            }
            return degrees(std::atan(a));
        }
        const double v = bracketed();
        if (failure != Failure::none)
            return 0;
        if (name == QLatin1String("ABS"))
            return std::abs(v);
        if (name == QLatin1String("ACOS"))
            return v < -1 || v > 1 ? domain(name) : degrees(std::acos(v));
        if (name == QLatin1String("ASIN"))
            return v < -1 || v > 1 ? domain(name) : degrees(std::asin(v));
        if (name == QLatin1String("COS"))
            return std::cos(radians(v));
        if (name == QLatin1String("SIN"))
            return std::sin(radians(v));
        if (name == QLatin1String("TAN")) {
            const double c = std::cos(radians(v));
            return std::abs(c) < 1e-15 ? domain(name) : std::tan(radians(v));
        }
        if (name == QLatin1String("EXP"))
            return std::exp(v);
        if (name == QLatin1String("LN"))
            return v <= 0 ? domain(name) : std::log(v);
        if (name == QLatin1String("SQRT"))
            return v < 0 ? domain(name) : std::sqrt(v);
        if (name == QLatin1String("ROUND"))
            return std::round(v); // half away from zero
        if (name == QLatin1String("FIX"))
            return std::trunc(v);
        if (name == QLatin1String("FUP"))
            return v < 0 ? std::floor(v) : std::ceil(v);
        fail(Failure::malformed);
        return 0;
    }

    double primary()
    {
        skipBlanks();
        if (m_p >= m_end) {
            fail(Failure::malformed);
            return 0;
        }
        const char16_t c = *m_p;
        if (c == u'-' || c == u'+') {
            ++m_p;
            const double v = primary();
            return c == u'-' ? -v : v;
        }
        if (isDigit(c) || c == u'.')
            return number();
        if (c == u'#') {
            ++m_p;
            return variable();
        }
        if (c == u'[') {
            ++m_p;
            const double v = expression();
            close();
            return v;
        }
        if (isLetter(c)) {
            const char16_t *after = nullptr;
            const QString name = peekKeyword(&after);
            m_p = after;
            return function(name);
        }
        fail(Failure::malformed);
        return 0;
    }

    double power()
    {
        double v = primary();
        while (failure == Failure::none) {
            skipBlanks();
            if (m_end - m_p >= 2 && m_p[0] == u'*' && m_p[1] == u'*') {
                m_p += 2;
                const double e = primary();
                v = std::pow(v, e);
                if (!std::isfinite(v))
                    return domain(QStringLiteral("**"));
            } else {
                break;
            }
        }
        return v;
    }

    double term()
    {
        double v = power();
        while (failure == Failure::none) {
            skipBlanks();
            if (m_p < m_end && *m_p == u'*' && !(m_end - m_p >= 2 && m_p[1] == u'*')) {
                ++m_p;
                v *= power();
            } else if (m_p < m_end && *m_p == u'/') {
                ++m_p;
                const double d = power();
                if (d == 0) {
                    fail(Failure::divisionByZero);
                    return 0;
                }
                v /= d;
            } else if (takeKeyword("MOD")) {
                const double d = power();
                if (d == 0) {
                    fail(Failure::divisionByZero);
                    return 0;
                }
                v = std::fmod(v, d); // keeps the dividend's sign
            } else {
                break;
            }
        }
        return v;
    }

    double additive()
    {
        double v = term();
        while (failure == Failure::none) {
            skipBlanks();
            if (m_p < m_end && (*m_p == u'+' || *m_p == u'-')) {
                const bool minus = *m_p == u'-';
                ++m_p;
                const double w = term();
                v = minus ? v - w : v + w;
            } else {
                break;
            }
        }
        return v;
    }

    double comparison()
    {
        double v = additive();
        while (failure == Failure::none) {
            if (takeKeyword("EQ"))
                v = v == additive();
            else if (takeKeyword("NE"))
                v = v != additive();
            else if (takeKeyword("GT"))
                v = v > additive();
            else if (takeKeyword("GE"))
                v = v >= additive();
            else if (takeKeyword("LT"))
                v = v < additive();
            else if (takeKeyword("LE"))
                v = v <= additive();
            else
                break;
        }
        return v;
    }

    double expression()
    {
        double v = comparison();
        while (failure == Failure::none) {
            if (takeKeyword("AND")) {
                const double w = comparison();
                v = (v != 0 && w != 0) ? 1 : 0;
            } else if (takeKeyword("OR")) {
                const double w = comparison();
                v = (v != 0 || w != 0) ? 1 : 0;
            } else if (takeKeyword("XOR")) {
                const double w = comparison();
                v = ((v != 0) != (w != 0)) ? 1 : 0;
            } else {
                break;
            }
        }
        return v;
    }
};

double ToolpathBlockReader::readVariable(long long number, int line)
{
    const auto found = m_numbered.find(number);
    if (found != m_numbered.end())
        return found->second;
    if (m_warnedNumbered.insert(number).second)
        m_warn(line, L10n::format("Variable #%@ is not set; it reads as 0.", m_language, {QString::number(number)}));
    return 0;
}

double ToolpathBlockReader::readNamed(const QString &name, int line)
{
    const auto found = m_named.constFind(name);
    if (found != m_named.constEnd())
        return *found;
    if (!m_warnedNamed.contains(name)) {
        m_warnedNamed.insert(name, true);
        m_warn(line, L10n::format("Variable #<%@> is not set; it reads as 0.", m_language, {name}));
    }
    return 0;
}

namespace {

// Program flow the interpreter does not follow: Fanuc's and the keywords of
// LinuxCNC's O-words.
bool isFlowKeyword(const QString &word)
{
    static const QStringList keywords{
        QStringLiteral("GOTO"),     QStringLiteral("IF"),     QStringLiteral("WHILE"),  QStringLiteral("DO"),
        QStringLiteral("END"),      QStringLiteral("THEN"),   QStringLiteral("SUB"),    QStringLiteral("ENDSUB"),
        QStringLiteral("CALL"),     QStringLiteral("RETURN"), QStringLiteral("ELSE"),   QStringLiteral("ELSEIF"),
        QStringLiteral("ENDIF"),    QStringLiteral("ENDWHILE"), QStringLiteral("REPEAT"), QStringLiteral("ENDREPEAT"),
        QStringLiteral("BREAK"),    QStringLiteral("CONTINUE")};
    return keywords.contains(word);
}

} // namespace

void ToolpathBlockReader::read(QStringView line, int lineNumber, ToolpathBlock &block)
{
    using Kind = ToolpathBlock::Kind;
    block.kind = Kind::empty;
    block.letters = 0;
    block.gCount = 0;
    block.mCount = 0;
    block.tDigits = 0;
    const auto *begin = reinterpret_cast<const char16_t *>(line.utf16());
    ExpressionParser p(*this, begin, begin + line.size(), lineNumber);
    p.skipBlanks();
    if (p.m_p < p.m_end && *p.m_p == u'%') {
        block.kind = Kind::percent;
        return;
    }
    // Block delete is off: a leading "/" is read past.
    if (p.m_p < p.m_end && *p.m_p == u'/')
        ++p.m_p;

    const auto report = [&] {
        QString message;
        switch (p.failure) {
        case Failure::divisionByZero:
            message = L10n::text("Division by zero; the block is skipped.", m_language);
            break;
        case Failure::domain:
            message = L10n::format("%@ outside its domain; the block is skipped.", m_language, {p.failedFunction});
            break;
        default:
            message = L10n::text("Malformed word or expression; the block is skipped.", m_language);
            break;
        }
        m_warn(lineNumber, message);
        block.kind = Kind::skipped;
    };

    while (!p.atEnd()) {
        const char16_t c = *p.m_p;
        if (c == u'#') {
            // Assignments to the end of the block, each in force at once.
            ++p.m_p;
            bool named = false;
            QString name;
            long long number = 0;
            p.skipBlanks();
            if (p.m_p < p.m_end && *p.m_p == u'<') {
                named = true;
                ++p.m_p;
                while (p.m_p < p.m_end && *p.m_p != u'>') {
                    if (*p.m_p != u' ' && *p.m_p != u'\t')
                        name += QChar(*p.m_p).toLower();
                    ++p.m_p;
                }
                if (p.m_p >= p.m_end || name.isEmpty())
                    p.fail(Failure::malformed);
                else
                    ++p.m_p;
            } else {
                number = (long long)p.indexValue();
            }
            p.skipBlanks();
            if (p.failure == Failure::none && (p.m_p >= p.m_end || *p.m_p != u'='))
                p.fail(Failure::malformed);
            if (p.failure != Failure::none)
                return report();
            ++p.m_p;
            const double v = p.expression();
            if (p.failure == Failure::none && !p.atEnd() && *p.m_p != u'#')
                p.fail(Failure::malformed);
            if (p.failure != Failure::none)
                return report();
            if (named)
                m_named.insert(name, v);
            else
                m_numbered[number] = v;
            block.kind = Kind::assignment;
            continue;
        }
        if (block.kind == Kind::assignment) {
            p.fail(Failure::malformed);
            return report();
        }
        if (!isLetter(c)) {
            p.fail(Failure::malformed);
            return report();
        }
        if (p.m_p + 1 < p.m_end && isLetter(p.m_p[1])) {
            const char16_t *after = nullptr;
            const QString word = p.peekKeyword(&after);
            if (isFlowKeyword(word)) {
                block.kind = Kind::flow;
                return;
            }
            p.fail(Failure::malformed);
            return report();
        }
        const char16_t letter = upper(c);
        ++p.m_p;
        p.skipBlanks();
        if (letter == u'O' && p.m_p < p.m_end && *p.m_p == u'<') {
            block.kind = Kind::flow; // LinuxCNC's named O-words are always flow
            return;
        }
        // The value: a number, a variable, a bracketed expression, signed.
        double v = 0;
        bool negative = false;
        if (p.m_p < p.m_end && (*p.m_p == u'-' || *p.m_p == u'+')) {
            negative = *p.m_p == u'-';
            ++p.m_p;
            p.skipBlanks();
        }
        p.digits = 0;
        if (p.m_p < p.m_end && (isDigit(*p.m_p) || *p.m_p == u'.')) {
            v = p.number();
        } else if (p.m_p < p.m_end && *p.m_p == u'#') {
            ++p.m_p;
            v = p.variable();
        } else if (p.m_p < p.m_end && *p.m_p == u'[') {
            ++p.m_p;
            v = p.expression();
            p.close();
        } else {
            p.fail(Failure::malformed);
        }
        if (p.failure != Failure::none)
            return report();
        if (negative)
            v = -v;
        block.kind = Kind::words;
        if (letter == u'G') {
            if (block.gCount < int(std::size(block.g)))
                block.g[block.gCount++] = int(std::lround(v * 10));
        } else if (letter == u'M') {
            if (block.mCount < int(std::size(block.m)))
                block.m[block.mCount++] = int(std::lround(v));
        } else {
            const int index = letter - u'A';
            block.letters |= 1u << index;
            block.value[index] = v;
            if (letter == u'T')
                block.tDigits = p.digits;
            if (letter == u'O') {
                // "O100 sub", "o101 if […]": LinuxCNC's numbered O-words.
                p.skipBlanks();
                const char16_t *after = nullptr;
                if (p.m_p < p.m_end && isLetter(*p.m_p) && p.m_p + 1 < p.m_end && isLetter(p.m_p[1]) &&
                    isFlowKeyword(p.peekKeyword(&after))) {
                    block.kind = Kind::flow;
                    return;
                }
            }
        }
    }
}
