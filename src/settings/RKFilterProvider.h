#pragma once

#include "settings/RKProfileSetting.h"
#include "settings/RKUnArchiveProfileSetting.h"

#include <QString>
#include <QStringList>

// The exclusion test of a profile's file and folder name patterns. A pattern
// matches one whole name, ignoring case; "*" is any run of characters, "?"
// one character, every other character itself. Stateless; any thread.
class RKFilterProvider
{
public:
    // True when the path stays in, false when it is excluded.
    static bool Filter(const QString& path, const RKProfileSetting& profileSetting);
    static bool Filter(const QString& path, const RKUnArchiveProfileSetting& unArchiveProfileSetting);
    static bool Filter(const QString& path, const QStringList& exclusionFiles,
                       const QStringList& exclusionFolders);

    // Whether one name matches one pattern (the LIKE[c] rule above).
    static bool matches(const QString& name, const QString& pattern);
};
