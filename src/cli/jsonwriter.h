#pragma once

#include <QString>

#include <optional>

// Writes compact JSON with keys in the order they are given (QJsonObject would
// sort them), so `varn` output reads in the documented order.
class JsonWriter {
public:
    JsonWriter &beginObject();
    JsonWriter &endObject();
    JsonWriter &beginArray();
    JsonWriter &endArray();
    JsonWriter &key(const char *name);
    JsonWriter &string(const QString &value);
    JsonWriter &optionalString(const std::optional<QString> &value);
    // An already formatted JSON value (a number, null, an array).
    JsonWriter &raw(const QString &value);

    QString text() const { return m_text; }

    // The shortest text that reads back as the same double; null when not finite.
    static QString number(double value);
    static QString quoted(const QString &value);

private:
    void separate();

    QString m_text;
    bool m_needsComma = false;
};
