#pragma once

#include "settings/RKUnArchiveProfileSetting.h"

#include <QComboBox>

#include <optional>

// Pop-up of the stored unarchive profiles by name, in list order; like
// RKProfilePopUpButton it answers from the settings as stored at the moment
// of the question.
class RKUnArchiveProfilePopUpButton : public QComboBox
{
    Q_OBJECT

public:
    explicit RKUnArchiveProfilePopUpButton(QWidget* parent = nullptr);

    // Loads fresh settings, removes all items and adds each unarchive
    // profile's name in list order.
    void loadItems();

    // The stored profile at the selected index, or none.
    std::optional<RKUnArchiveProfileSetting> selectedProfile() const;
    // Selects the first stored profile with the same profileID; with no match
    // the selection stays.
    void setSelectedProfile(const RKUnArchiveProfileSetting& profile);
};
