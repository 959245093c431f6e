#include "transporterror.h"

#include <QFile>

#include <cerrno>
#include <unistd.h>


TransportError TransportError::connectionFailed(const QString &message)
{
    return {Kind::connectionFailed, {}, message, 0};
}

TransportError TransportError::openFailed(const QString &path, const QString &message, int systemError)
{
    return {Kind::openFailed, path, message, systemError};
}

TransportError TransportError::configurationFailed(const QString &message, int systemError)
{
    return {Kind::configurationFailed, {}, message, systemError};
}

TransportError TransportError::writeFailed(const QString &message, int systemError)
{
    return {Kind::writeFailed, {}, message, systemError};
}

TransportError TransportError::readFailed(const QString &message, int systemError)
{
    return {Kind::readFailed, {}, message, systemError};
}

QString TransportError::description(AppLanguage language) const
{
    switch (kind) {
    case Kind::connectionFailed:
        return L10n::format("Connection failed: %@", language, {message});
    case Kind::openFailed:
        return L10n::format("Could not open %@: %@", language, {path, message});
    case Kind::configurationFailed:
        return L10n::format("Could not configure the port: %@", language, {message});
    case Kind::writeFailed:
        return L10n::format("Send error: %@", language, {message});
    case Kind::notConnected:
        return L10n::text("No port connection", language);
    case Kind::waitFailed:
        return L10n::format("Send error: %@", language, {L10n::text("waiting for the port", language)});
    case Kind::receiveTimeout:
        return L10n::format("Timed out %@", language,
                    {L10n::text("waiting for the machine to receive (is it in receive mode? are the cable and "
                                "flow control correct?)",
                                language)});
    case Kind::drainTimeout:
        return L10n::format("Timed out %@", language,
                    {L10n::text("waiting for the machine to receive the end of the program", language)});
    case Kind::cancelled:
        return L10n::text("Transfer Cancelled", language);
    case Kind::readFailed:
        return L10n::format("Receive error: %@", language, {message});
    }
    return {};
}

namespace {

QString dialoutHint(AppLanguage language)
{
    return L10n::text("Your user may not use serial ports. Add it to the dialout group (sudo usermod -aG "
                      "dialout $USER), then log out and in again.",
                      language);
}

} // namespace

QString TransportError::hint(AppLanguage language) const
{
    if (kind != Kind::openFailed || (systemError != EACCES && systemError != EPERM)) {
        return {};
    }
    return dialoutHint(language);
}

QString TransportError::accessHint(const QString &devicePath, AppLanguage language)
{
    const QByteArray path = QFile::encodeName(devicePath);
    if (::access(path.constData(), F_OK) != 0 || ::access(path.constData(), R_OK | W_OK) == 0 || errno != EACCES) {
        return {};
    }
    return dialoutHint(language);
}
