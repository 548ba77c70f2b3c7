#pragma once

#include "platform/SRCommon.h"

#include <QList>
#include <QString>

// The key combination of one stored profile.
struct RKStoredShortcut
{
    QString profileID;
    quint64 code = 0;
    qint64 flags = 0;
};

// Why a profile editor refuses what the user entered: the reason of the first
// check that fails, or a null string when the entry may be stored.
//  1. An empty name ("" only: a name of blanks is a name).
//  2. With a key combination (code other than -1): another profile of the
//     same kind (profileID differs) with that code and those flags; then the
//     password combination of the settings with that code and those flags.
// sameKind holds the profiles of the edited kind as stored now.
QString RKProfileEntryCheck(const QString& name, const QString& profileID, _KeyCombo combination,
                            const QList<RKStoredShortcut>& sameKind, quint64 passwordCode,
                            qint64 passwordFlags);
