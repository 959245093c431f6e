// `varn diff`: the compare view's differences as a unified diff, for scripts
// and for reviewing a program before it goes to the machine.
#include "commands.h"

#include "base/textencoding.h"
#include "base/textfile.h"
#include "nc/programdiff.h"

#include <QFile>
#include <QFileInfo>

#include <cmath>
#include <cstdio>
#include <memory>

namespace {

const OptionSpec kNumeric{QStringLiteral("--numeric"), {}, false};
const OptionSpec kTolerance{QStringLiteral("--tolerance"), {}, true};
const OptionSpec kIgnoreN{QStringLiteral("--ignore-n"), {}, false};
const OptionSpec kIgnoreComments{QStringLiteral("--ignore-comments"), {}, false};

// A program's bytes as they are, checked for UTF-8. Kept as bytes rather
// than text: two 100 MB programs as UTF-16 would double what the comparison
// needs, and the output shows the original bytes anyway. A file is mapped,
// not copied, so its pages come straight from the system's cache.
struct Program {
    std::unique_ptr<QFile> file;
    QByteArray bytes;
};

std::optional<Program> readProgram(const CommandContext &ctx, int index)
{
    const QString name = ctx.programName(index);
    Program program;
    program.file = std::make_unique<QFile>();
    QFile &in = *program.file;
    bool opened = false;
    if (ctx.readsStandardInput(index)) {
        opened = in.open(stdin, QIODevice::ReadOnly);
    } else {
        if (!QFileInfo(name).isFile()) {
            ctx.badInput(L10n::format("%@: no such file.", ctx.language(), {name}));
            return std::nullopt;
        }
        in.setFileName(name);
        opened = in.open(QIODevice::ReadOnly);
    }
    const auto cannotRead = [&] {
        ctx.badInput(L10n::format("%@: cannot read the file (%@).", ctx.language(), {name, in.errorString()}));
        return std::nullopt;
    };
    if (!opened) {
        return cannotRead();
    }
    const qint64 size = ctx.readsStandardInput(index) ? 0 : in.size();
    if (uchar *mapped = size > 0 ? in.map(0, size) : nullptr) {
        program.bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(mapped), size);
    } else {
        program.bytes = in.readAll();
        if (in.error() != QFileDevice::NoError) {
            return cannotRead();
        }
    }
    const std::optional<TextEncoding> encoding = ctx.programEncoding();
    if (!encoding) {
        return std::nullopt;
    }
    if (*encoding != TextEncoding::utf8) {
        program.bytes = TextEncodings::decodeToUtf8(program.bytes, *encoding);
        return program;
    }
    TextFile::ReadResult check;
    check.invalidByteOffset = TextFile::firstInvalidUtf8Offset(program.bytes);
    check.error = check.invalidByteOffset >= 0 ? TextFile::ReadError::invalidUtf8 : TextFile::ReadError::none;
    if (!ctx.reportReadResult(index, check)) {
        return std::nullopt;
    }
    return program;
}

// The byte order mark is not part of the program (the editor drops it too).
QByteArrayView withoutMark(const QByteArray &bytes)
{
    return bytes.startsWith("\xEF\xBB\xBF") ? QByteArrayView(bytes).sliced(3) : QByteArrayView(bytes);
}

int diff(CommandContext &ctx)
{
    const Invocation &call = ctx.invocation();
    ProgramDiff::Options options;
    options.numeric = call.has(kNumeric.name);
    options.ignoreN = call.has(kIgnoreN.name);
    options.ignoreComments = call.has(kIgnoreComments.name);
    if (call.has(kTolerance.name)) {
        const QString word = call.value(kTolerance.name);
        if (!parseDecimal(word, &options.tolerance) || options.tolerance < 0) {
            return ctx.badInput(L10n::format("--tolerance needs a number of 0 or more, such as 0.001, not \"%@\".",
                                             ctx.language(), {word}));
        }
    }
    if (ctx.readsStandardInput(0) && ctx.readsStandardInput(1)) {
        return ctx.badInput(ctx.tr("Only one of the two programs can come from standard input."));
    }
    const std::optional<Program> first = readProgram(ctx, 0);
    if (!first) {
        return ExitStatus::badInput;
    }
    const std::optional<Program> second = readProgram(ctx, 1);
    if (!second) {
        return ExitStatus::badInput;
    }
    const QByteArray &a = first->bytes;
    const QByteArray &b = second->bytes;
    const ProgramDiff::Result result = ProgramDiff::compare(withoutMark(a), withoutMark(b), options);
    if (result.equal()) {
        return ExitStatus::ok;
    }
    CommandContext::writeOut(ProgramDiff::unified(withoutMark(a), withoutMark(b), result, ctx.programName(0),
                                                  ctx.programName(1)));
    return ExitStatus::failed;
}

} // namespace

QList<CommandSpec> diffCommands()
{
    return {
        {QStringLiteral("diff"),
         QStringLiteral("varn diff A B [--numeric] [--tolerance T] [--ignore-n] [--ignore-comments]"),
         VARN_TR_KEY("Compare two programs block by block and print the differences as a unified diff; exit "
                     "status 0 when they are equal, 1 when they differ."),
         {kNumeric, kTolerance, kIgnoreN, kIgnoreComments, encodingOption()}, 2, 2, &diff},
    };
}
