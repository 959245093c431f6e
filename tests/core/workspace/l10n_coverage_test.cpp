// Guards the Spanish table: every key the program looks up must have a finished
// Spanish text, and the table itself must be one a translator and lrelease agree on.
// The key scan reads whatever is under src/ today, so it keeps working while the
// rest of the program grows around it.
#include "workspace/l10n.h"

#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

const QString kTablePath = QStringLiteral(VARN_SOURCE_DIR "/translations/varn_es.ts");
const QString kSourceRoot = QStringLiteral(VARN_SOURCE_DIR "/src");

// ---------------------------------------------------------------------------
// Collecting the keys used in code
// ---------------------------------------------------------------------------

struct Token {
    enum class Kind { identifier, literal, punctuation };
    Kind kind;
    QString text; // the identifier, the punctuation, or the literal's decoded value
    int line;
};

struct KeyUse {
    QString key;
    int line;
};

void appendUtf8(std::string &out, uint codePoint)
{
    const char32_t c = char32_t(codePoint);
    out += QString::fromUcs4(&c, 1).toStdString();
}

int digitValue(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

bool isIdentifierByte(char c, bool first)
{
    const auto u = static_cast<unsigned char>(c);
    return c == '_' || (u >= 'A' && u <= 'Z') || (u >= 'a' && u <= 'z') || u >= 0x80 ||
           (!first && u >= '0' && u <= '9');
}

// A C++ lexer that knows just enough to find string literals reliably: comments,
// character literals, digit separators and raw strings never pass for code.
class SourceLexer {
public:
    explicit SourceLexer(const QByteArray &source) : m_s(source) {}

    QList<Token> tokens()
    {
        QList<Token> out;
        while (m_i < m_s.size()) {
            const char c = m_s[m_i];
            if (c == '\n') {
                ++m_line;
                ++m_i;
            } else if (c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v' || c == '\\') {
                ++m_i;
            } else if (c == '/' && peek(1) == '/') {
                while (m_i < m_s.size() && m_s[m_i] != '\n') {
                    ++m_i;
                }
            } else if (c == '/' && peek(1) == '*') {
                skipBlockComment();
            } else if (c >= '0' && c <= '9') {
                skipNumber();
                out.append({Token::Kind::punctuation, QStringLiteral("0"), m_line});
            } else if (isIdentifierByte(c, true)) {
                lexIdentifierOrPrefixedLiteral(out);
            } else if (c == '"') {
                const int line = m_line;
                ++m_i;
                out.append({Token::Kind::literal, readQuoted(), line});
            } else if (c == '\'') {
                skipCharacterLiteral();
                out.append({Token::Kind::punctuation, QStringLiteral("'"), m_line});
            } else if (c == ':' && peek(1) == ':') {
                out.append({Token::Kind::punctuation, QStringLiteral("::"), m_line});
                m_i += 2;
            } else {
                out.append({Token::Kind::punctuation, QString(QLatin1Char(c)), m_line});
                ++m_i;
            }
        }
        return out;
    }

private:
    char peek(qsizetype ahead) const { return m_i + ahead < m_s.size() ? m_s[m_i + ahead] : '\0'; }

    void skipBlockComment()
    {
        m_i += 2;
        while (m_i < m_s.size() && !(m_s[m_i] == '*' && peek(1) == '/')) {
            m_line += m_s[m_i] == '\n';
            ++m_i;
        }
        m_i += 2;
    }

    void skipNumber()
    {
        // 1'000'000 and 1e-5 stay one number; the quote is not a character literal.
        ++m_i;
        while (m_i < m_s.size()) {
            const char c = m_s[m_i];
            const char previous = m_s[m_i - 1];
            if (isIdentifierByte(c, false) || c == '.' || c == '\'' ||
                ((c == '+' || c == '-') &&
                 (previous == 'e' || previous == 'E' || previous == 'p' || previous == 'P'))) {
                ++m_i;
            } else {
                break;
            }
        }
    }

    void skipCharacterLiteral()
    {
        ++m_i;
        while (m_i < m_s.size() && m_s[m_i] != '\'' && m_s[m_i] != '\n') {
            m_i += m_s[m_i] == '\\' ? 2 : 1;
        }
        ++m_i;
    }

    void lexIdentifierOrPrefixedLiteral(QList<Token> &out)
    {
        const qsizetype start = m_i;
        while (m_i < m_s.size() && isIdentifierByte(m_s[m_i], false)) {
            ++m_i;
        }
        const QByteArray word = m_s.mid(start, m_i - start);
        static const QSet<QByteArray> prefixes{"u8", "u", "U", "L"};
        static const QSet<QByteArray> rawPrefixes{"R", "u8R", "uR", "UR", "LR"};
        if (m_i < m_s.size() && m_s[m_i] == '"' && prefixes.contains(word)) {
            const int line = m_line;
            ++m_i;
            out.append({Token::Kind::literal, readQuoted(), line});
        } else if (m_i < m_s.size() && m_s[m_i] == '"' && rawPrefixes.contains(word)) {
            const int line = m_line;
            ++m_i;
            out.append({Token::Kind::literal, readRaw(), line});
        } else if (m_i < m_s.size() && m_s[m_i] == '\'' && prefixes.contains(word)) {
            skipCharacterLiteral();
            out.append({Token::Kind::punctuation, QStringLiteral("'"), m_line});
        } else {
            out.append({Token::Kind::identifier, QString::fromUtf8(word), m_line});
        }
    }

    // After the opening quote; decodes escapes the way the compiler does.
    QString readQuoted()
    {
        std::string bytes;
        while (m_i < m_s.size() && m_s[m_i] != '"' && m_s[m_i] != '\n') {
            const char c = m_s[m_i++];
            if (c != '\\') {
                bytes += c;
                continue;
            }
            const char e = peek(0);
            ++m_i;
            // Pairs of escape letter and the character it stands for.
            static const QByteArray simple("n\nt\tr\ra\ab\bf\fv\v");
            const qsizetype pair = simple.indexOf(e);
            if (pair >= 0 && pair % 2 == 0) {
                bytes += simple[pair + 1];
            } else if (e == '\n') {
                ++m_line; // a continued line
            } else if (e == 'x') {
                bytes += char(readDigits(16, 8));
            } else if (e == 'u' || e == 'U') {
                appendUtf8(bytes, readDigits(16, e == 'u' ? 4 : 8));
            } else if (e >= '0' && e <= '7') {
                --m_i;
                bytes += char(readDigits(8, 3));
            } else {
                bytes += e; // \" \' \\ \?
            }
        }
        ++m_i;
        skipSuffix();
        return QString::fromStdString(bytes);
    }

    QString readRaw()
    {
        const qsizetype open = m_s.indexOf('(', m_i);
        if (open < 0) {
            m_i = m_s.size();
            return {};
        }
        const QByteArray terminator = ')' + m_s.mid(m_i, open - m_i) + '"';
        qsizetype end = m_s.indexOf(terminator, open + 1);
        if (end < 0) {
            end = m_s.size();
        }
        const QByteArray body = m_s.mid(open + 1, end - open - 1);
        m_line += int(body.count('\n'));
        m_i = end + terminator.size();
        skipSuffix();
        return QString::fromUtf8(body);
    }

    void skipSuffix()
    {
        while (m_i < m_s.size() && isIdentifierByte(m_s[m_i], false)) {
            ++m_i;
        }
    }

    uint readDigits(int base, int maxDigits)
    {
        uint value = 0;
        for (int n = 0; n < maxDigits && m_i < m_s.size(); ++n) {
            const int digit = digitValue(m_s[m_i]);
            if (digit < 0 || digit >= base) {
                break;
            }
            value = value * uint(base) + uint(digit);
            ++m_i;
        }
        return value;
    }

    const QByteArray m_s;
    qsizetype m_i = 0;
    int m_line = 1;
};

bool isPunctuation(const QList<Token> &t, qsizetype i, const char *text)
{
    return i < t.size() && t[i].kind == Token::Kind::punctuation && t[i].text == QLatin1String(text);
}

bool isIdentifier(const QList<Token> &t, qsizetype i, const char *text)
{
    return i < t.size() && t[i].kind == Token::Kind::identifier && t[i].text == QLatin1String(text);
}

// The first argument at `i`, when it is a string literal (adjacent pieces joined),
// bare or wrapped once in QStringLiteral(...), QLatin1String(...) and the like.
std::optional<QString> literalArgument(const QList<Token> &t, qsizetype i)
{
    static const QSet<QString> wrappers{"QStringLiteral", "QLatin1String", "QLatin1StringView",
                                        "QString",        "QStringView",   "QByteArrayLiteral",
                                        "fromUtf8",       "fromLatin1"};
    bool wrapped = false;
    if (i < t.size() && t[i].kind == Token::Kind::identifier) {
        qsizetype j = i + 1;
        while (isPunctuation(t, j, "::") && j + 1 < t.size() && t[j + 1].kind == Token::Kind::identifier) {
            j += 2;
        }
        if (!isPunctuation(t, j, "(") || !wrappers.contains(t[j - 1].text)) {
            return std::nullopt;
        }
        i = j + 1;
        wrapped = true;
    }
    QString key;
    bool any = false;
    while (i < t.size() && t[i].kind == Token::Kind::literal) {
        key += t[i++].text;
        any = true;
    }
    if (!any || (wrapped && !isPunctuation(t, i++, ")"))) {
        return std::nullopt;
    }
    if (!isPunctuation(t, i, ",") && !isPunctuation(t, i, ")")) {
        return std::nullopt; // an expression such as "a" + b is not a key
    }
    return key;
}

// Keys handed to the lookup in one source file: the first argument of
// L10n::text, L10n::format, VARN_TR_KEY and the tr() helpers that forward to them.
QList<KeyUse> keysUsedIn(const QByteArray &source)
{
    const QList<Token> t = SourceLexer(source).tokens();
    QList<KeyUse> uses;
    for (qsizetype i = 0; i < t.size(); ++i) {
        qsizetype argument = -1;
        if (isIdentifier(t, i, "L10n") && isPunctuation(t, i + 1, "::") &&
            (isIdentifier(t, i + 2, "text") || isIdentifier(t, i + 2, "format")) &&
            isPunctuation(t, i + 3, "(")) {
            argument = i + 4;
        } else if ((isIdentifier(t, i, "VARN_TR_KEY") || isIdentifier(t, i, "tr")) &&
                   isPunctuation(t, i + 1, "(")) {
            argument = i + 2;
        }
        if (argument < 0) {
            continue;
        }
        if (const std::optional<QString> key = literalArgument(t, argument)) {
            uses.append({*key, t[argument].line});
        }
    }
    return uses;
}

// Key -> "file:line" of every place that uses it.
QMap<QString, QStringList> keysUsedUnder(const QString &root, int *filesScanned)
{
    QMap<QString, QStringList> keys;
    *filesScanned = 0;
    QDirIterator it(root, {QStringLiteral("*.cpp"), QStringLiteral("*.h")}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            ADD_FAILURE() << "cannot read " << path.toStdString();
            continue;
        }
        ++*filesScanned;
        const QString shown = path.mid(root.size() + 1);
        for (const KeyUse &use : keysUsedIn(file.readAll())) {
            keys[use.key].append(shown + QLatin1Char(':') + QString::number(use.line));
        }
    }
    return keys;
}

// ---------------------------------------------------------------------------
// Reading the Linguist table
// ---------------------------------------------------------------------------

struct Message {
    QString source;
    QStringList translations; // one text, or one per plural form
    QString type;             // "", "unfinished", "vanished", "obsolete"
    QString disambiguation;
    qint64 line = 0;
};

struct Table {
    QStringList contexts;
    QString language;
    QList<Message> messages;
    QString error;
};

Table readTable(const QString &path)
{
    Table table;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        table.error = QStringLiteral("cannot open ") + path;
        return table;
    }
    QXmlStreamReader xml(&file);
    Message message;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isEndElement() && xml.name() == QLatin1String("message")) {
            table.messages.append(message);
            continue;
        }
        if (!xml.isStartElement()) {
            continue;
        }
        const QString name = xml.name().toString();
        if (name == QLatin1String("TS")) {
            table.language = xml.attributes().value(QLatin1String("language")).toString();
        } else if (name == QLatin1String("name")) {
            table.contexts.append(xml.readElementText());
        } else if (name == QLatin1String("message")) {
            message = Message();
            message.line = xml.lineNumber();
        } else if (name == QLatin1String("source")) {
            message.source = xml.readElementText();
        } else if (name == QLatin1String("comment")) {
            message.disambiguation = xml.readElementText();
        } else if (name == QLatin1String("translation")) {
            message.type = xml.attributes().value(QLatin1String("type")).toString();
            // Its text, or one text per plural form.
            QString text;
            QStringList forms;
            while (!xml.atEnd() && xml.readNext() != QXmlStreamReader::Invalid) {
                if (xml.isCharacters()) {
                    text += xml.text();
                } else if (xml.isStartElement() && xml.name() == QLatin1String("numerusform")) {
                    forms.append(xml.readElementText());
                } else if (xml.isEndElement() && xml.name() == QLatin1String("translation")) {
                    break;
                }
            }
            message.translations = forms.isEmpty() ? QStringList{text} : forms;
        }
    }
    if (xml.hasError()) {
        table.error = QStringLiteral("line %1: %2").arg(xml.lineNumber()).arg(xml.errorString());
    }
    return table;
}

const Table &spanishTable()
{
    static const Table table = readTable(kTablePath);
    return table;
}

QMap<QString, const Message *> finishedBySource(const Table &table)
{
    QMap<QString, const Message *> finished;
    for (const Message &m : table.messages) {
        const bool hasText = !m.translations.isEmpty() && !m.translations.contains(QString());
        if (m.type.isEmpty() && hasText && m.disambiguation.isEmpty()) {
            finished.insert(m.source, &m);
        }
    }
    return finished;
}

// "%@" and printf conversions, in order; a lone "%" before a blank or the end
// of the text ("by % (positive ...)", "marker %") is plain text.
QStringList placeholders(const QString &text)
{
    static const QRegularExpression conversion(
        QStringLiteral("%%|%@|%[-+ #0]*[0-9]*(?:\\.[0-9]+)?(?:hh|h|ll|l|L|q|j|z|t)?[diouxXeEfFgGaAcsp]"));
    QStringList found;
    for (auto it = conversion.globalMatch(text); it.hasNext();) {
        found.append(it.next().captured());
    }
    return found;
}

std::string show(const QString &text)
{
    return QStringLiteral("\"%1\"").arg(text).toStdString();
}

// ---------------------------------------------------------------------------
// The scanner itself
// ---------------------------------------------------------------------------

QStringList keysOf(const char *source)
{
    QStringList keys;
    for (const KeyUse &use : keysUsedIn(QByteArray(source))) {
        keys.append(use.key);
    }
    return keys;
}

TEST(TranslationKeyScan, FindsTheLiteralFirstArgumentOfEveryKindOfLookup)
{
    const char *source = R"code(
        auto a = L10n::text("Apply", language);
        auto b = L10n::format("Opening %@…", language, {name});
        static const char *table[] = {VARN_TR_KEY("Drilling cycle"), VARN_TR_KEY( "Tapping cycle" )};
        auto c = tr("standard input");
        auto d = L10n::text(QStringLiteral("Untitled"), language);
        auto e = L10n::text(QString::fromUtf8("Ready"), language);
        auto f = L10n::text
            (
              "Save" , language);
    )code";
    EXPECT_EQ(keysOf(source), (QStringList{"Apply", "Opening %@…", "Drilling cycle", "Tapping cycle",
                                           "standard input", "Untitled", "Ready", "Save"}));
}

TEST(TranslationKeyScan, JoinsAdjacentPiecesAndDecodesEscapesAndPrefixes)
{
    const char *source =
        "L10n::text(\"waiting for the machine to receive (is it in receive mode? are the cable and \"\n"
        "           \"flow control correct?)\", language);\n"
        "L10n::format(\"Unknown language \\\"%@\\\" (use en or es).\", l, {v});\n"
        "L10n::text(u8\"Tool length compensation (\\u2212)\", l);\n"
        "L10n::text(u\"back\\\\slash\" \"\\nnew line\\t\\x41\\101\", l);\n"
        "L10n::text(R\"x(raw \"quoted\" \\n)x\", l);\n"
        "L10n::text(\"Copy\"_L1, l);\n";
    EXPECT_EQ(
        keysOf(source),
        (QStringList{
            "waiting for the machine to receive (is it in receive mode? are the cable and flow control "
            "correct?)",
            "Unknown language \"%@\" (use en or es).", QString::fromUtf8("Tool length compensation (−)"),
            "back\\slash\nnew line\tAA", "raw \"quoted\" \\n", "Copy"}));
}

TEST(TranslationKeyScan, IgnoresCommentsCharactersAndArgumentsThatAreNotPlainLiterals)
{
    const char *source = R"code(
        // L10n::text("In a line comment", language);
        /* L10n::text("In a block
           comment", language); */
        QString text(const QString &key, AppLanguage language);
        QString L10n::text(const QString &key, AppLanguage language) { return key; }
        #define VARN_TR_KEY(text) text
        auto a = L10n::text(key, language);
        auto b = L10n::text("Prefix " + name, language);
        auto c = L10n::text(flag ? "One" : "Other", language);
        auto quote = '"'; auto million = 1'000'000;
        auto d = L10n::text("After the quote", language);
        auto e = QString("L10n::text(\"Inside a string\")");
        auto f = attr("not a lookup");
        auto g = L10n::text(keyFor("not a wrapper"), language);
    )code";
    EXPECT_EQ(keysOf(source), QStringList{"After the quote"});
}

TEST(TranslationKeyScan, ReportsTheLineWhereTheKeyStarts)
{
    const QList<KeyUse> uses =
        keysUsedIn("/* one\n two */\nL10n::text(\n  \"Save\"\n  \" As…\", l);\ntr(\"Open\");\n");
    ASSERT_EQ(uses.size(), 2);
    EXPECT_EQ(uses[0].key, QString::fromUtf8("Save As…"));
    EXPECT_EQ(uses[0].line, 4);
    EXPECT_EQ(uses[1].line, 6);
}

TEST(TranslationKeyScan, StopsCleanlyOnSourceCutShort)
{
    // A file saved half-way through an edit must not crash the scan or invent a key.
    for (const char *source : {"L10n::text(\"open", "L10n::text(R\"x(never closed", "/* open comment",
                               "L10n::text(\"a\\", "L10n::text(", "1'", "'", "u8"}) {
        EXPECT_TRUE(keysOf(source).isEmpty()) << source;
    }
}

TEST(TranslationPlaceholders, AreConversionsInOrderAndNotLonePercentSigns)
{
    EXPECT_EQ(placeholders(QStringLiteral("%@:   min %.4g    max %.4g")),
              (QStringList{"%@", "%.4g", "%.4g"}));
    EXPECT_EQ(placeholders(QStringLiteral("%lld of %d, 100%% done, %02d")),
              (QStringList{"%lld", "%d", "%%", "%02d"}));
    EXPECT_TRUE(placeholders(QStringLiteral("Change ALL S values by % (positive increases)")).isEmpty());
    EXPECT_TRUE(placeholders(QStringLiteral("Missing tape start marker %")).isEmpty());
}

// ---------------------------------------------------------------------------
// The table
// ---------------------------------------------------------------------------

TEST(SpanishTable, ParsesAsOneSpanishContextWithoutDuplicatesOrUnreachableEntries)
{
    const Table &table = spanishTable();
    ASSERT_TRUE(table.error.isEmpty()) << table.error.toStdString();
    EXPECT_EQ(table.contexts, QStringList{"VarnEdit"}) << "the lookup reads one context only";
    EXPECT_TRUE(table.language.startsWith(QLatin1String("es"))) << table.language.toStdString();
    ASSERT_FALSE(table.messages.isEmpty());
    QMap<QString, qint64> firstLine;
    for (const Message &m : table.messages) {
        EXPECT_FALSE(m.source.isEmpty()) << "line " << m.line;
        // The lookup passes no disambiguation, so an entry with one is never found.
        EXPECT_TRUE(m.disambiguation.isEmpty()) << "line " << m.line << ": " << show(m.source);
        if (firstLine.contains(m.source)) {
            ADD_FAILURE() << show(m.source) << " at line " << m.line << " repeats line "
                          << firstLine[m.source];
        } else {
            firstLine.insert(m.source, m.line);
        }
    }
}

TEST(SpanishTable, EveryTranslationIsFinishedAndKeepsThePlaceholdersInOrder)
{
    for (const Message &m : spanishTable().messages) {
        EXPECT_TRUE(m.type.isEmpty())
            << "line " << m.line << " is " << m.type.toStdString() << ": " << show(m.source);
        ASSERT_FALSE(m.translations.isEmpty()) << "line " << m.line;
        for (const QString &translation : m.translations) {
            EXPECT_FALSE(translation.trimmed().isEmpty()) << "line " << m.line << ": " << show(m.source);
            EXPECT_EQ(placeholders(translation), placeholders(m.source))
                << "line " << m.line << ": " << show(m.source) << " -> " << show(translation);
        }
    }
}

TEST(SpanishTable, EveryTranslationKeepsEdgeBlanksAndClosingPunctuation)
{
    static const QString closing = QString::fromUtf8(".:…?!");
    for (const Message &m : spanishTable().messages) {
        const QString &source = m.source;
        for (const QString &translation : m.translations) {
            const auto where = [&] {
                return "line " + std::to_string(m.line) + ": " + show(source) + " -> " + show(translation);
            };
            EXPECT_EQ(source.front().isSpace(), translation.front().isSpace()) << where();
            EXPECT_EQ(source.back().isSpace(), translation.back().isSpace()) << where();
            if (closing.contains(source.back())) {
                EXPECT_EQ(translation.back(), source.back()) << where();
            } else {
                EXPECT_FALSE(closing.contains(translation.back())) << where();
            }
        }
    }
}

TEST(SpanishTable, OnlyCodesAndNamesReadTheSameInBothLanguages)
{
    // Abbreviations, units and proper names; anything else left in English is
    // an entry someone forgot to translate.
    static const QSet<QString> sameInSpanish{
        "XON/XOFF", "RTS/CTS", "CR",        "CRLF",    "LF",
        "DTR",      "RTS",     "mm",        "%@ byte", "%@ bytes",
        "%@/s",     "Error",   "VARN Edit", "English", QString::fromUtf8("Español"),
    };
    for (const Message &m : spanishTable().messages) {
        for (const QString &translation : m.translations) {
            if (translation == m.source) {
                EXPECT_TRUE(sameInSpanish.contains(m.source))
                    << "line " << m.line << " is not translated: " << show(m.source);
            }
        }
    }
}

TEST(SpanishTable, CompiledTableAnswersEveryEntryAsWritten)
{
    const QMap<QString, const Message *> finished = finishedBySource(spanishTable());
    ASSERT_FALSE(finished.isEmpty());
    for (auto it = finished.cbegin(); it != finished.cend(); ++it) {
        const Message &m = **it;
        if (m.translations.size() != 1) {
            continue; // plural forms need a count the plain lookup does not take
        }
        const QString answered = L10n::text(m.source, AppLanguage::spanish);
        EXPECT_EQ(answered, m.translations.front())
            << "line " << m.line << ": " << show(m.source) << " answers " << show(answered);
    }
}

struct Expected {
    const char *english;
    QStringList args;
    const char *spanish;
};

TEST(SpanishTable, TheTextsUsersMeetMostReadInSpanish)
{
    const Expected cases[] = {
        {"Transfer Cancelled", {}, "Transferencia cancelada"},
        {"Unknown G code: G%@", {"05.1"}, "Código G desconocido: G05.1"},
        {"Could not open %@: %@",
         {"/dev/ttyUSB0", "Permission denied"},
         "No se pudo abrir /dev/ttyUSB0: Permission denied"},
        {"Timed out %@", {"esperando al puerto"}, "Tiempo de espera agotado esperando al puerto"},
        {"%@ of %@", {"12 KB", "48 KB"}, "12 KB de 48 KB"},
        {"Axis Ranges (%@)", {"pocket.nc"}, "Rangos de ejes (pocket.nc)"},
        {"Unable to read %@.", {"O1000"}, "No se pudo leer O1000."},
        {"no flow", {}, "sin control de flujo"},
        {"in", {}, "pulg"},
        {"Untitled", {}, "Sin título"},
        {"No Program Open", {}, "Ningún programa abierto"},
        {"Finishing drip feed…", {}, "Terminando la alimentación por goteo…"},
        {"Spindle is not started (missing M03 / M04)", {}, "El husillo no está arrancado (falta M03 / M04)"},
        // Codes whose descriptions hold a Unicode minus and a middle dot.
        {"Tool length compensation (−)", {}, "Compensación de longitud de herramienta (−)"},
        {"Constant surface speed (SFM/m·min)", {}, "Velocidad de corte constante (SFM/m·min)"},
        {"End of program and rewind", {}, "Fin de programa y rebobinado"},
        {"Your user may not use serial ports. Add it to the dialout group (sudo usermod -aG dialout $USER), "
         "then "
         "log out and in again.",
         {},
         "Su usuario no tiene permiso para usar los puertos serie. Añádalo al grupo dialout (sudo usermod "
         "-aG "
         "dialout $USER) y después cierre la sesión y vuelva a iniciarla."},
    };
    for (const Expected &c : cases) {
        EXPECT_EQ(L10n::format(c.english, AppLanguage::spanish, c.args), QString::fromUtf8(c.spanish))
            << c.english;
    }
}

// ---------------------------------------------------------------------------
// Coverage of the program
// ---------------------------------------------------------------------------

TEST(TranslationCoverage, EveryKeyUsedInTheProgramHasAFinishedSpanishText)
{
    int filesScanned = 0;
    const QMap<QString, QStringList> used = keysUsedUnder(kSourceRoot, &filesScanned);
    ASSERT_GT(filesScanned, 0) << "no sources under " << kSourceRoot.toStdString();
    // The transport's texts have been in the core from the start; finding none
    // would mean the scan itself is broken, not that everything is covered.
    ASSERT_TRUE(used.contains(QStringLiteral("Transfer Cancelled")))
        << "the key scan found nothing it should";

    const QMap<QString, const Message *> finished = finishedBySource(spanishTable());
    QStringList missing;
    for (auto it = used.cbegin(); it != used.cend(); ++it) {
        if (!finished.contains(it.key())) {
            missing.append(
                QStringLiteral("\"%1\"  (%2)").arg(it.key(), it.value().join(QStringLiteral(", "))));
        }
    }
    EXPECT_TRUE(missing.isEmpty()) << missing.size()
                                   << " key(s) without a Spanish text in translations/varn_es.ts:\n  "
                                   << missing.join(QStringLiteral("\n  ")).toStdString();
}

} // namespace
