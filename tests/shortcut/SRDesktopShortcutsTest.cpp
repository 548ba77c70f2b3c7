// The desktop's own shortcuts, as each desktop tells them: Plasma's
// global-shortcut service (a stand-in on a private bus, in both of its
// releases' methods) and GNOME's key-binding schemas (GSettings in memory,
// the installed schemas' defaults). A bound combination is taken with the
// system explanation; what is switched off or bound elsewhere is free.
#pragma push_macro("signals")
#undef signals
#include <gio/gio.h>
#pragma pop_macro("signals")

#include "ScopedKeyboardLayout.h"
#include "shortcut/SRCommon.h"
#include "shortcut/SRGnomeKeyBindingProbe.h"
#include "shortcut/SRKGlobalAccelProbe.h"
#include "shortcut/widgets/SRValidator.h"
#include "support/PrivateSessionBus.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMetaType>
#include <QThread>
#include <gtest/gtest.h>

namespace {

constexpr quint32 kCommand = SRCarbonCommandFlag;
constexpr quint32 kOption = SRCarbonOptionFlag;
constexpr quint32 kControl = SRCarbonControlFlag;

// One entry of the service's answer: context, component and action names,
// then the action's keys and default keys.
struct ShortcutInfo {
    QStringList names{"", "", "kwin", "KWin", "Kill Window", "Kill Window"};
    QList<int> keys;
    QList<int> defaultKeys;
};

QDBusArgument& operator<<(QDBusArgument& argument, const ShortcutInfo& info)
{
    argument.beginStructure();
    for (const QString& name : info.names) {
        argument << name;
    }
    argument << info.keys << info.defaultKeys;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ShortcutInfo& info)
{
    argument.beginStructure();
    for (QString& name : info.names) {
        argument >> name;
    }
    argument >> info.keys >> info.defaultKeys;
    argument.endStructure();
    return argument;
}

} // namespace

Q_DECLARE_METATYPE(ShortcutInfo)

namespace {

// Plasma's service with Meta+Return and Ctrl+Alt+Esc bound; an older one
// knows only getGlobalShortcutsByKey.
class FakeKGlobalAccel : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.KGlobalAccel")

public:
    bool older = false;
    QList<int> bound{int(Qt::MetaModifier) | Qt::Key_Return,
                     int(Qt::ControlModifier | Qt::AltModifier) | Qt::Key_Escape};

public slots:
    QList<ShortcutInfo> globalShortcutsByKey(const QList<int>& keys, int matchType)
    {
        if (older) {
            sendErrorReply(QDBusError::UnknownMethod, QStringLiteral("no such method"));
            return {};
        }
        return matchType == 0 ? getGlobalShortcutsByKey(keys.value(0)) : QList<ShortcutInfo>();
    }

    QList<ShortcutInfo> getGlobalShortcutsByKey(int key)
    {
        ShortcutInfo info;
        info.keys = info.defaultKeys = {key};
        return bound.contains(key) ? QList<ShortcutInfo>{info} : QList<ShortcutInfo>();
    }
};

struct DesktopCase {
    const char* name;
    bool older; // Plasma: the service of releases before globalShortcutsByKey
    qint64 keyCode;
    quint32 flags;
    bool taken;
};

// The validator asked through the probe: taken with the system explanation, or free.
void expectTakenThrough(SRHotKeyProbe& probe, const DesktopCase& c)
{
    SRHotKeyProbe::setCurrent(&probe);
    SRValidationError error;
    EXPECT_EQ(SRValidator().isKeyCodeAndFlagsTaken(c.keyCode, c.flags, &error), c.taken);
    EXPECT_EQ(error.localizedRecoverySuggestion.contains("system-wide keyboard shortcut"), c.taken);
    SRHotKeyProbe::setCurrent(nullptr);
}

class PlasmaShortcuts : public ::testing::TestWithParam<DesktopCase> {};

TEST_P(PlasmaShortcuts, AreTakenAsTheServiceTells)
{
    qDBusRegisterMetaType<ShortcutInfo>();
    qDBusRegisterMetaType<QList<ShortcutInfo>>();
    const DesktopCase& c = GetParam();
    const ScopedKeyboardLayout layout("us");
    PrivateSessionBus bus;
    ASSERT_TRUE(bus.isRunning()) << "dbus-daemon did not start";
    ASSERT_TRUE(bus.connect("kglobalaccel-client") && bus.connect("kglobalaccel"));
    SRKGlobalAccelProbe probe(QStringLiteral("kglobalaccel-client"));
    EXPECT_FALSE(probe.canProbe()) << "no service yet";

    // Served on a thread of its own, as another process would serve it.
    FakeKGlobalAccel service;
    service.older = c.older;
    QThread serviceThread;
    service.moveToThread(&serviceThread);
    serviceThread.start();
    QDBusConnection server(QStringLiteral("kglobalaccel"));
    ASSERT_TRUE(server.registerObject("/kglobalaccel", &service, QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(server.registerService("org.kde.kglobalaccel"));
    ASSERT_TRUE(probe.canProbe());
    expectTakenThrough(probe, c);
    serviceThread.quit();
    serviceThread.wait();
}

INSTANTIATE_TEST_SUITE_P(
    Combinations, PlasmaShortcuts,
    ::testing::Values(DesktopCase{"CommandReturn", false, 36, kCommand, true},
                      DesktopCase{"ControlOptionEscape", false, 53, kControl | kOption, true},
                      DesktopCase{"CommandReturnOlderRelease", true, 36, kCommand, true},
                      DesktopCase{"ReturnAloneIsFree", false, 36, 0, false},
                      DesktopCase{"CommandXIsFree", true, 7, kCommand, false}),
    [](const auto& info) { return std::string(info.param.name); });

class GnomeShortcuts : public ::testing::TestWithParam<DesktopCase>
{
protected:
    void SetUp() override
    {
        // Before GIO's first look at its settings backend in this process.
        qputenv("GSETTINGS_BACKEND", "memory");
        qputenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
        GSettingsSchemaSource* source = g_settings_schema_source_get_default();
        for (const char* id : {"org.gnome.desktop.wm.keybindings", "org.gnome.shell.keybindings",
                               "org.gnome.settings-daemon.plugins.media-keys"}) {
            GSettingsSchema* schema = source ? g_settings_schema_source_lookup(source, id, TRUE) : nullptr;
            if (!schema) {
                GTEST_SKIP() << id << " is not installed (gsettings-desktop-schemas, gnome-shell-common, "
                                      "gnome-settings-daemon-common)";
            }
            g_settings_schema_unref(schema);
        }
        // Closing windows switched off; a command of the user's own on Ctrl+Alt+T.
        GSettings* wm = g_settings_new("org.gnome.desktop.wm.keybindings");
        const gchar* none[] = {nullptr};
        g_settings_set_strv(wm, "close", none);
        g_object_unref(wm);
        const char* path = "/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/custom0/";
        GSettings* custom = g_settings_new_with_path(
            "org.gnome.settings-daemon.plugins.media-keys.custom-keybinding", path);
        g_settings_set_string(custom, "binding", "<Primary><Alt>t");
        g_object_unref(custom);
        GSettings* media = g_settings_new("org.gnome.settings-daemon.plugins.media-keys");
        const gchar* paths[] = {path, nullptr};
        g_settings_set_strv(media, "custom-keybindings", paths);
        g_object_unref(media);
    }
    void TearDown() override { qunsetenv("XDG_CURRENT_DESKTOP"); }
};

TEST_P(GnomeShortcuts, AreTakenAsTheKeyBindingSchemasSay)
{
    const DesktopCase& c = GetParam();
    const ScopedKeyboardLayout layout("us");
    SRGnomeKeyBindingProbe probe;
    ASSERT_TRUE(probe.canProbe());
    expectTakenThrough(probe, c);
}

INSTANTIATE_TEST_SUITE_P(
    Combinations, GnomeShortcuts,
    ::testing::Values(DesktopCase{"CommandTabWindowManager", false, 48, kCommand, true},
                      DesktopCase{"CommandSShell", false, 1, kCommand, true},
                      DesktopCase{"CommandLMediaKeys", false, 37, kCommand, true},
                      DesktopCase{"ControlOptionTUsersOwnCommand", false, 17, kControl | kOption, true},
                      DesktopCase{"OptionF4SwitchedOffIsFree", false, 118, kOption, false},
                      DesktopCase{"CommandShiftSIsFree", false, 1, kCommand | SRCarbonShiftFlag, false}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace

#include "SRDesktopShortcutsTest.moc"
