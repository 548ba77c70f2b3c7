#include "zip/ZipNumberedName.h"

#include <QStringList>

QString ZipNumberedName::fileName(const QString& name, int number)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot < 0) {
        return folderName(name, number);
    }
    return name.left(dot) + QLatin1Char(' ') + QString::number(number) + name.mid(dot);
}

QString ZipNumberedName::folderName(const QString& name, int number)
{
    return name + QLatin1Char(' ') + QString::number(number);
}
