// Guards the Spanish table: every key the program looks up must have a finished
// Spanish text, and the table must be one a translator and lrelease agree on.
// The key scan reads whatever is under src/ today, so it keeps working while the
// rest of the program grows around it.
#include "base/l10n.h"

#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QXmlStreamReader>
#include <gtest/gtest.h>

namespace {

#define LITERAL R"("(?:[^"\\\n]|\\.)*")"

// Comments become blanks (line breaks kept, so line numbers hold); string and
// character literals are matched first so a "//" inside one is not a comment.
QString withoutComments(const QString &source)
{
    static const QRegularExpression token(LITERAL R"(|'(?:[^'\\\n]|\\.)*'|//[^\n]*|/\*[\s\S]*?\*/)");
    QString out = source;
    for (auto it = token.globalMatch(source); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        if (m.captured().startsWith(u'/')) {
            for (qsizetype i = m.capturedStart(); i < m.capturedEnd(); ++i) {
                out[i] = out[i] == u'\n' ? u'\n' : u' ';
            }
        }
    }
    return out;
}

QString decoded(const QString &pieces)
{
    static const QRegularExpression piece(LITERAL);
    static const QRegularExpression escape(R"(\\(x[0-9A-Fa-f]+|u[0-9A-Fa-f]{4}|.))");
    static const QMap<QChar, QChar> simple{{'n', '\n'}, {'t', '\t'}, {'r', '\r'}, {'0', QChar(0)}};
    QString key;
    for (auto it = piece.globalMatch(pieces); it.hasNext();) {
        const QString body = it.next().captured().chopped(1).mid(1);
        qsizetype last = 0;
        for (auto e = escape.globalMatch(body); e.hasNext();) {
            const QRegularExpressionMatch m = e.next();
            const QString code = m.captured(1);
            key += body.mid(last, m.capturedStart() - last);
            key += code.size() > 1 ? QChar(char16_t(code.mid(1).toUInt(nullptr, 16))) : simple.value(code[0], code[0]);
            last = m.capturedEnd();
        }
        key += body.mid(last);
    }
    return key;
}

// Key -> line of every literal first argument of L10n::text, L10n::format,
// VARN_TR_KEY and the CLI's ctx.tr helper; adjacent pieces are joined.
QList<QPair<QString, int>> keysIn(const QString &source)
{
    static const QRegularExpression call(R"((?<![\w.:>])(?:L10n::(?:text|format)|VARN_TR_KEY|(?:ctx\.)?tr)\s*\(\s*((?:)" LITERAL
                                         R"(\s*)+)[,)])");
    const QString code = withoutComments(source);
    QList<QPair<QString, int>> keys;
    for (auto it = call.globalMatch(code); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        keys.append({decoded(m.captured(1)), int(code.left(m.capturedStart(1)).count(u'\n')) + 1});
    }
    return keys;
}

// "%@" and printf conversions, in order; a lone "%" before a blank is plain text.
QStringList placeholders(const QString &text)
{
    static const QRegularExpression conversion(R"(%%|%@|%[-+ #0]*[0-9]*(?:\.[0-9]+)?(?:hh|h|ll|l|L|z)?[diouxXeEfgGcsp])");
    QStringList found;
    for (auto it = conversion.globalMatch(text); it.hasNext();) {
        found.append(it.next().captured());
    }
    return found;
}

struct Entry {
    QString source, translation, type;
    qint64 line = 0;
};

QList<Entry> spanishTable()
{
    QFile file(QStringLiteral(VARN_SOURCE_DIR "/translations/varn_es.ts"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&file);
    QList<Entry> entries;
    while (xml.readNext() != QXmlStreamReader::Invalid && !xml.atEnd()) {
        if (!xml.isStartElement()) {
            continue;
        } else if (xml.name() == u"message") {
            entries.append({{}, {}, {}, xml.lineNumber()});
        } else if (xml.name() == u"source") {
            entries.last().source = xml.readElementText();
        } else if (xml.name() == u"translation") {
            entries.last().type = xml.attributes().value("type").toString();
            entries.last().translation = xml.readElementText();
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return entries;
}

} // namespace

TEST(TranslationKeyScan, FindsEveryCallFormJoinsPiecesAndSkipsComments)
{
    const QString source = "L10n::text(\"Apply\", lang);\n"
                           "// L10n::text(\"In a comment\")\n/* VARN_TR_KEY(\"Blocked\") */\n"
                           "const char *k = \"// not a comment\"; L10n::format(\"Opening \"\n    \"%@\\u2026\", lang, {a});\n"
                           "VARN_TR_KEY(\"Tab\\there \\\"quoted\\\"\"), ctx.tr(\"CLI text\\n\"); L10n::text(variable);\n"
                           "return tr(\"member\"); QObject::tr(\"other\");\n"
                           "L10n::text(\"A\" + suffix);";
    const QList<QPair<QString, int>> expected = {{"Apply", 1},
                                                 {u"Opening %@\u2026"_qs, 4},
                                                 {"Tab\there \"quoted\"", 6},
                                                 {"CLI text\n", 6}, {"member", 7}};
    EXPECT_EQ(keysIn(source), expected);
}

TEST(SpanishTable, EntriesAreUniqueFinishedAndKeepTheirPlaceholders)
{
    const QList<Entry> table = spanishTable();
    ASSERT_GT(table.size(), 100);
    QMap<QString, qint64> seen;
    for (const Entry &e : table) {
        SCOPED_TRACE("line " + std::to_string(e.line) + ": " + e.source.toStdString());
        EXPECT_FALSE(seen.contains(e.source)) << "repeats line " << seen.value(e.source);
        seen.insert(e.source, e.line);
        EXPECT_TRUE(e.type.isEmpty() && !e.translation.trimmed().isEmpty()) << e.type.toStdString();
        EXPECT_EQ(placeholders(e.translation), placeholders(e.source)) << e.translation.toStdString();
        EXPECT_EQ(L10n::text(e.source, AppLanguage::spanish), e.translation) << "the compiled table disagrees";
    }
    EXPECT_EQ(placeholders("%@: min %.4g, %lld of %d, 100%% by % (marker %)"),
              (QStringList{"%@", "%.4g", "%lld", "%d", "%%"}));
}

TEST(TranslationCoverage, EveryKeyUsedInTheProgramHasAFinishedSpanishText)
{
    QMap<QString, QString> finished;
    for (const Entry &e : spanishTable()) {
        if (e.type.isEmpty() && !e.translation.isEmpty()) {
            finished.insert(e.source, e.translation);
        }
    }
    QStringList missing;
    int found = 0;
    const QString root = QStringLiteral(VARN_SOURCE_DIR "/src");
    for (QDirIterator it(root, {"*.cpp", "*.h"}, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
        QFile file(it.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << file.fileName().toStdString();
        for (const auto &[key, line] : keysIn(QString::fromUtf8(file.readAll()))) {
            ++found;
            if (!finished.contains(key)) {
                missing.append(QStringLiteral("\"%1\" (%2:%3)").arg(key, file.fileName().mid(root.size() + 1)).arg(line));
            }
        }
    }
    // Finding few keys means the scan broke, not that everything is covered.
    EXPECT_GT(found, 150);
    EXPECT_TRUE(missing.isEmpty()) << "without a Spanish text in translations/varn_es.ts:\n  "
                                   << missing.join("\n  ").toStdString();
}

TEST(L10n, EnglishIsTheKeySpanishComesFromTheTableAndUnknownKeysStayEnglish)
{
    EXPECT_EQ(L10n::text("Apply", AppLanguage::english), "Apply");
    EXPECT_EQ(L10n::text("Apply", AppLanguage::spanish), "Aplicar");
    EXPECT_EQ(L10n::text("Apply", AppLanguage::english), "Apply"); // the lookup keeps no language state
    EXPECT_EQ(L10n::text("No such key anywhere", AppLanguage::spanish), "No such key anywhere");
    for (AppLanguage language : AppLanguages::allCases) {
        AppLanguage back = AppLanguage::english;
        ASSERT_TRUE(AppLanguages::fromRawValue(AppLanguages::rawValue(language), &back));
        EXPECT_EQ(back, language);
    }
    AppLanguage unchanged = AppLanguage::spanish;
    EXPECT_FALSE(AppLanguages::fromRawValue("EN", &unchanged));
    EXPECT_EQ(unchanged, AppLanguage::spanish);
}

TEST(L10n, FillsPlaceholdersInOrderAndFormatsNumbersWithTheLanguagesDecimalMark)
{
    EXPECT_EQ(L10n::fill("Could not open %@: %@", {"/dev/ttyUSB0", "No such file"}),
              "Could not open /dev/ttyUSB0: No such file");
    EXPECT_EQ(L10n::fill("%@ and %@", {"%@", "b"}), "%@ and b"); // an argument is never filled again
    EXPECT_EQ(L10n::fill("no placeholder", {"x"}), "no placeholder");
    EXPECT_EQ(L10n::fill("%@:   min %.4g    max %.4g", {"X", "0", "60"}), "X:   min 0    max 60");
    EXPECT_EQ(L10n::fill("%d%% of %lld", {"5", "7"}), "5% of 7");
    const std::tuple<double, const char *, AppLanguage, const char *> numbers[] = {
        {60.0, "%.4g", AppLanguage::english, "60"},          {-2.5, "%.4g", AppLanguage::spanish, "-2,5"},
        {1234567.0, "%.4g", AppLanguage::english, "1.235e+06"}, {12345.0, "%.4g", AppLanguage::spanish, "1,234e+04"},
        {0.0005, "%.3f", AppLanguage::english, "0.001"}};
    for (const auto &[value, format, language, text] : numbers) {
        EXPECT_EQ(L10n::number(value, format, language), text) << format;
    }
}
