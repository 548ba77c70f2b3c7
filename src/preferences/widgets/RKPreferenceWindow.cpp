#include "preferences/widgets/RKPreferenceWindow.h"

#include "preferences/widgets/RKProfileWindow.h"
#include "preferences/widgets/RKSegmentedControl.h"
#include "preferences/widgets/RKShortCutTableCellView.h"
#include "preferences/widgets/RKUnArchiveProfileWindow.h"
#include "settings/RKSetting.h"
#include "shortcut/widgets/SRRecorderControl.h"
#include "ui/RKErrorSheet.h"
#include "ui/RKProfilePopUpButton.h"
#include "ui/RKUnArchiveProfilePopUpButton.h"
#include "ui/RKWindowFit.h"
#include "ui_RKPreferenceWindow.h"

#include <QHeaderView>
#include <QMessageBox>
#include <QPushButton>

#include <type_traits>

namespace {

constexpr qint64 kNoKey = -1;
const QString kTextViewCell = QStringLiteral("TextViewCell");
const QString kShortCutViewCell = QStringLiteral("ShortCutViewCell");
// What a list change answers instead of the row to select.
constexpr int kKeepSelection = -1;
constexpr int kUnchanged = -2;

QString selectProfileMessage()
{
    return QString::fromUtf16(u"プロファイルを選択してください");
}

// What the commands need to know of a list: its profiles and editor, where
// the store keeps it and the drop window's and file manager's choice in it,
// and its table and file-manager pop-up.
template <typename P, typename E, typename PopUp, QList<P> RKSetting::*profiles, QString RKSetting::*active,
          QString RKSetting::*finder, QTableWidget* Ui_PreferenceWindow::*tableView,
          PopUp* Ui_PreferenceWindow::*popUp>
struct ListSide {
    using Profile = P;
    using Editor = E;
    static QList<Profile>& list(RKSetting& setting) { return setting.*profiles; }
    static QString& activeID(RKSetting& setting) { return setting.*active; }
    static QString& finderID(RKSetting& setting) { return setting.*finder; }
    static QTableWidget* table(Ui::PreferenceWindow& ui) { return ui.*tableView; }
    static PopUp* finderPopUp(Ui::PreferenceWindow& ui) { return ui.*popUp; }
};

using ArchiveSide =
    ListSide<RKProfileSetting, RKProfileWindow, RKProfilePopUpButton, &RKSetting::archiveProfiles,
             &RKSetting::activeArchiveProfileID, &RKSetting::finderDragArchiveProfileID,
             &Ui_PreferenceWindow::zipProfileTableView, &Ui_PreferenceWindow::zipFinderProfilePopUpButton>;
using UnArchiveSide =
    ListSide<RKUnArchiveProfileSetting, RKUnArchiveProfileWindow, RKUnArchiveProfilePopUpButton,
             &RKSetting::unArchiveProfiles, &RKSetting::activeUnArchiveProfileID,
             &RKSetting::finderDragUnArchiveProfileID, &Ui_PreferenceWindow::unZipProfileTableView,
             &Ui_PreferenceWindow::unZipFinderProfilePopUpButton>;

// A profile of its own (new identifier, no key combination) with the
// source's options.
template <typename Profile>
Profile duplicate(const Profile& source)
{
    const Profile fresh = Profile::DefaultSetting();
    Profile copy = source;
    copy.profileID = fresh.profileID;
    copy.profileName = QString::fromUtf16(u"%1 のコピー").arg(source.profileName);
    copy.profileShotcutCode = fresh.profileShotcutCode;
    copy.profileShotcutFlags = fresh.profileShotcutFlags;
    return copy;
}

// Whether a stored profile has the combination.
template <typename Profile>
bool takesCombination(const QList<Profile>& profiles, _KeyCombo combination)
{
    for (const Profile& profile : profiles) {
        if (qint64(profile.profileShotcutCode) != kNoKey && qint64(profile.profileShotcutCode) == combination.code
            && profile.profileShotcutFlags == qint64(combination.flags)) {
            return true;
        }
    }
    return false;
}

template <typename Profile>
void fillRow(QTableWidget* table, int row, const Profile& profile)
{
    for (int column = 0; column < table->columnCount(); ++column) {
        const QString identifier = table->horizontalHeaderItem(column)->data(Qt::UserRole).toString();
        auto* item = new QTableWidgetItem;
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        if (identifier.endsWith(QLatin1String("ProfileName"))) {
            item->setData(Qt::UserRole, kTextViewCell);
            item->setText(profile.profileName);
            table->setItem(row, column, item);
        } else {
            item->setData(Qt::UserRole, kShortCutViewCell);
            table->setItem(row, column, item);
            auto* cell = new RKShortCutTableCellView;
            cell->setShortCut(profile.profileShotcutCode, profile.profileShotcutFlags, true);
            table->setCellWidget(row, column, cell);
        }
    }
}

template <typename Side>
void loadFinderPopUp(Ui::PreferenceWindow& ui)
{
    RKSetting setting = RKSetting::Setting();
    auto* popUp = Side::finderPopUp(ui);
    popUp->loadItems();
    for (const typename Side::Profile& profile : Side::list(setting)) {
        if (profile.profileID == Side::finderID(setting)) {
            popUp->setSelectedProfile(profile);
            break;
        }
    }
}

} // namespace

RKPreferenceWindow::RKPreferenceWindow(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::PreferenceWindow>())
{
    ui->setupUi(this);

    const std::pair<QTableWidget*, QStringList> tables[] = {
        {ui->zipProfileTableView, {QStringLiteral("ZipProfileName"), QStringLiteral("ZipShotCut")}},
        {ui->unZipProfileTableView, {QStringLiteral("UnZipProfileName"), QStringLiteral("UnZipShotCut")}},
    };
    const int rowHeight = std::max(SRRecorderControl().sizeHint().height() + 4, fontMetrics().height() + 10);
    for (const auto& [table, identifiers] : tables) {
        for (int column = 0; column < identifiers.size(); ++column) {
            table->horizontalHeaderItem(column)->setData(Qt::UserRole, identifiers.at(column));
        }
        table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
        table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Fixed);
        table->horizontalHeader()->resizeSection(1, 150);
        table->horizontalHeader()->setHighlightSections(false);
        table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
        table->verticalHeader()->setDefaultSectionSize(rowHeight);
        reloadTable(table);
    }

    connect(ui->btnDone, &QPushButton::clicked, this, &RKPreferenceWindow::btnDoneTouchUpInside);
    connect(ui->btnDefault, &QPushButton::clicked, this, &RKPreferenceWindow::btnDefaultTouchUpInside);
    connectList<ArchiveSide>(
        {ui->zipProfileAddButton, ui->zipProfileDeleteButton, ui->zipProfileEditButton, ui->zipProfileCopyButton},
        ui->zipSegToolItems);
    connectList<UnArchiveSide>({ui->unZipProfileAddButton, ui->unZipProfileDeleteButton, ui->unZipProfileEditButton,
                                ui->unZipProfileCopyButton},
                               ui->unZipToolItems);
    RKFitToText(this);
}

RKPreferenceWindow::~RKPreferenceWindow() = default;

void RKPreferenceWindow::startDialog(QWidget* parent)
{
    m_modalParentWindow = parent;
    m_isEdit = false;
    loadFinderPopUp<ArchiveSide>(*ui);
    loadFinderPopUp<UnArchiveSide>(*ui);

    const RKSetting setting = RKSetting::Setting();
    ui->srPasswordShotcut->setDelegate(this);
    ui->srPasswordShotcut->setAllowsKeyOnly(true, false);
    ui->srPasswordShotcut->setKeyCombo(
        SRMakeKeyCombo(qint64(setting.passwordShotcutCode), quint64(setting.passwordShotcutFlags)));
    m_isClosed = false;
}

// ---- tables

int RKPreferenceWindow::numberOfRowsInTableView(const QTableWidget* tableView) const
{
    const RKSetting setting = RKSetting::Setting();
    if (tableView == ui->zipProfileTableView) {
        return int(setting.archiveProfiles.size());
    }
    if (tableView == ui->unZipProfileTableView) {
        return int(setting.unArchiveProfiles.size());
    }
    return 0;
}

int RKPreferenceWindow::selectedRow(const QTableWidget* tableView)
{
    const QModelIndexList rows = tableView->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void RKPreferenceWindow::reloadTable(QTableWidget* tableView)
{
    // The selected row stays selected while it exists.
    const int selected = selectedRow(tableView);
    tableView->clearContents();
    tableView->setRowCount(numberOfRowsInTableView(tableView));
    const RKSetting setting = RKSetting::Setting();
    for (int row = 0; row < tableView->rowCount(); ++row) {
        if (tableView == ui->zipProfileTableView) {
            fillRow(tableView, row, setting.archiveProfiles.value(row));
        } else {
            fillRow(tableView, row, setting.unArchiveProfiles.value(row));
        }
    }
    tableView->clearSelection();
    if (selected >= 0 && selected < tableView->rowCount()) {
        tableView->selectRow(selected);
    }
}

// ---- the list commands

template <typename Side>
void RKPreferenceWindow::connectList(const std::array<QPushButton*, 4>& buttons, RKSegmentedControl* segments)
{
    // The buttons stand in the order of the commands, as the segments do.
    for (std::size_t command = 0; command < buttons.size(); ++command) {
        connect(buttons[command], &QPushButton::clicked, this,
                [this, command] { runCommand<Side>(ListCommand(command)); });
    }
    connect(segments, &RKSegmentedControl::segmentPressed, this, [this](int segment) { runSegment<Side>(segment); });
    connect(Side::table(*ui), &QTableWidget::cellDoubleClicked, this, [this] { editSelected<Side>(); });
}

template <typename Side>
void RKPreferenceWindow::runSegment(int segment)
{
    // The segment after the commands does nothing.
    if (segment >= int(ListCommand::Add) && segment <= int(ListCommand::MoveDown)) {
        runCommand<Side>(ListCommand(segment));
    }
}

template <typename Side>
void RKPreferenceWindow::editSelected()
{
    if (selectedRow(Side::table(*ui)) >= 0) {
        editProfile<Side>(false);
    }
}


template <typename Side>
void RKPreferenceWindow::runCommand(ListCommand command)
{
    switch (command) {
    case ListCommand::Add:
    case ListCommand::Edit:
        editProfile<Side>(command == ListCommand::Add);
        break;
    case ListCommand::Delete:
        deleteProfile<Side>();
        break;
    case ListCommand::Copy:
        copyProfile<Side>();
        break;
    case ListCommand::MoveUp:
    case ListCommand::MoveDown:
        moveProfile<Side>(command == ListCommand::MoveUp ? -1 : +1);
        break;
    }
}

template <typename Side>
typename Side::Editor*& RKPreferenceWindow::editor()
{
    if constexpr (std::is_same_v<Side, ArchiveSide>) {
        return m_profileWindow;
    } else {
        return m_unArchiveProfileWindow;
    }
}

template <typename Side>
void RKPreferenceWindow::openEditor(const typename Side::Profile& profile)
{
    typename Side::Editor*& sheet = editor<Side>();
    if (!sheet) {
        sheet = new typename Side::Editor(this);
        sheet->setDelegate(this);
    }
    sheet->setTargetProfile(std::make_shared<typename Side::Profile>(profile));
    showSheet(sheet);
}

void RKPreferenceWindow::showSheet(QDialog* editor)
{
    editor->setWindowModality(Qt::WindowModal);
    editor->open();
    editor->raise();
    editor->activateWindow();
}

void RKPreferenceWindow::showError(const QString& informativeText)
{
    RKShowErrorSheet(this, informativeText);
}

int RKPreferenceWindow::selectedProfileRow(const QTableWidget* tableView, qsizetype profileCount)
{
    const int row = selectedRow(tableView);
    if (row < 0 || row >= profileCount) {
        showError(selectProfileMessage());
        return -1;
    }
    return row;
}

template <typename Side>
void RKPreferenceWindow::storeList(RKSetting& setting, int rowToSelect)
{
    setting.commit();
    reloadTable(Side::table(*ui));
    if (rowToSelect != kKeepSelection) {
        Side::table(*ui)->selectRow(rowToSelect);
    }
    loadFinderPopUp<Side>(*ui);
}

// Reads the store afresh; with a row selected, change(setting, list, row)
// alters the list and answers the row to select then (kKeepSelection: the
// one selected before; kUnchanged: nothing is stored).
template <typename Side, typename Change>
void RKPreferenceWindow::changeSelected(Change change)
{
    RKSetting setting = RKSetting::Setting();
    QList<typename Side::Profile>& list = Side::list(setting);
    const int row = selectedProfileRow(Side::table(*ui), list.size());
    if (row < 0) {
        return;
    }
    const int rowToSelect = change(setting, list, row);
    if (rowToSelect != kUnchanged) {
        storeList<Side>(setting, rowToSelect);
    }
}

// The editor tells on closing whether the profile was new (m_isEdit).
template <typename Side>
void RKPreferenceWindow::editProfile(bool newProfile)
{
    m_isEdit = !newProfile;
    if (newProfile) {
        openEditor<Side>(Side::Profile::DefaultSetting());
        return;
    }
    RKSetting setting = RKSetting::Setting();
    const int row = selectedProfileRow(Side::table(*ui), Side::list(setting).size());
    if (row >= 0) {
        openEditor<Side>(Side::list(setting).at(row));
    }
}

template <typename Side>
void RKPreferenceWindow::registerProfile(const typename Side::Profile& edited)
{
    RKSetting setting = RKSetting::Setting();
    QList<typename Side::Profile>& list = Side::list(setting);
    if (m_isEdit) {
        // Everything an editor changes; the identifier is the same.
        for (typename Side::Profile& stored : list) {
            if (stored.profileID == edited.profileID) {
                stored = edited;
                break;
            }
        }
    } else {
        list.append(edited);
    }
    storeList<Side>(setting, kKeepSelection);
}

template <typename Side>
void RKPreferenceWindow::deleteProfile()
{
    RKSetting before = RKSetting::Setting();
    if (Side::list(before).size() == 1) {
        showError(QString::fromUtf16(u"プロファイルは最低１つは必要です"));
        return;
    }
    changeSelected<Side>([](RKSetting& setting, QList<typename Side::Profile>& list, int row) {
        const typename Side::Profile removed = list.takeAt(row);
        // The drop window and the file manager go on with a profile that exists.
        if (removed.profileID == Side::activeID(setting)) {
            Side::activeID(setting) = list.first().profileID;
        }
        if (removed.profileID == Side::finderID(setting)) {
            Side::finderID(setting) = list.first().profileID;
        }
        return kKeepSelection;
    });
}

template <typename Side>
void RKPreferenceWindow::copyProfile()
{
    changeSelected<Side>([](RKSetting&, QList<typename Side::Profile>& list, int row) {
        list.append(duplicate(list.at(row)));
        return int(list.size()) - 1;
    });
}

template <typename Side>
void RKPreferenceWindow::moveProfile(int offset)
{
    changeSelected<Side>([offset](RKSetting&, QList<typename Side::Profile>& list, int row) {
        const int target = row + offset;
        if (target < 0 || target >= list.size()) {
            return kUnchanged;
        }
        list.move(row, target);
        return target;
    });
}

// ---- the editors' notices

void RKPreferenceWindow::profileWindowRegister(RKProfileWindow*, const std::shared_ptr<RKProfileSetting>& profile)
{
    if (profile) {
        registerProfile<ArchiveSide>(*profile);
    }
}

void RKPreferenceWindow::profileWindowCansel(RKProfileWindow*) {}

void RKPreferenceWindow::unArchiveProfileWindowRegister(RKUnArchiveProfileWindow*,
                                                        const std::shared_ptr<RKUnArchiveProfileSetting>& profile)
{
    if (profile) {
        registerProfile<UnArchiveSide>(*profile);
    }
}

void RKPreferenceWindow::unArchiveProfileWindowCansel(RKUnArchiveProfileWindow*) {}

// ---- closing and reset

bool RKPreferenceWindow::closeProcess()
{
    const _KeyCombo password = ui->srPasswordShotcut->keyCombo();
    RKSetting setting = RKSetting::Setting();
    if (password.code != kNoKey) {
        if (takesCombination(setting.archiveProfiles, password)) {
            showError(QString::fromUtf16(u"パスワード設定のショートカットが圧縮プロファイルのショートカットと重複しています"));
            return false;
        }
        if (takesCombination(setting.unArchiveProfiles, password)) {
            showError(QString::fromUtf16(u"パスワード設定のショートカットが解凍プロファイルのショートカットと重複しています"));
            return false;
        }
    }
    if (const auto chosen = ui->zipFinderProfilePopUpButton->selectedProfile()) {
        setting.finderDragArchiveProfileID = chosen->profileID;
    }
    if (const auto chosen = ui->unZipFinderProfilePopUpButton->selectedProfile()) {
        setting.finderDragUnArchiveProfileID = chosen->profileID;
    }
    setting.passwordShotcutCode = quint64(password.code);
    setting.passwordShotcutFlags = qint64(password.flags);
    setting.commit();
    return true;
}

void RKPreferenceWindow::btnDoneTouchUpInside()
{
    if (!closeProcess()) {
        return;
    }
    m_isClosed = true;
    done(QDialog::Accepted);
}

void RKPreferenceWindow::reject()
{
    if (!m_isClosed && !closeProcess()) {
        return;
    }
    QDialog::reject();
}

void RKPreferenceWindow::btnDefaultTouchUpInside()
{
    auto* confirmation = new QMessageBox(this);
    confirmation->setAttribute(Qt::WA_DeleteOnClose);
    confirmation->setObjectName(QStringLiteral("resetConfirmation"));
    confirmation->setIcon(QMessageBox::Warning);
    confirmation->setWindowTitle(QString());
    confirmation->setText(QString::fromUtf16(u"全ての設定をリセットします。よろしいですか？"));
    QPushButton* cancel = confirmation->addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    QPushButton* ok = confirmation->addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
    confirmation->setDefaultButton(cancel);
    confirmation->setEscapeButton(cancel);
    RKFitAlertToText(confirmation);
    connect(confirmation, &QMessageBox::buttonClicked, this, [this, ok](QAbstractButton* clicked) {
        if (clicked != ok) {
            return;
        }
        RKSetting::RestoreDefault();
        startDialog(m_modalParentWindow);
        reloadTable(ui->zipProfileTableView);
        reloadTable(ui->unZipProfileTableView);
    });
    confirmation->setWindowModality(Qt::WindowModal);
    confirmation->open();
}

// ---- the list commands by name

void RKPreferenceWindow::zipProfileAddButtonTouchUpInside() { runCommand<ArchiveSide>(ListCommand::Add); }
void RKPreferenceWindow::zipProfileEditButtonTouchUpInside() { runCommand<ArchiveSide>(ListCommand::Edit); }
void RKPreferenceWindow::zipProfileDeleteButtonTouchUpInside() { runCommand<ArchiveSide>(ListCommand::Delete); }
void RKPreferenceWindow::zipProfileCopyButtonTouchUpInside() { runCommand<ArchiveSide>(ListCommand::Copy); }
void RKPreferenceWindow::zipProfileMoveUpButtonTouchUpInside() { runCommand<ArchiveSide>(ListCommand::MoveUp); }
void RKPreferenceWindow::zipProfileMoveDownButtonTouchUpInside() { runCommand<ArchiveSide>(ListCommand::MoveDown); }
void RKPreferenceWindow::zipSegToolItemsPressed(int segment) { runSegment<ArchiveSide>(segment); }
void RKPreferenceWindow::zipProfileTableViewDoubleTapped() { editSelected<ArchiveSide>(); }
void RKPreferenceWindow::unZipProfileAddButtonTouchUpInside() { runCommand<UnArchiveSide>(ListCommand::Add); }
void RKPreferenceWindow::unZipProfileEditButtonTouchUpInside() { runCommand<UnArchiveSide>(ListCommand::Edit); }
void RKPreferenceWindow::unZipProfileDeleteButtonTouchUpInside() { runCommand<UnArchiveSide>(ListCommand::Delete); }
void RKPreferenceWindow::unZipProfileCopyButtonTouchUpInside() { runCommand<UnArchiveSide>(ListCommand::Copy); }
void RKPreferenceWindow::unZipProfileMoveUpButtonTouchUpInside() { runCommand<UnArchiveSide>(ListCommand::MoveUp); }
void RKPreferenceWindow::unZipProfileMoveDownButtonTouchUpInside() { runCommand<UnArchiveSide>(ListCommand::MoveDown); }
void RKPreferenceWindow::unZipToolItemsPressed(int segment) { runSegment<UnArchiveSide>(segment); }
void RKPreferenceWindow::unZipProfileTableViewDoubleTapped() { editSelected<UnArchiveSide>(); }
