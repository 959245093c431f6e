// Whole programs through the text tools: tests/data/<tool>/<case>/ holds
// input.nc and expected.nc, and optionally "args" (one line: "start increment"
// for the numbering tools, the user's answer for remove-m, the factor for the
// scaling tools). Files are compared as UTF-8 bytes, line breaks included.
#include "nc/nctools.h"

#include <QDir>
#include <QFile>
#include <QStringList>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

const QString kDataDir = QStringLiteral(VARN_SOURCE_DIR "/tests/data");

const QStringList kTools = {"renumber",     "number-missing", "strip-numbers", "format-spacing",
                            "remove-coolant", "remove-m",     "scale-feed",    "scale-spindle"};

struct GoldenCase {
    QString tool;
    QString name;
    QString dir;
};

void PrintTo(const GoldenCase &c, std::ostream *os)
{
    *os << c.tool.toStdString() << "/" << c.name.toStdString();
}

std::vector<GoldenCase> discoverCases()
{
    std::vector<GoldenCase> cases;
    for (const QString &tool : kTools) {
        const QDir toolDir(kDataDir + "/" + tool);
        for (const QString &name : toolDir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
            cases.push_back({tool, name, toolDir.filePath(name)});
        }
    }
    return cases;
}

std::optional<QByteArray> readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return file.readAll();
}

// Runs `tool` with the case's arguments; nullopt with a message when the case is malformed.
std::optional<QString> runTool(const GoldenCase &c, const QString &input, const QString &args, std::string *error)
{
    const QStringList words = args.split(u' ', Qt::SkipEmptyParts);
    auto number = [&](qsizetype i, qint64 fallback) {
        bool ok = true;
        const qint64 value = i < words.size() ? words[i].toLongLong(&ok) : fallback;
        if (!ok) {
            *error = "bad number in args: " + args.toStdString();
        }
        return value;
    };
    auto factor = [&]() -> std::optional<double> {
        bool ok = false;
        const double value = args.toDouble(&ok);
        if (!ok) {
            *error = "args must hold the factor";
            return std::nullopt;
        }
        return value;
    };
    if (c.tool == "renumber") {
        return NCTools::renumber(input, number(0, 10), number(1, 10));
    }
    if (c.tool == "number-missing") {
        return NCTools::addLineNumbers(input, number(0, 10), number(1, 10));
    }
    if (c.tool == "strip-numbers") {
        return NCTools::removeLineNumbers(input);
    }
    if (c.tool == "format-spacing") {
        return NCTools::formatSpacing(input);
    }
    if (c.tool == "remove-coolant") {
        return NCTools::removeCoolant(input);
    }
    if (c.tool == "remove-m") {
        return NCTools::removeMCodes(input, NCTools::parseMCodeList(args.isEmpty() ? "8, 9" : args));
    }
    if (c.tool == "scale-feed" || c.tool == "scale-spindle") {
        const std::optional<double> f = factor();
        if (!f) {
            return std::nullopt;
        }
        return c.tool == "scale-feed" ? NCTools::scaleFeed(input, *f) : NCTools::scaleSpindle(input, *f);
    }
    *error = "unknown tool";
    return std::nullopt;
}

std::string shownLine(const QString &line)
{
    QString shown = line;
    shown.replace(u'\r', QStringLiteral("\\r"));
    shown.replace(u'\t', QStringLiteral("\\t"));
    return shown.toStdString();
}

// Lines keep their terminator so that a changed line break shows as a changed line.
QStringList linesWithBreaks(const QString &text)
{
    QStringList lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'\n') {
            lines.append(text.mid(start, i + 1 - start).chopped(1) + QStringLiteral("\\n"));
            start = i + 1;
        }
    }
    if (start < text.size()) {
        lines.append(text.mid(start));
    }
    return lines;
}

// A unified-style diff (longest common subsequence of lines), enough for the
// short programs kept here.
std::string unifiedDiff(const QString &expected, const QString &actual)
{
    const QStringList a = linesWithBreaks(expected);
    const QStringList b = linesWithBreaks(actual);
    const qsizetype n = a.size();
    const qsizetype m = b.size();
    std::vector<std::vector<int>> lcs(size_t(n + 1), std::vector<int>(size_t(m + 1), 0));
    for (qsizetype i = n - 1; i >= 0; --i) {
        for (qsizetype j = m - 1; j >= 0; --j) {
            lcs[i][j] = a[i] == b[j] ? lcs[i + 1][j + 1] + 1 : std::max(lcs[i + 1][j], lcs[i][j + 1]);
        }
    }
    std::string out = "--- expected.nc\n+++ actual\n";
    qsizetype i = 0;
    qsizetype j = 0;
    while (i < n || j < m) {
        if (i < n && j < m && a[i] == b[j]) {
            out += "  " + shownLine(a[i++]) + "\n";
            ++j;
        } else if (i < n && (j == m || lcs[i + 1][j] >= lcs[i][j + 1])) {
            out += "- " + shownLine(a[i++]) + "\n";
        } else {
            out += "+ " + shownLine(b[j++]) + "\n";
        }
    }
    return out;
}

class GoldenPrograms : public testing::TestWithParam<GoldenCase> {};

} // namespace

TEST_P(GoldenPrograms, OutputMatchesExpectedFile)
{
    const GoldenCase &c = GetParam();
    const std::optional<QByteArray> input = readFile(c.dir + "/input.nc");
    const std::optional<QByteArray> expected = readFile(c.dir + "/expected.nc");
    ASSERT_TRUE(input && expected) << c.dir.toStdString() << " needs input.nc and expected.nc";
    const QString args = QString::fromUtf8(readFile(c.dir + "/args").value_or(QByteArray())).trimmed();

    std::string error;
    const std::optional<QString> output = runTool(c, QString::fromUtf8(*input), args, &error);
    ASSERT_TRUE(output && error.empty()) << c.dir.toStdString() << ": " << error;
    const QByteArray actual = output->toUtf8();
    EXPECT_TRUE(actual == *expected) << c.tool.toStdString() << "/" << c.name.toStdString() << "\n"
                                     << unifiedDiff(QString::fromUtf8(*expected), *output);
}

TEST(GoldenData, EveryToolHasCases)
{
    for (const QString &tool : kTools) {
        EXPECT_FALSE(QDir(kDataDir + "/" + tool).entryList(QDir::Dirs | QDir::NoDotAndDotDot).isEmpty())
            << tool.toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(Data, GoldenPrograms, testing::ValuesIn(discoverCases()),
                         [](const testing::TestParamInfo<GoldenCase> &caseInfo) {
                             std::string name = (caseInfo.param.tool + "_" + caseInfo.param.name).toStdString();
                             for (char &ch : name) {
                                 if (!std::isalnum(static_cast<unsigned char>(ch))) {
                                     ch = '_';
                                 }
                             }
                             return name;
                         });
