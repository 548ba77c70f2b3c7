#include "shortcut/widgets/SRValidator.h"

#include "shortcut/SRCommon.h"
#include "shortcut/SRHotKeyProbe.h"
#include "shortcut/widgets/SRValidatorDelegate.h"

#include <QAction>
#include <QApplication>
#include <QKeySequence>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QRegularExpression>

namespace {

QPointer<QMenuBar> g_mainMenu;

constexpr quint32 kComparedModifiers = SRCarbonCommandFlag | SRCarbonOptionFlag | SRCarbonShiftFlag | SRCarbonControlFlag;

SRValidationError makeError(qint64 keyCode, quint32 flags, const QString& explanation)
{
    return SRValidationError{
        SRFormat(SRLoc("The key combination %@ can't be used!"), {SRGlyphStringForCarbonFlagsAndKeyCode(flags, keyCode)}),
        explanation, {QStringLiteral("OK")}};
}

// The stored key code of the keys whose text is not the character they type.
int specialKeyCode(Qt::Key key)
{
    if (key >= Qt::Key_F1 && key <= Qt::Key_F19) {
        static constexpr int functionKeys[] = {122, 120, 99, 118, 96, 97, 98, 100, 101, 109,
                                               103, 111, 105, 107, 113, 106, 64, 79, 80};
        return functionKeys[key - Qt::Key_F1];
    }
    switch (key) {
    case Qt::Key_Space: return 49;
    case Qt::Key_Backspace: return 51;
    case Qt::Key_Delete: return 117;
    case Qt::Key_Clear: return 71;
    case Qt::Key_Left: return 123;
    case Qt::Key_Right: return 124;
    case Qt::Key_Up: return 126;
    case Qt::Key_Down: return 125;
    case Qt::Key_End: return 119;
    case Qt::Key_Home: return 115;
    case Qt::Key_Escape: return 53;
    case Qt::Key_PageDown: return 121;
    case Qt::Key_PageUp: return 116;
    case Qt::Key_Return: return 36;
    case Qt::Key_Enter: return 76;
    case Qt::Key_Tab: return 48;
    case Qt::Key_Help: return 114;
    default: return -1;
    }
}

// The text of a shortcut's key, comparable with the texts of key codes:
// the character of a character key, the fixed text of the others.
QString keyEquivalent(const QKeyCombination& combination)
{
    const Qt::Key key = combination.key();
    const int code = specialKeyCode(key);
    if (code >= 0) {
        return SRDisplayStringForKeyCode(code);
    }
    if (key < Qt::Key_Escape) {
        const char32_t character = char32_t(key);
        return QString::fromUcs4(&character, 1);
    }
    return QKeySequence(key).toString(QKeySequence::PortableText);
}

// The title as the menu shows it: without its mnemonic marker, or the
// "(&F)" that Japanese titles append for one.
QString menuItemTitle(QString text)
{
    static const QRegularExpression appendedMnemonic(QStringLiteral("\\(&[^&]\\)$"));
    static const QRegularExpression marker(QStringLiteral("&(.)"));
    return text.remove(appendedMnemonic).replace(marker, QStringLiteral("\\1"));
}

} // namespace

SRValidator::SRValidator(SRValidatorDelegate* delegate)
    : m_delegate(delegate)
{
}

bool SRValidator::isKeyCodeAndFlagsTaken(qint64 keyCode, quint32 flags, SRValidationError* error)
{
    if (m_delegate) {
        QString reason;
        if (m_delegate->shortcutValidatorIsKeyCodeAndFlagsTaken(this, keyCode, SRCocoaFlagsFromCarbonFlags(flags),
                                                                 &reason)) {
            if (error) {
                *error = makeError(keyCode, flags,
                                   SRFormat(SRLoc("The key combination \"%@\" can't be used because %@."),
                                            {SRSpelledStringForCarbonFlagsAndKeyCode(flags, keyCode),
                                             reason.isEmpty() ? QStringLiteral("it's already used") : reason}));
            }
            return true;
        }
    }

    SRHotKeyProbe* probe = SRHotKeyProbe::current();
    if (probe->canProbe()) {
        if (SRDisplayStringForKeyCode(keyCode).isEmpty()) {
            return true;
        }
        if (probe->isTaken(keyCode, flags)) {
            if (error) {
                *error = makeError(
                    keyCode, flags,
                    SRFormat(SRLoc("The key combination \"%@\" can't be used because it's already used by a "
                                   "system-wide keyboard shortcut. (If you really want to use this key combination, "
                                   "most shortcuts can be changed in the Keyboard & Mouse panel in System "
                                   "Preferences.)"),
                             {SRSpelledStringForCarbonFlagsAndKeyCode(flags, keyCode)}));
            }
            return true;
        }
    }
    return isKeyCodeAndFlagsTakenInMenu(keyCode, flags, mainMenu(), error);
}

bool SRValidator::isKeyCodeAndFlagsTakenInMenu(qint64 keyCode, quint32 flags, const QWidget* menu,
                                               SRValidationError* error)
{
    if (!menu) {
        return false;
    }
    const QString keyText = SRDisplayStringForKeyCode(keyCode);
    const QList<QAction*> items = menu->actions();
    for (const QAction* item : items) {
        if (const QMenu* submenu = item->menu<QMenu*>()) {
            if (isKeyCodeAndFlagsTakenInMenu(keyCode, flags, submenu, error)) {
                return true;
            }
        }
        const QList<QKeySequence> shortcuts = item->shortcuts();
        for (const QKeySequence& shortcut : shortcuts) {
            // Pressed alone, the first step of a longer sequence is taken too:
            // Qt waits for the rest of the sequence.
            if (shortcut.isEmpty()) {
                continue;
            }
            const quint32 itemFlags =
                SRCarbonFlagsFromCocoaFlags(SRCocoaFlagsFromQtModifiers(shortcut[0].keyboardModifiers()));
            if (keyText.isEmpty() || keyEquivalent(shortcut[0]).toUpper() != keyText
                || (itemFlags & kComparedModifiers) != (flags & kComparedModifiers)) {
                continue;
            }
            if (error) {
                *error = makeError(keyCode, flags,
                                   SRFormat(SRLoc("The key combination \"%@\" can't be used because it's already "
                                                  "used by the menu item \"%@\"."),
                                            {SRSpelledStringForCarbonFlagsAndKeyCode(itemFlags, keyCode),
                                             menuItemTitle(item->text())}));
            }
            return true;
        }
    }
    return false;
}

QWidget* SRValidator::mainMenu()
{
    if (g_mainMenu) {
        return g_mainMenu;
    }
    QMenuBar* found = nullptr;
    const QList<QWidget*> windows = QApplication::topLevelWidgets();
    for (QWidget* window : windows) {
        auto* mainWindow = qobject_cast<QMainWindow*>(window);
        auto* menuBar = mainWindow ? qobject_cast<QMenuBar*>(mainWindow->menuWidget()) : nullptr;
        if (menuBar && (!found || mainWindow->isVisible())) {
            found = menuBar;
        }
    }
    return found;
}

void SRValidator::setMainMenu(QMenuBar* menuBar)
{
    g_mainMenu = menuBar;
}
