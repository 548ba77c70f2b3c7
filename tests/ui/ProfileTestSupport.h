#pragma once

// Shared by the editor and preferences suites: profiles made in one line,
// every field of a profile in one comparable value, readable texts.

#include "settings/RKProfileSetting.h"
#include "settings/RKUnArchiveProfileSetting.h"

#include <QString>

#include <ostream>
#include <tuple>

inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

namespace ProfileTestSupport {

constexpr quint64 NoKey = ~quint64(0);
constexpr qint64 Shift = 0x20000, Command = 0x100000;
// Stored key codes.
constexpr quint64 S = 1, R = 15, K = 40, P = 35, F5 = 96;

// A default profile named after its identifier, with a key combination.
template <typename Profile>
Profile profile(const char* id, quint64 code = NoKey, qint64 flags = 0)
{
    Profile made = Profile::DefaultSetting();
    made.profileID = made.profileName = QString::fromUtf8(id);
    made.profileShotcutCode = code;
    made.profileShotcutFlags = flags;
    return made;
}

inline auto fields(const RKProfileSetting& p)
{
    return std::make_tuple(p.profileID, p.profileName, p.destEncoding, p.archiveMode, p.archiveLevel, p.password,
                           p.passMode, p.passwordShow, p.sameFileName, p.exclusionFiles, p.exclusionFolders,
                           p.saveLocation, p.saveStaticFolderPath, p.profileShotcutCode, p.profileShotcutFlags);
}

inline auto fields(const RKUnArchiveProfileSetting& p)
{
    return std::make_tuple(p.profileID, p.profileName, p.sourceEncoding, p.unArchiveMode, p.sameFileName,
                           p.saveLocation, p.saveStaticFolderPath, p.exclusionFiles, p.exclusionFolders,
                           p.profileShotcutCode, p.profileShotcutFlags);
}

} // namespace ProfileTestSupport
