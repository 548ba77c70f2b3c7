#pragma once

#include "preferences/widgets/RKProfileWindowDelegate.h"
#include "preferences/widgets/RKUnArchiveProfileWindowDelegate.h"
#include "settings/RKProfileSetting.h"
#include "settings/RKUnArchiveProfileSetting.h"
#include "shortcut/widgets/SRRecorderControlDelegate.h"

#include <QDialog>
#include <QPointer>
#include <QString>

#include <array>
#include <memory>

class QPushButton;
class QTableWidget;
class RKSegmentedControl;
class RKSetting;
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
// profile's (the password recorder itself takes every combination, the
// delegate's default). The profile editors open as sheets on it.
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

public slots:
    void btnDoneTouchUpInside();
    // Asks first; "OK" restores the factory settings and shows them.
    void btnDefaultTouchUpInside();

    // Closing by any other means than Done (Escape, the window's close
    // button): the closing checks first, unless Done closed it already.
    void reject() override;

    // Each list command under its own name; the buttons, segments and double
    // click of both lists run the same commands through one wiring.
    void zipProfileAddButtonTouchUpInside();
    void zipProfileEditButtonTouchUpInside();
    void zipProfileDeleteButtonTouchUpInside();
    void zipProfileCopyButtonTouchUpInside();
    void zipProfileMoveUpButtonTouchUpInside();
    void zipProfileMoveDownButtonTouchUpInside();
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

private:
    // The commands of a list, in the order of the segments under it.
    enum class ListCommand { Add, Delete, Edit, Copy, MoveUp, MoveDown };

    // The list commands, once for both lists (Side: the archive or the
    // unarchive list with its table, pop-up, editor and identifiers).
    template <typename Side>
    void connectList(const std::array<QPushButton*, 4>& buttons, RKSegmentedControl* segments);
    template <typename Side>
    void runCommand(ListCommand command);
    template <typename Side>
    void runSegment(int segment);
    template <typename Side>
    void editSelected();
    template <typename Side>
    void editProfile(bool newProfile);
    template <typename Side>
    void registerProfile(const typename Side::Profile& edited);
    template <typename Side>
    void deleteProfile();
    template <typename Side>
    void copyProfile();
    template <typename Side>
    void moveProfile(int offset);
    template <typename Side, typename Change>
    void changeSelected(Change change);
    template <typename Side>
    void storeList(RKSetting& setting, int rowToSelect);
    template <typename Side>
    void openEditor(const typename Side::Profile& profile);
    template <typename Side>
    typename Side::Editor*& editor();

    // The selected row of a list of profileCount profiles; -1, after an
    // alert, when none is.
    int selectedProfileRow(const QTableWidget* tableView, qsizetype profileCount);
    // The selected row; -1 when none.
    static int selectedRow(const QTableWidget* tableView);
    void reloadTable(QTableWidget* tableView);
    void showSheet(QDialog* editor);
    void showError(const QString& informativeText);

    std::unique_ptr<Ui::PreferenceWindow> ui;
    RKProfileWindow* m_profileWindow = nullptr;
    RKUnArchiveProfileWindow* m_unArchiveProfileWindow = nullptr;
    QPointer<QWidget> m_modalParentWindow;
    bool m_isEdit = false;
    bool m_isClosed = false;
};
