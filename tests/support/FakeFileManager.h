#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

// A file manager on a test's bus: records the ShowItems calls it gets.
class FakeFileManager : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    struct Call {
        QStringList uris;
        QString startupId;
    };
    QList<Call> calls;

    // Serves org.freedesktop.FileManager1 on the named connection.
    bool serveOn(const QString& connectionName);

public slots:
    void ShowItems(const QStringList& uris, const QString& startupId);
};
