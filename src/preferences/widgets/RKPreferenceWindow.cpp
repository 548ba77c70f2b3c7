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
#include "ui_RKPreferenceWindow.h"

#include <QHeaderView>
#include <QMessageBox>
#include <QPushButton>

#include <type_traits>

namespace {

constexpr qint64 kNoKey = -1;
const QString kTextViewCell = QStringLiteral("TextViewCell");
const QString kShortCutViewCell = QStringLiteral("ShortCutViewCell");

QString selectProfileMessage()
{
    return QString::fromUtf16(u"プロファイルを選択してください");
}

// What the commands need to know of each list.
struct ArchiveSide {
    using Profile = RKProfileSetting;
    static QList<Profile>& list(RKSetting& setting) { return setting.archiveProfiles; }
    static QString& activeID(RKSetting& setting) { return setting.activeArchiveProfileID; }
    static QString& finderID(RKSetting& setting) { return setting.finderDragArchiveProfileID; }
    static QTableWidget* table(Ui::PreferenceWindow& ui) { return ui.zipProfileTableView; }
    static RKProfilePopUpButton* finderPopUp(Ui::PreferenceWindow& ui) { return ui.zipFinderProfilePopUpButton; }

    // A profile of its own (new identifier, no key combination) with the
    // source's options.
    static Profile duplicate(const Profile& source)
    {
        Profile copy = Profile::DefaultSetting();
        copy.profileName = QString::fromUtf16(u"%1 のコピー").arg(source.profileName);
        copy.destEncoding = source.destEncoding;
        copy.archiveMode = source.archiveMode;
        copy.archiveLevel = source.archiveLevel;
        copy.password = source.password;
        copy.passMode = source.passMode;
        copy.sameFileName = source.sameFileName;
        copy.exclusionFiles = QStringList(source.exclusionFiles.cbegin(), source.exclusionFiles.cend());
        copy.exclusionFolders = QStringList(source.exclusionFolders.cbegin(), source.exclusionFolders.cend());
        copy.saveLocation = source.saveLocation;
        copy.saveStaticFolderPath = source.saveStaticFolderPath;
        copy.passwordShow = source.passwordShow;
        return copy;
    }

    // Everything an editor changes; the identifier stays.
    static void takeEdited(Profile& stored, const Profile& edited)
    {
        stored.profileName = edited.profileName;
        stored.destEncoding = edited.destEncoding;
        stored.archiveMode = edited.archiveMode;
        stored.archiveLevel = edited.archiveLevel;
        stored.password = edited.password;
        stored.exclusionFiles = edited.exclusionFiles;
        stored.exclusionFolders = edited.exclusionFolders;
        stored.saveLocation = edited.saveLocation;
        stored.saveStaticFolderPath = edited.saveStaticFolderPath;
        stored.sameFileName = edited.sameFileName;
        stored.passMode = edited.passMode;
        stored.profileShotcutCode = edited.profileShotcutCode;
        stored.profileShotcutFlags = edited.profileShotcutFlags;
        stored.passwordShow = edited.passwordShow;
    }
};

struct UnArchiveSide {
    using Profile = RKUnArchiveProfileSetting;
    static QList<Profile>& list(RKSetting& setting) { return setting.unArchiveProfiles; }
    static QString& activeID(RKSetting& setting) { return setting.activeUnArchiveProfileID; }
    static QString& finderID(RKSetting& setting) { return setting.finderDragUnArchiveProfileID; }
    static QTableWidget* table(Ui::PreferenceWindow& ui) { return ui.unZipProfileTableView; }
    static RKUnArchiveProfilePopUpButton* finderPopUp(Ui::PreferenceWindow& ui)
    {
        return ui.unZipFinderProfilePopUpButton;
    }

    static Profile duplicate(const Profile& source)
    {
        Profile copy = Profile::DefaultSetting();
        copy.profileName = QString::fromUtf16(u"%1 のコピー").arg(source.profileName);
        copy.sourceEncoding = source.sourceEncoding;
        copy.unArchiveMode = source.unArchiveMode;
        copy.sameFileName = source.sameFileName;
        copy.saveLocation = source.saveLocation;
        copy.saveStaticFolderPath = source.saveStaticFolderPath;
        copy.exclusionFiles = QStringList(source.exclusionFiles.cbegin(), source.exclusionFiles.cend());
        copy.exclusionFolders = QStringList(source.exclusionFolders.cbegin(), source.exclusionFolders.cend());
        return copy;
    }

    static void takeEdited(Profile& stored, const Profile& edited)
    {
        stored.profileName = edited.profileName;
        stored.sourceEncoding = edited.sourceEncoding;
        stored.unArchiveMode = edited.unArchiveMode;
        stored.sameFileName = edited.sameFileName;
        stored.saveLocation = edited.saveLocation;
        stored.saveStaticFolderPath = edited.saveStaticFolderPath;
        stored.exclusionFolders = edited.exclusionFolders;
        stored.exclusionFiles = edited.exclusionFiles;
        stored.profileShotcutCode = edited.profileShotcutCode;
        stored.profileShotcutFlags = edited.profileShotcutFlags;
    }
};

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

    connect(ui->zipProfileAddButton, &QPushButton::clicked, this,
            &RKPreferenceWindow::zipProfileAddButtonTouchUpInside);
    connect(ui->zipProfileEditButton, &QPushButton::clicked, this,
            &RKPreferenceWindow::zipProfileEditButtonTouchUpInside);
    connect(ui->zipProfileDeleteButton, &QPushButton::clicked, this,
            &RKPreferenceWindow::zipProfileDeleteButtonTouchUpInside);
    connect(ui->zipProfileCopyButton, &QPushButton::clicked, this,
            &RKPreferenceWindow::zipProfileCopyButtonTouchUpInside);
    connect(ui->zipSegToolItems, &RKSegmentedControl::segmentPressed, this,
            &RKPreferenceWindow::zipSegToolItemsPressed);
    connect(ui->zipProfileTableView, &QTableWidget::cellDoubleClicked, this,
            &RKPreferenceWindow::zipProfileTableViewDoubleTapped);

    connect(ui->unZipProfileAddButton, &QPushButton::clicked, this,
            &RKPreferenceWindow::unZipProfileAddButtonTouchUpInside);
    connect(ui->unZipProfileEditButton, &QPushButton::clicked, this,
            &RKPreferenceWindow::unZipProfileEditButtonTouchUpInside);
    connect(ui->unZipProfileDeleteButton, &QPushButton::clicked, this,
            &RKPreferenceWindow::unZipProfileDeleteButtonTouchUpInside);
    connect(ui->unZipProfileCopyButton, &QPushButton::clicked, this,
            &RKPreferenceWindow::unZipProfileCopyButtonTouchUpInside);
    connect(ui->unZipToolItems, &RKSegmentedControl::segmentPressed, this,
            &RKPreferenceWindow::unZipToolItemsPressed);
    connect(ui->unZipProfileTableView, &QTableWidget::cellDoubleClicked, this,
            &RKPreferenceWindow::unZipProfileTableViewDoubleTapped);
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

RKProfileWindow* RKPreferenceWindow::loadProfileWindow()
{
    if (!m_profileWindow) {
        m_profileWindow = new RKProfileWindow(this);
        m_profileWindow->setDelegate(this);
    }
    return m_profileWindow;
}

RKUnArchiveProfileWindow* RKPreferenceWindow::loadUnArchiveProfileWindow()
{
    if (!m_unArchiveProfileWindow) {
        m_unArchiveProfileWindow = new RKUnArchiveProfileWindow(this);
        m_unArchiveProfileWindow->setDelegate(this);
    }
    return m_unArchiveProfileWindow;
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

template <typename Side>
void RKPreferenceWindow::addProfile()
{
    m_isEdit = false;
    auto profile = std::make_shared<typename Side::Profile>(Side::Profile::DefaultSetting());
    if constexpr (std::is_same_v<Side, ArchiveSide>) {
        loadProfileWindow()->setTargetProfile(profile);
        showSheet(m_profileWindow);
    } else {
        loadUnArchiveProfileWindow()->setTargetProfile(profile);
        showSheet(m_unArchiveProfileWindow);
    }
}

template <typename Side>
void RKPreferenceWindow::editProfile()
{
    m_isEdit = true;
    RKSetting setting = RKSetting::Setting();
    const int row = selectedRow(Side::table(*ui));
    if (row < 0 || row >= Side::list(setting).size()) {
        showError(selectProfileMessage());
        return;
    }
    auto profile = std::make_shared<typename Side::Profile>(Side::list(setting).at(row));
    if constexpr (std::is_same_v<Side, ArchiveSide>) {
        loadProfileWindow()->setTargetProfile(profile);
        showSheet(m_profileWindow);
    } else {
        loadUnArchiveProfileWindow()->setTargetProfile(profile);
        showSheet(m_unArchiveProfileWindow);
    }
}

template <typename Side>
void RKPreferenceWindow::registerProfile(const typename Side::Profile& edited)
{
    RKSetting setting = RKSetting::Setting();
    QList<typename Side::Profile>& list = Side::list(setting);
    if (m_isEdit) {
        for (typename Side::Profile& stored : list) {
            if (stored.profileID == edited.profileID) {
                Side::takeEdited(stored, edited);
                break;
            }
        }
    } else {
        list.append(edited);
    }
    setting.commit();
    reloadTable(Side::table(*ui));
    loadFinderPopUp<Side>(*ui);
}

template <typename Side>
void RKPreferenceWindow::deleteProfile()
{
    RKSetting setting = RKSetting::Setting();
    QList<typename Side::Profile>& list = Side::list(setting);
    if (list.size() == 1) {
        showError(QString::fromUtf16(u"プロファイルは最低１つは必要です"));
        return;
    }
    const int row = selectedRow(Side::table(*ui));
    if (row < 0 || row >= list.size()) {
        showError(selectProfileMessage());
        return;
    }
    const typename Side::Profile removed = list.takeAt(row);
    // The drop window and the file manager go on with a profile that exists.
    if (removed.profileID == Side::activeID(setting)) {
        Side::activeID(setting) = list.first().profileID;
    }
    if (removed.profileID == Side::finderID(setting)) {
        Side::finderID(setting) = list.first().profileID;
    }
    setting.commit();
    reloadTable(Side::table(*ui));
    loadFinderPopUp<Side>(*ui);
}

template <typename Side>
void RKPreferenceWindow::copyProfile()
{
    RKSetting setting = RKSetting::Setting();
    QList<typename Side::Profile>& list = Side::list(setting);
    const int row = selectedRow(Side::table(*ui));
    if (row < 0 || row >= list.size()) {
        showError(selectProfileMessage());
        return;
    }
    list.append(Side::duplicate(list.at(row)));
    setting.commit();
    reloadTable(Side::table(*ui));
    Side::table(*ui)->selectRow(Side::table(*ui)->rowCount() - 1);
    loadFinderPopUp<Side>(*ui);
}

template <typename Side>
void RKPreferenceWindow::moveProfile(int offset)
{
    RKSetting setting = RKSetting::Setting();
    QList<typename Side::Profile>& list = Side::list(setting);
    const int row = selectedRow(Side::table(*ui));
    if (row < 0 || row >= list.size()) {
        showError(selectProfileMessage());
        return;
    }
    const int target = row + offset;
    if (target < 0 || target >= list.size()) {
        return;
    }
    list.move(row, target);
    setting.commit();
    reloadTable(Side::table(*ui));
    Side::table(*ui)->selectRow(target);
    loadFinderPopUp<Side>(*ui);
}

template <typename Side>
void RKPreferenceWindow::segmentPressed(int segment)
{
    switch (segment) {
    case 0:
        addProfile<Side>();
        break;
    case 1:
        deleteProfile<Side>();
        break;
    case 2:
        editProfile<Side>();
        break;
    case 3:
        copyProfile<Side>();
        break;
    case 4:
        moveProfile<Side>(-1);
        break;
    case 5:
        moveProfile<Side>(+1);
        break;
    default:
        break;
    }
}

void RKPreferenceWindow::zipProfileAddButtonTouchUpInside()
{
    addProfile<ArchiveSide>();
}

void RKPreferenceWindow::zipProfileEditButtonTouchUpInside()
{
    editProfile<ArchiveSide>();
}

void RKPreferenceWindow::zipProfileDeleteButtonTouchUpInside()
{
    deleteProfile<ArchiveSide>();
}

void RKPreferenceWindow::zipProfileCopyButtonTouchUpInside()
{
    copyProfile<ArchiveSide>();
}

void RKPreferenceWindow::zipProfileMoveUpButtonTouchUpInside()
{
    moveProfile<ArchiveSide>(-1);
}

void RKPreferenceWindow::zipProfileMoveDownButtonTouchUpInside()
{
    moveProfile<ArchiveSide>(+1);
}

void RKPreferenceWindow::zipSegToolItemsPressed(int segment)
{
    segmentPressed<ArchiveSide>(segment);
}

void RKPreferenceWindow::zipProfileTableViewDoubleTapped()
{
    if (selectedRow(ui->zipProfileTableView) >= 0) {
        editProfile<ArchiveSide>();
    }
}

void RKPreferenceWindow::unZipProfileAddButtonTouchUpInside()
{
    addProfile<UnArchiveSide>();
}

void RKPreferenceWindow::unZipProfileEditButtonTouchUpInside()
{
    editProfile<UnArchiveSide>();
}

void RKPreferenceWindow::unZipProfileDeleteButtonTouchUpInside()
{
    deleteProfile<UnArchiveSide>();
}

void RKPreferenceWindow::unZipProfileCopyButtonTouchUpInside()
{
    copyProfile<UnArchiveSide>();
}

void RKPreferenceWindow::unZipProfileMoveUpButtonTouchUpInside()
{
    moveProfile<UnArchiveSide>(-1);
}

void RKPreferenceWindow::unZipProfileMoveDownButtonTouchUpInside()
{
    moveProfile<UnArchiveSide>(+1);
}

void RKPreferenceWindow::unZipToolItemsPressed(int segment)
{
    segmentPressed<UnArchiveSide>(segment);
}

void RKPreferenceWindow::unZipProfileTableViewDoubleTapped()
{
    if (selectedRow(ui->unZipProfileTableView) >= 0) {
        editProfile<UnArchiveSide>();
    }
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

bool RKPreferenceWindow::shortcutRecorderIsKeyCodeAndFlagsTaken(SRRecorderControl*, qint64, quint64, QString*)
{
    return false;
}

void RKPreferenceWindow::shortcutRecorderKeyComboDidChange(SRRecorderControl*, _KeyCombo) {}

// ---- closing and reset

bool RKPreferenceWindow::closeProcess()
{
    const _KeyCombo password = ui->srPasswordShotcut->keyCombo();
    RKSetting setting = RKSetting::Setting();
    if (password.code != kNoKey) {
        const auto same = [&password](quint64 code, qint64 flags) {
            return qint64(code) != kNoKey && qint64(code) == password.code && flags == qint64(password.flags);
        };
        for (const RKProfileSetting& profile : setting.archiveProfiles) {
            if (same(profile.profileShotcutCode, profile.profileShotcutFlags)) {
                showError(QString::fromUtf16(
                    u"パスワード設定のショートカットが圧縮プロファイルのショートカットと重複しています"));
                return false;
            }
        }
        for (const RKUnArchiveProfileSetting& profile : setting.unArchiveProfiles) {
            if (same(profile.profileShotcutCode, profile.profileShotcutFlags)) {
                showError(QString::fromUtf16(
                    u"パスワード設定のショートカットが解凍プロファイルのショートカットと重複しています"));
                return false;
            }
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
