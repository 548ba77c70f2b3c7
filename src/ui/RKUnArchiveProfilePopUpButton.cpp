#include "ui/RKUnArchiveProfilePopUpButton.h"

#include "settings/RKSetting.h"

RKUnArchiveProfilePopUpButton::RKUnArchiveProfilePopUpButton(QWidget* parent)
    : QComboBox(parent)
{
}

void RKUnArchiveProfilePopUpButton::loadItems()
{
    const RKSetting setting = RKSetting::Setting();
    clear();
    for (const RKUnArchiveProfileSetting& profile : setting.unArchiveProfiles) {
        addItem(profile.profileName);
    }
}

std::optional<RKUnArchiveProfileSetting> RKUnArchiveProfilePopUpButton::selectedProfile() const
{
    const int index = currentIndex();
    const RKSetting setting = RKSetting::Setting();
    if (index < 0 || index >= setting.unArchiveProfiles.size()) {
        return std::nullopt;
    }
    return setting.unArchiveProfiles.at(index);
}

void RKUnArchiveProfilePopUpButton::setSelectedProfile(const RKUnArchiveProfileSetting& profile)
{
    const RKSetting setting = RKSetting::Setting();
    for (int index = 0; index < setting.unArchiveProfiles.size(); ++index) {
        if (setting.unArchiveProfiles.at(index).profileID == profile.profileID) {
            if (index < count()) {
                setCurrentIndex(index);
            }
            return;
        }
    }
}
