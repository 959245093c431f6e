#include "networkaddress.h"

namespace {

const QLatin1String kTcp("tcp://");
const QLatin1String kRfc2217("rfc2217://");

} // namespace

bool NetworkAddress::isNetworkPort(const QString &text)
{
    const QString trimmed = text.trimmed();
    return trimmed.startsWith(kTcp, Qt::CaseInsensitive) || trimmed.startsWith(kRfc2217, Qt::CaseInsensitive);
}

std::optional<NetworkAddress> NetworkAddress::parse(const QString &text)
{
    const QString trimmed = text.trimmed();
    NetworkAddress address;
    QString rest;
    if (trimmed.startsWith(kTcp, Qt::CaseInsensitive)) {
        address.protocol = Protocol::rawTcp;
        rest = trimmed.mid(kTcp.size());
    } else if (trimmed.startsWith(kRfc2217, Qt::CaseInsensitive)) {
        address.protocol = Protocol::rfc2217;
        rest = trimmed.mid(kRfc2217.size());
    } else {
        return std::nullopt;
    }
    // A trailing slash is what people copy from a browser's address bar.
    if (rest.endsWith(QLatin1Char('/'))) {
        rest.chop(1);
    }
    const qsizetype colon = rest.lastIndexOf(QLatin1Char(':'));
    if (colon <= 0) {
        return std::nullopt;
    }
    QString host = rest.left(colon);
    if (host.startsWith(QLatin1Char('['))) {
        if (!host.endsWith(QLatin1Char(']')) || host.size() < 3) {
            return std::nullopt;
        }
        host = host.mid(1, host.size() - 2);
    } else if (host.contains(QLatin1Char(':')) || host.contains(QLatin1Char('/')) || host.contains(QLatin1Char('['))) {
        // An IPv6 address needs its brackets, or the port would be ambiguous.
        return std::nullopt;
    }
    bool ok = false;
    const QString portText = rest.mid(colon + 1);
    const uint port = portText.toUInt(&ok);
    if (!ok || port < 1 || port > 65535 || portText.startsWith(QLatin1Char('+'))) {
        return std::nullopt;
    }
    address.host = host;
    address.port = static_cast<quint16>(port);
    return address;
}

QString NetworkAddress::toString() const
{
    const QString scheme = protocol == Protocol::rfc2217 ? QStringLiteral("rfc2217://") : QStringLiteral("tcp://");
    const QString shownHost = host.contains(QLatin1Char(':')) ? QLatin1Char('[') + host + QLatin1Char(']') : host;
    return scheme + shownHost + QLatin1Char(':') + QString::number(port);
}
