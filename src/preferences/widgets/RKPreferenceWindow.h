#pragma once

#include "preferences/widgets/RKProfileWindowDelegate.h"
#include "preferences/widgets/RKUnArchiveProfileWindowDelegate.h"
#include "settings/RKProfileSetting.h"
#include "settings/RKUnArchiveProfileSetting.h"
#include "shortcut/widgets/SRRecorderControlDelegate.h"

#include <QDialog>
#include <QPointer>
#include <QString>

#include <memory>

class QTableWidget;
class RKProfileWindow;
class RKUnArchiveProfileWindow;

namespace Ui {
class PreferenceWindow;
}

// The preferences: the two profile lists (add, edit, copy, delete, move),
// which profile of each kind serves items opened from the file manager, the
// password key combination, and the reset to the factory settings. Every
// list command reads the stored settings afresh and stores them at once; the
// file-manager profiles and the password combination are stored only when
// the window closes, which it refuses while the password combination is a
// profile's. The profile editors open as sheets on it.
class RKPreferenceWindow : public QDialog,
                           public RKProfileWindowDelegate,
                           public RKUnArchiveProfileWindowDelegate,
                           public SRRecorderControlDelegate
{
    Q_OBJECT

public:
    explicit RKPreferenceWindow(QWidget* parent = nullptr);
    ~RKPreferenceWindow() override;

    // Prepares a run over parent: the file-manager pop-ups and the password
    // recorder from the stored settings, the window open again.
    void startDialog(QWidget* parent);

    // The closing checks; when they pass, the file-manager profiles and the
    // password combination are stored. A refusal is an alert on the window.
    bool closeProcess();

    // The editors, made on first use; nullptr before.
    RKProfileWindow* profileWindow() const { return m_profileWindow; }
    RKUnArchiveProfileWindow* unArchiveProfileWindow() const { return m_unArchiveProfileWindow; }
    QWidget* modalParentWindow() const { return m_modalParentWindow; }
    bool isEdit() const { return m_isEdit; }
    bool isClosed() const { return m_isClosed; }

    // Table contents, read from the store at the moment of the call. The
    // cells are chosen by column identifier ("ZipProfileName",
    // "UnZipProfileName": text, "ZipShotCut", "UnZipShotCut": read-only
    // recorder) and carry the cell identifier ("TextViewCell",
    // "ShortCutViewCell").
    int numberOfRowsInTableView(const QTableWidget* tableView) const;

    void profileWindowRegister(RKProfileWindow* window, const std::shared_ptr<RKProfileSetting>& profile) override;
    void profileWindowCansel(RKProfileWindow* window) override;
    void unArchiveProfileWindowRegister(RKUnArchiveProfileWindow* window,
                                        const std::shared_ptr<RKUnArchiveProfileSetting>& profile) override;
    void unArchiveProfileWindowCansel(RKUnArchiveProfileWindow* window) override;

    // The password recorder takes every combination; the check comes on closing.
    bool shortcutRecorderIsKeyCodeAndFlagsTaken(SRRecorderControl* recorder, qint64 keyCode, quint64 flags,
                                                QString* reason) override;
    void shortcutRecorderKeyComboDidChange(SRRecorderControl* recorder, _KeyCombo newKeyCombo) override;

public slots:
    void btnDoneTouchUpInside();
    // Asks first; "OK" restores the factory settings and shows them.
    void btnDefaultTouchUpInside();

    void zipProfileAddButtonTouchUpInside();
    void zipProfileEditButtonTouchUpInside();
    void zipProfileDeleteButtonTouchUpInside();
    void zipProfileCopyButtonTouchUpInside();
    void zipProfileMoveUpButtonTouchUpInside();
    void zipProfileMoveDownButtonTouchUpInside();
    // 0 Add, 1 Delete, 2 Edit, 3 Copy, 4 Move up, 5 Move down; others nothing.
    void zipSegToolItemsPressed(int segment);
    void zipProfileTableViewDoubleTapped();

    void unZipProfileAddButtonTouchUpInside();
    void unZipProfileEditButtonTouchUpInside();
    void unZipProfileDeleteButtonTouchUpInside();
    void unZipProfileCopyButtonTouchUpInside();
    void unZipProfileMoveUpButtonTouchUpInside();
    void unZipProfileMoveDownButtonTouchUpInside();
    void unZipToolItemsPressed(int segment);
    void unZipProfileTableViewDoubleTapped();

    // Closing by any other means than Done (Escape, the window's close
    // button): the closing checks first, unless Done closed it already.
    void reject() override;

private:
    // The list commands, once for both lists (Side: the archive or the
    // unarchive list with its table, pop-up, editor and identifiers).
    template <typename Side>
    void addProfile();
    template <typename Side>
    void editProfile();
    template <typename Side>
    void registerProfile(const typename Side::Profile& edited);
    template <typename Side>
    void deleteProfile();
    template <typename Side>
    void copyProfile();
    template <typename Side>
    void moveProfile(int offset);
    template <typename Side>
    void segmentPressed(int segment);

    // The selected row; -1 when none.
    static int selectedRow(const QTableWidget* tableView);
    void reloadTable(QTableWidget* tableView);
    RKProfileWindow* loadProfileWindow();
    RKUnArchiveProfileWindow* loadUnArchiveProfileWindow();
    void showSheet(QDialog* editor);
    void showError(const QString& informativeText);

    std::unique_ptr<Ui::PreferenceWindow> ui;
    RKProfileWindow* m_profileWindow = nullptr;
    RKUnArchiveProfileWindow* m_unArchiveProfileWindow = nullptr;
    QPointer<QWidget> m_modalParentWindow;
    bool m_isEdit = false;
    bool m_isClosed = false;
};
