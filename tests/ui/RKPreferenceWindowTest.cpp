#include "settings/RKSetting.h"
#include "ui/KSPasswordField.h"
#include "ui/RKPreferenceWindow.h"
#include "ui/RKProfilePopUpButton.h"
#include "ui/RKProfileWindow.h"
#include "ui/RKSegmentedControl.h"
#include "ui/RKShortCutTableCellView.h"
#include "ui/RKUnArchiveProfilePopUpButton.h"
#include "ui/RKUnArchiveProfileWindow.h"
#include "ui/SRRecorderControl.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <gtest/gtest.h>

#include <functional>
#include <ostream>

// Readable texts in the messages of failed expectations.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

namespace {

constexpr quint64 NoKey = ~quint64(0);
constexpr qint64 Shift = 0x20000, Command = 0x100000;
// Stored key codes.
constexpr quint64 S = 1, R = 15, P = 35;

enum class Side { Archive, UnArchive };

QStringList storedNames(Side side)
{
    QStringList names;
    const RKSetting setting = RKSetting::Setting();
    if (side == Side::Archive) {
        for (const RKProfileSetting& profile : setting.archiveProfiles) {
            names.append(profile.profileName);
        }
    } else {
        for (const RKUnArchiveProfileSetting& profile : setting.unArchiveProfiles) {
            names.append(profile.profileName);
        }
    }
    return names;
}

QString archiveNameWithID(const QString& id)
{
    const auto profile = RKSetting::Setting().archiveProfileWithID(id);
    return profile ? profile->profileName : QString();
}

QString unArchiveNameWithID(const QString& id)
{
    const auto profile = RKSetting::Setting().unArchiveProfileWithID(id);
    return profile ? profile->profileName : QString();
}

// The preferences over a parent window, started as the application starts
// them; the store holds the factory settings at first.
class PreferencesTest
{
protected:
    PreferencesTest()
    {
        RKSetting::RestoreDefault();
        parent.setGeometry(100, 100, 500, 500);
        parent.show();
    }

    void start()
    {
        window = std::make_unique<RKPreferenceWindow>(&parent);
        window->startDialog(&parent);
        window->show();
    }

    template <typename T>
    T* child(const QString& name) const
    {
        T* found = window->findChild<T*>(name);
        EXPECT_NE(found, nullptr) << name.toStdString();
        return found;
    }
    QTableWidget* table(Side side) const
    {
        return child<QTableWidget>(side == Side::Archive ? "zipProfileTableView" : "unZipProfileTableView");
    }
    void pressSegment(Side side, int segment) const
    {
        child<RKSegmentedControl>(side == Side::Archive ? "zipSegToolItems" : "unZipToolItems")
            ->segment(segment)
            ->click();
    }
    QComboBox* finderPopUp(Side side) const
    {
        return child<QComboBox>(side == Side::Archive ? "zipFinderProfilePopUpButton"
                                                       : "unZipFinderProfilePopUpButton");
    }
    QStringList shownNames(Side side) const
    {
        QStringList names;
        QTableWidget* list = table(side);
        for (int row = 0; row < list->rowCount(); ++row) {
            names.append(list->item(row, 0)->text());
        }
        return names;
    }
    int selectedRow(Side side) const
    {
        const QModelIndexList rows = table(side)->selectionModel()->selectedRows();
        return rows.isEmpty() ? -1 : rows.first().row();
    }

    // The informative text of the alert shown on the window, dismissed; null
    // when there is none.
    QString takeAlert() const
    {
        auto* alert = window->findChild<QMessageBox*>(QStringLiteral("errorSheet"));
        if (!alert || !alert->isVisible()) {
            return QString();
        }
        EXPECT_EQ(alert->text(), QString::fromUtf16(u"エラー"));
        EXPECT_EQ(alert->windowModality(), Qt::WindowModal);
        const QString text = alert->informativeText();
        alert->buttons().value(0)->click();
        QApplication::processEvents();
        return text;
    }

    QWidget parent;
    std::unique_ptr<RKPreferenceWindow> window;
};

// ---- the list commands

struct CommandRow {
    const char* name;
    Side side;
    // The store: the factory settings, changed by this.
    void (*prepare)(RKSetting&);
    int selected;
    // Segment of the side's segmented control; a button's name when given.
    int segment;
    const char* button;
    const char16_t* refusal;
    QStringList stored;
    int selectedAfter;
};

class RKPreferenceCommand : public PreferencesTest, public ::testing::TestWithParam<CommandRow>
{
};

// Each command reads the store afresh and stores at once; a refusal is an
// alert on the window and changes nothing.
TEST_P(RKPreferenceCommand, StoresTheListAtOnce)
{
    const CommandRow& row = GetParam();
    if (row.prepare) {
        RKSetting setting = RKSetting::Setting();
        row.prepare(setting);
        setting.commit();
    }
    start();
    const QStringList before = storedNames(row.side);
    if (row.selected >= 0) {
        table(row.side)->selectRow(row.selected);
    }
    if (row.button) {
        child<QPushButton>(QString::fromUtf8(row.button))->click();
    } else {
        pressSegment(row.side, row.segment);
    }

    const QString alert = takeAlert();
    EXPECT_EQ(alert, row.refusal ? QString::fromUtf16(row.refusal) : QString());
    const QStringList expected = row.stored.isEmpty() ? before : row.stored;
    EXPECT_EQ(storedNames(row.side), expected);
    EXPECT_EQ(shownNames(row.side), expected);
    EXPECT_EQ(selectedRow(row.side), row.selectedAfter);
}

constexpr const char16_t* kSelect = u"プロファイルを選択してください";
const QString A = QStringLiteral("Mac To Win"), B = QStringLiteral("Mac To Mac"),
              C = QString::fromUtf16(u"Mac To Win（日付：YYYYMMDD）"),
              D = QString::fromUtf16(u"Mac To Win（パスワード手動入力）"),
              E = QString::fromUtf16(u"Mac To Mac（パスワード手動入力)"), W = QStringLiteral("Win To Mac");

void onlyOneProfile(RKSetting& setting)
{
    setting.archiveProfiles.resize(1);
    setting.unArchiveProfiles.resize(1);
}

const CommandRow kCommandRows[] = {
    {"EditWithoutSelection", Side::Archive, nullptr, -1, 2, nullptr, kSelect, {}, -1},
    {"EditButtonWithoutSelection", Side::Archive, nullptr, -1, 0, "zipProfileEditButton", kSelect, {}, -1},
    {"DeleteWithoutSelection", Side::Archive, nullptr, -1, 1, nullptr, kSelect, {}, -1},
    {"CopyWithoutSelection", Side::Archive, nullptr, -1, 3, nullptr, kSelect, {}, -1},
    {"MoveUpWithoutSelection", Side::Archive, nullptr, -1, 4, nullptr, kSelect, {}, -1},
    {"MoveDownWithoutSelection", Side::UnArchive, nullptr, -1, 5, nullptr, kSelect, {}, -1},
    {"LastProfileIsKeptBeforeTheSelectionIsLookedAt", Side::Archive, onlyOneProfile, -1, 1, nullptr,
     u"プロファイルは最低１つは必要です", {}, -1},
    {"LastUnarchiveProfileIsKept", Side::UnArchive, onlyOneProfile, 0, 0, "unZipProfileDeleteButton",
     u"プロファイルは最低１つは必要です", {}, 0},
    {"DeleteAsksNothing", Side::Archive, nullptr, 1, 1, nullptr, nullptr, {A, C, D, E}, 1},
    {"DeleteButton", Side::Archive, nullptr, 4, 0, "zipProfileDeleteButton", nullptr, {A, B, C, D}, -1},
    {"CopyButton", Side::UnArchive, nullptr, 1, 0, "unZipProfileCopyButton", nullptr,
     {W, B, B + QString::fromUtf16(u" のコピー")}, 2},
    {"MoveUp", Side::Archive, nullptr, 2, 4, nullptr, nullptr, {A, C, B, D, E}, 1},
    {"MoveDown", Side::Archive, nullptr, 0, 5, nullptr, nullptr, {B, A, C, D, E}, 1},
    {"MoveUpOnTheFirstRow", Side::Archive, nullptr, 0, 4, nullptr, nullptr, {}, 0},
    {"MoveDownOnTheLastRow", Side::Archive, nullptr, 4, 5, nullptr, nullptr, {}, 4},
    {"UnarchiveMoveDown", Side::UnArchive, nullptr, 0, 5, nullptr, nullptr, {B, W}, 1},
    {"SegmentSixDoesNothing", Side::Archive, nullptr, 1, 6, nullptr, nullptr, {}, 1},
};

INSTANTIATE_TEST_SUITE_P(Rows, RKPreferenceCommand, ::testing::ValuesIn(kCommandRows),
                         [](const auto& info) { return std::string(info.param.name); });

class RKPreferenceWindowTest : public PreferencesTest, public ::testing::Test
{
};

// Deleting the profile that serves the file manager and the drop window
// moves both to the profile now first; the pop-up shows it.
TEST_F(RKPreferenceWindowTest, DeletingTheFileManagerProfile)
{
    start();
    for (const Side side : {Side::Archive, Side::UnArchive}) {
        table(side)->selectRow(0);
        pressSegment(side, 1);
    }
    const RKSetting setting = RKSetting::Setting();
    EXPECT_EQ(archiveNameWithID(setting.finderDragArchiveProfileID), B);
    EXPECT_EQ(archiveNameWithID(setting.activeArchiveProfileID), B);
    EXPECT_EQ(unArchiveNameWithID(setting.finderDragUnArchiveProfileID), B);
    EXPECT_EQ(unArchiveNameWithID(setting.activeUnArchiveProfileID), B);
    EXPECT_EQ(finderPopUp(Side::Archive)->currentText(), B);
    EXPECT_EQ(finderPopUp(Side::Archive)->count(), 4);
    EXPECT_EQ(finderPopUp(Side::UnArchive)->currentText(), B);

    // A profile that serves neither goes alone.
    table(Side::Archive)->selectRow(2);
    pressSegment(Side::Archive, 1);
    EXPECT_EQ(archiveNameWithID(RKSetting::Setting().finderDragArchiveProfileID), B);
}

// The copy has an identifier of its own and no key combination, the
// source's options and patterns (in lists of its own), and is selected.
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

    const RKSetting stored = RKSetting::Setting();
    ASSERT_EQ(stored.archiveProfiles.size(), 6);
    const RKProfileSetting& copy = stored.archiveProfiles.last();
    EXPECT_EQ(copy.profileName, QString::fromUtf16(u"Mac To Win のコピー"));
    EXPECT_NE(copy.profileID, source.profileID);
    EXPECT_EQ(copy.destEncoding, 8u);
    EXPECT_EQ(copy.archiveLevel, 9);
    EXPECT_TRUE(copy.passwordShow);
    EXPECT_EQ(copy.exclusionFiles, (QStringList{".DS_Store", "._*"}));
    EXPECT_EQ(copy.profileShotcutCode, NoKey);
    EXPECT_EQ(copy.profileShotcutFlags, 0);
    EXPECT_EQ(selectedRow(Side::Archive), 5);
    // The key-combination column: hidden without a combination, read-only with one.
    auto* sourceCell = qobject_cast<RKShortCutTableCellView*>(table(Side::Archive)->cellWidget(0, 1));
    auto* copyCell = qobject_cast<RKShortCutTableCellView*>(table(Side::Archive)->cellWidget(5, 1));
    ASSERT_TRUE(sourceCell && copyCell);
    EXPECT_FALSE(sourceCell->shortCutControl()->isHidden());
    EXPECT_FALSE(sourceCell->shortCutControl()->isEnabled());
    EXPECT_EQ(sourceCell->shortCutControl()->keyCombo(), SRMakeKeyCombo(S, Shift));
    EXPECT_TRUE(copyCell->shortCutControl()->isHidden());
    EXPECT_EQ(table(Side::Archive)->item(5, 0)->data(Qt::UserRole).toString(), QStringLiteral("TextViewCell"));
    EXPECT_EQ(table(Side::Archive)->item(5, 1)->data(Qt::UserRole).toString(), QStringLiteral("ShortCutViewCell"));
    EXPECT_EQ(table(Side::Archive)->horizontalHeaderItem(1)->data(Qt::UserRole).toString(),
              QStringLiteral("ZipShotCut"));
    EXPECT_EQ(table(Side::UnArchive)->horizontalHeaderItem(0)->data(Qt::UserRole).toString(),
              QStringLiteral("UnZipProfileName"));
}

// ---- the editors: add, edit, cancel

// What an editor accepted is what the store holds afterwards, field by field:
// appended after Add, in place of the record with its identifier after Edit.
TEST_F(RKPreferenceWindowTest, ArchiveEditorRegistersThroughTheWindow)
{
    start();
    pressSegment(Side::Archive, 0);
    RKProfileWindow* editor = window->profileWindow();
    ASSERT_NE(editor, nullptr);
    EXPECT_TRUE(editor->isVisible());
    EXPECT_EQ(editor->windowModality(), Qt::WindowModal);
    EXPECT_EQ(editor->parentWidget(), window.get());
    EXPECT_EQ(editor->delegate(), window.get());
    EXPECT_FALSE(window->isEdit());
    editor->findChild<QLineEdit*>(QStringLiteral("txtProfileName"))->setText(QString::fromUtf16(u"社外秘"));
    editor->findChild<QAbstractButton*>(QStringLiteral("rdoPasswordStatic"))->click();
    editor->findChild<QLineEdit*>(QStringLiteral("stPassword"))->setText(QStringLiteral("{YYYY}{MM}{DD}"));
    editor->findChild<QAbstractButton*>(QStringLiteral("rdoSaveSameSource"))->click();
    editor->findChild<SRRecorderControl*>(QStringLiteral("srProfileShortCut"))->setKeyCombo(SRMakeKeyCombo(S, 0));
    editor->findChild<QPushButton*>(QStringLiteral("btnAdd"))->click();

    const auto fields = [](const RKProfileSetting& p) {
        return std::make_tuple(p.profileID, p.profileName, p.destEncoding, p.archiveMode, p.archiveLevel, p.password,
                               p.passMode, p.passwordShow, p.sameFileName, p.exclusionFiles, p.exclusionFolders,
                               p.saveLocation, p.saveStaticFolderPath, p.profileShotcutCode, p.profileShotcutFlags);
    };
    RKSetting stored = RKSetting::Setting();
    ASSERT_EQ(stored.archiveProfiles.size(), 6);
    EXPECT_EQ(fields(stored.archiveProfiles.last()), fields(*editor->targetProfile()));
    EXPECT_EQ(shownNames(Side::Archive).last(), QString::fromUtf16(u"社外秘"));
    EXPECT_EQ(finderPopUp(Side::Archive)->count(), 6);

    // Edit (by double click) the second profile; the record keeps its place.
    table(Side::Archive)->selectRow(1);
    emit table(Side::Archive)->cellDoubleClicked(1, 0);
    EXPECT_TRUE(window->isEdit());
    ASSERT_TRUE(editor->isVisible());
    EXPECT_EQ(editor->targetProfile()->profileID, stored.archiveProfiles[1].profileID);
    editor->findChild<QLineEdit*>(QStringLiteral("txtProfileName"))->setText(QStringLiteral("Mac To Mac 2"));
    editor->findChild<QLineEdit*>(QStringLiteral("tfExclusionFolders"))->setText(QStringLiteral("__MACOSX"));
    editor->findChild<QPushButton*>(QStringLiteral("btnAdd"))->click();
    stored = RKSetting::Setting();
    ASSERT_EQ(stored.archiveProfiles.size(), 6);
    EXPECT_EQ(fields(stored.archiveProfiles[1]), fields(*editor->targetProfile()));
    EXPECT_EQ(shownNames(Side::Archive)[1], QStringLiteral("Mac To Mac 2"));

    // A cancelled edit stores nothing, also not the folder chosen in it.
    emit table(Side::Archive)->cellDoubleClicked(1, 0);
    editor->findChild<QLineEdit*>(QStringLiteral("txtProfileName"))->setText(QStringLiteral("gone"));
    editor->targetProfile()->saveStaticFolderPath = QStringLiteral("/srv/chosen");
    editor->findChild<QPushButton*>(QStringLiteral("btnCansel"))->click();
    EXPECT_EQ(fields(RKSetting::Setting().archiveProfiles[1]), fields(stored.archiveProfiles[1]));
}

TEST_F(RKPreferenceWindowTest, UnarchiveEditorRegistersThroughTheWindow)
{
    start();
    child<QPushButton>("unZipProfileAddButton")->click();
    RKUnArchiveProfileWindow* editor = window->unArchiveProfileWindow();
    ASSERT_NE(editor, nullptr);
    EXPECT_TRUE(editor->isVisible());
    editor->findChild<QLineEdit*>(QStringLiteral("txtProfileName"))->setText(QString::fromUtf16(u"社外秘の解凍"));
    editor->findChild<QAbstractButton*>(QStringLiteral("rdoSameNameAutoRename"))->click();
    editor->findChild<SRRecorderControl*>(QStringLiteral("srProfileShotcut"))
        ->setKeyCombo(SRMakeKeyCombo(R, Command));
    editor->findChild<QPushButton*>(QStringLiteral("btnAdd"))->click();

    const auto fields = [](const RKUnArchiveProfileSetting& p) {
        return std::make_tuple(p.profileID, p.profileName, p.sourceEncoding, p.unArchiveMode, p.sameFileName,
                               p.saveLocation, p.saveStaticFolderPath, p.exclusionFiles, p.exclusionFolders,
                               p.profileShotcutCode, p.profileShotcutFlags);
    };
    RKSetting stored = RKSetting::Setting();
    ASSERT_EQ(stored.unArchiveProfiles.size(), 3);
    EXPECT_EQ(fields(stored.unArchiveProfiles.last()), fields(*editor->targetProfile()));

    table(Side::UnArchive)->selectRow(0);
    child<QPushButton>("unZipProfileEditButton")->click();
    editor->findChild<QLineEdit*>(QStringLiteral("tfExclusionFiles"))->setText(QStringLiteral("Thumbs.db"));
    editor->findChild<QPushButton*>(QStringLiteral("btnAdd"))->click();
    stored = RKSetting::Setting();
    EXPECT_EQ(fields(stored.unArchiveProfiles[0]), fields(*editor->targetProfile()));
    EXPECT_EQ(stored.unArchiveProfiles[0].exclusionFiles, QStringList{"Thumbs.db"});
}

// ---- closing

struct ClosingRow {
    const char* name;
    // The password combination in the recorder.
    qint64 code;
    quint64 flags;
    const char16_t* refusal;
};

class RKPreferenceClosing : public PreferencesTest, public ::testing::TestWithParam<ClosingRow>
{
};

// Stored: the archive profile "Mac To Win" on ⇧S, the unarchive profile
// "Win To Mac" on R, "Mac To Mac" (unarchive) on ⇧S as well. The window
// closes, by Done or by Escape, only when the password combination is no
// profile's; then the file-manager choices and the combination are stored.
TEST_P(RKPreferenceClosing, RefusedWhileThePasswordKeyIsAProfiles)
{
    const ClosingRow& row = GetParam();
    RKSetting setting = RKSetting::Setting();
    setting.archiveProfiles[0].profileShotcutCode = S;
    setting.archiveProfiles[0].profileShotcutFlags = Shift;
    setting.unArchiveProfiles[0].profileShotcutCode = R;
    setting.unArchiveProfiles[1].profileShotcutCode = S;
    setting.unArchiveProfiles[1].profileShotcutFlags = Shift;
    for (const bool byDone : {true, false}) {
        SCOPED_TRACE(byDone ? "Done" : "Escape");
        setting.commit();
        start();
        finderPopUp(Side::Archive)->setCurrentIndex(2);
        finderPopUp(Side::UnArchive)->setCurrentIndex(1);
        child<SRRecorderControl>("srPasswordShotcut")->setKeyCombo(SRMakeKeyCombo(row.code, row.flags));
        if (byDone) {
            child<QPushButton>("btnDone")->click();
        } else {
            QTest::keyClick(window.get(), Qt::Key_Escape);
        }
        const RKSetting stored = RKSetting::Setting();
        if (row.refusal) {
            EXPECT_EQ(takeAlert(), QString::fromUtf16(row.refusal));
            EXPECT_TRUE(window->isVisible());
            EXPECT_FALSE(window->isClosed());
            EXPECT_EQ(stored.passwordShotcutCode, P);
            EXPECT_EQ(archiveNameWithID(stored.finderDragArchiveProfileID), A);
        } else {
            EXPECT_TRUE(takeAlert().isNull());
            EXPECT_FALSE(window->isVisible());
            EXPECT_EQ(window->isClosed(), byDone);
            EXPECT_EQ(stored.passwordShotcutCode, quint64(row.code));
            EXPECT_EQ(stored.passwordShotcutFlags, qint64(row.flags));
            EXPECT_EQ(archiveNameWithID(stored.finderDragArchiveProfileID), C);
            EXPECT_EQ(unArchiveNameWithID(stored.finderDragUnArchiveProfileID), B);
        }
    }
}

const ClosingRow kClosingRows[] = {
    {"EqualToAnArchiveProfiles", S, Shift, u"パスワード設定のショートカットが圧縮プロファイルのショートカットと重複しています"},
    {"EqualToAnUnarchiveProfiles", R, 0, u"パスワード設定のショートカットが解凍プロファイルのショートカットと重複しています"},
    {"OnlyTheModifiersDiffer", S, 0, nullptr},
    {"Empty", -1, 0, nullptr},
    {"TheFactoryKey", P, 0, nullptr},
};

INSTANTIATE_TEST_SUITE_P(Rows, RKPreferenceClosing, ::testing::ValuesIn(kClosingRows),
                         [](const auto& info) { return std::string(info.param.name); });

// A file-manager choice not yet stored gives way to the stored one after
// any list command.
TEST_F(RKPreferenceWindowTest, ListCommandsShowTheStoredFileManagerProfile)
{
    start();
    finderPopUp(Side::Archive)->setCurrentIndex(3);
    table(Side::Archive)->selectRow(4);
    pressSegment(Side::Archive, 4);
    EXPECT_EQ(finderPopUp(Side::Archive)->currentText(), A);
}

// ---- reset

TEST_F(RKPreferenceWindowTest, ResetAsksThenRestoresTheFactorySettings)
{
    RKSetting setting = RKSetting::Setting();
    setting.archiveProfiles.removeFirst();
    setting.unArchiveProfiles.first().profileName = QStringLiteral("renamed");
    setting.passwordShotcutCode = NoKey;
    setting.commit();
    start();
    const QString oldID = RKSetting::Setting().archiveProfiles.first().profileID;

    for (const char* answer : {"Cancel", "OK"}) {
        child<QPushButton>("btnDefault")->click();
        auto* confirmation = window->findChild<QMessageBox*>(QStringLiteral("resetConfirmation"));
        ASSERT_NE(confirmation, nullptr);
        EXPECT_TRUE(confirmation->windowTitle().isEmpty());
        EXPECT_EQ(confirmation->text(), QString::fromUtf16(u"全ての設定をリセットします。よろしいですか？"));
        EXPECT_EQ(confirmation->windowModality(), Qt::WindowModal);
        ASSERT_EQ(confirmation->buttons().size(), 2);
        EXPECT_EQ(confirmation->defaultButton()->text(), QStringLiteral("Cancel"));
        for (QAbstractButton* button : confirmation->buttons()) {
            if (button->text() == QString::fromUtf8(answer)) {
                button->click();
            }
        }
        QApplication::processEvents();
        if (QString::fromUtf8(answer) == QLatin1String("Cancel")) {
            EXPECT_EQ(storedNames(Side::Archive), (QStringList{B, C, D, E}));
        }
    }
    EXPECT_EQ(storedNames(Side::Archive), (QStringList{A, B, C, D, E}));
    EXPECT_EQ(storedNames(Side::UnArchive), (QStringList{W, B}));
    EXPECT_EQ(shownNames(Side::Archive), (QStringList{A, B, C, D, E}));
    EXPECT_EQ(shownNames(Side::UnArchive), (QStringList{W, B}));
    EXPECT_NE(RKSetting::Setting().archiveProfiles[1].profileID, oldID);
    EXPECT_EQ(child<SRRecorderControl>("srPasswordShotcut")->keyCombo(), SRMakeKeyCombo(P, 0));
    EXPECT_EQ(finderPopUp(Side::Archive)->currentText(), A);
    EXPECT_EQ(finderPopUp(Side::UnArchive)->currentText(), W);
    EXPECT_EQ(window->modalParentWindow(), &parent);
}

// The password recorder: keys alone, Escape not recorded, nothing refused
// while recording, the stored combination shown.
TEST_F(RKPreferenceWindowTest, PasswordRecorderAsStored)
{
    RKSetting setting = RKSetting::Setting();
    setting.passwordShotcutCode = R;
    setting.passwordShotcutFlags = Command;
    setting.commit();
    start();
    auto* recorder = child<SRRecorderControl>("srPasswordShotcut");
    EXPECT_EQ(recorder->keyCombo(), SRMakeKeyCombo(R, Command));
    EXPECT_TRUE(recorder->allowsKeyOnly());
    EXPECT_FALSE(recorder->escapeKeysRecord());
    EXPECT_EQ(recorder->delegate(), window.get());
    QString reason;
    EXPECT_FALSE(window->shortcutRecorderIsKeyCodeAndFlagsTaken(recorder, S, 0, &reason));
}

} // namespace
