#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>

class QLocalServer;

// One varn-edit per user. The first run listens on a per-user local socket;
// a later run hands its command-line files to it and exits, so opening a
// program from a file manager or a terminal lands in the window already open.
//
// The socket lives in XDG_RUNTIME_DIR (private to the user), else in the
// temporary folder under a name holding the user id. A socket left behind by
// a crashed run answers nobody; the next run removes it and takes over.
//
// Wire format: the absolute paths, UTF-8, one per line; the sender closes the
// connection when done. Main thread only.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    explicit SingleInstance(QString socketName = defaultSocketName(), QObject *parent = nullptr);
    ~SingleInstance() override;

    static QString defaultSocketName();

    // Hands `files` to a running instance. True when one took them (this run
    // should then end); false when none runs.
    bool handOver(const QList<QUrl> &files, int timeoutMs = 2000);
    // Becomes the running instance. False when the socket cannot be made or
    // another run got there first; the program then simply runs without
    // receiving files.
    bool listen();

signals:
    // Another run handed these files over (possibly none: it was started again).
    void filesReceived(const QList<QUrl> &files);

private:
    QString m_socketName;
    QLocalServer *m_server = nullptr;
};
