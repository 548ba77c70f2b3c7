#pragma once

#include "settings/RKProfileSetting.h"

#include <QComboBox>

#include <optional>

// Pop-up of the stored archive profiles by name, in list order, so that the
// item index is the index in the stored list. It keeps no list of its own:
// every question reads the settings as stored at that moment, so the owner
// must call loadItems() after every change to the stored list.
class RKProfilePopUpButton : public QComboBox
{
    Q_OBJECT

public:
    explicit RKProfilePopUpButton(QWidget* parent = nullptr);

    // Loads fresh settings, removes all items and adds each archive
    // profile's name in list order.
    void loadItems();

    // The stored profile at the selected index; none when nothing is selected
    // or the index is not below the stored list's length.
    std::optional<RKProfileSetting> selectedProfile() const;
    // Selects the first stored profile with the same profileID; with no match
    // the selection stays.
    void setSelectedProfile(const RKProfileSetting& profile);
};
