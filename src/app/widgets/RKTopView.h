#pragma once

#include "app/widgets/RKDroppableViewDelegate.h"

#include <QPointer>
#include <QWidget>

class RKAppDelegate;
class RKDroppableView;
class RKLogoImageView;
class RKProfilePopUpButton;
class RKUnArchiveProfilePopUpButton;

// The content of the drop window: the two profile pop-ups and the drop area.
// A drop is classified and handed to the application delegate with the
// profile chosen in the pop-up of its kind.
class RKTopView : public QWidget, public RKDroppableViewDelegate
{
    Q_OBJECT

public:
    // appDelegate: receives the dispatched drops (not owned).
    explicit RKTopView(RKAppDelegate* appDelegate, QWidget* parent = nullptr);

    RKProfilePopUpButton* profilePopUp() const { return m_profilePopUp; }
    RKUnArchiveProfilePopUpButton* unArchiveProfilePopUp() const { return m_unArchiveProfilePopUp; }
    RKDroppableView* zipDropPanel() const { return m_zipDropPanel; }
    RKLogoImageView* logoImageView() const { return m_logoImageView; }

    // Fills both pop-ups from the stored lists and shows the profiles last
    // used from this window.
    void loadProfilePopUps();
    // After the stored lists changed: fills both pop-ups again and keeps the
    // profile each one showed, when it still exists; a pop-up that showed
    // nothing shows the first profile.
    void reloadProfilePopUps();

    // Classifies the dropped paths and dispatches them (mixed items: the
    // alert only). The chosen profile is stored as the active one first.
    void droppableViewItemDropped(RKDroppableView* view, const QStringList& paths) override;

private:
    QPointer<RKAppDelegate> m_appDelegate;
    RKProfilePopUpButton* m_profilePopUp = nullptr;
    RKUnArchiveProfilePopUpButton* m_unArchiveProfilePopUp = nullptr;
    RKDroppableView* m_zipDropPanel = nullptr;
    RKLogoImageView* m_logoImageView = nullptr;
};
