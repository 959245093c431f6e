// `varn plot`: the Toolpath panel's picture of a program, drawn without a display.
#include "commands.h"

#include "toolpath/render/toolpathcamera.h"
#include "toolpath/render/toolpathrenderer.h"

#include "toolpath/toolpathinterpreter.h"
#include "toolpath/toolpathsource.h"
#include "toolpath/toolpathstore.h"

#include <QImage>
#include <QImageWriter>

namespace {

const OptionSpec kOutput{QStringLiteral("--output"), QStringLiteral("-o"), true};
const OptionSpec kView{QStringLiteral("--view"), {}, true};
const OptionSpec kSize{QStringLiteral("--size"), {}, true};
const OptionSpec kLathe{QStringLiteral("--lathe"), {}, false};
const OptionSpec kDark{QStringLiteral("--dark"), {}, false};

constexpr int maxSide = 8192;

bool parseSize(const QString &word, QSize *size)
{
    const QStringList parts = word.split(QLatin1Char('x'));
    qint64 width = 0, height = 0;
    if (parts.size() != 2 || !parseInteger(parts[0], &width) || !parseInteger(parts[1], &height) || width < 16 ||
        height < 16 || width > maxSide || height > maxSide)
        return false;
    *size = QSize(int(width), int(height));
    return true;
}

int plot(CommandContext &ctx)
{
    const Invocation &call = ctx.invocation();
    if (!call.has(kOutput.name) || call.value(kOutput.name).isEmpty())
        return ctx.badInput(ctx.tr("Name the picture to write with -o FILE.png."));
    QSize size(1180, 740);
    if (call.has(kSize.name) && !parseSize(call.value(kSize.name), &size))
        return ctx.badInput(L10n::format("--size takes WIDTHxHEIGHT between 16 and %@ pixels, not \"%@\".",
                                         ctx.language(), {QString::number(maxSide), call.value(kSize.name)}));
    const bool lathe = call.has(kLathe.name);
    ToolpathCamera camera;
    camera.setView(ToolpathCamera::View::top);
    if (lathe) {
        camera.setView(ToolpathCamera::View::turning);
    } else if (call.has(kView.name)) {
        static const std::pair<const char *, ToolpathCamera::View> views[] = {
            {"top", ToolpathCamera::View::top},
            {"front", ToolpathCamera::View::front},
            {"side", ToolpathCamera::View::side},
            {"iso", ToolpathCamera::View::iso}};
        const auto found = std::find_if(std::begin(views), std::end(views), [&](const auto &view) {
            return call.value(kView.name) == QLatin1String(view.first);
        });
        if (found == std::end(views))
            return ctx.badInput(L10n::format("--view takes top, front, side or iso, not \"%@\".", ctx.language(),
                                             {call.value(kView.name)}));
        camera.setView(found->second);
    }

    ToolpathOptions options;
    options.lathe = lathe;
    ToolpathStore store;
    if (ctx.readsStandardInput(0)) {
        const std::optional<QString> text = ctx.readProgram(0);
        if (!text)
            return ExitStatus::badInput;
        ToolpathInterpreter::interpret(*text, options, ctx.language(), &store);
    } else {
        FileToolpathSource source(ctx.programName(0));
        ToolpathInterpreter::Session session(options, ctx.language(), &source, &store);
        if (!ctx.readProgramBlocks(0, [&](QStringView lines) { session.feed(lines); }))
            return ExitStatus::badInput;
        session.finish();
    }

    camera.setViewport(size);
    camera.fit(store);
    QImage image;
    ToolpathRenderer::render(store, camera, ToolpathStyle::forAppearance(call.has(kDark.name)),
                             ToolpathRenderOptions(), image);
    QImageWriter writer(call.value(kOutput.name), "png");
    if (!writer.write(image)) {
        CommandContext::writeErr(QStringLiteral("varn: ") +
                                 L10n::format("Could not write %@: %@", ctx.language(),
                                              {call.value(kOutput.name), writer.errorString()}));
        return ExitStatus::failed;
    }
    return ExitStatus::ok;
}

} // namespace

QList<CommandSpec> plotCommands()
{
    return {
        {QStringLiteral("plot"),
         QStringLiteral("varn plot [--view top|front|side|iso] [--size WxH] [--lathe] [--dark] -o OUT.png [FILE]"),
         VARN_TR_KEY("Draw the path the tool travels into a PNG picture, as the Toolpath panel shows it."),
         {kOutput, kView, kSize, kLathe, kDark, encodingOption()}, 0, 1, &plot},
    };
}
