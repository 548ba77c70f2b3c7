#pragma once

#include "zip/RQError.h"

#include <QList>

// The errors of one archive's run, in the order raised.
struct RKProcessResultErrors
{
    QList<RQError> items;
};
