#pragma once

#include "results/RKProcessResultDestPath.h"
#include "results/RKProcessResultErrors.h"
#include "results/RKProcessResultPassword.h"
#include "results/RKProcessResultVerify.h"

#include <QString>

// The record of one archive written or extracted, shown by the result window.
struct RKProcessResultInfo
{
    RKProcessResultErrors errors;
    RKProcessResultPassword password;
    RKProcessResultDestPath destPath;
    RKProcessResultVerify verify;
    QString title;
    // The run was cancelled: an archive being written was dropped, an
    // extraction placed nothing more.
    bool cancelled = false;

    bool hasErrors() const;
};
