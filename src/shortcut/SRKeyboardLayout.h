#pragma once

#include <QByteArray>
#include <QFlags>
#include <QObject>
#include <QString>

#include <memory>

struct xkb_context;
struct xkb_keymap;
struct xkb_state;
struct xcb_connection_t;
class QSocketNotifier;

// The keyboard layout that gives keys their texts. On X11 it is the display's
// keymap in its active group, and it follows layout switches (setxkbmap, the
// desktop's layout indicator) through the XKB events of its own connection;
// on Wayland it is the keymap and group the compositor sends
// (RKSessionKeymap); elsewhere a keymap built from the XKB default names.
// Keys are X11 key codes (see RKKeyCodeTable). Main thread only.
class SRKeyboardLayout : public QObject
{
    Q_OBJECT

public:
    // The modifiers that change what a key types: Shift, and Option (Alt).
    enum Modifier { NoModifier = 0, Shift = 1, Option = 2 };
    Q_DECLARE_FLAGS(Modifiers, Modifier)

    ~SRKeyboardLayout() override;

    // A keymap from XKB rule names; empty names take the XKB_DEFAULT_*
    // variables and then libxkbcommon's defaults (the "us" layout). nullptr
    // when no keymap can be compiled from them.
    static std::unique_ptr<SRKeyboardLayout> fromNames(const QByteArray& layout = QByteArray(),
                                                       const QByteArray& variant = QByteArray());
    // The layout of an X display (empty: the DISPLAY variable). nullptr when
    // the display cannot be opened or has no XKB.
    static std::unique_ptr<SRKeyboardLayout> fromX11Display(const QByteArray& displayName = QByteArray());
    // The keymap of RKSessionKeymap, following its changes; the default
    // names' keymap until it has one. nullptr when neither compiles.
    static std::unique_ptr<SRKeyboardLayout> fromSessionKeymap();

    // What the key shows with these modifiers in the active group: its
    // character, a dead key as its spacing accent. Empty when it has none.
    QString displayText(int x11KeyCode, Modifiers modifiers = NoModifier);
    // Whether the key is a dead key (an accent waiting for the next key).
    bool isDeadKey(int x11KeyCode, Modifiers modifiers = NoModifier);
    // The key's XKB keysym with these modifiers in the active group
    // (XKB_KEY_NoSymbol when it has none).
    quint32 keysym(int x11KeyCode, Modifiers modifiers = NoModifier);

    // Applies the keymap and group changes the display has reported so far,
    // without waiting; emits layoutChanged when there were any. The event
    // loop calls it whenever the connection has something to read.
    void processPendingChanges();

    // The layout of the session: an injected one when set; else the
    // compositor's on Wayland (never XWayland's), the X display's on xcb,
    // else one from the default names. May be nullptr when not even that can
    // be compiled.
    static SRKeyboardLayout* current();
    // Replaces the layout of the session (tests); nullptr restores it. Not owned.
    static void setCurrent(SRKeyboardLayout* layout);

signals:
    // The keymap or the active group changed.
    void layoutChanged();

private:
    SRKeyboardLayout();
    bool loadX11Keymap();
    bool loadSessionKeymap();

    xkb_context* m_context = nullptr;
    xkb_keymap* m_keymap = nullptr;
    xkb_state* m_state = nullptr;
    xcb_connection_t* m_connection = nullptr;
    int m_deviceId = -1;
    int m_xkbEventBase = -1;
    QSocketNotifier* m_notifier = nullptr;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(SRKeyboardLayout::Modifiers)
