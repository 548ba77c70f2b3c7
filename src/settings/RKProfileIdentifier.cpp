#include "settings/RKProfileIdentifier.h"

#include <QRandomGenerator>
#include <QSet>

#include <mutex>

namespace {

std::mutex g_mutex;
QSet<QString>& taken()
{
    static QSet<QString> identifiers;
    return identifiers;
}

} // namespace

namespace RKProfileIdentifier {

QString fresh()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    for (;;) {
        const quint32 bits = QRandomGenerator::system()->generate();
        const QString identifier = QString::number(bits) + QLatin1Char('l');
        if (!taken().contains(identifier)) {
            taken().insert(identifier);
            return identifier;
        }
    }
}

void noteInUse(const QString& identifier)
{
    if (identifier.isEmpty()) {
        return;
    }
    const std::lock_guard<std::mutex> lock(g_mutex);
    taken().insert(identifier);
}

} // namespace RKProfileIdentifier
