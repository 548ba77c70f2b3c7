#include "settings/RKKeychainSecretStore.h"

#include "platform/RKAppInfo.h"

#include <QEventLoop>
#include <QTimer>

#include <qt6keychain/keychain.h>

namespace {

constexpr int kAnswerMs = 20000;

// Runs a job to its end; false when it failed or did not end in time.
bool finish(QKeychain::Job& job)
{
    QEventLoop loop;
    QObject::connect(&job, &QKeychain::Job::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(kAnswerMs, &loop, &QEventLoop::quit);
    bool ended = false;
    QObject::connect(&job, &QKeychain::Job::finished, &loop, [&ended] { ended = true; });
    job.start();
    if (!ended) {
        loop.exec();
    }
    return ended && job.error() == QKeychain::NoError;
}

} // namespace

bool RKKeychainSecretStore::write(const QString& key, const QString& secret)
{
    QKeychain::WritePasswordJob job(RKAppInfo::applicationName());
    job.setAutoDelete(false);
    job.setInsecureFallback(false);
    job.setKey(key);
    job.setTextData(secret);
    return finish(job);
}

std::optional<QString> RKKeychainSecretStore::read(const QString& key)
{
    QKeychain::ReadPasswordJob job(RKAppInfo::applicationName());
    job.setAutoDelete(false);
    job.setInsecureFallback(false);
    job.setKey(key);
    if (!finish(job)) {
        return std::nullopt;
    }
    return job.textData();
}
