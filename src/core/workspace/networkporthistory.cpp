#include "networkporthistory.h"

#include <QVariantMap>

namespace NetworkPortHistory {

QStringList addresses(const QVariant &stored, const QString &machineId)
{
    return stored.toMap().value(machineId).toStringList();
}

QVariant remember(const QVariant &stored, const QString &machineId, const QString &address)
{
    QVariantMap map = stored.toMap();
    QStringList list = map.value(machineId).toStringList();
    list.removeAll(address);
    list.prepend(address);
    while (list.size() > maxPerMachine) {
        list.removeLast();
    }
    map.insert(machineId, list);
    return map;
}

} // namespace NetworkPortHistory
