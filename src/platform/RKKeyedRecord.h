#pragma once

#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>

// An object of a keyed archive kept as it was read, for what this program
// does not know (a newer version's keys or classes): its class name and its
// entries in order, each value in its stored form. Written back unchanged,
// so a newer version finds what it wrote.
struct RKKeyedRecord
{
    QString className;
    QList<QPair<QString, QJsonObject>> entries;

    bool isEmpty() const { return entries.isEmpty(); }
};
