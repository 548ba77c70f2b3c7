#include "platform/RKKeyCodeTable.h"
#include "shortcut/SRCommon.h"
#include "shortcut/SRHotKeyProbe.h"
#include "shortcut/widgets/SRRecorderCell.h"
#include "shortcut/widgets/SRRecorderControl.h"
#include "shortcut/widgets/SRRecorderControlDelegate.h"
#include "shortcut/widgets/SRValidator.h"
#include "shortcut/widgets/SRValidatorDelegate.h"
#include "ui/RKTranslations.h"

#include "shortcut/ScopedKeyboardLayout.h"
#include "support/TestEnvironment.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QTranslator>
#include <QVBoxLayout>
#include <gtest/gtest.h>

#include <optional>

namespace {

constexpr quint64 Command = SRCocoaCommandFlag, Option = SRCocoaOptionFlag, Control = SRCocoaControlFlag,
                  Shift = SRCocoaShiftFlag, Function = SRFunctionFlag;
// Stored key codes.
constexpr int A = 0, S = 1, K = 40, R = 15, Q = 12, P = 35, Space = 49, Escape = 53, ForwardDelete = 117, F5 = 96,
              LeftShift = 56, Circumflex = 33;

// Session shortcuts as a list instead of an X server.
struct ScriptedHotKeys : SRHotKeyProbe {
    ScriptedHotKeys(bool canProbe, std::optional<_KeyCombo> taken) : probes(canProbe), taken(taken) { setCurrent(this); }
    ~ScriptedHotKeys() override { setCurrent(nullptr); }
    bool canProbe() override { return probes; }
    bool isTaken(qint64 keyCode, quint32 carbonFlags) override
    {
        return taken == SRMakeKeyCombo(keyCode, SRCocoaFlagsFromCarbonFlags(carbonFlags));
    }
    bool probes;
    std::optional<_KeyCombo> taken;
};

// An owner that refuses one combination and keeps every change it is told.
class Owner : public SRRecorderControlDelegate, public SRValidatorDelegate
{
public:
    bool shortcutRecorderIsKeyCodeAndFlagsTaken(SRRecorderControl*, qint64 keyCode, quint64 flags,
                                                QString* reason) override
    {
        return refuses(keyCode, flags, reason);
    }
    bool shortcutValidatorIsKeyCodeAndFlagsTaken(SRValidator*, qint64 keyCode, quint64 flags, QString* reason) override
    {
        return refuses(keyCode, flags, reason);
    }
    void shortcutRecorderKeyComboDidChange(SRRecorderControl*, _KeyCombo newKeyCombo) override
    {
        changes.append(newKeyCombo);
    }

    std::optional<_KeyCombo> refused;
    QString reason;
    QList<_KeyCombo> changes;

private:
    bool refuses(qint64 keyCode, quint64 flags, QString* out)
    {
        *out = reason;
        return refused == SRMakeKeyCombo(keyCode, flags);
    }
};

// A key event as the xcb platform delivers it: the X key code as the native
// scan code, Qt's modifiers as they were before the key.
bool sendKey(QWidget* target, int storedCode, Qt::KeyboardModifiers modifiers, QEvent::Type type = QEvent::KeyPress,
             Qt::Key key = Qt::Key_unknown)
{
    const QString text = storedCode == Space ? QStringLiteral(" ") : QString();
    QKeyEvent event(type, key, modifiers, quint32(RKKeyCodeTable::x11KeyCode(storedCode)), 0, 0, text);
    QApplication::sendEvent(target, &event);
    return event.isAccepted();
}

// ---- the validator

struct ValidatorRow {
    const char* name;
    const char* layout;
    bool canProbe;
    bool ownerRefuses;
    const char* reason;
    int keyCode;
    quint64 flags;
    bool taken;
    // The explanation of the error; nullptr: none is given.
    const char16_t* explanation;
};

class SRValidatorTest : public ::testing::TestWithParam<ValidatorRow> {};

// The application's main window (found without being registered) has a menu
// with a submenu; the session has ⌃⇧F5 bound, seen only where it can be probed
// (the explanation of a real session grab is checked against an X server).
TEST_P(SRValidatorTest, TellsWhoHasTheCombination)
{
    const ValidatorRow& row = GetParam();
    ScopedKeyboardLayout layout(row.layout);
    ScriptedHotKeys hotKeys(row.canProbe, SRMakeKeyCombo(F5, Control | Shift));
    QMainWindow window;
    QMenu* file = window.menuBar()->addMenu(QStringLiteral("&File"));
    file->addAction(QStringLiteral("Save As\u2026"))->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+S")));
    file->addMenu(QStringLiteral("Open &Recent"))
        ->addAction(QStringLiteral("Clear Menu"))
        ->setShortcut(QKeySequence(QStringLiteral("Meta+K")));
    file->addAction(QString::fromUtf16(u"終了(&Q)"))->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));

    Owner owner;
    if (row.ownerRefuses) {
        owner.refused = SRMakeKeyCombo(row.keyCode, row.flags);
        owner.reason = QString::fromUtf8(row.reason);
    }
    SRValidator validator(&owner);
    SRValidationError error;
    EXPECT_EQ(validator.isKeyCodeAndFlagsTaken(row.keyCode, SRCarbonFlagsFromCocoaFlags(row.flags), &error),
              row.taken);
    if (!row.explanation) {
        EXPECT_TRUE(error.localizedDescription.isNull());
        return;
    }
    EXPECT_EQ(error.localizedDescription,
              SRFormat(QStringLiteral("The key combination %@ can't be used!"),
                       {SRGlyphStringForCocoaFlagsAndKeyCode(row.flags, row.keyCode)}));
    EXPECT_EQ(error.localizedRecoverySuggestion, QString::fromUtf16(row.explanation));
    EXPECT_EQ(error.localizedRecoveryOptions, QStringList{QStringLiteral("OK")});
}

const ValidatorRow kValidatorRows[] = {
    {"OwnerGivesTheReason", "us", true, true, "it is the password key", F5, Control | Shift, true,
     u"The key combination \"Control + Shift + F5\" can't be used because it is the password key."},
    {"OwnerWithoutReason", "us", true, true, "", A, Option, true,
     u"The key combination \"Option + A\" can't be used because it's already used."},
    {"SessionShortcutsUnseenWithoutADisplay", "us", false, false, "", F5, Control | Shift, false, nullptr},
    {"ItemOfASubmenu", "us", true, false, "", K, Command, true,
     u"The key combination \"Command + K\" can't be used because it's already used by the menu item "
     u"\"Clear Menu\"."},
    {"ItemTitleWithoutItsMnemonic", "us", true, false, "", Q, Control, true,
     u"The key combination \"Control + Q\" can't be used because it's already used by the menu item \"終了\"."},
    {"ItemKeyComparedByItsText", "fr", true, false, "", A, Control, true,
     u"The key combination \"Control + Q\" can't be used because it's already used by the menu item \"終了\"."},
    {"ItemModifiersMustAgree", "us", true, false, "", S, Control, false, nullptr},
    {"KeyWithoutTextIsTakenSilently", "us", true, false, "", LeftShift, Control, true, nullptr},
};

INSTANTIATE_TEST_SUITE_P(Combinations, SRValidatorTest, ::testing::ValuesIn(kValidatorRows),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- the recorder

// A recorder, configured as the application's windows configure it, holding
// P, in a shown window with a second field to take the focus.
class RecorderTest
{
protected:
    RecorderTest() : layout("us"), hotKeys(true, std::nullopt)
    {
        auto* box = new QVBoxLayout(&window);
        box->addWidget(recorder = new SRRecorderControl(&window));
        box->addWidget(other = new QLineEdit(&window));
        recorder->setDelegate(&owner);
        recorder->setAllowsKeyOnly(true, false);
        recorder->setKeyCombo(SRMakeKeyCombo(P, 0));
        owner.changes.clear();
        window.show();
        window.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        recorder->setFocus();
    }

    void startRecording()
    {
        ASSERT_TRUE(sendKey(recorder, Space, Qt::NoModifier));
        ASSERT_TRUE(recorder->cell()->isRecording());
    }

    ScopedKeyboardLayout layout;
    ScriptedHotKeys hotKeys;
    Owner owner;
    QWidget window;
    SRRecorderControl* recorder = nullptr;
    QLineEdit* other = nullptr;
};

constexpr quint64 kAll = SRCocoaModifierFlags;
const _KeyCombo kUnchanged = SRMakeKeyCombo(P, 0);

struct KeyRow {
    const char* name;
    const char* layout;
    int keyCode;
    Qt::KeyboardModifiers modifiers;
    bool handled;
    bool recording;
    _KeyCombo combo;
    bool allowsKeyOnly = true;
    bool escapeKeysRecord = false;
    quint64 allowedFlags = kAll;
    quint64 requiredFlags = 0;
};

class SRRecorderKeyTest : public RecorderTest, public ::testing::TestWithParam<KeyRow> {};

// Space starts recording; then one key, and where that leaves the recorder.
TEST_P(SRRecorderKeyTest, OneKeyWhileRecording)
{
    const KeyRow& row = GetParam();
    ScopedKeyboardLayout rowLayout(row.layout);
    recorder->setAllowsKeyOnly(row.allowsKeyOnly, row.escapeKeysRecord);
    recorder->setAllowedFlags(row.allowedFlags);
    recorder->setRequiredFlags(row.requiredFlags);
    owner.changes.clear();
    const _KeyCombo before = recorder->keyCombo();
    startRecording();
    EXPECT_EQ(sendKey(recorder, row.keyCode, row.modifiers), row.handled);
    EXPECT_EQ(recorder->cell()->isRecording(), row.recording);
    EXPECT_EQ(recorder->keyCombo(), row.combo);
    EXPECT_EQ(owner.changes, row.combo == before ? QList<_KeyCombo>{} : QList<_KeyCombo>{row.combo});
}

const KeyRow kKeyRows[] = {
    {"EscapeAloneCancels", "us", Escape, Qt::NoModifier, true, false, kUnchanged},
    {"CommandEscapeIsRecorded", "us", Escape, Qt::MetaModifier, true, false, SRMakeKeyCombo(Escape, Command)},
    {"FunctionKeyAloneIsRecorded", "us", F5, Qt::NoModifier, true, false, SRMakeKeyCombo(F5, Function)},
    {"EscapeRecordedWhenEscapeKeysRecord", "us", Escape, Qt::NoModifier, true, false, SRMakeKeyCombo(Escape, 0),
     true, true},
    {"ForwardDeleteCarriesOnlyFunctionAndCancels", "us", ForwardDelete, Qt::NoModifier, true, false, kUnchanged},
    {"PlainKeyIgnoredWithoutKeyOnly", "us", A, Qt::NoModifier, false, true, kUnchanged, false},
    {"ShiftAloneIsEnough", "us", A, Qt::ShiftModifier, true, false, SRMakeKeyCombo(A, Shift), false},
    {"EscapeCancelsWithoutKeyOnly", "us", Escape, Qt::NoModifier, true, false, kUnchanged, false},
    {"DeadKeyEndsUnchanged", "fr", Circumflex, Qt::NoModifier, true, false, kUnchanged},
    {"SameKeyOnAnotherLayout", "fr", A, Qt::ControlModifier, true, false, SRMakeKeyCombo(A, Control)},
    {"ModifiersNotAllowedAreDropped", "us", A, Qt::ControlModifier | Qt::AltModifier, true, false,
     SRMakeKeyCombo(A, Control), true, false, Control | Shift},
    {"RequiredModifiersAreAdded", "us", A, Qt::ControlModifier, true, false, SRMakeKeyCombo(A, Command | Control),
     true, false, kAll, Command},
    {"KeyWithoutStoredCodeKeepsRecording", "us", -1, Qt::ControlModifier, true, true, kUnchanged},
};

INSTANTIATE_TEST_SUITE_P(Keys, SRRecorderKeyTest, ::testing::ValuesIn(kKeyRows),
                         [](const auto& info) { return std::string(info.param.name); });

class SRRecorderTest : public RecorderTest, public ::testing::Test {};

// The owner refuses ⌃R: the alert says why, in the critical style with one
// button; recording goes on behind it, with the keyboard taken again after.
TEST_F(SRRecorderTest, RefusedCombinationAlertsAndRecordingGoesOn)
{
    recorder->setCanCaptureGlobalHotKeys(true);
    owner.refused = SRMakeKeyCombo(R, Control);
    owner.reason = QStringLiteral("it is taken");
    startRecording();
    EXPECT_EQ(QWidget::keyboardGrabber(), recorder);
    EXPECT_TRUE(sendKey(recorder, LeftShift, Qt::NoModifier, QEvent::KeyPress, Qt::Key_Shift));
    EXPECT_EQ(recorder->cell()->recordingFlags(), Shift) << "held modifiers are shown";
    EXPECT_TRUE(sendKey(recorder, LeftShift, Qt::ShiftModifier, QEvent::KeyRelease, Qt::Key_Shift));
    EXPECT_EQ(recorder->cell()->recordingFlags(), 0u);

    QStringList alert; // text, informative text, icon, buttons
    bool recordingBehind = false;
    QWidget* grabberMeanwhile = recorder;
    QTimer::singleShot(0, recorder, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        alert << box->text() << box->informativeText() << QString::number(box->icon());
        for (QAbstractButton* button : box->buttons()) {
            alert << button->text();
        }
        recordingBehind = recorder->cell()->isRecording();
        grabberMeanwhile = QWidget::keyboardGrabber();
        box->buttons().first()->click();
    });
    EXPECT_TRUE(sendKey(recorder, R, Qt::ControlModifier));
    EXPECT_EQ(alert, (QStringList{
                         QString::fromUtf16(u"The key combination ⌃R can't be used!"),
                         QStringLiteral("The key combination \"Control + R\" can't be used because it is taken."),
                         QString::number(QMessageBox::Critical), QStringLiteral("OK")}));
    EXPECT_TRUE(recordingBehind);
    EXPECT_EQ(grabberMeanwhile, nullptr) << "the alert must get the keys";
    EXPECT_TRUE(recorder->cell()->isRecording());
    EXPECT_EQ(QWidget::keyboardGrabber(), recorder);
    EXPECT_EQ(recorder->keyCombo(), kUnchanged);
    EXPECT_TRUE(owner.changes.isEmpty());
}

// However recording ends, the keyboard is let go.
TEST_F(SRRecorderTest, KeyboardIsLetGoHoweverRecordingEnds)
{
    const std::pair<const char*, std::function<void()>> endings[] = {
        {"Accepted", [&] { sendKey(recorder, F5, Qt::ControlModifier); }},
        {"FocusLost", [&] { other->setFocus(); }},
        {"WindowClosed", [&] { window.close(); }},
        {"ControlDestroyed", [&] { delete recorder; recorder = nullptr; }},
    };
    for (const auto& [name, end] : endings) {
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        recorder->setFocus();
        recorder->setCanCaptureGlobalHotKeys(true);
        startRecording();
        ASSERT_EQ(QWidget::keyboardGrabber(), recorder) << name;
        end();
        EXPECT_EQ(QWidget::keyboardGrabber(), nullptr) << name;
        if (recorder) {
            EXPECT_FALSE(recorder->cell()->isRecording()) << name;
        }
    }
}

// The control's own buttons, a click on the field, and a disabled control
// as in a table's shortcut column.
TEST_F(SRRecorderTest, Mouse)
{
    const auto click = [&](QPoint at) { QTest::mouseClick(recorder, Qt::LeftButton, {}, at); };
    const QPoint field = recorder->rect().center() - QPoint(recorder->width() / 4, 0);
    click(field);
    ASSERT_TRUE(recorder->cell()->isRecording());
    click(recorder->cell()->buttonRect(recorder->rect()).center());
    EXPECT_FALSE(recorder->cell()->isRecording()) << "snapback";
    EXPECT_EQ(recorder->keyCombo(), kUnchanged);

    QSignalSpy values(recorder, &SRRecorderControl::objectValueChanged);
    click(recorder->cell()->buttonRect(recorder->rect()).center());
    EXPECT_FALSE(recorder->cell()->isRecording());
    EXPECT_EQ(owner.changes, QList<_KeyCombo>{SRMakeKeyCombo(-1, 0)});
    EXPECT_TRUE(recorder->objectValue().isNull());
    ASSERT_EQ(values.count(), 1);
    EXPECT_TRUE(values.first().first().isNull());
    EXPECT_TRUE(recorder->keyComboString().isNull());
    EXPECT_TRUE(recorder->cell()->buttonRect(recorder->rect()).isEmpty()) << "nothing to clear";

    recorder->setKeyCombo(SRMakeKeyCombo(F5, Control | Shift));
    recorder->setEnabled(false);
    EXPECT_TRUE(recorder->cell()->buttonRect(recorder->rect()).isEmpty());
    click(field);
    EXPECT_FALSE(recorder->cell()->isRecording());
    EXPECT_EQ(recorder->keyComboString(), QString::fromUtf16(u"⌃⇧F5"));
}

// Style 1 fades into recording and back at 30 steps a second: 11 steps of
// 0.095238 reach 0.998; keys pressed meanwhile are dropped.
TEST_F(SRRecorderTest, TransitionRunsOnItsTimer)
{
    recorder->setStyle(SRRecorderCell::GreyStyle);
    recorder->setAnimates(true);
    SRRecorderCell* cell = recorder->cell();
    for (const bool towardsRecording : {true, false}) {
        EXPECT_TRUE(sendKey(recorder, towardsRecording ? Space : Escape, Qt::NoModifier));
        EXPECT_TRUE(cell->isAnimatingNow());
        EXPECT_EQ(cell->isAnimatingTowardsRecording(), towardsRecording);
        EXPECT_TRUE(cell->transitionTimer()->isActive());
        EXPECT_EQ(cell->transitionTimer()->interval(), 33);
        EXPECT_TRUE(sendKey(recorder, A, Qt::ControlModifier));
        for (int step = 0; step < 10; ++step) {
            cell->advanceTransition();
        }
        EXPECT_EQ(cell->isRecording(), !towardsRecording) << "the state changes at the end";
        cell->advanceTransition();
        EXPECT_EQ(cell->isRecording(), towardsRecording);
        EXPECT_FALSE(cell->transitionTimer()->isActive());
    }
    EXPECT_EQ(recorder->keyCombo(), kUnchanged);
}

// Kept under "ShortcutRecorder <name>" and read back by the next recorder of
// that name, through the flag filter; an entry with only Carbon modifiers
// is read too.
TEST_F(SRRecorderTest, AutosavedCombination)
{
    recorder->setAutosaveName(QStringLiteral("password"));
    startRecording();
    sendKey(recorder, A, Qt::ControlModifier | Qt::ShiftModifier);
    const QVariantMap kept = QSettings().value(QStringLiteral("ShortcutRecorder password")).toMap();
    EXPECT_EQ(kept.value(QStringLiteral("keyCode")).toInt(), A);
    EXPECT_EQ(kept.value(QStringLiteral("modifierFlags")).toULongLong(), Control | Shift);
    EXPECT_EQ(kept.value(QStringLiteral("modifiers")).toUInt(), 0x1200u);
    EXPECT_EQ(kept.value(QStringLiteral("keyCharsIgnoringModifiers")).toString(), QStringLiteral("A"));

    SRRecorderControl next;
    next.setAllowedFlags(Shift);
    next.setAutosaveName(QStringLiteral("password"));
    EXPECT_EQ(next.keyCombo(), SRMakeKeyCombo(A, Shift));
    EXPECT_EQ(next.objectValue().toMap().value(QStringLiteral("characters")).toString(), QStringLiteral("A"));

    QSettings().setValue(QStringLiteral("ShortcutRecorder carbon"),
                         QVariantMap{{QStringLiteral("keyCode"), K}, {QStringLiteral("modifiers"), 0x900}});
    SRRecorderControl carbon;
    carbon.setAutosaveName(QStringLiteral("carbon"));
    EXPECT_EQ(carbon.keyCombo(), SRMakeKeyCombo(K, Option | Command));
    EXPECT_EQ(carbon.keyCharsIgnoringModifiers(), QStringLiteral("K")) << "from the layout when not recorded";
}

// Narrowing the allowed modifiers refilters the combination and says so.
TEST_F(SRRecorderTest, AllowedFlagsRefilterTheCombination)
{
    recorder->setObjectValue(QVariantMap{{QStringLiteral("keyCode"), A},
                                         {QStringLiteral("modifierFlags"), Control | Shift}});
    owner.changes.clear();
    recorder->setAllowedFlags(Control);
    EXPECT_EQ(recorder->keyCombo(), SRMakeKeyCombo(A, Control));
    EXPECT_EQ(owner.changes, QList<_KeyCombo>{SRMakeKeyCombo(A, Control)});
    recorder->setAllowedFlags(Control | Option);
    EXPECT_EQ(owner.changes.size(), 1) << "nothing dropped, nothing to tell";
}

// While recording, a menu shortcut reaches the recorder instead of firing.
TEST_F(SRRecorderTest, MenuShortcutsWaitWhileRecording)
{
    auto* quit = new QAction(&window);
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
    window.addAction(quit);
    QSignalSpy triggered(quit, &QAction::triggered);
    startRecording();
    QTest::keyClick(recorder, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(triggered.count(), 0);
    sendKey(recorder, Escape, Qt::NoModifier);
    QTest::keyClick(recorder, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(triggered.count(), 1);
}

// Every text of the "ShortcutRecorder" context has its Japanese translation.
TEST(SRRecorderTexts, JapaneseThroughTheTranslator)
{
    ASSERT_TRUE(RKTranslations::install(*QCoreApplication::instance()));
    EXPECT_EQ(SRLoc("Click to record shortcut"), QString::fromUtf16(u"クリックしてショートカットを記録"));
    EXPECT_EQ(SRLoc("Type shortcut"), QString::fromUtf16(u"ショートカットを入力"));
    for (const char* key : {"Use old shortcut", "Space", "Pad %@", "Command + ", "Option + ", "Control + ",
                            "The key combination %@ can't be used!",
                            "The key combination \"%@\" can't be used because %@.",
                            "The key combination \"%@\" can't be used because it's already used by a system-wide "
                            "keyboard shortcut. (If you really want to use this key combination, most shortcuts can "
                            "be changed in the Keyboard & Mouse panel in System Preferences.)",
                            "The key combination \"%@\" can't be used because it's already used by the menu item "
                            "\"%@\"."}) {
        EXPECT_NE(SRLoc(key), QString::fromUtf8(key)) << key;
    }
    for (QTranslator* translator : QCoreApplication::instance()->findChildren<QTranslator*>()) {
        QCoreApplication::removeTranslator(translator);
        delete translator;
    }
}

} // namespace
