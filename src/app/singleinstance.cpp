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
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_socketName)) {
        // Left behind by a run that crashed: nobody answered handOver, so it is ours.
        QLocalServer::removeServer(m_socketName);
        if (!m_server->listen(m_socketName)) {
            return false;
        }
    }
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server->nextPendingConnection()) {
            auto *received = new QByteArray;
            connect(socket, &QLocalSocket::readyRead, socket, [socket, received] { *received += socket->readAll(); });
            connect(socket, &QLocalSocket::disconnected, this, [this, socket, received] {
                *received += socket->readAll();
                QList<QUrl> files;
                for (const QByteArray &line : received->split('\n')) {
                    if (!line.isEmpty()) {
                        files.append(QUrl::fromLocalFile(QString::fromUtf8(line)));
                    }
                }
                delete received;
                socket->deleteLater();
                emit filesReceived(files);
            });
        }
    });
    return true;
}
