#pragma once

#include "platform/RKPanelService.h"

#include <QObject>

// The real file panels (RKSavePanel, RKOpenPanel). A call from a worker
// thread is handed to the main thread, and the worker waits for the answer;
// a call on the main thread runs at once. Each panel is centred over the
// window of its parent widget and run modally.
class RKQtPanelService : public QObject, public RKPanelService
{
    Q_OBJECT

public:
    explicit RKQtPanelService(QObject* parent = nullptr);

    QString showModalSavePanel(QObject* parent, const QString& title, const QString& message,
                               const QString& url, const QStringList& types) override;
    QString showModalOpenPanel(QObject* parent, const QString& title, const QString& message,
                               const QString& url, int selectMode) override;

private:
    QString runSavePanel(QObject* parent, const QString& title, const QString& message,
                         const QString& url, const QStringList& types);
    QString runOpenPanel(QObject* parent, const QString& title, const QString& message,
                         const QString& url, int selectMode);
};
