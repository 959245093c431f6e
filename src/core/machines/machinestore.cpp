#include "machinestore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

MachineStore::MachineStore(QObject *parent) : MachineStore(defaultFilePath(), parent) {}

MachineStore::MachineStore(const QString &filePath, QObject *parent) : QObject(parent), m_filePath(filePath)
{
    // An existing folder is fine; a folder we cannot create shows up later as a
    // failed save, which is ignored like any other.
    QDir().mkpath(QFileInfo(m_filePath).absolutePath());
    load();
}

QString MachineStore::defaultFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/VarnEdit/machines.json");
}

void MachineStore::load()
{
    std::optional<QList<Machine>> decoded;
    QFile file(m_filePath);
    if (file.open(QIODevice::ReadOnly)) {
        decoded = Machine::decodeList(file.readAll());
    }
    m_machines = (decoded && !decoded->isEmpty()) ? *decoded : Machine::defaults();
}

void MachineStore::save()
{
    const QByteArray bytes = Machine::encodeList(m_machines);
    // QSaveFile writes beside the target and renames over it on commit, so a
    // full disk or a dead folder leaves the previous file as it was. It must
    // never fall back to writing the target in place.
    QSaveFile file(m_filePath);
    file.setDirectWriteFallback(false);
    // Unbuffered, so a short write (disk full, size limit) shows in write()'s
    // count: through the buffer it is lost at flush and commit() happily
    // renames a truncated file over the good one.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        return;
    }
    if (file.write(bytes) != bytes.size()) {
        file.cancelWriting();
    }
    file.commit();
}

void MachineStore::upsert(const Machine &machine)
{
    auto it = std::find_if(m_machines.begin(), m_machines.end(),
                           [&](const Machine &m) { return m.id == machine.id; });
    if (it != m_machines.end()) {
        *it = machine;
    } else {
        m_machines.append(machine);
    }
    save();
    emit machinesChanged();
}

void MachineStore::remove(const Machine &machine)
{
    const qsizetype removed = m_machines.removeIf([&](const Machine &m) { return m.id == machine.id; });
    save();
    if (removed > 0) {
        emit machinesChanged();
    }
}
