#pragma once

#include <QString>

// The password used for an archive; a null stringValue counts as absent.
struct RKProcessResultPassword
{
    QString stringValue;
    bool showPassword = false;
};
