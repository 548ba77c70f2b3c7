#include "platform/RKPanelService.h"
#include "settings/RKSetting.h"
#include "ui/KSPasswordField.h"
#include "ui/RKArchiveLevelPopUpButton.h"
#include "ui/RKArchiveModePopUpButton.h"
#include "ui/RKEncodingPopUpButton.h"
#include "ui/RKExclusionFoldersTokenField.h"
#include "ui/RKProfileWindow.h"
#include "ui/RKProfileWindowDelegate.h"
#include "ui/RKRadioMatrix.h"
#include "ui/RKUnArchiveModePopUpButton.h"
#include "ui/RKUnArchiveProfileWindow.h"
#include "ui/RKUnArchiveProfileWindowDelegate.h"
#include "ui/SRRecorderControl.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QMimeData>
#include <gtest/gtest.h>

#include <map>

namespace {

constexpr quint64 NoKey = ~quint64(0);
constexpr qint64 Shift = 0x20000, Command = 0x100000;
// Stored key codes.
constexpr quint64 S = 1, R = 15, K = 40, P = 35, F5 = 96;

enum class Kind { Archive, UnArchive };

// What each editor told its delegate, in order, and whether the editor was
// still shown when it did.
class Notices : public RKProfileWindowDelegate, public RKUnArchiveProfileWindowDelegate
{
public:
    void profileWindowRegister(RKProfileWindow* window, const std::shared_ptr<RKProfileSetting>& profile) override
    {
        heard.append(QStringLiteral("register"));
        shownAtNotice = window->isVisible();
        archive = profile;
    }
    void profileWindowCansel(RKProfileWindow* window) override
    {
        heard.append(QStringLiteral("cancel"));
        shownAtNotice = window->isVisible();
    }
    void unArchiveProfileWindowRegister(RKUnArchiveProfileWindow* window,
                                        const std::shared_ptr<RKUnArchiveProfileSetting>& profile) override
    {
        heard.append(QStringLiteral("register"));
        shownAtNotice = window->isVisible();
        unArchive = profile;
    }
    void unArchiveProfileWindowCansel(RKUnArchiveProfileWindow* window) override
    {
        heard.append(QStringLiteral("cancel"));
        shownAtNotice = window->isVisible();
    }

    QStringList heard;
    bool shownAtNotice = false;
    std::shared_ptr<RKProfileSetting> archive;
    std::shared_ptr<RKUnArchiveProfileSetting> unArchive;
};

// Folder choosers that answer from a script and remember what they were asked.
class ScriptedPanels : public RKPanelService
{
public:
    explicit ScriptedPanels(QString answer) : m_answer(std::move(answer)) { RKPanelService::setCurrent(this); }
    ~ScriptedPanels() override { RKPanelService::setCurrent(nullptr); }
    QString showModalSavePanel(QObject*, const QString&, const QString&, const QString&, const QStringList&) override
    {
        return QString();
    }
    QString showModalOpenPanel(QObject* parent, const QString& title, const QString& message, const QString& url,
                               int selectMode) override
    {
        asked = QStringList{title, message, url, QString::number(selectMode)};
        askedOver = parent;
        return m_answer;
    }

    QStringList asked;
    QObject* askedOver = nullptr;

private:
    QString m_answer;
};

RKProfileSetting archiveProfile(const char* id, quint64 code, qint64 flags)
{
    RKProfileSetting profile = RKProfileSetting::DefaultSetting();
    profile.profileID = QString::fromUtf8(id);
    profile.profileName = profile.profileID;
    profile.profileShotcutCode = code;
    profile.profileShotcutFlags = flags;
    return profile;
}

RKUnArchiveProfileSetting unArchiveProfile(const char* id, quint64 code, qint64 flags)
{
    RKUnArchiveProfileSetting profile = RKUnArchiveProfileSetting::DefaultSetting();
    profile.profileID = QString::fromUtf8(id);
    profile.profileName = profile.profileID;
    profile.profileShotcutCode = code;
    profile.profileShotcutFlags = flags;
    return profile;
}

// One editor of either kind, open on a profile, driven by its outlets.
class Editor
{
public:
    Editor(Kind kind, Notices& notices) : kind(kind)
    {
        if (kind == Kind::Archive) {
            auto* window = new RKProfileWindow;
            window->setDelegate(&notices);
            dialog.reset(window);
        } else {
            auto* window = new RKUnArchiveProfileWindow;
            window->setDelegate(&notices);
            dialog.reset(window);
        }
    }

    // Opens the editor on the stored profile with this identifier.
    void open(const QString& id)
    {
        const RKSetting setting = RKSetting::Setting();
        if (kind == Kind::Archive) {
            archive = std::make_shared<RKProfileSetting>(*setting.archiveProfileWithID(id));
            static_cast<RKProfileWindow*>(dialog.get())->setTargetProfile(archive);
        } else {
            unArchive = std::make_shared<RKUnArchiveProfileSetting>(*setting.unArchiveProfileWithID(id));
            static_cast<RKUnArchiveProfileWindow*>(dialog.get())->setTargetProfile(unArchive);
        }
        dialog->show();
    }

    template <typename T>
    T* child(const char* name) const
    {
        T* found = dialog->findChild<T*>(QString::fromUtf8(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    SRRecorderControl* recorder() const
    {
        return child<SRRecorderControl>(kind == Kind::Archive ? "srProfileShortCut" : "srProfileShotcut");
    }
    QPushButton* cancelButton() const
    {
        return child<QPushButton>(kind == Kind::Archive ? "btnCansel" : "btnCancel");
    }
    QLineEdit* name() const { return child<QLineEdit>("txtProfileName"); }
    QString profileName() const { return archive ? archive->profileName : unArchive->profileName; }
    QString staticFolder() const { return archive ? archive->saveStaticFolderPath : unArchive->saveStaticFolderPath; }

    // The informative text of the alert on the editor, which is dismissed;
    // null when there is none.
    QString takeAlert() const
    {
        auto* alert = dialog->findChild<QMessageBox*>(QStringLiteral("errorSheet"));
        if (!alert || !alert->isVisible()) {
            return QString();
        }
        EXPECT_EQ(alert->text(), QString::fromUtf16(u"エラー"));
        EXPECT_EQ(alert->windowModality(), Qt::WindowModal);
        EXPECT_EQ(alert->buttons().size(), 1);
        EXPECT_EQ(alert->buttons().value(0)->text(), QStringLiteral("OK"));
        const QString text = alert->informativeText();
        alert->buttons().value(0)->click();
        QApplication::processEvents();
        return text;
    }

    Kind kind;
    std::unique_ptr<QDialog> dialog;
    std::shared_ptr<RKProfileSetting> archive;
    std::shared_ptr<RKUnArchiveProfileSetting> unArchive;
};

// ---- the checks on accepting

// The combination entered, named by whose it is in the store below.
enum class Entered { None, Own, OtherOfSameKind, SameKeyOtherFlags, OtherKind, Password };

struct CheckRow {
    const char* name;
    Kind kind;
    const char* typedName;
    Entered entered;
    bool passwordKeySet;
    // The refusal; nullptr: accepted.
    const char16_t* refusal;
};

class RKProfileEditorCheck : public ::testing::TestWithParam<CheckRow>
{
};

// Stored: archive profiles "1l" (⌘K, the one edited), "2l" (S), "3l" (none);
// unarchive profiles "11l" (F5, edited), "12l" (⇧R), "13l" (none); the
// password combination P, or none.
TEST_P(RKProfileEditorCheck, AcceptingChecksInOrder)
{
    const CheckRow& row = GetParam();
    RKSetting setting;
    setting.archiveProfiles = {archiveProfile("1l", K, Command), archiveProfile("2l", S, 0),
                               archiveProfile("3l", NoKey, 0)};
    setting.unArchiveProfiles = {unArchiveProfile("11l", F5, 0), unArchiveProfile("12l", R, Shift),
                                 unArchiveProfile("13l", NoKey, 0)};
    setting.passwordShotcutCode = row.passwordKeySet ? P : NoKey;
    setting.passwordShotcutFlags = 0;
    setting.commit();

    const bool archive = row.kind == Kind::Archive;
    const std::map<Entered, _KeyCombo> combos = {
        {Entered::None, SRMakeKeyCombo(-1, 0)},
        {Entered::Own, archive ? SRMakeKeyCombo(K, Command) : SRMakeKeyCombo(F5, 0)},
        {Entered::OtherOfSameKind, archive ? SRMakeKeyCombo(S, 0) : SRMakeKeyCombo(R, Shift)},
        {Entered::SameKeyOtherFlags, archive ? SRMakeKeyCombo(S, Shift) : SRMakeKeyCombo(R, 0)},
        {Entered::OtherKind, archive ? SRMakeKeyCombo(R, Shift) : SRMakeKeyCombo(S, 0)},
        {Entered::Password, SRMakeKeyCombo(P, 0)},
    };

    Notices notices;
    Editor editor(row.kind, notices);
    editor.open(QString::fromUtf8(archive ? "1l" : "11l"));
    const QString nameBefore = editor.profileName();
    editor.name()->setText(QString::fromUtf8(row.typedName));
    editor.recorder()->setKeyCombo(combos.at(row.entered));
    editor.child<QPushButton>("btnAdd")->click();

    if (row.refusal) {
        EXPECT_EQ(editor.takeAlert(), QString::fromUtf16(row.refusal));
        EXPECT_TRUE(editor.dialog->isVisible());
        EXPECT_TRUE(notices.heard.isEmpty());
        EXPECT_EQ(editor.profileName(), nameBefore);
    } else {
        EXPECT_TRUE(editor.takeAlert().isNull());
        EXPECT_FALSE(editor.dialog->isVisible());
        EXPECT_EQ(notices.heard, QStringList{QStringLiteral("register")});
        EXPECT_EQ(editor.profileName(), QString::fromUtf8(row.typedName));
    }
}

constexpr const char16_t* kNameRequired = u"プロファイル名は必須です";
constexpr const char16_t* kDuplicate = u"ショートカット設定が他のプロファイルと重複しています";
constexpr const char16_t* kPasswordKey = u"ショートカット設定が全体設定のパスワード設定と重複しています";

const CheckRow kCheckRows[] = {
    {"EmptyName", Kind::Archive, "", Entered::None, true, kNameRequired},
    {"EmptyNameIsToldBeforeADuplicate", Kind::Archive, "", Entered::OtherOfSameKind, true, kNameRequired},
    {"BlankNamePasses", Kind::Archive, "  ", Entered::None, true, nullptr},
    {"DuplicateOfAnotherArchiveProfile", Kind::Archive, "x", Entered::OtherOfSameKind, true, kDuplicate},
    {"OwnCombination", Kind::Archive, "x", Entered::Own, true, nullptr},
    {"SameKeyOtherModifiers", Kind::Archive, "x", Entered::SameKeyOtherFlags, true, nullptr},
    {"CombinationOfAnUnarchiveProfile", Kind::Archive, "x", Entered::OtherKind, true, nullptr},
    {"PasswordCombination", Kind::Archive, "x", Entered::Password, true, kPasswordKey},
    // Were the checks made, no key and no password key would be equal.
    {"NoCombinationSkipsEveryCheck", Kind::Archive, "x", Entered::None, false, nullptr},
    {"UnarchiveEmptyName", Kind::UnArchive, "", Entered::OtherOfSameKind, true, kNameRequired},
    {"UnarchiveBlankNamePasses", Kind::UnArchive, " ", Entered::None, true, nullptr},
    {"UnarchiveDuplicateOfAnotherUnarchiveProfile", Kind::UnArchive, "x", Entered::OtherOfSameKind, true, kDuplicate},
    {"UnarchiveOwnCombination", Kind::UnArchive, "x", Entered::Own, true, nullptr},
    {"UnarchiveSameKeyOtherModifiers", Kind::UnArchive, "x", Entered::SameKeyOtherFlags, true, nullptr},
    {"UnarchiveCombinationOfAnArchiveProfile", Kind::UnArchive, "x", Entered::OtherKind, true, nullptr},
    {"UnarchivePasswordCombination", Kind::UnArchive, "x", Entered::Password, true, kPasswordKey},
    {"UnarchiveNoCombinationSkipsEveryCheck", Kind::UnArchive, "x", Entered::None, false, nullptr},
};

INSTANTIATE_TEST_SUITE_P(Rows, RKProfileEditorCheck, ::testing::ValuesIn(kCheckRows),
                         [](const auto& info) { return std::string(info.param.name); });

// The checks read the store when accepting, not when the editor opened.
TEST(RKProfileEditorCheckStore, ReadWhenAccepting)
{
    RKSetting setting;
    setting.archiveProfiles = {archiveProfile("1l", NoKey, 0), archiveProfile("2l", NoKey, 0)};
    setting.commit();
    Notices notices;
    Editor editor(Kind::Archive, notices);
    editor.open(QStringLiteral("1l"));
    editor.recorder()->setKeyCombo(SRMakeKeyCombo(S, 0));
    setting.archiveProfiles[1].profileShotcutCode = S;
    setting.commit();
    editor.child<QPushButton>("btnAdd")->click();
    EXPECT_EQ(editor.takeAlert(), QString::fromUtf16(kDuplicate));
}

// ---- loading and writing

// A profile of the factory settings with every field set off its default.
RKProfileSetting filledArchiveProfile()
{
    RKProfileSetting profile = RKSetting().archiveProfiles.at(2); // "Mac To Win（日付：YYYYMMDD）"
    profile.archiveMode = 1;
    profile.archiveLevel = 9;
    profile.passwordShow = true;
    profile.sameFileName = 1;
    profile.exclusionFolders = {QStringLiteral("__MACOSX"), QStringLiteral(".git")};
    profile.saveLocation = 2;
    profile.saveStaticFolderPath = QStringLiteral("/srv/出力");
    profile.profileShotcutCode = F5;
    profile.profileShotcutFlags = Shift;
    return profile;
}

// The controls show the profile; the recorder records keys alone and lets
// Escape cancel; a radio value outside 0 to 2 leaves its group as it was.
TEST(RKProfileWindowLoad, ControlsShowTheProfile)
{
    const RKProfileSetting filled = filledArchiveProfile();
    Notices notices;
    Editor editor(Kind::Archive, notices);
    auto* window = static_cast<RKProfileWindow*>(editor.dialog.get());
    window->setTargetProfile(std::make_shared<RKProfileSetting>(filled));

    EXPECT_EQ(editor.name()->text(), QString::fromUtf16(u"Mac To Win（日付：YYYYMMDD）"));
    EXPECT_EQ(editor.child<RKEncodingPopUpButton>("pubDestEncode")->selectedEncoding(), 8u);
    EXPECT_EQ(editor.child<RKArchiveModePopUpButton>("pubArchiveMode")->selectedArchiveMode(), 1);
    EXPECT_EQ(editor.child<RKArchiveLevelPopUpButton>("pubArchiveLevel")->selectedArchiveLevel(), 9);
    EXPECT_TRUE(editor.child<QAbstractButton>("rdoPasswordStatic")->isChecked());
    auto* password = editor.child<KSPasswordField>("stPassword");
    EXPECT_EQ(password->text(), QStringLiteral("{YYYY}{MM}{DD}"));
    EXPECT_TRUE(password->showsText());
    EXPECT_TRUE(editor.child<QCheckBox>("btnShowPassword")->isChecked());
    EXPECT_EQ(editor.child<QLineEdit>("tfExclusionFiles")->text(), QStringLiteral(".DS_Store,._*"));
    EXPECT_EQ(editor.child<QLineEdit>("tfExclusionFolders")->text(), QStringLiteral("__MACOSX,.git"));
    EXPECT_TRUE(editor.child<QAbstractButton>("rdoStaticFolder")->isChecked());
    EXPECT_EQ(editor.child<QLineEdit>("txtSaveStaticFolderPath")->text(), QStringLiteral("/srv/出力"));
    EXPECT_TRUE(editor.child<QAbstractButton>("rdoSameNameOverwrite")->isChecked());
    SRRecorderControl* recorder = editor.recorder();
    EXPECT_EQ(recorder->keyCombo(), SRMakeKeyCombo(F5, Shift));
    EXPECT_TRUE(recorder->allowsKeyOnly());
    EXPECT_FALSE(recorder->escapeKeysRecord());
    EXPECT_EQ(recorder->delegate(), window);

    // Cells (row, column) of the values, and values out of range.
    const std::tuple<const char*, const char*, qint32, qint32> radios[] = {
        {"passwordMatrix", "rdoPasswordNone", 0, 0},        {"passwordMatrix", "rdoPasswordAnytime", 1, 1},
        {"passwordMatrix", "rdoPasswordStatic", 2, 2},      {"passwordMatrix", "rdoPasswordStatic", 3, 2},
        {"saveMatrix", "rdoSaveSameSource", 1, 1},          {"saveMatrix", "rdoSaveSameSource", -1, 1},
        {"sameNameMatrix", "rdoSameNAmeAutoRename", 2, 2},  {"sameNameMatrix", "rdoSameNAmeAutoRename", 7, 2},
    };
    for (const auto& [matrix, shown, value, readBack] : radios) {
        RKProfileSetting profile = filled;
        profile.passMode = profile.saveLocation = profile.sameFileName = value;
        window->setTargetProfile(std::make_shared<RKProfileSetting>(profile));
        EXPECT_TRUE(editor.child<QAbstractButton>(shown)->isChecked()) << matrix << " " << value;
        EXPECT_EQ(editor.child<RKRadioMatrix>(matrix)->selectedValue(), readBack) << matrix << " " << value;
    }
    const std::tuple<const char*, int, int> cells[] = {
        {"rdoPasswordNone", 0, 0}, {"rdoPasswordAnytime", 0, 1}, {"rdoPasswordStatic", 1, 0}};
    for (const auto& [name, row, column] : cells) {
        EXPECT_EQ(editor.child<RKRadioMatrix>("passwordMatrix")->cellAtRowColumn(row, column),
                  editor.child<QAbstractButton>(name));
    }
}

// Accepting writes every control into the very profile handed in and then
// tells the delegate, the editor closed; accepting untouched controls
// changes nothing.
TEST(RKProfileWindowWrite, EveryFieldFromItsControl)
{
    RKSetting().commit();
    const RKProfileSetting filled = filledArchiveProfile();
    Notices notices;
    Editor editor(Kind::Archive, notices);
    auto* window = static_cast<RKProfileWindow*>(editor.dialog.get());
    auto profile = std::make_shared<RKProfileSetting>(filled);
    window->setTargetProfile(profile);
    window->show();
    editor.child<QPushButton>("btnAdd")->click();
    ASSERT_EQ(notices.heard, QStringList{QStringLiteral("register")});
    EXPECT_EQ(notices.archive, profile);
    EXPECT_FALSE(notices.shownAtNotice);
    const auto fields = [](const RKProfileSetting& p) {
        return std::make_tuple(p.profileID, p.profileName, p.destEncoding, p.archiveMode, p.archiveLevel, p.password,
                               p.passMode, p.passwordShow, p.sameFileName, p.exclusionFiles, p.exclusionFolders,
                               p.saveLocation, p.saveStaticFolderPath, p.profileShotcutCode, p.profileShotcutFlags);
    };
    EXPECT_EQ(fields(*profile), fields(filled));

    window->setTargetProfile(profile);
    window->show();
    editor.name()->setText(QStringLiteral("社外秘"));
    editor.child<RKEncodingPopUpButton>("pubDestEncode")->setCurrentIndex(19);
    editor.child<RKArchiveModePopUpButton>("pubArchiveMode")->setCurrentIndex(0);
    editor.child<RKArchiveLevelPopUpButton>("pubArchiveLevel")->setCurrentIndex(0);
    editor.child<QAbstractButton>("rdoPasswordAnytime")->click();
    editor.child<KSPasswordField>("stPassword")->setText(QStringLiteral("{HOST}-{YY}"));
    editor.child<QCheckBox>("btnShowPassword")->click();
    editor.child<QLineEdit>("tfExclusionFiles")->setText(QStringLiteral("Thumbs.db"));
    editor.child<QLineEdit>("tfExclusionFolders")->setText(QString());
    editor.child<QAbstractButton>("rdoSaveSameSource")->click();
    editor.child<QLineEdit>("txtSaveStaticFolderPath")->setText(QStringLiteral("/tmp/typed"));
    editor.child<QAbstractButton>("rdoSameNAmeAutoRename")->click();
    editor.recorder()->setKeyCombo(SRMakeKeyCombo(-1, 0));
    editor.child<QPushButton>("btnAdd")->click();

    RKProfileSetting expected = filled;
    expected.profileName = QStringLiteral("社外秘");
    expected.destEncoding = 0xFFFFFFFF94000100; // UTF-16 little endian, as read back from its 32-bit value
    expected.archiveMode = 0;
    expected.archiveLevel = 0;
    expected.passMode = 1;
    expected.password = QStringLiteral("{HOST}-{YY}");
    expected.passwordShow = false;
    expected.exclusionFiles = {QStringLiteral("Thumbs.db")};
    expected.exclusionFolders = {QString()};
    expected.saveLocation = 1;
    expected.saveStaticFolderPath = QStringLiteral("/tmp/typed");
    expected.sameFileName = 2;
    expected.profileShotcutCode = NoKey;
    expected.profileShotcutFlags = 0;
    EXPECT_EQ(fields(*profile), fields(expected));
    EXPECT_EQ(notices.heard.size(), 2);
}

TEST(RKUnArchiveProfileWindowWrite, LoadsAndWritesEveryField)
{
    RKSetting().commit();
    RKUnArchiveProfileSetting filled = RKSetting().unArchiveProfiles.at(0); // "Win To Mac"
    filled.exclusionFolders = {QStringLiteral("__MACOSX")};
    filled.saveLocation = 2;
    filled.sameFileName = 2;
    filled.profileShotcutCode = R;
    filled.profileShotcutFlags = Command;
    Notices notices;
    Editor editor(Kind::UnArchive, notices);
    auto* window = static_cast<RKUnArchiveProfileWindow*>(editor.dialog.get());
    auto profile = std::make_shared<RKUnArchiveProfileSetting>(filled);
    window->setTargetProfile(profile);
    window->show();

    EXPECT_EQ(editor.name()->text(), QStringLiteral("Win To Mac"));
    EXPECT_EQ(editor.child<RKEncodingPopUpButton>("pubSourceEncode")->selectedEncoding(), 8u);
    EXPECT_EQ(editor.child<RKUnArchiveModePopUpButton>("pubUnArchiveMode")->selectedUnArchiveMode(), 1);
    EXPECT_TRUE(editor.child<QAbstractButton>("rdoStaticFolder")->isChecked());
    EXPECT_TRUE(editor.child<QAbstractButton>("rdoSameNameAutoRename")->isChecked());
    EXPECT_EQ(editor.child<QLineEdit>("tfExclusionFiles")->text(), QStringLiteral("Thumbs.db,desktop.ini"));
    EXPECT_EQ(editor.recorder()->keyCombo(), SRMakeKeyCombo(R, Command));
    EXPECT_TRUE(editor.recorder()->allowsKeyOnly());
    EXPECT_FALSE(editor.recorder()->escapeKeysRecord());
    EXPECT_EQ(editor.recorder()->delegate(), window);

    editor.name()->setText(QStringLiteral("社外秘の解凍"));
    editor.child<RKEncodingPopUpButton>("pubSourceEncode")->setCurrentIndex(3);
    editor.child<RKUnArchiveModePopUpButton>("pubUnArchiveMode")->setCurrentIndex(0);
    editor.child<QAbstractButton>("rdoSaveSameSource")->click();
    editor.child<QLineEdit>("txtSaveStaticFolderPath")->setText(QStringLiteral("/tmp/typed"));
    editor.child<QAbstractButton>("rdoSameNameOverwrite")->click();
    editor.child<QLineEdit>("tfExclusionFiles")->setText(QStringLiteral("*.tmp,desktop.ini"));
    editor.child<QLineEdit>("tfExclusionFolders")->setText(QStringLiteral(".git"));
    editor.recorder()->setKeyCombo(SRMakeKeyCombo(S, Shift));
    editor.child<QPushButton>("btnAdd")->click();

    ASSERT_EQ(notices.heard, QStringList{QStringLiteral("register")});
    EXPECT_EQ(notices.unArchive, profile);
    EXPECT_FALSE(notices.shownAtNotice);
    const auto fields = [](const RKUnArchiveProfileSetting& p) {
        return std::make_tuple(p.profileID, p.profileName, p.sourceEncoding, p.unArchiveMode, p.sameFileName,
                               p.saveLocation, p.saveStaticFolderPath, p.exclusionFiles, p.exclusionFolders,
                               p.profileShotcutCode, p.profileShotcutFlags);
    };
    EXPECT_EQ(fields(*profile),
              std::make_tuple(filled.profileID, QStringLiteral("社外秘の解凍"), quint64(4), 0, 1, 1,
                              QStringLiteral("/tmp/typed"), QStringList{"*.tmp", "desktop.ini"},
                              QStringList{".git"}, quint64(S), Shift));
}

// ---- the immediate controls, and cancelling

struct ImmediateRow {
    const char* name;
    Kind kind;
    // What the folder chooser answers; nullptr: it is cancelled.
    const char* chosen;
    // How the editor is left.
    void (*leave)(Editor&);
};

class RKProfileEditorImmediate : public ::testing::TestWithParam<ImmediateRow>
{
};

// The chooser asks over the editor for a folder from the profile's folder;
// a chosen folder goes into the profile at once and stays however the
// editor is left, while typed entries are written only on accepting.
TEST_P(RKProfileEditorImmediate, ChosenFolderStaysAfterCancel)
{
    const ImmediateRow& row = GetParam();
    RKSetting setting;
    setting.archiveProfiles = {archiveProfile("1l", NoKey, 0)};
    setting.archiveProfiles[0].saveStaticFolderPath = QStringLiteral("/srv/before");
    setting.unArchiveProfiles = {unArchiveProfile("11l", NoKey, 0)};
    setting.unArchiveProfiles[0].saveStaticFolderPath = QStringLiteral("/srv/before");
    setting.commit();
    ScriptedPanels panels(row.chosen ? QString::fromUtf8(row.chosen) : QString());
    Notices notices;
    Editor editor(row.kind, notices);
    editor.open(QString::fromUtf8(row.kind == Kind::Archive ? "1l" : "11l"));

    editor.child<QPushButton>("btnStaticFolderOpen")->click();
    EXPECT_EQ(panels.asked, (QStringList{QStringLiteral("MOKUZA-FULL"), QString::fromUtf16(u"保存先を選択して下さい。"),
                                         QStringLiteral("/srv/before"), QStringLiteral("1")}));
    EXPECT_EQ(panels.askedOver, editor.dialog.get());
    const QString expected = QString::fromUtf8(row.chosen ? row.chosen : "/srv/before");
    EXPECT_EQ(editor.staticFolder(), expected);
    EXPECT_EQ(editor.child<QLineEdit>("txtSaveStaticFolderPath")->text(), expected);

    editor.name()->setText(QStringLiteral("typed, not kept"));
    row.leave(editor);
    EXPECT_FALSE(editor.dialog->isVisible());
    EXPECT_EQ(notices.heard, QStringList{QStringLiteral("cancel")});
    EXPECT_EQ(editor.staticFolder(), expected);
    EXPECT_EQ(editor.profileName(), QString::fromUtf8(row.kind == Kind::Archive ? "1l" : "11l"));
}

void clickCancel(Editor& editor)
{
    editor.cancelButton()->click();
}
void pressEscape(Editor& editor)
{
    editor.dialog->reject();
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RKProfileEditorImmediate,
    ::testing::Values(ImmediateRow{"ArchiveCancelButton", Kind::Archive, "/srv/chosen", clickCancel},
                      ImmediateRow{"ArchiveEscape", Kind::Archive, "/srv/chosen", pressEscape},
                      ImmediateRow{"ArchiveChooserCancelled", Kind::Archive, nullptr, clickCancel},
                      ImmediateRow{"UnarchiveCancelButton", Kind::UnArchive, "/srv/chosen", clickCancel},
                      ImmediateRow{"UnarchiveChooserCancelled", Kind::UnArchive, nullptr, pressEscape}),
    [](const auto& info) { return std::string(info.param.name); });

// The show-password check box writes passwordShow into the profile at once;
// it stays after a cancel.
TEST(RKProfileWindowShowPassword, WrittenAtOnce)
{
    Notices notices;
    Editor editor(Kind::Archive, notices);
    auto* window = static_cast<RKProfileWindow*>(editor.dialog.get());
    auto profile = std::make_shared<RKProfileSetting>(RKProfileSetting::DefaultSetting());
    window->setTargetProfile(profile);
    window->show();
    auto* check = editor.child<QCheckBox>("btnShowPassword");
    auto* field = editor.child<KSPasswordField>("stPassword");
    EXPECT_FALSE(check->isChecked());
    for (const bool shows : {true, false, true}) {
        check->click();
        EXPECT_EQ(field->showsText(), shows);
        EXPECT_EQ(profile->passwordShow, shows);
    }
    editor.cancelButton()->click();
    EXPECT_TRUE(profile->passwordShow);
}

// Tab goes through the form from top to bottom, left column first.
TEST(RKProfileEditorTabOrder, FollowsTheForm)
{
    const auto tabOrder = [](Editor& editor) {
        QStringList names;
        QWidget* first = editor.name();
        for (QWidget* widget = first->nextInFocusChain(); widget != first; widget = widget->nextInFocusChain()) {
            if ((widget->focusPolicy() & Qt::TabFocus) && widget->isVisibleTo(editor.dialog.get())) {
                names.append(widget->objectName());
            }
        }
        return names;
    };
    Notices notices;
    Editor archive(Kind::Archive, notices);
    static_cast<RKProfileWindow*>(archive.dialog.get())
        ->setTargetProfile(std::make_shared<RKProfileSetting>(RKProfileSetting::DefaultSetting()));
    EXPECT_EQ(tabOrder(archive).join(' ').toStdString(),
              "pubDestEncode pubArchiveMode pubArchiveLevel srProfileShortCut rdoPasswordNone rdoPasswordAnytime "
              "rdoPasswordStatic stPassword btnShowPassword passwordFormatCopyButton0 passwordFormatCopyButton1 "
              "passwordFormatCopyButton2 passwordFormatCopyButton3 passwordFormatCopyButton4 tfExclusionFiles "
              "tfExclusionFolders rdoSaveAnytime rdoSaveSameSource rdoStaticFolder txtSaveStaticFolderPath "
              "btnStaticFolderOpen rdoSameNameAnyTime rdoSameNameOverwrite rdoSameNAmeAutoRename btnCansel btnAdd");
    Editor unArchive(Kind::UnArchive, notices);
    static_cast<RKUnArchiveProfileWindow*>(unArchive.dialog.get())
        ->setTargetProfile(std::make_shared<RKUnArchiveProfileSetting>(RKUnArchiveProfileSetting::DefaultSetting()));
    EXPECT_EQ(tabOrder(unArchive).join(' ').toStdString(),
              "pubSourceEncode pubUnArchiveMode srProfileShotcut tfExclusionFiles tfExclusionFolders rdoSaveAnytime "
              "rdoSaveSameSource rdoStaticFolder txtSaveStaticFolderPath btnStaticFolderOpen rdoSameNameAnyTime "
              "rdoSameNameOverwrite rdoSameNameAutoRename btnCancel btnAdd");
}

// ---- the placeholder table

TEST(RKProfileWindowPlaceholders, RowsAndCopyButtons)
{
    Notices notices;
    Editor editor(Kind::Archive, notices);
    static_cast<RKProfileWindow*>(editor.dialog.get())
        ->setTargetProfile(std::make_shared<RKProfileSetting>(RKProfileSetting::DefaultSetting()));
    auto* table = editor.child<QTableWidget>("passwordTableView");
    ASSERT_EQ(table->rowCount(), 5);
    QStringList identifiers;
    for (int column = 0; column < table->columnCount(); ++column) {
        identifiers.append(table->horizontalHeaderItem(column)->data(Qt::UserRole).toString());
    }
    EXPECT_EQ(identifiers, (QStringList{"FormatColumn", "DescColumn", "ButtonColumn"}));
    const std::pair<const char*, const char16_t*> rows[] = {
        {"{YYYY}", u"西暦4桁"}, {"{YY}", u"西暦2桁"}, {"{MM}", u"月2桁"}, {"{DD}", u"日2桁"}, {"{HOST}", u"ホスト名"},
    };
    // Row 4 last: the clipboard then holds "{HOST}".
    for (int row = 0; row < 5; ++row) {
        EXPECT_EQ(table->rowHeight(row), 19);
        EXPECT_EQ(qobject_cast<QLabel*>(table->cellWidget(row, 0))->text(), QString::fromUtf8(rows[row].first));
        EXPECT_EQ(qobject_cast<QLabel*>(table->cellWidget(row, 1))->text(), QString::fromUtf16(rows[row].second));
        auto* button = qobject_cast<QPushButton*>(table->cellWidget(row, 2));
        ASSERT_NE(button, nullptr);
        EXPECT_EQ(button->text(), QString::fromUtf16(u"コピー"));
        EXPECT_EQ(button->property("tag").toInt(), row);
        QApplication::clipboard()->setText(QStringLiteral("before"));
        button->click();
        EXPECT_EQ(QApplication::clipboard()->text(), QString::fromUtf8(rows[row].first));
    }
    const QMimeData* data = QApplication::clipboard()->mimeData();
    EXPECT_EQ(data->formats(), QStringList{QStringLiteral("text/plain")});
}

} // namespace
