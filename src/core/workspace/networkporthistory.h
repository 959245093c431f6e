#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

// The network ports typed for each machine, kept in the settings as one map
// from machine id to addresses, most recent first. Pure functions over the
// stored value: the model reads and writes the settings.
namespace NetworkPortHistory {

inline constexpr qsizetype maxPerMachine = 8;

// The addresses remembered for the machine; nothing for an unknown one or a
// stored value of another shape.
QStringList addresses(const QVariant &stored, const QString &machineId);
// The stored value with `address` first for the machine (moved up when it was
// there already), the oldest dropped beyond maxPerMachine.
QVariant remember(const QVariant &stored, const QString &machineId, const QString &address);

} // namespace NetworkPortHistory
