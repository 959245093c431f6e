// varn: the command-line face of the core, for scripts and shop-floor PCs.
#include "commands.h"

#include <QCoreApplication>

#include <csignal>

namespace {

QList<CommandSpec> allCommands()
{
    return textCommands() + toolpathCommands() + plotCommands() + diffCommands() + serialCommands()
        + receiveCommands();
}

QString optionList(const CommandSpec &spec)
{
    QStringList names;
    for (const OptionSpec &option : spec.options) {
        names.append(option.shortName.isEmpty() ? option.name : option.shortName + QStringLiteral(", ") + option.name);
    }
    return names.join(QStringLiteral("  "));
}

void printOverview(AppLanguage language)
{
    QString out = L10n::text("Usage: varn COMMAND [OPTIONS] [FILE]", language) + QStringLiteral("\n\n");
    out += L10n::text("VARN Edit's program tools, analysis and sender for the command line. FILE omitted or \"-\" "
                      "reads standard input; results go to standard output.",
                      language) +
           QStringLiteral("\n\n");
    for (const CommandSpec &spec : allCommands()) {
        out += QStringLiteral("  ") + spec.usage + QStringLiteral("\n      ") +
               L10n::text(spec.summary.toUtf8().constData(), language) + QLatin1Char('\n');
    }
    out += QLatin1Char('\n') +
           L10n::text("Every command takes --lang en|es and --help. Exit status: 0 done, 1 failed, 2 bad input, "
                      "130 cancelled.",
                      language) +
           QLatin1Char('\n');
    CommandContext::writeOut(out.toUtf8());
}

void printCommandHelp(const CommandSpec &spec, AppLanguage language)
{
    QString out = L10n::format("Usage: %@", language, {spec.usage}) + QLatin1Char('\n');
    out += L10n::text(spec.summary.toUtf8().constData(), language) + QLatin1Char('\n');
    if (!spec.options.isEmpty()) {
        out += L10n::format("Options: %@", language, {optionList(spec)}) + QLatin1Char('\n');
    }
    CommandContext::writeOut(out.toUtf8());
}

// The language for messages before a command has read its own --lang.
AppLanguage languageFromArguments(const QStringList &words)
{
    AppLanguage language = AppLanguage::english;
    for (qsizetype i = 0; i < words.size(); ++i) {
        if (words[i] == QLatin1String("--lang") && i + 1 < words.size()) {
            AppLanguages::fromRawValue(words[i + 1], &language);
        } else if (words[i].startsWith(QLatin1String("--lang="))) {
            AppLanguages::fromRawValue(words[i].mid(7), &language);
        }
    }
    return language;
}

} // namespace

int main(int argc, char **argv)
{
    // A reader that goes away (varn analyze big.nc | head) ends us quietly.
    std::signal(SIGPIPE, SIG_DFL);
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("VarnEdit"));
    QCoreApplication::setApplicationName(QStringLiteral("VarnEdit"));

    QStringList words = QCoreApplication::arguments().mid(1);
    const AppLanguage language = languageFromArguments(words);
    if (words.isEmpty() || words.first() == QLatin1String("--help") || words.first() == QLatin1String("-h") ||
        words.first() == QLatin1String("help")) {
        printOverview(language);
        return words.isEmpty() ? ExitStatus::badInput : ExitStatus::ok;
    }
    const QString command = words.takeFirst();
    for (const CommandSpec &spec : allCommands()) {
        if (spec.name != command) {
            continue;
        }
        Invocation invocation;
        invocation.language = language;
        QString problem;
        if (!parseInvocation(spec, words, &invocation, &problem)) {
            CommandContext::writeErr(QStringLiteral("varn: ") + problem);
            return ExitStatus::badInput;
        }
        if (invocation.help) {
            printCommandHelp(spec, invocation.language);
            return ExitStatus::ok;
        }
        CommandContext context(invocation);
        return spec.run(context);
    }
    CommandContext::writeErr(QStringLiteral("varn: ") +
                             L10n::format("Unknown command \"%@\". See varn --help.", language, {command}));
    return ExitStatus::badInput;
}
