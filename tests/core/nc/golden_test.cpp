// Text in, text out. tests/data/nc/<tool>/<case>/ holds whole programs
// (input.nc, expected.nc and optionally "args": "start increment" for the
// numbering tools, the user's answer for remove-m, the factor for scaling).
// tests/data/nc/tools.tsv holds one small case a line: tool, args, input,
// expected; analyzer.tsv one program a line: language, text, then facts of
// its analysis that must appear in this order. Cells escape \n \r \t \\ and
// \uXXXX; "#" lines explain the rows.
#include "nc/nctools.h"
#include "nc/programanalyzer.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

const QString kDataDir = QStringLiteral(VARN_SOURCE_DIR "/tests/data/nc/");

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString unescaped(const QString &cell)
{
    QString out;
    for (qsizetype i = 0; i < cell.size(); ++i) {
        const QChar c = cell.at(i);
        const QChar next = i + 1 < cell.size() ? cell.at(i + 1) : QChar();
        if (c != u'\\') {
            out += c;
        } else if (next == u'u') {
            out += QChar(char16_t(cell.mid(i + 2, 4).toUShort(nullptr, 16)));
            i += 5;
        } else {
            out += next == u'n' ? u'\n' : next == u'r' ? u'\r' : next == u't' ? u'\t' : next;
            ++i;
        }
    }
    return out;
}

// Every non-comment line of a table, split into unescaped cells, with its line number.
QList<std::pair<int, QStringList>> tableRows(const QString &name)
{
    QList<std::pair<int, QStringList>> rows;
    const QStringList lines = QString::fromUtf8(contents(kDataDir + name)).split(u'\n');
    for (qsizetype at = 0; at < lines.size(); ++at) {
        if (!lines.at(at).isEmpty() && !lines.at(at).startsWith(u'#')) {
            QStringList cells = lines.at(at).split(u'\t');
            std::transform(cells.begin(), cells.end(), cells.begin(), unescaped);
            rows.append({int(at + 1), cells});
        }
    }
    return rows;
}

// An analysis as short lines: "X 10 20", "time 12", "T 1 01 comment", "( 2 text",
// "! 5 message", plus counts.
QStringList facts(const ProgramAnalysis &a)
{
    const auto num = [](double v) { return QString::number(v, 'g', 12); };
    const auto range = [&](const char *name, const std::optional<ProgramAnalysis::ValueRange> &r) {
        return QLatin1String(name) + (r ? u' ' + num(r->min) + u' ' + num(r->max) : QStringLiteral(" -"));
    };
    QStringList out = {QStringLiteral("lines %1").arg(a.lineCount), "O " + a.programNumber.value_or("-"),
                       "units " + a.units, QStringLiteral("tools %1").arg(a.tools.size())};
    for (const auto &t : a.tools) {
        out << QStringLiteral("T %1 %2 ").arg(t.line).arg(t.tool) + t.comment.value_or("-");
    }
    out << QStringLiteral("comments %1").arg(a.comments.size());
    for (const auto &c : a.comments) {
        out << QStringLiteral("( %1 ").arg(c.line) + c.text;
    }
    out << QStringLiteral("warnings %1").arg(a.warnings.size());
    for (const auto &w : a.warnings) {
        out << QStringLiteral("! %1 ").arg(w.line) + w.message;
    }
    out << range("S", a.sRange) << range("F", a.fRange) << range("X", a.xRange) << range("Y", a.yRange)
        << range("Z", a.zRange) << "time " + (a.estimatedSeconds ? num(*a.estimatedSeconds) : "-");
    return out;
}

QString rangesText(const QList<NCTools::AxisRange> &ranges)
{
    QStringList words;
    for (const NCTools::AxisRange &r : ranges) {
        words << QString(r.axis) << QString::number(r.min, 'g', QLocale::FloatingPointShortest)
              << QString::number(r.max, 'g', QLocale::FloatingPointShortest);
    }
    return words.join(u' ');
}

QString run(const QString &tool, const QString &in, const QString &args)
{
    const QStringList words = args.split(u' ', Qt::SkipEmptyParts);
    const qint64 start = words.value(0, "10").toLongLong(), step = words.value(1, "10").toLongLong();
    QList<qint64> codes;
    for (const QString &word : words) {
        codes << word.toLongLong();
    }
    const auto yesNo = [](bool yes) { return QString::fromLatin1(yes ? "yes" : "no"); };
    const QHash<QString, std::function<QString()>> tools = {
        {"renumber", [&] { return NCTools::renumber(in, start, step); }},
        {"number-missing", [&] { return NCTools::addLineNumbers(in, start, step); }},
        {"strip-numbers", [&] { return NCTools::removeLineNumbers(in); }},
        {"format-spacing", [&] { return NCTools::formatSpacing(in); }},
        {"remove-coolant", [&] { return NCTools::removeCoolant(in); }},
        {"remove-m", [&] { return NCTools::removeMCodes(in, NCTools::parseMCodeList(args.isEmpty() ? "8, 9" : args)); }},
        {"remove-matching", [&] { return NCTools::removeMatching(in, QRegularExpression(args)); }},
        {"remove-m-codes", [&] { return NCTools::removeMCodes(in, codes); }},
        {"scale-feed", [&] { return NCTools::scaleFeed(in, args.toDouble()); }},
        {"scale-spindle", [&] { return NCTools::scaleSpindle(in, args.toDouble()); }},
        {"numbering-fits", [&] { return yesNo(NCTools::numberingFits(in, start, step)); }},
        {"scaling-fits", [&] { return yesNo(NCTools::scalingFits(in, args.at(0), std::strtod(qPrintable(args.mid(2)), nullptr))); }},
        {"format-like", [&] { return NCTools::formatLikeOriginal(in.toDouble(), args); }},
        {"parse-m", [&] {
             QStringList out;
             for (qint64 code : NCTools::parseMCodeList(in)) {
                 out << QString::number(code);
             }
             return out.join(u' ');
         }},
        {"time-text", [&] {
             ProgramAnalysis analysis;
             analysis.estimatedSeconds = in.isEmpty() ? std::nullopt : std::optional(in.toDouble());
             return analysis.estimatedTimeText().value_or("-");
         }},
        {"axis-ranges", [&] { return rangesText(NCTools::axisRanges(in, QList<QChar>(args.begin(), args.end()))); }},
    };
    return tools.value(tool, [] { return QStringLiteral("unknown tool"); })();
}

// Line breaks made visible, so a failure shows which one differs.
std::string shown(QByteArray bytes)
{
    return bytes.replace("\r", "\\r").replace("\n", "\\n\n").replace("\t", "\\t").toStdString();
}

} // namespace

TEST(GoldenPrograms, EveryCaseGivesItsExpectedFile)
{
    int cases = 0;
    for (const QString &tool : QDir(kDataDir).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        for (const QString &name : QDir(kDataDir + tool).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            const QString dir = kDataDir + tool + u'/' + name + u'/';
            SCOPED_TRACE((tool + u'/' + name).toStdString());
            const QByteArray input = contents(dir + "input.nc"), expected = contents(dir + "expected.nc");
            ASSERT_FALSE(input.isEmpty() || !QFile::exists(dir + "expected.nc"));
            const QString args = QString::fromUtf8(contents(dir + "args")).trimmed();
            EXPECT_EQ(shown(run(tool, QString::fromUtf8(input), args).toUtf8()), shown(expected));
            ++cases;
        }
    }
    EXPECT_GE(cases, 20);
}

TEST(GoldenPrograms, EveryRowOfTheToolTable)
{
    const auto rows = tableRows("tools.tsv");
    for (const auto &[line, cells] : rows) {
        SCOPED_TRACE("tools.tsv:" + std::to_string(line));
        ASSERT_EQ(cells.size(), 4);
        EXPECT_EQ(shown(run(cells[0], cells[2], cells[1]).toUtf8()), shown(cells[3].toUtf8()));
    }
    EXPECT_GE(rows.size(), 90);
}

TEST(GoldenPrograms, EveryAnalysisFactInItsOrder)
{
    const auto rows = tableRows("analyzer.tsv");
    for (const auto &[line, cells] : rows) {
        SCOPED_TRACE("analyzer.tsv:" + std::to_string(line));
        const AppLanguage language = cells[0] == "es" ? AppLanguage::spanish : AppLanguage::english;
        const QStringList got = facts(ProgramAnalyzer::analyze(cells[1], language));
        qsizetype at = 0;
        for (const QString &fact : cells.mid(2)) {
            const qsizetype found = got.indexOf(fact, at);
            EXPECT_GE(found, 0) << "missing or out of order: " << fact.toStdString() << "\nin:\n"
                                << got.join(u'\n').toStdString();
            at = found < 0 ? at : found + 1;
        }
    }
    EXPECT_GE(rows.size(), 38);
}
