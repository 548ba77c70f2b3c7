#pragma once

#include <QString>

// The CRC-32 of a written archive (eight upper-case hex digits), filled once the archive was read
// back and every entry passed its check; a null crc counts as absent and shows
// no row.
struct RKProcessResultVerify
{
    QString crc;
};
