#pragma once

#include "settings/RKUnArchiveProfileSetting.h"
#include "shortcut/widgets/SRRecorderControlDelegate.h"

#include <QDialog>

#include <memory>

class RKUnArchiveProfileWindowDelegate;

namespace Ui {
class RKUnArchiveProfileWindow;
}

// The editor of one unarchive profile, shown as a sheet on the window that
// opened it. It edits the very profile object it is given: what the user
// entered is written into it only when accepting passes the checks, except
// for the static folder chosen with the button, which goes into the profile
// at once (and stays after a cancel). The delegate hears how the user left,
// after the sheet has closed. Its recorder refuses nothing while recording
// (the delegate's default): duplicates are checked on accepting.
class RKUnArchiveProfileWindow : public QDialog, public SRRecorderControlDelegate
{
    Q_OBJECT

public:
    explicit RKUnArchiveProfileWindow(QWidget* parent = nullptr);
    ~RKUnArchiveProfileWindow() override;

    RKUnArchiveProfileWindowDelegate* delegate() const { return m_delegate; }
    void setDelegate(RKUnArchiveProfileWindowDelegate* delegate) { m_delegate = delegate; }

    // Keeps the profile and shows it in every control.
    void setTargetProfile(std::shared_ptr<RKUnArchiveProfileSetting> profile);
    const std::shared_ptr<RKUnArchiveProfileSetting>& targetProfile() const { return m_profile; }
    const std::shared_ptr<RKUnArchiveProfileSetting>& getTargetProfile() const { return m_profile; }

public slots:
    // Accept: checks the entry (against the other unarchive profiles),
    // writes it into the profile, closes and hands the profile to the
    // delegate. A refusal is an alert on the editor.
    void btnAddTouchUpInside();
    void btnCancelTouchUpInside();
    void btnStaticFolderOpenTouchUpInside();
    // Escape and the window's close button cancel.
    void reject() override;

private:
    std::unique_ptr<Ui::RKUnArchiveProfileWindow> ui;
    std::shared_ptr<RKUnArchiveProfileSetting> m_profile;
    RKUnArchiveProfileWindowDelegate* m_delegate = nullptr;
};
