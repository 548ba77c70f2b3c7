#include "results/RKProcessResultInfo.h"

bool RKProcessResultInfo::hasErrors() const
{
    return !errors.items.isEmpty();
}
