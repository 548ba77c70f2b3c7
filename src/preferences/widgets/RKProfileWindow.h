#pragma once

#include "settings/RKProfileSetting.h"
#include "shortcut/widgets/SRRecorderControlDelegate.h"

#include <QDialog>
#include <QString>

#include <memory>

class QPushButton;
class QWidget;
class RKProfileWindowDelegate;

namespace Ui {
class RKProfileWindow;
}

// The editor of one archive profile, shown as a sheet on the window that
// opened it. It edits the very profile object it is given: what the user
// entered is written into it only when accepting passes the checks, except
// for the static folder chosen with the button and the show-password check
// box, which go into the profile at once (and stay after a cancel). The
// delegate hears how the user left, after the sheet has closed. Its recorder
// refuses nothing while recording (the delegate's default): duplicates are
// checked on accepting.
class RKProfileWindow : public QDialog, public SRRecorderControlDelegate
{
    Q_OBJECT

public:
    // The placeholders of a fixed password, by row of the placeholder table.
    static constexpr int PlaceholderRows = 5;
    static QString placeholderFormat(int row);
    static QString placeholderDescription(int row);

    explicit RKProfileWindow(QWidget* parent = nullptr);
    ~RKProfileWindow() override;

    RKProfileWindowDelegate* delegate() const { return m_delegate; }
    void setDelegate(RKProfileWindowDelegate* delegate) { m_delegate = delegate; }

    // Keeps the profile and shows it in every control.
    void setTargetProfile(std::shared_ptr<RKProfileSetting> profile);
    const std::shared_ptr<RKProfileSetting>& targetProfile() const { return m_profile; }
    const std::shared_ptr<RKProfileSetting>& getTargetProfile() const { return m_profile; }

    // The placeholder table: always five rows; the view of a cell is chosen
    // by its column's identifier ("FormatColumn", "DescColumn",
    // "ButtonColumn").
    int numberOfRowsInTableView() const { return PlaceholderRows; }
    QWidget* viewForTableColumn(const QString& identifier, int row);

public slots:
    // Accept: checks the entry, writes it into the profile, closes and
    // hands the profile to the delegate. A refusal is an alert on the editor.
    void btnAddTouchUpInside();
    void btnCanselTouchUpInside();
    void btnStaticFolderOpenTouchUpInside();
    void btnShowPasswordTouchUpInside();
    // Puts the placeholder of the button's tag on the clipboard.
    void passwordFormatCopyButtonTouchUpInside(const QPushButton* sender);
    // Escape and the window's close button cancel.
    void reject() override;

private:
    void reloadPasswordTable();

    std::unique_ptr<Ui::RKProfileWindow> ui;
    std::shared_ptr<RKProfileSetting> m_profile;
    RKProfileWindowDelegate* m_delegate = nullptr;
};
