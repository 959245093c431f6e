#pragma once

#include "base/l10n.h"
#include "base/textfile.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <functional>
#include <optional>

// The words of one `varn` call, checked against the command's declared options.
// Parsing never prints: problems come back as a user text so main() can report
// them on one line with exit status 2.
struct OptionSpec {
    QString name;      // "--start"
    QString shortName; // "-i", or empty
    bool takesValue = false;
};

struct Invocation {
    QString command;
    QHash<QString, QString> values; // option name -> value (flags map to "")
    QStringList positionals;
    AppLanguage language = AppLanguage::english;
    bool help = false;

    bool has(const QString &option) const { return values.contains(option); }
    QString value(const QString &option) const { return values.value(option); }
};

// Exit statuses of every command.
namespace ExitStatus {
inline constexpr int ok = 0;
inline constexpr int failed = 1;    // the work itself failed (a transfer, a write)
inline constexpr int badInput = 2;  // the call or its input is wrong; nothing was written
inline constexpr int cancelled = 130;
} // namespace ExitStatus

class CommandContext;

struct CommandSpec {
    QString name;
    QString usage;   // "varn renumber [--start N] [--increment N] [FILE]"
    QString summary; // English key of the one-line description
    QList<OptionSpec> options;
    int minPositionals = 0;
    int maxPositionals = 0;
    std::function<int(CommandContext &)> run;
};

// "--encoding NAME", taken by every command that reads a program.
inline OptionSpec encodingOption()
{
    return {QStringLiteral("--encoding"), {}, true};
}

// Splits argv (without the program name and command) by the command's options.
// "--name value", "--name=value" and short flags are accepted; "-" alone and
// words that look like negative numbers are positionals; "--" ends the options.
bool parseInvocation(const CommandSpec &spec, const QStringList &words, Invocation *out, QString *problem);

// Strict number parsing for command-line values: the whole word must be the number.
bool parseInteger(const QString &word, qint64 *value);
bool parseDecimal(const QString &word, double *value);

// Standard streams as bytes, so the output is exactly the program's UTF-8.
class CommandContext {
public:
    explicit CommandContext(Invocation invocation) : m_invocation(std::move(invocation)) {}

    const Invocation &invocation() const { return m_invocation; }
    AppLanguage language() const { return m_invocation.language; }
    QString tr(const char *key) const { return L10n::text(key, m_invocation.language); }

    // Reads FILE (the positional at `index`, absent or "-" meaning standard input)
    // as UTF-8, or in the code page --encoding names. On failure the reason,
    // naming the file (and for bad UTF-8 the byte offset and the option that
    // reads other encodings), is already on standard error and the result is empty.
    std::optional<QString> readProgram(int index) const;
    // The same input a block of whole lines at a time, for commands that read
    // each line once: memory stays small whatever the size of the program.
    // Blocks go to `sink` as they arrive; false (the reason reported as for
    // `readProgram`) means the input failed part way and what `sink` saw must
    // not be used.
    bool readProgramBlocks(int index, const std::function<void(QStringView)> &sink) const;
    QString programName(int index) const;
    // The program's text as bytes in the encoding it was read in; none (the
    // character and its line already on standard error) when that encoding
    // cannot hold a character of `text`.
    std::optional<QByteArray> encodeProgram(const QString &text) const;
    // The encoding --encoding names, UTF-8 without it; none (reported) when unknown.
    std::optional<TextEncoding> programEncoding() const;
    bool readsStandardInput(int index) const;

    static void writeOut(const QByteArray &bytes);
    static void writeErr(const QString &line);
    // Standard error without a line end (a progress bar redrawn with "\r").
    static void writeErrRaw(const QString &text);
    // Reports a bad call or bad input and gives the status to exit with.
    int badInput(const QString &message) const;
    // True for a read that succeeded; otherwise reports why, as readProgram does.
    bool reportReadResult(int index, const TextFile::ReadResult &result) const;

private:
    bool checkReadable(int index) const;

    Invocation m_invocation;
};
