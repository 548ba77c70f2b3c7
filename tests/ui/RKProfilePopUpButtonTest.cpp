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

TEST_F(ProfilePopUp, LoadItemsListsStoredNamesInOrder)
{
    RKProfilePopUpButton archive;
    RKUnArchiveProfilePopUpButton unArchive;
    EXPECT_EQ(archive.count(), 0) << "filled only by loadItems";
    archive.loadItems();
    unArchive.loadItems();

    const RKSetting setting = RKSetting::Setting();
    ASSERT_EQ(archive.count(), setting.archiveProfiles.size());
    for (int i = 0; i < archive.count(); ++i) {
        EXPECT_EQ(archive.itemText(i), setting.archiveProfiles.at(i).profileName);
    }
    ASSERT_EQ(unArchive.count(), 2);
    EXPECT_EQ(unArchive.itemText(0), QStringLiteral("Win To Mac"));
    EXPECT_EQ(unArchive.itemText(1), QStringLiteral("Mac To Mac"));

    // Loading again replaces, it does not append.
    archive.loadItems();
    EXPECT_EQ(archive.count(), setting.archiveProfiles.size());
}

TEST_F(ProfilePopUp, EmptyPopUpHasNoSelectedProfile)
{
    RKProfilePopUpButton archive;
    RKUnArchiveProfilePopUpButton unArchive;
    EXPECT_FALSE(archive.selectedProfile().has_value());
    EXPECT_FALSE(unArchive.selectedProfile().has_value());
}

TEST_F(ProfilePopUp, SelectedProfileReadsTheListAsStoredNow)
{
    RKProfilePopUpButton archive;
    archive.loadItems();
    archive.setCurrentIndex(4);

    // The stored list shrinks behind the pop-up's back: index 4 names nothing.
    RKSetting setting = RKSetting::Setting();
    const QString secondID = setting.archiveProfiles.at(1).profileID;
    setting.archiveProfiles.removeFirst();
    setting.commit();
    EXPECT_FALSE(archive.selectedProfile().has_value());

    // Index 0 now means what used to be the second profile.
    archive.setCurrentIndex(0);
    ASSERT_TRUE(archive.selectedProfile().has_value());
    EXPECT_EQ(archive.selectedProfile()->profileID, secondID);
}

TEST_F(ProfilePopUp, SetSelectedProfileMatchesByIdentifier)
{
    RKProfilePopUpButton archive;
    RKUnArchiveProfilePopUpButton unArchive;
    archive.loadItems();
    unArchive.loadItems();
    const RKSetting setting = RKSetting::Setting();

    // A renamed record with the same identifier still selects its row.
    RKProfileSetting renamed = setting.archiveProfiles.at(3);
    renamed.profileName = QStringLiteral("something else");
    archive.setSelectedProfile(renamed);
    EXPECT_EQ(archive.currentIndex(), 3);
    EXPECT_EQ(archive.selectedProfile()->profileID, renamed.profileID);

    unArchive.setSelectedProfile(setting.unArchiveProfiles.at(1));
    EXPECT_EQ(unArchive.currentIndex(), 1);

    // An unknown identifier leaves the selection.
    archive.setSelectedProfile(RKProfileSetting::DefaultSetting());
    EXPECT_EQ(archive.currentIndex(), 3);
    unArchive.setSelectedProfile(RKUnArchiveProfileSetting::DefaultSetting());
    EXPECT_EQ(unArchive.currentIndex(), 1);
}

TEST_F(ProfilePopUp, DuplicateIdentifierSelectsTheFirst)
{
    RKSetting setting = RKSetting::Setting();
    setting.archiveProfiles.append(setting.archiveProfiles.at(0));
    setting.commit();
    RKProfilePopUpButton archive;
    archive.loadItems();
    archive.setCurrentIndex(2);
    archive.setSelectedProfile(setting.archiveProfiles.last());
    EXPECT_EQ(archive.currentIndex(), 0);
}

} // namespace
