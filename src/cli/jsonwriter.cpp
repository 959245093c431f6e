#include "jsonwriter.h"

#include <QLocale>

#include <cmath>

void JsonWriter::separate()
{
    if (m_needsComma) {
        m_text += QLatin1Char(',');
    }
}

JsonWriter &JsonWriter::beginObject()
{
    separate();
    m_text += QLatin1Char('{');
    m_needsComma = false;
    return *this;
}

JsonWriter &JsonWriter::endObject()
{
    m_text += QLatin1Char('}');
    m_needsComma = true;
    return *this;
}

JsonWriter &JsonWriter::beginArray()
{
    separate();
    m_text += QLatin1Char('[');
    m_needsComma = false;
    return *this;
}

JsonWriter &JsonWriter::endArray()
{
    m_text += QLatin1Char(']');
    m_needsComma = true;
    return *this;
}

JsonWriter &JsonWriter::key(const char *name)
{
    separate();
    m_text += quoted(QString::fromUtf8(name)) + QLatin1Char(':');
    m_needsComma = false;
    return *this;
}

JsonWriter &JsonWriter::string(const QString &value)
{
    return raw(quoted(value));
}

JsonWriter &JsonWriter::optionalString(const std::optional<QString> &value)
{
    return raw(value ? quoted(*value) : QStringLiteral("null"));
}

JsonWriter &JsonWriter::raw(const QString &value)
{
    separate();
    m_text += value;
    m_needsComma = true;
    return *this;
}

QString JsonWriter::number(double value)
{
    if (!std::isfinite(value)) {
        return QStringLiteral("null");
    }
    // Shortest round-trip digits; JSON has no "-0", so write it as 0.
    if (value == 0) {
        return QStringLiteral("0");
    }
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

QString JsonWriter::quoted(const QString &value)
{
    QString out;
    out.reserve(value.size() + 2);
    out += QLatin1Char('"');
    for (QChar c : value) {
        switch (c.unicode()) {
        case '"':
            out += QStringLiteral("\\\"");
            break;
        case '\\':
            out += QStringLiteral("\\\\");
            break;
        case '\n':
            out += QStringLiteral("\\n");
            break;
        case '\r':
            out += QStringLiteral("\\r");
            break;
        case '\t':
            out += QStringLiteral("\\t");
            break;
        default:
            if (c.unicode() < 0x20) {
                out += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
            } else {
                out += c;
            }
        }
    }
    out += QLatin1Char('"');
    return out;
}
