#include "externalfileopencoordinator.h"

#include <QDir>

ExternalFileOpenCoordinator &ExternalFileOpenCoordinator::shared()
{
    // Deliberately leaked: the desktop may hand over files at any time until
    // the process ends, including during static destruction.
    static auto *instance = new ExternalFileOpenCoordinator;
    return *instance;
}

void ExternalFileOpenCoordinator::enqueue(const QList<QUrl> &urls)
{
    QList<QUrl> files;
    for (const QUrl &url : urls) {
        if (url.isLocalFile()) {
            files.append(QUrl::fromLocalFile(QDir::cleanPath(url.toLocalFile())));
        }
    }
    if (files.isEmpty()) {
        return;
    }
    if (isConnected()) {
        // The model decides what a file that is already open means.
        for (const QUrl &file : files) {
            m_openFile(file);
        }
        return;
    }
    for (const QUrl &file : files) {
        if (!m_pendingUrls.contains(file)) {
            m_pendingUrls.append(file);
        }
    }
}

void ExternalFileOpenCoordinator::connect(QObject *model, OpenFile openFile)
{
    m_model = model;
    m_openFile = std::move(openFile);
    if (m_pendingUrls.isEmpty() || !isConnected()) {
        return;
    }
    // Emptied before the first call, so a file that the model hands back
    // through `enqueue` while opening goes to the model, not into this batch.
    const QList<QUrl> taken = std::exchange(m_pendingUrls, {});
    for (const QUrl &file : taken) {
        m_openFile(file);
    }
}
