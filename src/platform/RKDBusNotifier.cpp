#include "platform/RKDBusNotifier.h"

// Placeholder until the D-Bus delivery lands.
void RKDBusNotifier::deliver(const QString&, const QString&, const QString&)
{
}
