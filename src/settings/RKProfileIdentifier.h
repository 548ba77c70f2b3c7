#pragma once

#include <QString>

// Profile identifiers: one to ten decimal digits followed by "l", 32 bits.
// Identifiers are drawn at random and drawn again while they clash with one
// already issued or seen in this process, so no two profiles in use share one.
namespace RKProfileIdentifier {

// A new identifier, unique among those known to this process.
QString fresh();

// Records an identifier read from the stored settings as taken.
void noteInUse(const QString& identifier);

} // namespace RKProfileIdentifier
