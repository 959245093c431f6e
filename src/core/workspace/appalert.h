#pragma once

#include <QString>
#include <QUuid>

// A message the window shows with one "OK" button. Each alert is new, even
// with the same words, so the window can tell a repeated failure from the one
// it has just dismissed.
struct AppAlert {
    QUuid id = QUuid::createUuid();
    QString title;
    QString message;
};
