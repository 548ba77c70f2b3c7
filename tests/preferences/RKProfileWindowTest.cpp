#include "platform/RKPanelService.h"
#include "preferences/widgets/RKProfileWindow.h"
#include "preferences/widgets/RKProfileWindowDelegate.h"
#include "preferences/widgets/RKUnArchiveProfileWindow.h"
#include "preferences/widgets/RKUnArchiveProfileWindowDelegate.h"
#include "settings/RKSetting.h"
#include "shortcut/widgets/SRRecorderControl.h"
#include "ui/KSPasswordField.h"

#include "preferences/ProfileTestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QTableWidget>
#include <gtest/gtest.h>

#include <map>

namespace {

using namespace ProfileTestSupport;

enum class Kind { Archive, UnArchive };

// A folder chooser that answers from a script and remembers the question.
struct ScriptedPanels : RKPanelService {
    explicit ScriptedPanels(const char* answer) : answer(answer) { RKPanelService::setCurrent(this); }
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
        return answer ? QString::fromUtf8(answer) : QString();
    }
    const char* answer;
    QStringList asked;
    QObject* askedOver = nullptr;
};

// One editor of either kind, shown on a profile object, and what it told its
// delegate, with whether it was still shown when it did.
struct Editor : RKProfileWindowDelegate, RKUnArchiveProfileWindowDelegate {
    explicit Editor(const RKProfileSetting& p) : kind(Kind::Archive) { open<RKProfileWindow>(archive, p); }
    explicit Editor(const RKUnArchiveProfileSetting& p) : kind(Kind::UnArchive)
    {
        open<RKUnArchiveProfileWindow>(unArchive, p);
    }
    template <typename Window, typename Profile>
    void open(std::shared_ptr<Profile>& target, const Profile& p)
    {
        target = std::make_shared<Profile>(p);
        auto* window = new Window;
        window->setDelegate(this);
        window->setTargetProfile(target);
        dialog.reset(window);
        dialog->show();
    }
    void profileWindowRegister(RKProfileWindow* w, const std::shared_ptr<RKProfileSetting>& p) override
    {
        heard("register", w, p.get());
    }
    void profileWindowCansel(RKProfileWindow* w) override { heard("cancel", w, nullptr); }
    void unArchiveProfileWindowRegister(RKUnArchiveProfileWindow* w,
                                        const std::shared_ptr<RKUnArchiveProfileSetting>& p) override
    {
        heard("register", w, p.get());
    }
    void unArchiveProfileWindowCansel(RKUnArchiveProfileWindow* w) override { heard("cancel", w, nullptr); }
    void heard(const char* notice, QWidget* editor, const void* profile)
    {
        notices.append(QString::fromUtf8(notice));
        shownAtNotice = editor->isVisible();
        registered = profile;
    }

    template <typename T = QWidget>
    T* child(const char* name) const { return ProfileTestSupport::child<T>(dialog.get(), name); }
    void click(const char* name) const { ProfileTestSupport::click(dialog.get(), name); }
    void type(const char* name, const QString& text) const { ProfileTestSupport::type(dialog.get(), name, text); }
    bool archives() const { return kind == Kind::Archive; }
    SRRecorderControl* recorder() const
    {
        return child<SRRecorderControl>(archives() ? "srProfileShortCut" : "srProfileShotcut");
    }
    QString name() const { return archives() ? archive->profileName : unArchive->profileName; }
    QString folder() const { return archives() ? archive->saveStaticFolderPath : unArchive->saveStaticFolderPath; }

    Kind kind;
    std::shared_ptr<RKProfileSetting> archive;
    std::shared_ptr<RKUnArchiveProfileSetting> unArchive;
    QStringList notices;
    bool shownAtNotice = false;
    const void* registered = nullptr;
    std::unique_ptr<QDialog> dialog;
};

// ---- the checks on accepting

// The combination entered, named by whose it is in the store below.
enum class Entered { None, Own, OtherOfSameKind, SameKeyOtherFlags, OtherKind, Password };

struct CheckRow {
    const char* name;
    const char* typedName;
    Entered entered;
    bool passwordKeySet;
    const char16_t* refusal; // nullptr: accepted
};

class RKProfileEditorCheck : public ::testing::TestWithParam<std::tuple<Kind, CheckRow>> {};

// Stored when accepting (not yet when the editor opened): archive profiles
// "1l" (⌘K, the one edited), "2l" (S), "3l" (none); unarchive profiles "11l"
// (F5, edited), "12l" (⇧R), "13l" (none); the password combination P or none.
TEST_P(RKProfileEditorCheck, AcceptingChecksInOrderAgainstTheStoreAsItIsThen)
{
    const auto& [kind, row] = GetParam();
    const bool archive = kind == Kind::Archive;
    RKSetting().commit();
    Editor editor = archive ? Editor(profile<RKProfileSetting>("1l", K, Command))
                            : Editor(profile<RKUnArchiveProfileSetting>("11l", F5));
    RKSetting setting;
    setting.archiveProfiles = {profile<RKProfileSetting>("1l", K, Command), profile<RKProfileSetting>("2l", S),
                               profile<RKProfileSetting>("3l")};
    setting.unArchiveProfiles = {profile<RKUnArchiveProfileSetting>("11l", F5),
                                 profile<RKUnArchiveProfileSetting>("12l", R, Shift),
                                 profile<RKUnArchiveProfileSetting>("13l")};
    setting.passwordShotcutCode = row.passwordKeySet ? P : NoKey;
    setting.commit();

    const std::map<Entered, _KeyCombo> combos = {
        {Entered::None, SRMakeKeyCombo(-1, 0)},
        {Entered::Own, archive ? SRMakeKeyCombo(K, Command) : SRMakeKeyCombo(F5, 0)},
        {Entered::OtherOfSameKind, archive ? SRMakeKeyCombo(S, 0) : SRMakeKeyCombo(R, Shift)},
        {Entered::SameKeyOtherFlags, archive ? SRMakeKeyCombo(S, Shift) : SRMakeKeyCombo(R, 0)},
        {Entered::OtherKind, archive ? SRMakeKeyCombo(R, Shift) : SRMakeKeyCombo(S, 0)},
        {Entered::Password, SRMakeKeyCombo(P, 0)},
    };
    editor.type("txtProfileName", QString::fromUtf8(row.typedName));
    editor.recorder()->setKeyCombo(combos.at(row.entered));
    editor.click("btnAdd");

    EXPECT_EQ(takeAlert(editor.dialog.get()), row.refusal ? QString::fromUtf16(row.refusal) : QString());
    EXPECT_EQ(editor.dialog->isVisible(), row.refusal != nullptr);
    EXPECT_EQ(editor.notices, row.refusal ? QStringList() : QStringList{QStringLiteral("register")});
    EXPECT_EQ(editor.name(), QString::fromUtf8(row.refusal ? (archive ? "1l" : "11l") : row.typedName));
}

constexpr const char16_t* kNameRequired = u"プロファイル名は必須です";
constexpr const char16_t* kDuplicate = u"ショートカット設定が他のプロファイルと重複しています";
constexpr const char16_t* kPasswordKey = u"ショートカット設定が全体設定のパスワード設定と重複しています";

INSTANTIATE_TEST_SUITE_P(
    Rows, RKProfileEditorCheck,
    ::testing::Combine(
        ::testing::Values(Kind::Archive, Kind::UnArchive),
        ::testing::Values(
            CheckRow{"EmptyName", "", Entered::None, true, kNameRequired},
            CheckRow{"EmptyNameIsToldBeforeADuplicate", "", Entered::OtherOfSameKind, true, kNameRequired},
            CheckRow{"BlankNamePasses", "  ", Entered::None, true, nullptr},
            CheckRow{"DuplicateOfAnotherProfileOfTheKind", "x", Entered::OtherOfSameKind, true, kDuplicate},
            CheckRow{"OwnCombination", "x", Entered::Own, true, nullptr},
            CheckRow{"SameKeyOtherModifiers", "x", Entered::SameKeyOtherFlags, true, nullptr},
            CheckRow{"CombinationOfTheOtherKind", "x", Entered::OtherKind, true, nullptr},
            CheckRow{"PasswordCombination", "x", Entered::Password, true, kPasswordKey},
            // Were the checks made, no key would equal the password's no key.
            CheckRow{"NoCombinationSkipsEveryCheck", "x", Entered::None, false, nullptr})),
    [](const auto& info) {
        const char* kind = std::get<0>(info.param) == Kind::Archive ? "Archive" : "Unarchive";
        return kind + std::string(std::get<1>(info.param).name);
    });

// ---- loading and writing

// The controls show the profile (the factory "Mac To Win（日付：YYYYMMDD）"
// with every other field off its default); the recorder records keys alone
// and lets Escape cancel. Accepting writes every control into the very
// profile handed in, then tells the delegate, the editor closed. A radio
// value outside 0 to 2 leaves its group as it was.
TEST(RKProfileWindowWrite, LoadsAndWritesEveryField)
{
    RKSetting().commit();
    RKProfileSetting filled = RKSetting().archiveProfiles.at(2);
    filled.archiveMode = 1;
    filled.archiveLevel = 9;
    filled.passwordShow = true;
    filled.sameFileName = 1;
    filled.exclusionFolders = {QStringLiteral("__MACOSX"), QStringLiteral(".git")};
    filled.saveLocation = 2;
    filled.saveStaticFolderPath = QStringLiteral("/srv/出力");
    filled.profileShotcutCode = F5;
    filled.profileShotcutFlags = Shift;
    Editor editor(filled);
    EXPECT_EQ(editor.child<QLineEdit>("txtProfileName")->text(), QString::fromUtf16(u"Mac To Win（日付：YYYYMMDD）"));
    EXPECT_EQ(editor.child<QComboBox>("pubDestEncode")->currentIndex(), 7); // Shift-JIS
    EXPECT_EQ(editor.child<QComboBox>("pubArchiveMode")->currentIndex(), 1);
    EXPECT_EQ(editor.child<QComboBox>("pubArchiveLevel")->currentIndex(), 9);
    auto* password = editor.child<KSPasswordField>("stPassword");
    EXPECT_EQ(password->text(), QStringLiteral("{YYYY}{MM}{DD}"));
    EXPECT_TRUE(password->showsText());
    EXPECT_TRUE(editor.child<QCheckBox>("btnShowPassword")->isChecked());
    EXPECT_EQ(editor.child<QLineEdit>("tfExclusionFiles")->text(), QStringLiteral(".DS_Store,._*"));
    EXPECT_EQ(editor.child<QLineEdit>("tfExclusionFolders")->text(), QStringLiteral("__MACOSX,.git"));
    EXPECT_EQ(editor.child<QLineEdit>("txtSaveStaticFolderPath")->text(), QStringLiteral("/srv/出力"));
    SRRecorderControl* recorder = editor.recorder();
    EXPECT_EQ(recorder->keyCombo(), SRMakeKeyCombo(F5, Shift));
    EXPECT_TRUE(recorder->allowsKeyOnly());
    EXPECT_FALSE(recorder->escapeKeysRecord());
    EXPECT_EQ(dynamic_cast<QDialog*>(recorder->delegate()), editor.dialog.get());

    editor.type("txtProfileName", QStringLiteral("社外秘"));
    editor.child<QComboBox>("pubDestEncode")->setCurrentIndex(19);
    editor.child<QComboBox>("pubArchiveMode")->setCurrentIndex(0);
    editor.child<QComboBox>("pubArchiveLevel")->setCurrentIndex(0);
    editor.click("rdoPasswordAnytime");
    editor.type("stPassword", QStringLiteral("{HOST}-{YY}"));
    editor.click("btnShowPassword");
    editor.type("tfExclusionFiles", QStringLiteral("Thumbs.db"));
    editor.type("tfExclusionFolders", QString());
    editor.click("rdoSaveSameSource");
    editor.type("txtSaveStaticFolderPath", QStringLiteral("/tmp/typed"));
    editor.click("rdoSameNAmeAutoRename");
    recorder->setKeyCombo(SRMakeKeyCombo(-1, 0));
    editor.click("btnAdd");

    ASSERT_EQ(editor.notices, QStringList{QStringLiteral("register")});
    EXPECT_EQ(editor.registered, editor.archive.get());
    EXPECT_FALSE(editor.shownAtNotice);
    // UTF-16 LE comes back from its 32-bit value with the upper bits set.
    EXPECT_EQ(fields(*editor.archive),
              std::make_tuple(filled.profileID, QStringLiteral("社外秘"), quint64(0xFFFFFFFF94000100), 0, 0,
                              QStringLiteral("{HOST}-{YY}"), 1, false, 2, QStringList{"Thumbs.db"}, QStringList{QString()},
                              1, QStringLiteral("/tmp/typed"), NoKey, 0));

    // Value, the button then checked in each group (cells (0,0), (0,1), (1,0)).
    const std::tuple<qint32, const char*, const char*, const char*> radios[] = {
        {0, "rdoPasswordNone", "rdoSaveAnytime", "rdoSameNameAnyTime"},
        {1, "rdoPasswordAnytime", "rdoSaveSameSource", "rdoSameNameOverwrite"},
        {2, "rdoPasswordStatic", "rdoStaticFolder", "rdoSameNAmeAutoRename"},
        {3, "rdoPasswordStatic", "rdoStaticFolder", "rdoSameNAmeAutoRename"},
        {-1, "rdoPasswordStatic", "rdoStaticFolder", "rdoSameNAmeAutoRename"},
    };
    for (const auto& [value, password, save, sameName] : radios) {
        RKProfileSetting p = filled;
        p.passMode = p.saveLocation = p.sameFileName = value;
        static_cast<RKProfileWindow*>(editor.dialog.get())->setTargetProfile(std::make_shared<RKProfileSetting>(p));
        for (const char* checked : {password, save, sameName}) {
            EXPECT_TRUE(editor.child<QAbstractButton>(checked)->isChecked()) << value << " " << checked;
        }
    }
}

TEST(RKUnArchiveProfileWindowWrite, LoadsAndWritesEveryField)
{
    RKSetting().commit();
    RKUnArchiveProfileSetting filled = RKSetting().unArchiveProfiles.at(0); // "Win To Mac"
    filled.saveLocation = filled.sameFileName = 2;
    filled.profileShotcutCode = R;
    filled.profileShotcutFlags = Command;
    Editor editor(filled);
    EXPECT_EQ(editor.child<QLineEdit>("txtProfileName")->text(), QStringLiteral("Win To Mac"));
    EXPECT_EQ(editor.child<QComboBox>("pubSourceEncode")->currentIndex(), 7);
    EXPECT_EQ(editor.child<QComboBox>("pubUnArchiveMode")->currentIndex(), 1);
    EXPECT_TRUE(editor.child<QAbstractButton>("rdoStaticFolder")->isChecked());
    EXPECT_TRUE(editor.child<QAbstractButton>("rdoSameNameAutoRename")->isChecked());
    EXPECT_EQ(editor.child<QLineEdit>("tfExclusionFiles")->text(), QStringLiteral("Thumbs.db,desktop.ini"));
    EXPECT_EQ(editor.recorder()->keyCombo(), SRMakeKeyCombo(R, Command));
    EXPECT_TRUE(editor.recorder()->allowsKeyOnly());
    EXPECT_FALSE(editor.recorder()->escapeKeysRecord());
    EXPECT_EQ(dynamic_cast<QDialog*>(editor.recorder()->delegate()), editor.dialog.get());

    editor.type("txtProfileName", QStringLiteral("社外秘の解凍"));
    editor.child<QComboBox>("pubSourceEncode")->setCurrentIndex(3);
    editor.child<QComboBox>("pubUnArchiveMode")->setCurrentIndex(0);
    editor.click("rdoSaveSameSource");
    editor.type("txtSaveStaticFolderPath", QStringLiteral("/tmp/typed"));
    editor.click("rdoSameNameOverwrite");
    editor.type("tfExclusionFiles", QStringLiteral("*.tmp,desktop.ini"));
    editor.type("tfExclusionFolders", QStringLiteral(".git"));
    editor.recorder()->setKeyCombo(SRMakeKeyCombo(S, Shift));
    editor.click("btnAdd");

    ASSERT_EQ(editor.notices, QStringList{QStringLiteral("register")});
    EXPECT_EQ(editor.registered, editor.unArchive.get());
    EXPECT_FALSE(editor.shownAtNotice);
    EXPECT_EQ(fields(*editor.unArchive),
              std::make_tuple(filled.profileID, QStringLiteral("社外秘の解凍"), quint64(4), 0, 1, 1,
                              QStringLiteral("/tmp/typed"), QStringList{"*.tmp", "desktop.ini"}, QStringList{".git"},
                              S, Shift));
}

// ---- the immediate controls, and cancelling

struct ImmediateRow {
    const char* name;
    Kind kind;
    const char* chosen; // what the folder chooser answers; nullptr: cancelled
    void (*leave)(Editor&);
};

class RKProfileEditorImmediate : public ::testing::TestWithParam<ImmediateRow> {};

// The chooser asks over the editor for a folder from the profile's folder;
// a chosen folder, like the archive editor's show-password check box, goes
// into the profile at once and stays however the editor is left, while a
// typed name is written only on accepting.
TEST_P(RKProfileEditorImmediate, ChosenFolderStaysAfterCancel)
{
    const ImmediateRow& row = GetParam();
    ScriptedPanels panels(row.chosen);
    auto archive = profile<RKProfileSetting>("1l");
    auto unArchive = profile<RKUnArchiveProfileSetting>("1l");
    archive.saveStaticFolderPath = unArchive.saveStaticFolderPath = QStringLiteral("/srv/before");
    Editor editor = row.kind == Kind::Archive ? Editor(archive) : Editor(unArchive);

    editor.click("btnStaticFolderOpen");
    EXPECT_EQ(panels.asked, (QStringList{"MOKUZA-FULL", QString::fromUtf16(u"保存先を選択して下さい。"), "/srv/before", "1"}));
    EXPECT_EQ(panels.askedOver, editor.dialog.get());
    const QString expected = QString::fromUtf8(row.chosen ? row.chosen : "/srv/before");
    EXPECT_EQ(editor.folder(), expected);
    EXPECT_EQ(editor.child<QLineEdit>("txtSaveStaticFolderPath")->text(), expected);

    editor.type("txtProfileName", QStringLiteral("typed, not kept"));
    if (editor.archives()) {
        editor.click("btnShowPassword");
        EXPECT_TRUE(editor.child<KSPasswordField>("stPassword")->showsText() && editor.archive->passwordShow);
    }
    row.leave(editor);
    EXPECT_FALSE(editor.dialog->isVisible());
    EXPECT_EQ(editor.notices, QStringList{QStringLiteral("cancel")});
    EXPECT_EQ(editor.folder(), expected);
    EXPECT_EQ(editor.name(), QStringLiteral("1l"));
    EXPECT_TRUE(!editor.archives() || editor.archive->passwordShow);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RKProfileEditorImmediate,
    ::testing::Values(
        ImmediateRow{"ArchiveCancelButton", Kind::Archive, "/srv/chosen", [](Editor& e) { e.click("btnCansel"); }},
        ImmediateRow{"ArchiveEscape", Kind::Archive, "/srv/chosen", [](Editor& e) { e.dialog->reject(); }},
        ImmediateRow{"ArchiveChooserCancelled", Kind::Archive, nullptr, [](Editor& e) { e.click("btnCansel"); }},
        ImmediateRow{"UnarchiveCancelButton", Kind::UnArchive, "/srv/chosen", [](Editor& e) { e.click("btnCancel"); }},
        ImmediateRow{"UnarchiveChooserCancelled", Kind::UnArchive, nullptr, [](Editor& e) { e.dialog->reject(); }}),
    [](const auto& info) { return std::string(info.param.name); });

// Tab goes through the form from top to bottom, left column first, the copy
// buttons of the placeholder table included.
TEST(RKProfileWindowTabOrder, FollowsTheForm)
{
    Editor editor(RKProfileSetting::DefaultSetting());
    QStringList names;
    QWidget* first = editor.child("txtProfileName");
    for (QWidget* widget = first->nextInFocusChain(); widget != first; widget = widget->nextInFocusChain()) {
        if ((widget->focusPolicy() & Qt::TabFocus) && widget->isVisible()) {
            names.append(widget->objectName());
        }
    }
    EXPECT_EQ(names.join(QLatin1Char(' ')).toStdString(),
              "pubDestEncode pubArchiveMode pubArchiveLevel srProfileShortCut rdoPasswordNone rdoPasswordAnytime "
              "rdoPasswordStatic stPassword btnShowPassword passwordFormatCopyButton0 passwordFormatCopyButton1 "
              "passwordFormatCopyButton2 passwordFormatCopyButton3 passwordFormatCopyButton4 tfExclusionFiles "
              "tfExclusionFolders rdoSaveAnytime rdoSaveSameSource rdoStaticFolder txtSaveStaticFolderPath "
              "btnStaticFolderOpen rdoSameNameAnyTime rdoSameNameOverwrite rdoSameNAmeAutoRename btnCansel btnAdd");
}

// Five rows; each copy button puts its placeholder on the clipboard as plain
// text (row 4 last: "{HOST}").
TEST(RKProfileWindowPlaceholders, RowsAndCopyButtons)
{
    Editor editor(RKProfileSetting::DefaultSetting());
    auto* table = editor.child<QTableWidget>("passwordTableView");
    ASSERT_EQ(table->rowCount(), 5);
    const std::pair<const char*, const char16_t*> rows[] = {
        {"{YYYY}", u"西暦4桁"}, {"{YY}", u"西暦2桁"}, {"{MM}", u"月2桁"}, {"{DD}", u"日2桁"}, {"{HOST}", u"ホスト名"},
    };
    for (int row = 0; row < 5; ++row) {
        EXPECT_EQ(qobject_cast<QLabel*>(table->cellWidget(row, 0))->text(), QString::fromUtf8(rows[row].first));
        EXPECT_EQ(qobject_cast<QLabel*>(table->cellWidget(row, 1))->text(), QString::fromUtf16(rows[row].second));
        auto* button = qobject_cast<QPushButton*>(table->cellWidget(row, 2));
        ASSERT_NE(button, nullptr);
        EXPECT_EQ(button->text(), QString::fromUtf16(u"コピー"));
        QApplication::clipboard()->setText(QStringLiteral("before"));
        button->click();
        EXPECT_EQ(QApplication::clipboard()->text(), QString::fromUtf8(rows[row].first));
    }
    EXPECT_EQ(QApplication::clipboard()->mimeData()->formats(), QStringList{QStringLiteral("text/plain")});
}

} // namespace
