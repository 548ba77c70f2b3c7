#include "platform/RKPanelService.h"

#include <atomic>

namespace {
std::atomic<RKPanelService*> g_service{nullptr};
}

RKPanelService* RKPanelService::current()
{
    return g_service.load();
}

void RKPanelService::setCurrent(RKPanelService* service)
{
    g_service.store(service);
}

QString showModalSavePanel(QObject* parent, const QString& title, const QString& message,
                           const QString& url, const QStringList& types)
{
    RKPanelService* service = RKPanelService::current();
    return service ? service->showModalSavePanel(parent, title, message, url, types) : QString();
}

QString showModalOpenPanel(QObject* parent, const QString& title, const QString& message,
                           const QString& url, int selectMode)
{
    RKPanelService* service = RKPanelService::current();
    return service ? service->showModalOpenPanel(parent, title, message, url, selectMode) : QString();
}
