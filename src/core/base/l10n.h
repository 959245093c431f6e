#pragma once

#include <QList>
#include <QString>

// The two interface languages. The raw value is what the settings store.
enum class AppLanguage { english, spanish };

namespace AppLanguages {
inline constexpr AppLanguage allCases[] = {AppLanguage::english, AppLanguage::spanish};
QString rawValue(AppLanguage language);
// "en" or "es"; anything else is no language.
bool fromRawValue(const QString &raw, AppLanguage *language);
// The locale that fills formats for this language ("en" or "es").
QString localeName(AppLanguage language);
} // namespace AppLanguages

// The one lookup for user-visible text. The English text is the key; Spanish
// comes from the embedded Linguist table. A missing table or key falls back to
// the English text, never to an empty string. Safe on any thread.
class L10n {
public:
    static QString text(const QString &key, AppLanguage language);
    static QString text(const char *key, AppLanguage language) { return text(QString::fromUtf8(key), language); }

    // Looks the key up, then fills its placeholders ("%@", "%d", "%.4g" ...) in
    // order with `args` (callers format numbers with number() before passing them).
    static QString format(const char *key, AppLanguage language, const QStringList &args);
    // One printf conversion of a double ("%.4g", "%.3f") as the language's locale
    // writes it: the C library's digits, with a decimal comma for Spanish and no
    // grouping, as the platform's locale-aware formats do.
    static QString number(double value, const char *printfSpec, AppLanguage language);
    // Fills the placeholders of an already translated text.
    static QString fill(QString text, const QStringList &args);
};

// Marks a string literal as a translation key where it is stored for a later
// lookup (tables of texts); the coverage test collects these as well.
#define VARN_TR_KEY(text) text
