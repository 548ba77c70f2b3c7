#include "settings/RKSecretStore.h"

#include <atomic>

namespace {

std::atomic<RKSecretStore*> g_store{nullptr};

} // namespace

RKSecretStore* RKSecretStore::current()
{
    return g_store.load();
}

void RKSecretStore::setCurrent(RKSecretStore* store)
{
    g_store.store(store);
}
