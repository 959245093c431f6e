#include "singleinstance.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>

#include <unistd.h>

SingleInstance::SingleInstance(QString socketName, QObject *parent) : QObject(parent), m_socketName(std::move(socketName))
{
}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::defaultSocketName()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QDir(runtime).exists()) {
        return runtime + QStringLiteral("/varn-edit.socket");
    }
    return QDir::tempPath() + QStringLiteral("/varn-edit-%1.socket").arg(::getuid());
}

bool SingleInstance::handOver(const QList<QUrl> &files, int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(m_socketName);
    if (!socket.waitForConnected(timeoutMs)) {
        return false;
    }
    QByteArray message;
    for (const QUrl &file : files) {
        message += file.toLocalFile().toUtf8() + '\n';
    }
    socket.write(message);
    if (!message.isEmpty() && !socket.waitForBytesWritten(timeoutMs)) {
        return false;
    }
    socket.disconnectFromServer();
    if (socket.state() != QLocalSocket::UnconnectedState) {
        socket.waitForDisconnected(timeoutMs);
    }
    return true;
}

bool SingleInstance::listen()
{
    // With access options Qt binds beside the name and renames over it, which
    // would silently take the socket of a run that started since handOver
    // found nobody. Only a socket nobody answers on (left by a crash) is taken.
    QLocalSocket probe;
    probe.connectToServer(m_socketName);
    if (probe.waitForConnected(200)) {
        return false;
    }
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_socketName)) {
        QLocalServer::removeServer(m_socketName);
        if (!m_server->listen(m_socketName)) {
            return false;
        }
    }
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server->nextPendingConnection()) {
            // The socket keeps what arrives until it is read; the sender's
            // closing says the list is complete.
            connect(socket, &QLocalSocket::disconnected, this, [this, socket] {
                QList<QUrl> files;
                for (const QByteArray &line : socket->readAll().split('\n')) {
                    if (!line.isEmpty()) {
                        files.append(QUrl::fromLocalFile(QString::fromUtf8(line)));
                    }
                }
                socket->deleteLater();
                emit filesReceived(files);
            });
        }
    });
    return true;
}
