// The program tools, the analysis and the payload as `varn` commands.
#include "commands.h"

#include "jsonwriter.h"
#include "machines/machine.h"
#include "nc/analysisreport.h"
#include "nc/nctools.h"
#include "nc/programanalyzer.h"
#include "transfer/gcodesender.h"
#include "base/textfile.h"

#include <functional>

namespace {

using ValueRange = ProgramAnalysis::ValueRange;
using ToolEntry = ProgramAnalysis::ToolEntry;
using CommentEntry = ProgramAnalysis::CommentEntry;
using Warning = ProgramAnalysis::Warning;
using NCTools::AxisRange;

const OptionSpec kInPlace{QStringLiteral("--in-place"), QStringLiteral("-i"), false};
const OptionSpec kJson{QStringLiteral("--json"), {}, false};
const OptionSpec kStart{QStringLiteral("--start"), {}, true};
const OptionSpec kIncrement{QStringLiteral("--increment"), {}, true};
const OptionSpec kEncoding = encodingOption();

// A tool that may refuse its input: it reports why on standard error and gives nothing.
using Transform = std::function<std::optional<QString>(const QString &)>;

// Reads the program, transforms it and writes the result to standard output, or
// back to FILE with --in-place (atomically: the old file stays whole on failure),
// in the encoding it was read in.
int runTextTool(CommandContext &ctx, int fileIndex, const Transform &transform)
{
    const bool inPlace = ctx.invocation().has(kInPlace.name);
    if (inPlace && ctx.readsStandardInput(fileIndex)) {
        return ctx.badInput(ctx.tr("--in-place needs a FILE to write back to."));
    }
    const std::optional<QString> text = ctx.readProgram(fileIndex);
    if (!text) {
        return ExitStatus::badInput;
    }
    const std::optional<QString> transformed = transform(*text);
    if (!transformed) {
        return ExitStatus::badInput;
    }
    const QString &result = *transformed;
    if (!inPlace) {
        const std::optional<QByteArray> bytes = ctx.encodeProgram(result);
        if (!bytes) {
            return ExitStatus::badInput;
        }
        CommandContext::writeOut(*bytes);
        return ExitStatus::ok;
    }
    if (result == *text) {
        return ExitStatus::ok;
    }
    const QString path = ctx.invocation().positionals[fileIndex];
    // The encoding was checked when the program was read.
    const QString error = TextFile::writeAtomically(path, result, ctx.programEncoding().value(), ctx.language());
    if (!error.isEmpty()) {
        CommandContext::writeErr(QStringLiteral("varn: ") + path + QStringLiteral(": ") + error);
        return ExitStatus::failed;
    }
    return ExitStatus::ok;
}

// --start/--increment with their defaults of 10 and 10.
bool numberingOptions(CommandContext &ctx, qint64 *start, qint64 *increment, int *status)
{
    *start = 10;
    *increment = 10;
    for (const auto &[option, target] : {std::pair{kStart.name, start}, std::pair{kIncrement.name, increment}}) {
        if (ctx.invocation().has(option) && !parseInteger(ctx.invocation().value(option), target)) {
            *status = ctx.badInput(L10n::format("%@ needs a whole number, not \"%@\".", ctx.language(),
                                                {option, ctx.invocation().value(option)}));
            return false;
        }
    }
    return true;
}

int numbering(CommandContext &ctx, QString (*tool)(const QString &, qint64, qint64))
{
    qint64 start = 0;
    qint64 increment = 0;
    int status = ExitStatus::ok;
    if (!numberingOptions(ctx, &start, &increment, &status)) {
        return status;
    }
    return runTextTool(ctx, 0, [&](const QString &text) -> std::optional<QString> {
        if (!NCTools::numberingFits(text, start, increment)) {
            ctx.badInput(ctx.tr("The block numbers would not fit in 64 bits; choose a smaller start or increment."));
            return std::nullopt;
        }
        return tool(text, start, increment);
    });
}

int scaling(CommandContext &ctx, QChar letter, QString (*tool)(const QString &, double))
{
    const QString word = ctx.invocation().positionals[0];
    double factor = 0;
    if (!parseDecimal(word, &factor)) {
        return ctx.badInput(L10n::format("FACTOR must be a decimal number such as 0.9, not \"%@\".", ctx.language(),
                                         {word}));
    }
    return runTextTool(ctx, 1, [&](const QString &text) -> std::optional<QString> {
        if (!NCTools::scalingFits(text, letter, factor)) {
            ctx.badInput(ctx.tr("A scaled value would not fit in 64 bits; nothing was changed."));
            return std::nullopt;
        }
        return tool(text, factor);
    });
}

QString rangeJson(const std::optional<ValueRange> &range)
{
    if (!range) {
        return QStringLiteral("null");
    }
    return QLatin1Char('[') + JsonWriter::number(range->min) + QLatin1Char(',') + JsonWriter::number(range->max) +
           QLatin1Char(']');
}

QString analysisJson(const ProgramAnalysis &analysis)
{
    JsonWriter json;
    json.beginObject();
    json.key("lineCount").raw(QString::number(analysis.lineCount));
    json.key("programNumber").optionalString(analysis.programNumber);
    json.key("units").string(analysis.units);
    json.key("tools").beginArray();
    for (const ToolEntry &tool : analysis.tools) {
        json.beginObject();
        json.key("line").raw(QString::number(tool.line));
        json.key("tool").string(tool.tool);
        json.key("comment").optionalString(tool.comment);
        json.endObject();
    }
    json.endArray();
    json.key("comments").beginArray();
    for (const CommentEntry &comment : analysis.comments) {
        json.beginObject();
        json.key("line").raw(QString::number(comment.line));
        json.key("text").string(comment.text);
        json.endObject();
    }
    json.endArray();
    json.key("warnings").beginArray();
    for (const Warning &warning : analysis.warnings) {
        json.beginObject();
        json.key("line").raw(QString::number(warning.line));
        json.key("message").string(warning.message);
        json.endObject();
    }
    json.endArray();
    json.key("sRange").raw(rangeJson(analysis.sRange));
    json.key("fRange").raw(rangeJson(analysis.fRange));
    json.key("xRange").raw(rangeJson(analysis.xRange));
    json.key("yRange").raw(rangeJson(analysis.yRange));
    json.key("zRange").raw(rangeJson(analysis.zRange));
    json.key("estimatedSeconds")
        .raw(analysis.estimatedSeconds ? JsonWriter::number(*analysis.estimatedSeconds) : QStringLiteral("null"));
    json.key("estimatedTimeText").optionalString(analysis.estimatedTimeText());
    json.endObject();
    return json.text();
}

int analyze(CommandContext &ctx)
{
    // Block by block: a 100 MB program must not cost its bytes plus twice that
    // as one decoded string just to be read once.
    ProgramAnalyzer::Session session(ctx.language());
    if (!ctx.readProgramBlocks(0, [&](QStringView lines) { session.feed(lines); })) {
        return ExitStatus::badInput;
    }
    const ProgramAnalysis analysis = session.finish();
    const QString out = ctx.invocation().has(kJson.name) ? analysisJson(analysis) + QLatin1Char('\n')
                                                          : AnalysisReport::plainText(analysis, ctx.language());
    CommandContext::writeOut(out.toUtf8());
    return ExitStatus::ok;
}

int ranges(CommandContext &ctx)
{
    QList<QChar> axes{QLatin1Char('X'), QLatin1Char('Y'), QLatin1Char('Z')};
    if (ctx.invocation().has(QStringLiteral("--axes"))) {
        const QString letters = ctx.invocation().value(QStringLiteral("--axes"));
        axes.clear();
        for (QChar letter : letters) {
            const QChar upper = letter.toUpper();
            if (upper < QLatin1Char('A') || upper > QLatin1Char('Z')) {
                return ctx.badInput(
                    L10n::format("--axes takes axis letters such as XYZ, not \"%@\".", ctx.language(), {letters}));
            }
            if (!axes.contains(upper)) {
                axes.append(upper);
            }
        }
        if (axes.isEmpty()) {
            return ctx.badInput(ctx.tr("--axes needs at least one axis letter."));
        }
    }
    const std::optional<QString> text = ctx.readProgram(0);
    if (!text) {
        return ExitStatus::badInput;
    }
    const QList<AxisRange> found = NCTools::axisRanges(*text, axes);
    QString out;
    if (ctx.invocation().has(kJson.name)) {
        JsonWriter json;
        json.beginArray();
        for (const AxisRange &range : found) {
            json.beginObject();
            json.key("axis").string(QString(range.axis));
            json.key("min").raw(JsonWriter::number(range.min));
            json.key("max").raw(JsonWriter::number(range.max));
            json.endObject();
        }
        json.endArray();
        out = json.text();
    } else {
        out = AnalysisReport::axisRangesMessage(found, ctx.language());
    }
    CommandContext::writeOut((out + QLatin1Char('\n')).toUtf8());
    return ExitStatus::ok;
}

int payload(CommandContext &ctx)
{
    if (ctx.invocation().has(QStringLiteral("--machine"))) {
        return machinePayload(ctx);
    }
    const QString name = ctx.invocation().value(QStringLiteral("--terminator")).toUpper();
    const std::optional<Machine::LineTerminator> terminator = Machine::fromRawValue<Machine::LineTerminator>(name);
    if (!terminator) {
        return ctx.badInput(ctx.tr("payload needs --terminator CR, CRLF or LF."));
    }
    const std::optional<QString> text = readProgramToSend(ctx, false);
    if (!text) {
        return ExitStatus::badInput;
    }
    CommandContext::writeOut(GCodeSender::preparePayload(*text, *terminator));
    return ExitStatus::ok;
}

} // namespace

QList<CommandSpec> textCommands()
{
    return {
        {QStringLiteral("renumber"), QStringLiteral("varn renumber [--start N] [--increment N] [-i] [FILE]"),
         VARN_TR_KEY("Renumber every block (N words), 10, 20, 30… by default."),
         {kStart, kIncrement, kInPlace, kEncoding}, 0, 1,
         [](CommandContext &ctx) { return numbering(ctx, &NCTools::renumber); }},
        {QStringLiteral("number-missing"), QStringLiteral("varn number-missing [--start N] [--increment N] [-i] [FILE]"),
         VARN_TR_KEY("Number the blocks that have no N word; numbered blocks keep theirs."),
         {kStart, kIncrement, kInPlace, kEncoding}, 0, 1,
         [](CommandContext &ctx) { return numbering(ctx, &NCTools::addLineNumbers); }},
        {QStringLiteral("strip-numbers"), QStringLiteral("varn strip-numbers [-i] [FILE]"),
         VARN_TR_KEY("Remove the N word at the start of every block."), {kInPlace, kEncoding}, 0, 1,
         [](CommandContext &ctx) { return runTextTool(ctx, 0, &NCTools::removeLineNumbers); }},
        {QStringLiteral("format-spacing"), QStringLiteral("varn format-spacing [-i] [FILE]"),
         VARN_TR_KEY("Trim every block and collapse runs of blanks to one."), {kInPlace, kEncoding}, 0, 1,
         [](CommandContext &ctx) { return runTextTool(ctx, 0, &NCTools::formatSpacing); }},
        {QStringLiteral("remove-coolant"), QStringLiteral("varn remove-coolant [-i] [FILE]"),
         VARN_TR_KEY("Remove every coolant-on code (M8, M08)."), {kInPlace, kEncoding}, 0, 1,
         [](CommandContext &ctx) { return runTextTool(ctx, 0, &NCTools::removeCoolant); }},
        {QStringLiteral("remove-m"), QStringLiteral("varn remove-m CODES [-i] [FILE]"),
         VARN_TR_KEY("Remove the listed M codes, e.g. \"8, 9\"."), {kInPlace, kEncoding}, 1, 2,
         [](CommandContext &ctx) {
             const QList<qint64> codes = NCTools::parseMCodeList(ctx.invocation().positionals[0]);
             return runTextTool(ctx, 1, [&](const QString &text) { return NCTools::removeMCodes(text, codes); });
         }},
        {QStringLiteral("scale-feed"), QStringLiteral("varn scale-feed FACTOR [-i] [FILE]"),
         VARN_TR_KEY("Multiply every F value by FACTOR, e.g. 0.9."), {kInPlace, kEncoding}, 1, 2,
         [](CommandContext &ctx) { return scaling(ctx, QLatin1Char('F'), &NCTools::scaleFeed); }},
        {QStringLiteral("scale-spindle"), QStringLiteral("varn scale-spindle FACTOR [-i] [FILE]"),
         VARN_TR_KEY("Multiply every S value by FACTOR, e.g. 1.1."), {kInPlace, kEncoding}, 1, 2,
         [](CommandContext &ctx) { return scaling(ctx, QLatin1Char('S'), &NCTools::scaleSpindle); }},
        {QStringLiteral("ranges"), QStringLiteral("varn ranges [--json] [--axes XYZ] [FILE]"),
         VARN_TR_KEY("Report the smallest and largest value of each axis."),
         {kJson, {QStringLiteral("--axes"), {}, true}, kEncoding}, 0, 1, &ranges},
        {QStringLiteral("analyze"), QStringLiteral("varn analyze [--json] [--lang en|es] [FILE]"),
         VARN_TR_KEY("Analyse the program: summary, tools, comments and warnings."), {kJson, kEncoding}, 0, 1, &analyze},
        {QStringLiteral("payload"),
         QStringLiteral("varn payload --terminator CR|CRLF|LF | --machine ID|NAME [--from-line N | --from-block N1234] "
                        "[FILE]"),
         VARN_TR_KEY("Write the exact bytes the sender would put on the wire."),
         QList<OptionSpec>{{QStringLiteral("--terminator"), {}, true}, {QStringLiteral("--machine"), {}, true}, kEncoding} +
             restartOptions(),
         0, 1, &payload},
    };
}
