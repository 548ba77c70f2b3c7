#include "ui/RKQtPanelService.h"

#include "platform/RKMainThreadQueue.h"
#include "ui/RKOpenPanel.h"
#include "ui/RKPanelMemory.h"
#include "ui/RKSavePanel.h"
#include "ui/RKWindowPlacement.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThread>
#include <QWidget>

#include <functional>

namespace {

// Runs fn on the main thread and waits for its answer.
QString onMainThread(const std::function<QString()>& fn)
{
    QCoreApplication* app = QCoreApplication::instance();
    if (!app || QThread::currentThread() == app->thread()) {
        return fn();
    }
    QString answer;
    RKMainThreadQueue::application()->postAndWait([&answer, &fn] { answer = fn(); });
    return answer;
}

QWidget* parentWindow(QObject* parent)
{
    auto* widget = qobject_cast<QWidget*>(parent);
    return widget ? widget->window() : nullptr;
}

} // namespace

RKQtPanelService::RKQtPanelService(QObject* parent)
    : QObject(parent)
{
}

QString RKQtPanelService::showModalSavePanel(QObject* parent, const QString& title,
                                             const QString& message, const QString& url,
                                             const QStringList& types)
{
    return onMainThread([&] { return runSavePanel(parent, title, message, url, types); });
}

QString RKQtPanelService::showModalOpenPanel(QObject* parent, const QString& title,
                                             const QString& message, const QString& url,
                                             int selectMode)
{
    return onMainThread([&] { return runOpenPanel(parent, title, message, url, selectMode); });
}

QString RKQtPanelService::runSavePanel(QObject* parent, const QString& title,
                                       const QString& message, const QString& url,
                                       const QStringList& types)
{
    QWidget* window = parentWindow(parent);
    RKSavePanel panel(window);
    panel.setWindowTitle(title);
    panel.setMessage(message);
    panel.setAllowedFileTypes(types);
    // Before the folder is set: the kept state names a folder of its own.
    RKPanelMemory::attach(&panel, QStringLiteral("save"));
    panel.setProposedPath(url);
    panel.setWindowModality(Qt::ApplicationModal);
    RKCentreOver(&panel, window);
    if (panel.exec() != QDialog::Accepted) {
        return QString();
    }
    return panel.chosenPath();
}

QString RKQtPanelService::runOpenPanel(QObject* parent, const QString& title,
                                       const QString& message, const QString& url,
                                       int selectMode)
{
    QWidget* window = parentWindow(parent);
    RKOpenPanel panel(window);
    panel.setWindowTitle(title);
    panel.setMessage(message);
    panel.setSelectMode(selectMode);
    RKPanelMemory::attach(&panel, QStringLiteral("open"));
    if (!url.isEmpty()) {
        panel.setDirectory(url);
    }
    panel.setWindowModality(Qt::ApplicationModal);
    RKCentreOver(&panel, window);
    if (panel.exec() != QDialog::Accepted) {
        return QString();
    }
    return panel.chosenPath();
}
