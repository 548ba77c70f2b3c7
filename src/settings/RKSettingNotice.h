#pragma once

#include <QString>

// How the user hears that stored settings could not be read. The store keeps
// what it could not read, starts again from the factory settings and tells
// the notice that the front end installed, once for every copy it made: the
// application shows an alert, mokuza writes a line on standard error. Called
// on the thread that loaded the settings.
class RKSettingNotice
{
public:
    virtual ~RKSettingNotice() = default;

    // A settings file that could not be parsed was renamed to copyPath.
    virtual void settingsFileSetAside(const QString& copyPath) = 0;
    // The stored value could not be decoded; it was kept under key in the
    // settings file settingsPath.
    virtual void settingsValueSetAside(const QString& settingsPath, const QString& key) = 0;

    static RKSettingNotice* current();
    // Not owned; nullptr removes it (a copy is then only logged).
    static void setCurrent(RKSettingNotice* notice);
};
