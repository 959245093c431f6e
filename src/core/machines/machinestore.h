#pragma once

#include "machines/machine.h"

#include <QList>
#include <QObject>
#include <QString>

// The user's machine profiles, in the user's order, kept in one JSON file
// (by default ~/.local/share/VarnEdit/machines.json). Lives on the main thread.
//
// Nothing here reports an error. A missing, unreadable or corrupt file, or one
// holding no profile, loads as the two built-in defaults; the next save then
// overwrites the broken file. That loss is deliberate: a user with a broken
// store gets working profiles back instead of an empty send panel. Loading
// never writes, and a failed write is dropped silently (the list in memory
// stays as edited and the old file stays whole, since writes are atomic).
class MachineStore : public QObject {
    Q_OBJECT
public:
    // The store at defaultFilePath().
    explicit MachineStore(QObject *parent = nullptr);
    // The store at an explicit file; its folder is created if missing.
    explicit MachineStore(const QString &filePath, QObject *parent = nullptr);

    // GenericDataLocation + "/VarnEdit/machines.json".
    static QString defaultFilePath();

    const QList<Machine> &machines() const { return m_machines; }
    QString filePath() const { return m_filePath; }

    // Writes the whole list to the file.
    void save();
    // Replaces the profile with the same id where it stands, or appends it; then saves.
    void upsert(const Machine &machine);
    // Removes the profile with this profile's id; then saves. (`delete` is a
    // keyword here.)
    void remove(const Machine &machine);

signals:
    void machinesChanged();

private:
    void load();

    QString m_filePath;
    QList<Machine> m_machines;
};
