#pragma once

#include <QString>

// Room for a checksum of what was produced ("%lX" of a CRC-32). No job fills
// it; a null crc counts as absent and shows no row.
struct RKProcessResultVerify
{
    QString crc;
};
