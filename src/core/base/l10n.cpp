#include "l10n.h"

#include <QRegularExpression>
#include <QTranslator>

#include <cstdio>
#include <mutex>

namespace {

// Every message of the table shares one context, so the English text alone is the key.
constexpr char kContext[] = "VarnEdit";

const QTranslator *spanishTable()
{
    static QTranslator *translator = nullptr;
    static std::once_flag once;
    std::call_once(once, [] {
        auto *t = new QTranslator;
        if (t->load(QStringLiteral(":/i18n/varn_es.qm"))) {
            translator = t;
        } else {
            delete t;
        }
    });
    return translator;
}

} // namespace

QString AppLanguages::rawValue(AppLanguage language)
{
    return language == AppLanguage::spanish ? QStringLiteral("es") : QStringLiteral("en");
}

bool AppLanguages::fromRawValue(const QString &raw, AppLanguage *language)
{
    if (raw == QLatin1String("en")) {
        *language = AppLanguage::english;
        return true;
    }
    if (raw == QLatin1String("es")) {
        *language = AppLanguage::spanish;
        return true;
    }
    return false;
}

QString AppLanguages::localeName(AppLanguage language)
{
    return rawValue(language);
}

QString L10n::text(const QString &key, AppLanguage language)
{
    if (language == AppLanguage::english) {
        return key;
    }
    const QTranslator *table = spanishTable();
    if (!table) {
        return key;
    }
    const QByteArray utf8 = key.toUtf8();
    const QString translated = table->translate(kContext, utf8.constData());
    return translated.isEmpty() ? key : translated;
}

QString L10n::fill(QString text, const QStringList &args)
{
    // Placeholders are "%@" and printf conversions such as "%d", "%lld", "%02d" or
    // "%.4g": callers pass each value already formatted, in placeholder order.
    static const QRegularExpression placeholder(
        QStringLiteral("%(?:@|%|[-+ 0#]*[0-9]*(?:\\.[0-9]+)?(?:ll|l|h|z)?[diufgeEsx])"));
    QString out;
    out.reserve(text.size());
    qsizetype from = 0;
    qsizetype next = 0;
    QRegularExpressionMatchIterator it = placeholder.globalMatch(text);
    while (it.hasNext() && next < args.size()) {
        const QRegularExpressionMatch match = it.next();
        out += QStringView(text).mid(from, match.capturedStart() - from);
        if (match.capturedView() == QLatin1String("%%")) {
            out += QLatin1Char('%');
        } else {
            out += args[next++];
        }
        from = match.capturedEnd();
    }
    out += QStringView(text).mid(from);
    return out;
}

QString L10n::format(const char *key, AppLanguage language, const QStringList &args)
{
    return fill(text(key, language), args);
}

QString L10n::number(double value, const char *printfSpec, AppLanguage language)
{
    char buffer[512];
    // snprintf uses the "C" locale here: the process never calls setlocale.
    const int written = std::snprintf(buffer, sizeof buffer, printfSpec, value);
    QString text = QString::fromLatin1(buffer, written < 0 ? 0 : qMin<int>(written, sizeof buffer - 1));
    if (language == AppLanguage::spanish) {
        text.replace(QLatin1Char('.'), QLatin1Char(','));
    }
    return text;
}
