// Whole programs through the text tools: tests/data/<tool>/<case>/ holds
// input.nc and expected.nc, and optionally "args" (one line: "start increment"
// for the numbering tools, the user's answer for remove-m, the factor for the
// scaling tools). Files are compared as UTF-8 bytes, line breaks included.
#include "nc/nctools.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

namespace {

const QString kDataDir = QStringLiteral(VARN_SOURCE_DIR "/tests/data/");

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString run(const QString &tool, const QString &in, const QString &args)
{
    const QStringList words = args.split(u' ', Qt::SkipEmptyParts);
    const qint64 start = words.value(0, "10").toLongLong(), step = words.value(1, "10").toLongLong();
    const QHash<QString, std::function<QString()>> tools = {
        {"renumber", [&] { return NCTools::renumber(in, start, step); }},
        {"number-missing", [&] { return NCTools::addLineNumbers(in, start, step); }},
        {"strip-numbers", [&] { return NCTools::removeLineNumbers(in); }},
        {"format-spacing", [&] { return NCTools::formatSpacing(in); }},
        {"remove-coolant", [&] { return NCTools::removeCoolant(in); }},
        {"remove-m", [&] { return NCTools::removeMCodes(in, NCTools::parseMCodeList(args.isEmpty() ? "8, 9" : args)); }},
        {"scale-feed", [&] { return NCTools::scaleFeed(in, args.toDouble()); }},
        {"scale-spindle", [&] { return NCTools::scaleSpindle(in, args.toDouble()); }},
    };
    return tools.value(tool, [] { return QStringLiteral("unknown tool"); })();
}

// Line breaks made visible, so a failure shows which one differs.
std::string shown(QByteArray bytes)
{
    return bytes.replace("\r", "\\r").replace("\n", "\\n\n").toStdString();
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
