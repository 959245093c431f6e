// `varn toolpath`: the path a program makes the tool travel, summed up.
#include "commands.h"

#include "jsonwriter.h"
#include "toolpath/toolpathinterpreter.h"
#include "toolpath/toolpathsource.h"

namespace {

const OptionSpec kJson{QStringLiteral("--json"), {}, false};
const OptionSpec kLathe{QStringLiteral("--lathe"), {}, false};

QString pointJson(const std::array<double, 3> &p)
{
    return QLatin1Char('[') + JsonWriter::number(p[0]) + QLatin1Char(',') + JsonWriter::number(p[1]) +
           QLatin1Char(',') + JsonWriter::number(p[2]) + QLatin1Char(']');
}

QString boundsJson(const std::optional<ToolpathSummary::Bounds> &bounds)
{
    if (!bounds)
        return QStringLiteral("null");
    return QStringLiteral("{\"min\":") + pointJson(bounds->min) + QStringLiteral(",\"max\":") +
           pointJson(bounds->max) + QLatin1Char('}');
}

QString summaryJson(const ToolpathSummary &s)
{
    JsonWriter json;
    json.beginObject();
    json.key("units").string(s.inches ? QStringLiteral("in") : QStringLiteral("mm"));
    json.key("lathe").raw(s.lathe ? QStringLiteral("true") : QStringLiteral("false"));
    json.key("moves").beginObject();
    json.key("rapid").raw(QString::number(s.rapidMoves));
    json.key("feed").raw(QString::number(s.feedMoves));
    json.key("arc").raw(QString::number(s.arcMoves));
    json.key("cycle").raw(QString::number(s.cycleHoles));
    json.endObject();
    json.key("length").beginObject();
    json.key("rapid").raw(JsonWriter::number(s.rapidLength));
    json.key("feed").raw(JsonWriter::number(s.feedLength));
    json.endObject();
    json.key("bounds").beginObject();
    json.key("rapid").raw(boundsJson(s.rapidBounds));
    json.key("feed").raw(boundsJson(s.feedBounds));
    json.endObject();
    json.key("tools").beginArray();
    for (const ToolpathSummary::Tool &tool : s.tools) {
        json.beginObject();
        json.key("tool").raw(QString::number(tool.tool));
        json.key("line").raw(QString::number(tool.line));
        json.key("feedLength").raw(JsonWriter::number(tool.feedLength));
        json.endObject();
    }
    json.endArray();
    json.key("endLine").raw(QString::number(s.endLine));
    json.key("warnings").beginArray();
    for (const ToolpathWarning &warning : s.warnings) {
        json.beginObject();
        json.key("line").raw(QString::number(warning.line));
        json.key("message").string(warning.message);
        json.endObject();
    }
    json.endArray();
    json.endObject();
    return json.text();
}

QString millimetres(double value, AppLanguage language)
{
    return L10n::number(value, "%.3f", language);
}

QString boundsText(const char *key, const std::optional<ToolpathSummary::Bounds> &bounds, AppLanguage language)
{
    if (!bounds)
        return {};
    QStringList ranges;
    for (int axis = 0; axis < 3; ++axis) {
        ranges.append(QString(QLatin1Char(char('X' + axis))) + QLatin1Char(' ') +
                      millimetres(bounds->min[axis], language) + QStringLiteral(" … ") +
                      millimetres(bounds->max[axis], language));
    }
    return L10n::format(key, language, {ranges.join(QStringLiteral("   "))}) + QLatin1Char('\n');
}

QString durationText(double seconds)
{
    const auto total = (long long)std::llround(seconds);
    return QStringLiteral("%1:%2:%3")
        .arg(total / 3600)
        .arg(total / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(total % 60, 2, 10, QLatin1Char('0'));
}

QString summaryText(const ToolpathSummary &s, AppLanguage language)
{
    QString out;
    out += L10n::format("Units: %@", language, {s.inches ? QStringLiteral("in") : QStringLiteral("mm")}) +
           QLatin1Char('\n');
    if (s.lathe)
        out += L10n::text("Turning: X is a diameter.", language) + QLatin1Char('\n');
    out += L10n::format("Moves: %@ rapid, %@ feed, %@ arc, %@ holes drilled", language,
                        {QString::number(s.rapidMoves), QString::number(s.feedMoves), QString::number(s.arcMoves),
                         QString::number(s.cycleHoles)}) +
           QLatin1Char('\n');
    out += L10n::format("Length: %@ mm rapid, %@ mm feed", language,
                        {millimetres(s.rapidLength, language), millimetres(s.feedLength, language)}) +
           QLatin1Char('\n');
    out += boundsText(VARN_TR_KEY("Rapid bounds (mm): %@"), s.rapidBounds, language);
    out += boundsText(VARN_TR_KEY("Feed bounds (mm): %@"), s.feedBounds, language);
    if (s.feedSeconds > 0) {
        out += L10n::format("Cutting time at the programmed feeds: %@", language, {durationText(s.feedSeconds)}) +
               QLatin1Char('\n');
    }
    if (!s.tools.empty()) {
        out += L10n::text("Tools:", language) + QLatin1Char('\n');
        for (const ToolpathSummary::Tool &tool : s.tools) {
            out += QStringLiteral("  ") +
                   L10n::format("T%@ from line %@: %@ mm of feed", language,
                                {QString::number(tool.tool), QString::number(tool.line),
                                 millimetres(tool.feedLength, language)}) +
                   QLatin1Char('\n');
        }
    }
    out += L10n::format("Interpreted to line %@.", language, {QString::number(s.endLine)}) + QLatin1Char('\n');
    if (s.warnings.empty()) {
        out += L10n::text("No warnings.", language) + QLatin1Char('\n');
    } else {
        out += L10n::text("Warnings:", language) + QLatin1Char('\n');
        for (const ToolpathWarning &warning : s.warnings) {
            out += QStringLiteral("  ") +
                   L10n::format("Line %@: %@", language, {QString::number(warning.line), warning.message}) +
                   QLatin1Char('\n');
        }
    }
    return out;
}

int toolpath(CommandContext &ctx)
{
    ToolpathOptions options;
    options.lathe = ctx.invocation().has(kLathe.name);
    std::optional<ToolpathSummary> summary;
    if (ctx.readsStandardInput(0)) {
        // Standard input cannot be read twice: a subprogram may be defined
        // after its call, so the program is held whole.
        const std::optional<QString> text = ctx.readProgram(0);
        if (!text)
            return ExitStatus::badInput;
        summary = ToolpathInterpreter::interpret(*text, options, ctx.language());
    } else {
        // A file streams through in blocks of lines; only the jumps to
        // subprograms and contours read it again, at their place.
        FileToolpathSource source(ctx.programName(0));
        ToolpathInterpreter::Session session(options, ctx.language(), &source);
        if (!ctx.readProgramBlocks(0, [&](QStringView lines) { session.feed(lines); }))
            return ExitStatus::badInput;
        summary = session.finish();
    }
    const QString out = ctx.invocation().has(kJson.name) ? summaryJson(*summary) + QLatin1Char('\n')
                                                          : summaryText(*summary, ctx.language());
    CommandContext::writeOut(out.toUtf8());
    return ExitStatus::ok;
}

} // namespace

QList<CommandSpec> toolpathCommands()
{
    return {
        {QStringLiteral("toolpath"), QStringLiteral("varn toolpath [--json] [--lathe] [--lang en|es] [FILE]"),
         VARN_TR_KEY("Follow the path the tool travels: moves, lengths, bounds, tools and warnings."),
         {kJson, kLathe, encodingOption()}, 0, 1, &toolpath},
    };
}
