#include "backupstore.h"

#include "editordocument.h"
#include "base/textfile.h"

#include <QDir>
#include <QStandardPaths>

BackupStore::BackupStore(QString folder, Clock clock) : m_folder(std::move(folder)), m_clock(std::move(clock))
{
    if (!m_clock) {
        m_clock = [] { return QDateTime::currentDateTime(); };
    }
}

QString BackupStore::defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/VarnEdit/Backups");
}

QString BackupStore::fileName(const QUrl &url, const QDateTime &localTime)
{
    QString base = QStringLiteral("Untitled");
    QString extension = QStringLiteral("nc");
    const QString name = url.fileName();
    if (!name.isEmpty()) {
        // Only the last extension counts (a.b.nc is a.b + nc). A leading dot
        // starts a hidden name, not an extension, and a trailing dot has
        // nothing after it; both leave the name whole with "nc".
        const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
        if (dot > 0 && dot < name.size() - 1) {
            base = name.left(dot);
            extension = name.mid(dot + 1);
        } else {
            base = name;
        }
    }
    // Fixed digits whatever the user's locale: the names sort by time.
    const QString stamp = localTime.toLocalTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    return base + QLatin1Char('_') + stamp + QLatin1Char('.') + extension + QStringLiteral(".bak");
}

QString BackupStore::folder()
{
    if (!m_resolved) {
        if (m_folder.isEmpty()) {
            m_folder = defaultFolder();
        }
        QDir().mkpath(m_folder);
        m_resolved = true;
    }
    return m_folder;
}

QString BackupStore::writeBackup(const EditorDocument &document)
{
    const QString path = folder() + QLatin1Char('/') + fileName(document.url(), m_clock());
    if (!TextFile::writeAtomically(path, document.text()).isEmpty()) {
        return {};
    }
    return path;
}

QStringList BackupStore::autosave(const QList<EditorDocument *> &documents)
{
    QStringList written;
    for (const EditorDocument *document : documents) {
        // Empty first: it is free, while the dirty check may compare text.
        if (document && !document->isEmpty() && document->isDirty()) {
            const QString path = writeBackup(*document);
            if (!path.isEmpty()) {
                written << path;
            }
        }
    }
    return written;
}
