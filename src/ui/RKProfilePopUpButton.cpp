#include "ui/RKProfilePopUpButton.h"

#include "settings/RKSetting.h"

RKProfilePopUpButton::RKProfilePopUpButton(QWidget* parent)
    : QComboBox(parent)
{
}

void RKProfilePopUpButton::loadItems()
{
    const RKSetting setting = RKSetting::Setting();
    clear();
    for (const RKProfileSetting& profile : setting.archiveProfiles) {
        addItem(profile.profileName);
    }
}

std::optional<RKProfileSetting> RKProfilePopUpButton::selectedProfile() const
{
    const int index = currentIndex();
    const RKSetting setting = RKSetting::Setting();
    if (index < 0 || index >= setting.archiveProfiles.size()) {
        return std::nullopt;
    }
    return setting.archiveProfiles.at(index);
}

void RKProfilePopUpButton::setSelectedProfile(const RKProfileSetting& profile)
{
    const RKSetting setting = RKSetting::Setting();
    for (int index = 0; index < setting.archiveProfiles.size(); ++index) {
        if (setting.archiveProfiles.at(index).profileID == profile.profileID) {
            if (index < count()) {
                setCurrentIndex(index);
            }
            return;
        }
    }
}
