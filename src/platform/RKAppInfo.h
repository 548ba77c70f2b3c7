#pragma once

#include <QString>

// Fixed facts about the application that several subsystems share.
namespace RKAppInfo {

// Title of the application: window title, notification and panel title.
inline QString applicationTitle() { return QStringLiteral("MOKUZA-FULL"); }

// Reverse-domain identifier: error domain and the name of the private folders
// where archives are extracted before placement (RKWorkingFolder).
inline QString bundleIdentifier() { return QStringLiteral("jp.mokuza.MOKUZA-FULL"); }

// QSettings scope (user scope, XDG config): ~/.config/MOKUZA/MOKUZA-FULL.conf
inline QString organizationName() { return QStringLiteral("MOKUZA"); }
inline QString applicationName() { return QStringLiteral("MOKUZA-FULL"); }

} // namespace RKAppInfo
