#include "commandline.h"

#include "base/textfile.h"
#include "base/textfilestream.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

bool looksLikeNumber(const QString &word)
{
    return word.size() > 1 && word[0] == QLatin1Char('-') && (word[1].isDigit() || word[1] == QLatin1Char('.'));
}

const OptionSpec *findOption(const CommandSpec &spec, const QString &name)
{
    for (const OptionSpec &option : spec.options) {
        if (option.name == name || (!option.shortName.isEmpty() && option.shortName == name)) {
            return &option;
        }
    }
    return nullptr;
}

} // namespace

bool parseInvocation(const CommandSpec &spec, const QStringList &words, Invocation *out, QString *problem)
{
    Invocation result;
    result.command = spec.name;
    result.language = out->language;
    bool optionsEnded = false;
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString &word = words[i];
        if (optionsEnded || word == QLatin1String("-") || !word.startsWith(QLatin1Char('-')) ||
            looksLikeNumber(word)) {
            result.positionals.append(word);
            continue;
        }
        if (word == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        if (word == QLatin1String("--help") || word == QLatin1String("-h")) {
            result.help = true;
            continue;
        }
        QString name = word;
        QString inlineValue;
        bool hasInlineValue = false;
        const qsizetype equals = word.indexOf(QLatin1Char('='));
        if (word.startsWith(QLatin1String("--")) && equals > 2) {
            name = word.left(equals);
            inlineValue = word.mid(equals + 1);
            hasInlineValue = true;
        }
        const bool isLanguage = name == QLatin1String("--lang");
        const OptionSpec *option = findOption(spec, name);
        if (!option && !isLanguage) {
            *problem = L10n::format("Unknown option %@ for \"%@\".", out->language, {word, spec.name});
            return false;
        }
        const bool takesValue = isLanguage || option->takesValue;
        QString value;
        if (takesValue) {
            if (hasInlineValue) {
                value = inlineValue;
            } else if (i + 1 < words.size()) {
                value = words[++i];
            } else {
                *problem = L10n::format("Option %@ needs a value.", out->language, {name});
                return false;
            }
        } else if (hasInlineValue) {
            *problem = L10n::format("Option %@ takes no value.", out->language, {name});
            return false;
        }
        if (isLanguage) {
            if (!AppLanguages::fromRawValue(value, &result.language)) {
                *problem = L10n::format("Unknown language \"%@\" (use en or es).", out->language, {value});
                return false;
            }
            continue;
        }
        result.values.insert(option->name, value);
    }
    if (!result.help) {
        if (result.positionals.size() < spec.minPositionals) {
            *problem = L10n::format("Missing argument. Usage: %@", result.language, {spec.usage});
            return false;
        }
        if (result.positionals.size() > spec.maxPositionals) {
            *problem = L10n::format("Unexpected argument \"%@\". Usage: %@", result.language,
                                    {result.positionals.value(spec.maxPositionals), spec.usage});
            return false;
        }
    }
    *out = result;
    return true;
}

bool parseInteger(const QString &word, qint64 *value)
{
    // Plain decimal only: no blanks, no "0x", no exponent, within 64 bits.
    static const QRegularExpression integer(QStringLiteral("^[+-]?[0-9]+$"));
    if (!integer.match(word).hasMatch()) {
        return false;
    }
    bool ok = false;
    const qint64 parsed = word.toLongLong(&ok, 10);
    if (ok) {
        *value = parsed;
    }
    return ok;
}

bool parseDecimal(const QString &word, double *value)
{
    static const QRegularExpression decimal(QStringLiteral("^[+-]?(?:[0-9]+\\.?[0-9]*|\\.[0-9]+)$"));
    if (!decimal.match(word).hasMatch()) {
        return false;
    }
    bool ok = false;
    const double parsed = word.toDouble(&ok);
    if (!ok || !std::isfinite(parsed)) {
        return false;
    }
    *value = parsed;
    return true;
}

bool CommandContext::readsStandardInput(int index) const
{
    const QStringList &positionals = m_invocation.positionals;
    return index >= positionals.size() || positionals[index] == QLatin1String("-");
}

QString CommandContext::programName(int index) const
{
    return readsStandardInput(index) ? tr("standard input") : m_invocation.positionals[index];
}

bool CommandContext::checkReadable(int index) const
{
    if (!readsStandardInput(index) && !QFileInfo(programName(index)).isFile()) {
        badInput(L10n::format("%@: no such file.", language(), {programName(index)}));
        return false;
    }
    return true;
}

bool CommandContext::reportReadResult(int index, const TextFile::ReadResult &result) const
{
    const QString name = programName(index);
    switch (result.error) {
    case TextFile::ReadError::none:
        return true;
    case TextFile::ReadError::invalidUtf8:
        // One line still: the refusal as it always read, then the way out.
        badInput(L10n::format("%@: not valid UTF-8 (byte %@).", language(),
                              {name, QString::number(result.invalidByteOffset)}) +
                 QLatin1Char(' ') +
                 L10n::format("To read a program in an older code page, add --encoding NAME (%@).", language(),
                              {TextEncodings::nameList()}));
        return false;
    default:
        badInput(L10n::format("%@: cannot read the file (%@).", language(), {name, result.errorString}));
        return false;
    }
}

std::optional<TextEncoding> CommandContext::programEncoding() const
{
    if (!m_invocation.has(encodingOption().name)) {
        return TextEncoding::utf8;
    }
    const QString name = m_invocation.value(encodingOption().name);
    const std::optional<TextEncoding> encoding = TextEncodings::fromName(name);
    if (!encoding) {
        badInput(L10n::format("Unknown encoding \"%@\" (use %@).", language(), {name, TextEncodings::nameList()}));
    }
    return encoding;
}

std::optional<QByteArray> CommandContext::encodeProgram(const QString &text) const
{
    const std::optional<TextEncoding> encoding = programEncoding();
    if (!encoding) {
        return std::nullopt;
    }
    if (*encoding == TextEncoding::utf8) {
        return text.toUtf8();
    }
    TextEncodings::Encoded encoded = TextEncodings::encode(text, *encoding);
    if (!encoded.ok()) {
        badInput(TextFile::unencodableMessage(text, encoded.failedAt, *encoding, language()));
        return std::nullopt;
    }
    return std::move(encoded.bytes);
}

std::optional<QString> CommandContext::readProgram(int index) const
{
    const std::optional<TextEncoding> encoding = programEncoding();
    if (!encoding || !checkReadable(index)) {
        return std::nullopt;
    }
    TextFile::ReadResult result;
    if (readsStandardInput(index)) {
        QFile in;
        if (!in.open(stdin, QIODevice::ReadOnly)) {
            badInput(L10n::format("Cannot read %@.", language(), {programName(index)}));
            return std::nullopt;
        }
        result = TextFile::decode(in.readAll(), *encoding);
    } else {
        result = TextFile::read(programName(index), *encoding);
    }
    if (!reportReadResult(index, result)) {
        return std::nullopt;
    }
    return result.text;
}

bool CommandContext::readProgramBlocks(int index, const std::function<void(QStringView)> &sink) const
{
    const std::optional<TextEncoding> encoding = programEncoding();
    if (!encoding || !checkReadable(index)) {
        return false;
    }
    QFile in;
    std::unique_ptr<TextFileStream> stream;
    if (readsStandardInput(index)) {
        if (!in.open(stdin, QIODevice::ReadOnly)) {
            badInput(L10n::format("Cannot read %@.", language(), {programName(index)}));
            return false;
        }
        stream = std::make_unique<TextFileStream>(&in);
    } else {
        stream = std::make_unique<TextFileStream>(programName(index));
    }
    stream->setEncoding(*encoding);
    while (const std::optional<QStringView> block = stream->next()) {
        sink(*block);
    }
    return reportReadResult(index, stream->status());
}

void CommandContext::writeOut(const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

void CommandContext::writeErr(const QString &line)
{
    writeErrRaw(line + QLatin1Char('\n'));
}

void CommandContext::writeErrRaw(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

int CommandContext::badInput(const QString &message) const
{
    writeErr(QStringLiteral("varn: ") + message);
    return ExitStatus::badInput;
}
