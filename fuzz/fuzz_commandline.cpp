// `varn` argument parsing with any words: the input is split at NUL bytes into
// argv words and parsed against a command with every kind of option. Parsing
// either succeeds within the declared shape or gives a problem text, and the
// strict number parsers accept exactly the plain decimal forms.
#include "fuzzsupport.h"

#include "commandline.h"

#include <QRegularExpression>

#include <cmath>

namespace {

const CommandSpec &spec()
{
    static const CommandSpec command{QStringLiteral("renumber"),
                                     QStringLiteral("varn renumber [--start N] [--increment N] [FILE]"),
                                     QStringLiteral("Renumber"),
                                     {{QStringLiteral("--start"), {}, true},
                                      {QStringLiteral("--increment"), {}, true},
                                      {QStringLiteral("--in-place"), QStringLiteral("-i"), false},
                                      {QStringLiteral("--json"), {}, false}},
                                     0,
                                     1,
                                     {}};
    return command;
}

void checkNumbers(const QString &word)
{
    static const QRegularExpression integer(QStringLiteral("^[+-]?[0-9]+$"));
    qint64 whole = 0;
    if (parseInteger(word, &whole)) {
        FUZZ_CHECK(integer.match(word).hasMatch());
        const QString digits = QString::number(whole);
        // Same value, up to a plus sign and leading zeros.
        FUZZ_CHECK(word.toLongLong() == whole);
        FUZZ_CHECK(!digits.isEmpty());
    }
    double decimal = 0;
    if (parseDecimal(word, &decimal)) {
        FUZZ_CHECK(std::isfinite(decimal));
        FUZZ_CHECK(!word.contains(u'e') && !word.contains(u'E') && !word.contains(u' '));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString all = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const QStringList words = all.split(QChar(0));
    for (const QString &word : words) {
        checkNumbers(word);
    }

    Invocation invocation;
    invocation.language = (FuzzSupport::hash(data, size) & 1) ? AppLanguage::spanish : AppLanguage::english;
    QString problem;
    if (parseInvocation(spec(), words, &invocation, &problem)) {
        FUZZ_CHECK(problem.isEmpty());
        FUZZ_CHECK(invocation.command == spec().name);
        FUZZ_CHECK(invocation.help || invocation.positionals.size() <= spec().maxPositionals);
        for (auto it = invocation.values.cbegin(); it != invocation.values.cend(); ++it) {
            const bool declared =
                std::any_of(spec().options.cbegin(), spec().options.cend(),
                            [&](const OptionSpec &option) { return option.name == it.key(); });
            FUZZ_CHECK(declared);
        }
    } else {
        FUZZ_CHECK(!problem.isEmpty());
    }
    return 0;
}
