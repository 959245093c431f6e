#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <functional>

// Holds the files the desktop hands us (opened with the program, dropped on
// its icon, given on the command line) until the application model exists,
// then forwards them to it.
//
// The model is not known to this class: `connect` takes the model as a plain
// QObject, held weakly, and the function that opens one file in it. While that
// object lives every enqueued file goes straight to it; before it exists, or
// once it is gone, files wait in `pendingUrls`, each at most once, in the
// order they came. Only file URLs are taken, standardised ("." and ".." are
// resolved) so the same file given two ways waits once.
//
// Main thread only; nothing is locked.
class ExternalFileOpenCoordinator {
public:
    using OpenFile = std::function<void(const QUrl &)>;

    ExternalFileOpenCoordinator() = default;
    ExternalFileOpenCoordinator(const ExternalFileOpenCoordinator &) = delete;
    ExternalFileOpenCoordinator &operator=(const ExternalFileOpenCoordinator &) = delete;

    // The one instance the program uses; made on first use, never destroyed.
    static ExternalFileOpenCoordinator &shared();

    void enqueue(const QList<QUrl> &urls);
    // From now on, files go to `openFile` while `model` lives. The files queued
    // so far are opened at once, in the order they were queued.
    void connect(QObject *model, OpenFile openFile);

    QList<QUrl> pendingUrls() const { return m_pendingUrls; }
    bool isConnected() const { return !m_model.isNull() && bool(m_openFile); }

private:
    QPointer<QObject> m_model;
    OpenFile m_openFile;
    QList<QUrl> m_pendingUrls;
};
