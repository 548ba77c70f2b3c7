#pragma once

#include "shortcut/SRCommon.h"

#include <QString>

class RKSetting;
struct RKProfileSetting;
struct RKUnArchiveProfileSetting;

// Why a profile editor refuses what the user entered: the reason of the first
// check that fails, or a null string when the entry may be stored.
//  1. An empty name ("" only: a name of blanks is a name).
//  2. With a key combination (code other than -1): another stored profile of
//     the edited one's kind (profileID differs) with that code and those
//     flags; then the password combination of the settings with that code
//     and those flags.
// stored is the settings as they are in the store now, not as the editor
// was opened with them.
QString RKProfileEntryCheck(const QString& name, const RKProfileSetting& edited,
                            _KeyCombo combination, const RKSetting& stored);
QString RKProfileEntryCheck(const QString& name, const RKUnArchiveProfileSetting& edited,
                            _KeyCombo combination, const RKSetting& stored);
