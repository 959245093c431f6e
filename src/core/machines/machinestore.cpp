#include "machinestore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include "base/textfile.h"
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
    // Atomic: a full disk or a dead folder leaves the previous file whole. A
    // failed write is not reported; the list in memory stays as it is.
    TextFile::writeBytesAtomically(m_filePath, Machine::encodeList(m_machines));
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
