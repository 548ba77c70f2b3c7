// The profile pop-ups answer from the settings as stored at the moment of the
// question, not from the list that filled them.
#include "settings/RKSetting.h"
#include "ui/RKProfilePopUpButton.h"
#include "ui/RKUnArchiveProfilePopUpButton.h"

#include <gtest/gtest.h>

namespace {

class ProfilePopUp : public ::testing::Test
{
protected:
    void SetUp() override { RKSetting::RestoreDefault(); }
};

TEST_F(ProfilePopUp, SelectedProfileReadsTheListAsStoredNow)
{
    RKProfilePopUpButton archive;
    EXPECT_FALSE(archive.selectedProfile().has_value()) << "empty until loadItems";
    EXPECT_FALSE(RKUnArchiveProfilePopUpButton().selectedProfile().has_value());
    archive.loadItems();
    archive.setCurrentIndex(4);

    RKSetting setting = RKSetting::Setting();
    const QString secondID = setting.archiveProfiles.at(1).profileID;
    setting.archiveProfiles.removeFirst();
    setting.commit();
    EXPECT_FALSE(archive.selectedProfile().has_value()) << "index 4 names nothing any more";

    archive.setCurrentIndex(0);
    ASSERT_TRUE(archive.selectedProfile().has_value());
    EXPECT_EQ(archive.selectedProfile()->profileID, secondID);
}

TEST_F(ProfilePopUp, SetSelectedProfileMatchesTheFirstStoredIdentifier)
{
    RKSetting setting = RKSetting::Setting();
    setting.archiveProfiles.append(setting.archiveProfiles.at(3)); // same ID twice
    setting.commit();
    RKProfilePopUpButton archive;
    RKUnArchiveProfilePopUpButton unArchive;
    archive.loadItems();
    unArchive.loadItems();
    EXPECT_EQ(unArchive.itemText(1), QStringLiteral("Mac To Mac"));

    RKProfileSetting renamed = setting.archiveProfiles.last();
    renamed.profileName = QStringLiteral("renamed");
    archive.setSelectedProfile(renamed);
    EXPECT_EQ(archive.currentIndex(), 3);
    unArchive.setSelectedProfile(setting.unArchiveProfiles.at(1));
    EXPECT_EQ(unArchive.currentIndex(), 1);

    archive.setSelectedProfile(RKProfileSetting::DefaultSetting());
    unArchive.setSelectedProfile(RKUnArchiveProfileSetting::DefaultSetting());
    EXPECT_EQ(archive.currentIndex(), 3) << "an unknown identifier leaves the selection";
    EXPECT_EQ(unArchive.currentIndex(), 1);
}

} // namespace
