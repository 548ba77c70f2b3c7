#include "cli/RKTerminalSettingNotice.h"

#include "cli/RKTerminal.h"

void RKTerminalSettingNotice::settingsFileSetAside(const QString& copyPath)
{
    RKTerminal::writeError(tr("mokuza: the settings file could not be read; it was kept as %1 "
                              "and the factory settings are used\n")
                               .arg(copyPath));
}

void RKTerminalSettingNotice::settingsValueSetAside(const QString& settingsPath, const QString& key)
{
    RKTerminal::writeError(tr("mokuza: the stored settings could not be read; they were kept "
                              "under %1 in %2 and the factory settings are used\n")
                               .arg(key, settingsPath));
}
