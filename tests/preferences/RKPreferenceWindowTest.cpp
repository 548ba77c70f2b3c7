#include "settings/RKSetting.h"
#include "preferences/widgets/RKPreferenceWindow.h"
#include "preferences/widgets/RKProfileWindow.h"
#include "preferences/widgets/RKSegmentedControl.h"
#include "preferences/widgets/RKShortCutTableCellView.h"
#include "preferences/widgets/RKUnArchiveProfileWindow.h"
#include "shortcut/widgets/SRRecorderControl.h"

#include "preferences/ProfileTestSupport.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QJsonObject>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <gtest/gtest.h>

namespace {

using namespace ProfileTestSupport;

enum class Side { Archive, UnArchive };

const QString A = QStringLiteral("Mac To Win"), B = QStringLiteral("Mac To Mac"),
              C = QString::fromUtf16(u"Mac To Win（日付：YYYYMMDD）"),
              D = QString::fromUtf16(u"Mac To Win（パスワード手動入力）"),
              E = QString::fromUtf16(u"Mac To Mac（パスワード手動入力)"), W = QStringLiteral("Win To Mac");

QStringList storedNames(Side side)
{
    const RKSetting setting = RKSetting::Setting();
    return side == Side::Archive ? names(setting.archiveProfiles) : names(setting.unArchiveProfiles);
}

// The names of the stored profiles the four identifiers name: archive
// file manager, archive drop window, unarchive file manager, drop window.
QStringList namedProfiles()
{
    const RKSetting s = RKSetting::Setting();
    const auto name = [](const auto& profile) { return profile ? profile->profileName : QString(); };
    return {name(s.archiveProfileWithID(s.finderDragArchiveProfileID)),
            name(s.archiveProfileWithID(s.activeArchiveProfileID)),
            name(s.unArchiveProfileWithID(s.finderDragUnArchiveProfileID)),
            name(s.unArchiveProfileWithID(s.activeUnArchiveProfileID))};
}

// The preferences over a parent window, started as the application starts
// them; the store holds the factory settings at first.
class PreferencesTest
{
protected:
    PreferencesTest()
    {
        RKSetting::RestoreDefault();
        parent.show();
    }

    void start()
    {
        window = std::make_unique<RKPreferenceWindow>(&parent);
        window->startDialog(&parent);
        window->show();
    }

    template <typename T = QAbstractButton>
    T* child(const char* name) const { return ProfileTestSupport::child<T>(window.get(), name); }
    QTableWidget* table(Side side) const
    {
        return child<QTableWidget>(side == Side::Archive ? "zipProfileTableView" : "unZipProfileTableView");
    }
    void pressSegment(Side side, int segment) const
    {
        child<RKSegmentedControl>(side == Side::Archive ? "zipSegToolItems" : "unZipToolItems")->segment(segment)->click();
    }
    QComboBox* finderPopUp(Side side) const
    {
        return child<QComboBox>(side == Side::Archive ? "zipFinderProfilePopUpButton" : "unZipFinderProfilePopUpButton");
    }
    QStringList shownNames(Side side) const
    {
        QStringList names;
        for (int row = 0; row < table(side)->rowCount(); ++row) {
            names.append(table(side)->item(row, 0)->text());
        }
        return names;
    }
    int selectedRow(Side side) const
    {
        const QModelIndexList rows = table(side)->selectionModel()->selectedRows();
        return rows.isEmpty() ? -1 : rows.first().row();
    }

    QString takeAlert() const { return ProfileTestSupport::takeAlert(window.get()); }

    QWidget parent;
    std::unique_ptr<RKPreferenceWindow> window;
};

// ---- the list commands

struct CommandRow {
    const char* name;
    Side side;
    bool onlyOneProfile;
    int selected;
    int segment;        // of the side's segmented control, unless
    const char* button; // a button is named
    const char16_t* refusal;
    QStringList stored; // empty: as before
    int selectedAfter;
};

class RKPreferenceCommand : public PreferencesTest, public ::testing::TestWithParam<CommandRow> {};

// Each command reads the store afresh and stores at once, read back here
// from the store; a refusal is an alert on the window and changes nothing.
TEST_P(RKPreferenceCommand, StoresTheListAtOnce)
{
    const CommandRow& row = GetParam();
    if (row.onlyOneProfile) {
        RKSetting setting = RKSetting::Setting();
        setting.archiveProfiles.resize(1);
        setting.unArchiveProfiles.resize(1);
        setting.commit();
    }
    start();
    const QStringList before = storedNames(row.side);
    if (row.selected >= 0) {
        table(row.side)->selectRow(row.selected);
    }
    if (row.button) {
        child(row.button)->click();
    } else {
        pressSegment(row.side, row.segment);
    }
    EXPECT_EQ(takeAlert(), row.refusal ? QString::fromUtf16(row.refusal) : QString());
    const QStringList expected = row.stored.isEmpty() ? before : row.stored;
    EXPECT_EQ(storedNames(row.side), expected);
    EXPECT_EQ(shownNames(row.side), expected);
    EXPECT_EQ(selectedRow(row.side), row.selectedAfter);
}

constexpr const char16_t* kSelect = u"プロファイルを選択してください";
constexpr const char16_t* kOneNeeded = u"プロファイルは最低１つは必要です";

INSTANTIATE_TEST_SUITE_P(
    Rows, RKPreferenceCommand,
    ::testing::Values(
        // Delete, copy and the moves share one check of the selection.
        CommandRow{"EditWithoutSelection", Side::Archive, false, -1, 2, nullptr, kSelect, {}, -1},
        CommandRow{"DeleteWithoutSelection", Side::Archive, false, -1, 1, nullptr, kSelect, {}, -1},
        CommandRow{"LastProfileIsKeptBeforeTheSelectionIsLookedAt", Side::Archive, true, -1, 1, nullptr, kOneNeeded,
                   {}, -1},
        CommandRow{"LastUnarchiveProfileIsKept", Side::UnArchive, true, 0, 0, "unZipProfileDeleteButton", kOneNeeded,
                   {}, 0},
        CommandRow{"DeleteAsksNothing", Side::Archive, false, 1, 1, nullptr, nullptr, {A, C, D, E}, 1},
        CommandRow{"DeleteButton", Side::Archive, false, 4, 0, "zipProfileDeleteButton", nullptr, {A, B, C, D}, -1},
        CommandRow{"UnarchiveCopyButton", Side::UnArchive, false, 1, 0, "unZipProfileCopyButton", nullptr,
                   {W, B, B + QString::fromUtf16(u" のコピー")}, 2},
        CommandRow{"MoveUp", Side::Archive, false, 2, 4, nullptr, nullptr, {A, C, B, D, E}, 1},
        CommandRow{"MoveDown", Side::Archive, false, 0, 5, nullptr, nullptr, {B, A, C, D, E}, 1},
        CommandRow{"MoveUpOnTheFirstRow", Side::Archive, false, 0, 4, nullptr, nullptr, {}, 0},
        CommandRow{"MoveDownOnTheLastRow", Side::Archive, false, 4, 5, nullptr, nullptr, {}, 4},
        CommandRow{"UnarchiveMoveDown", Side::UnArchive, false, 0, 5, nullptr, nullptr, {B, W}, 1},
        CommandRow{"SegmentSixDoesNothing", Side::Archive, false, 1, 6, nullptr, nullptr, {}, 1}),
    [](const auto& info) { return std::string(info.param.name); });

class RKPreferenceWindowTest : public PreferencesTest, public ::testing::Test {};

// Deleting the profile that serves the file manager and the drop window
// moves both to the profile now first; the pop-up shows it. A file-manager
// choice not yet stored gives way to the stored one after any command.
TEST_F(RKPreferenceWindowTest, DeletingTheFileManagerProfile)
{
    start();
    finderPopUp(Side::Archive)->setCurrentIndex(3);
    for (const Side side : {Side::Archive, Side::UnArchive}) {
        table(side)->selectRow(0);
        pressSegment(side, 1);
    }
    EXPECT_EQ(namedProfiles(), (QStringList{B, B, B, B}));
    EXPECT_EQ(finderPopUp(Side::Archive)->currentText(), B);
    EXPECT_EQ(finderPopUp(Side::Archive)->count(), 4);
    EXPECT_EQ(finderPopUp(Side::UnArchive)->currentText(), B);
    table(Side::Archive)->selectRow(2);
    pressSegment(Side::Archive, 1);
    EXPECT_EQ(namedProfiles(), (QStringList{B, B, B, B})) << "a profile that serves neither goes alone";
}

// The copy has an identifier of its own and no key combination, the
// source's options and patterns, and is selected. The key-combination
// column shows a read-only recorder, hidden without a combination.
TEST_F(RKPreferenceWindowTest, CopyOfMacToWin)
{
    RKSetting setting = RKSetting::Setting();
    RKProfileSetting& source = setting.archiveProfiles[0];
    source.profileShotcutCode = S;
    source.profileShotcutFlags = Shift;
    source.passwordShow = true;
    source.archiveLevel = 9;
    setting.commit();
    start();
    table(Side::Archive)->selectRow(0);
    pressSegment(Side::Archive, 3);

    RKProfileSetting expected = source;
    expected.profileID = RKSetting::Setting().archiveProfiles.value(5).profileID;
    expected.profileName = QString::fromUtf16(u"Mac To Win のコピー");
    expected.profileShotcutCode = NoKey;
    expected.profileShotcutFlags = 0;
    EXPECT_NE(expected.profileID, source.profileID);
    EXPECT_EQ(fields(RKSetting::Setting().archiveProfiles.value(5)), fields(expected));
    EXPECT_EQ(selectedRow(Side::Archive), 5);

    auto* sourceCell = qobject_cast<RKShortCutTableCellView*>(table(Side::Archive)->cellWidget(0, 1));
    auto* copyCell = qobject_cast<RKShortCutTableCellView*>(table(Side::Archive)->cellWidget(5, 1));
    ASSERT_TRUE(sourceCell && copyCell);
    EXPECT_EQ(sourceCell->shortCutControl()->keyCombo(), SRMakeKeyCombo(S, Shift));
    EXPECT_FALSE(sourceCell->shortCutControl()->isHidden());
    EXPECT_FALSE(sourceCell->shortCutControl()->isEnabled());
    EXPECT_TRUE(copyCell->shortCutControl()->isHidden());
}

// ---- the editors: add, edit, cancel

// What an editor accepted is what the store holds afterwards, field by
// field: appended after Add, in place of the record of its identifier after
// Edit (here by double click). Cancel stores nothing. Replacing is shared by
// both lists; the unarchive editor is only checked to reach its own list.
TEST_F(RKPreferenceWindowTest, ArchiveEditorRegistersThroughTheWindow)
{
    // A key of a newer version survives the profile's editing.
    RKSetting newer = RKSetting::Setting();
    const RKKeyedRecord otherKeys{{}, {{"aesStrength", QJsonObject{{"i32", 256}}}}};
    newer.archiveProfiles[1].otherKeys = otherKeys;
    newer.commit();
    start();
    pressSegment(Side::Archive, 0);
    RKProfileWindow* editor = window->profileWindow();
    ASSERT_NE(editor, nullptr);
    EXPECT_TRUE(editor->isVisible());
    EXPECT_EQ(editor->windowModality(), Qt::WindowModal);
    EXPECT_EQ(editor->parentWidget(), window.get());
    type(editor, "txtProfileName", QString::fromUtf16(u"社外秘"));
    click(editor, "rdoPasswordStatic");
    type(editor, "stPassword", QStringLiteral("{YYYY}{MM}{DD}"));
    ProfileTestSupport::child<SRRecorderControl>(editor, "srProfileShortCut")->setKeyCombo(SRMakeKeyCombo(S, 0));
    click(editor, "btnAdd");
    RKSetting stored = RKSetting::Setting();
    ASSERT_EQ(stored.archiveProfiles.size(), 6);
    EXPECT_EQ(fields(stored.archiveProfiles.last()), fields(*editor->targetProfile()));
    EXPECT_EQ(shownNames(Side::Archive).last(), QString::fromUtf16(u"社外秘"));
    EXPECT_EQ(finderPopUp(Side::Archive)->count(), 6);

    table(Side::Archive)->selectRow(1);
    emit table(Side::Archive)->cellDoubleClicked(1, 0);
    ASSERT_TRUE(editor->isVisible());
    EXPECT_EQ(editor->targetProfile()->profileID, stored.archiveProfiles[1].profileID);
    type(editor, "txtProfileName", QStringLiteral("Mac To Mac 2"));
    type(editor, "tfExclusionFolders", QStringLiteral("__MACOSX"));
    click(editor, "btnAdd");
    stored = RKSetting::Setting();
    ASSERT_EQ(stored.archiveProfiles.size(), 6);
    EXPECT_EQ(fields(stored.archiveProfiles[1]), fields(*editor->targetProfile()));
    EXPECT_EQ(shownNames(Side::Archive)[1], QStringLiteral("Mac To Mac 2"));
    EXPECT_EQ(stored.archiveProfiles[1].otherKeys.entries, otherKeys.entries);

    emit table(Side::Archive)->cellDoubleClicked(1, 0);
    type(editor, "txtProfileName", QStringLiteral("gone"));
    click(editor, "btnCansel");
    EXPECT_EQ(fields(RKSetting::Setting().archiveProfiles[1]), fields(stored.archiveProfiles[1]));
}

TEST_F(RKPreferenceWindowTest, UnarchiveEditorRegistersThroughTheWindow)
{
    start();
    child("unZipProfileAddButton")->click();
    RKUnArchiveProfileWindow* editor = window->unArchiveProfileWindow();
    ASSERT_NE(editor, nullptr);
    type(editor, "txtProfileName", QString::fromUtf16(u"社外秘の解凍"));
    click(editor, "rdoSameNameAutoRename");
    ProfileTestSupport::child<SRRecorderControl>(editor, "srProfileShotcut")->setKeyCombo(SRMakeKeyCombo(R, Command));
    click(editor, "btnAdd");
    ASSERT_EQ(RKSetting::Setting().unArchiveProfiles.size(), 3);
    EXPECT_EQ(fields(RKSetting::Setting().unArchiveProfiles.last()), fields(*editor->targetProfile()));
}

// ---- closing

struct ClosingRow {
    const char* name;
    qint64 code; // the password combination in the recorder
    quint64 flags;
    const char16_t* refusal;
};

class RKPreferenceClosing : public PreferencesTest, public ::testing::TestWithParam<ClosingRow> {};

// Stored: "Mac To Win" (archive) on ⇧S, "Win To Mac" (unarchive) on R and
// "Mac To Mac" (unarchive) on ⇧S too. The window closes, by Done or by
// Escape, only when the password combination is no profile's; only then are
// the file-manager choices and the combination stored.
TEST_P(RKPreferenceClosing, RefusedWhileThePasswordKeyIsAProfiles)
{
    const ClosingRow& row = GetParam();
    RKSetting setting = RKSetting::Setting();
    setting.archiveProfiles[0].profileShotcutCode = setting.unArchiveProfiles[1].profileShotcutCode = S;
    setting.archiveProfiles[0].profileShotcutFlags = setting.unArchiveProfiles[1].profileShotcutFlags = Shift;
    setting.unArchiveProfiles[0].profileShotcutCode = R;
    for (const bool byDone : {true, false}) {
        SCOPED_TRACE(byDone ? "Done" : "Escape");
        setting.commit();
        start();
        finderPopUp(Side::Archive)->setCurrentIndex(2);
        finderPopUp(Side::UnArchive)->setCurrentIndex(1);
        child<SRRecorderControl>("srPasswordShotcut")->setKeyCombo(SRMakeKeyCombo(row.code, row.flags));
        if (byDone) {
            child("btnDone")->click();
        } else {
            QTest::keyClick(window.get(), Qt::Key_Escape);
        }
        EXPECT_EQ(takeAlert(), row.refusal ? QString::fromUtf16(row.refusal) : QString());
        EXPECT_EQ(window->isVisible(), row.refusal != nullptr);
        EXPECT_EQ(window->isClosed(), byDone && !row.refusal);
        const RKSetting stored = RKSetting::Setting();
        EXPECT_EQ(stored.passwordShotcutCode, row.refusal ? P : quint64(row.code));
        EXPECT_EQ(stored.passwordShotcutFlags, row.refusal ? 0 : qint64(row.flags));
        EXPECT_EQ(namedProfiles().value(0), row.refusal ? A : C);
        EXPECT_EQ(namedProfiles().value(2), row.refusal ? W : B);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RKPreferenceClosing,
    ::testing::Values(
        ClosingRow{"EqualToAnArchiveProfiles", S, Shift,
                   u"パスワード設定のショートカットが圧縮プロファイルのショートカットと重複しています"},
        ClosingRow{"EqualToAnUnarchiveProfiles", R, 0,
                   u"パスワード設定のショートカットが解凍プロファイルのショートカットと重複しています"},
        ClosingRow{"OnlyTheModifiersDiffer", S, 0, nullptr}, ClosingRow{"Empty", -1, 0, nullptr},
        ClosingRow{"TheFactoryKey", P, 0, nullptr}),
    [](const auto& info) { return std::string(info.param.name); });

// ---- reset, and the password recorder

TEST_F(RKPreferenceWindowTest, ResetAsksThenRestoresTheFactorySettings)
{
    RKSetting setting = RKSetting::Setting();
    setting.archiveProfiles.removeFirst();
    setting.unArchiveProfiles.first().profileName = QStringLiteral("renamed");
    setting.passwordShotcutCode = R;
    setting.passwordShotcutFlags = Command;
    setting.commit();
    start();
    auto* recorder = child<SRRecorderControl>("srPasswordShotcut");
    EXPECT_EQ(recorder->keyCombo(), SRMakeKeyCombo(R, Command));
    EXPECT_TRUE(recorder->allowsKeyOnly());
    EXPECT_FALSE(recorder->escapeKeysRecord());
    EXPECT_EQ(dynamic_cast<RKPreferenceWindow*>(recorder->delegate()), window.get());
    const QString oldID = RKSetting::Setting().archiveProfiles.first().profileID;

    for (const QString answer : {QStringLiteral("Cancel"), QStringLiteral("OK")}) {
        EXPECT_EQ(storedNames(Side::Archive), (QStringList{B, C, D, E}));
        child("btnDefault")->click();
        auto* confirmation = window->findChild<QMessageBox*>(QStringLiteral("resetConfirmation"));
        ASSERT_NE(confirmation, nullptr);
        EXPECT_TRUE(confirmation->windowTitle().isEmpty());
        EXPECT_EQ(confirmation->text(), QString::fromUtf16(u"全ての設定をリセットします。よろしいですか？"));
        EXPECT_EQ(confirmation->windowModality(), Qt::WindowModal);
        ASSERT_EQ(confirmation->buttons().size(), 2);
        EXPECT_EQ(confirmation->defaultButton()->text(), QStringLiteral("Cancel"));
        for (QAbstractButton* button : confirmation->buttons()) {
            if (button->text() == answer) {
                button->click();
                break;
            }
        }
    }
    EXPECT_EQ(storedNames(Side::Archive), (QStringList{A, B, C, D, E}));
    EXPECT_EQ(storedNames(Side::UnArchive), (QStringList{W, B}));
    EXPECT_EQ(shownNames(Side::Archive), (QStringList{A, B, C, D, E}));
    EXPECT_EQ(shownNames(Side::UnArchive), (QStringList{W, B}));
    EXPECT_NE(RKSetting::Setting().archiveProfiles[1].profileID, oldID);
    EXPECT_EQ(recorder->keyCombo(), SRMakeKeyCombo(P, 0));
    EXPECT_EQ(finderPopUp(Side::Archive)->currentText(), A);
    EXPECT_EQ(finderPopUp(Side::UnArchive)->currentText(), W);
}

} // namespace
