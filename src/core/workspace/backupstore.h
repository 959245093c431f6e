#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QUrl>

#include <functional>

class EditorDocument;

// Timed backups of unsaved work, so a crash or a power cut costs at most the
// last two minutes of editing.
//
// Backups go into one private folder (by default the "VarnEdit/Backups" folder
// of the user's data location), named after the document and the local time:
// pocket.nc backed up at 14:05:09 on 3 March 2025 becomes
// pocket_20250303-140509.nc.bak; an untitled document, or a file with no
// extension such as O1000, gets "nc" as extension (Untitled_..., O1000_...).
// Two backups within the same second share a name and the later one wins.
// Nothing ever deletes a backup.
//
// A backup never touches the document's own file or its saved text, and a
// failing backup (folder not creatable, disk full) is silent on purpose: it
// must never interrupt editing.
//
// The folder and the clock are constructor parameters so tests can run in a
// temporary folder at a fixed time. Main thread only.
class BackupStore {
public:
    using Clock = std::function<QDateTime()>;

    // An empty folder means the default location; an empty clock, the system's.
    explicit BackupStore(QString folder = {}, Clock clock = {});

    // GenericDataLocation + "/VarnEdit/Backups".
    static QString defaultFolder();
    // The backup name of a document stored at `url` (empty for untitled), at `localTime`.
    static QString fileName(const QUrl &url, const QDateTime &localTime);

    // The backups folder. Resolved on first use, and created then with all
    // missing parents; a failure to create it is ignored here and shows up
    // as failing backups.
    QString folder();

    // Writes the document's current text under a fresh backup name. Returns
    // the path written, or an empty string when the write failed.
    QString writeBackup(const EditorDocument &document);

    // The timer's work: backs up, in order, every document that is dirty and
    // not empty. Returns the paths written.
    QStringList autosave(const QList<EditorDocument *> &documents);

private:
    QString m_folder;
    bool m_resolved = false;
    Clock m_clock;
};
