// GLib's headers name struct members "signals", which Qt defines away.
#pragma push_macro("signals")
#undef signals
#include <gio/gio.h>
#pragma pop_macro("signals")

#include "shortcut/SRGnomeKeyBindingProbe.h"

#include "platform/RKKeyCodeTable.h"
#include "shortcut/SRCommon.h"
#include "shortcut/SRKeyboardLayout.h"

#include <QRegularExpression>

#include <xkbcommon/xkbcommon.h>

namespace {

constexpr const char* kSchemas[] = {
    "org.gnome.desktop.wm.keybindings",
    "org.gnome.shell.keybindings",
    "org.gnome.settings-daemon.plugins.media-keys",
};
constexpr const char* kCustomSchema = "org.gnome.settings-daemon.plugins.media-keys.custom-keybinding";

GSettingsSchema* lookUp(const char* id)
{
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    return source ? g_settings_schema_source_lookup(source, id, TRUE) : nullptr;
}

// The accelerators of one value: a list of them, or one ("s" keys of older
// schemas). Paths (the list of the user's own commands) are no accelerators.
void collect(GVariant* value, QStringList& accelerators)
{
    const auto add = [&](const char* text) {
        const QString accelerator = QString::fromUtf8(text);
        if (!accelerator.isEmpty() && !accelerator.startsWith(QLatin1Char('/'))
            && accelerator != QStringLiteral("disabled")) {
            accelerators.append(accelerator);
        }
    };
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING)) {
        add(g_variant_get_string(value, nullptr));
    } else if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING_ARRAY)) {
        gsize count = 0;
        const gchar** items = g_variant_get_strv(value, &count);
        for (gsize i = 0; i < count; ++i) {
            add(items[i]);
        }
        g_free(items);
    }
}

void collectSchema(GSettingsSchema* schema, const char* path, QStringList& accelerators)
{
    GSettings* settings = g_settings_new_full(schema, nullptr, path);
    gchar** keys = g_settings_schema_list_keys(schema);
    for (gchar** key = keys; *key; ++key) {
        GVariant* value = g_settings_get_value(settings, *key);
        collect(value, accelerators);
        g_variant_unref(value);
    }
    g_strfreev(keys);
    if (GSettingsSchema* custom = lookUp(kCustomSchema);
        custom && g_settings_schema_has_key(schema, "custom-keybindings")) {
        gchar** paths = g_settings_get_strv(settings, "custom-keybindings");
        for (gchar** each = paths; *each; ++each) {
            GSettings* command = g_settings_new_full(custom, nullptr, *each);
            gchar* binding = g_settings_get_string(command, "binding");
            collect(g_variant_new_string(binding), accelerators);
            g_free(binding);
            g_object_unref(command);
        }
        g_strfreev(paths);
        g_settings_schema_unref(custom);
    } else if (custom) {
        g_settings_schema_unref(custom);
    }
    g_object_unref(settings);
}

} // namespace

bool SRGnomeKeyBindingProbe::canProbe()
{
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'));
    if (!desktops.contains(QStringLiteral("GNOME"), Qt::CaseInsensitive)) {
        return false;
    }
    GSettingsSchema* schema = lookUp(kSchemas[0]);
    if (schema) {
        g_settings_schema_unref(schema);
    }
    return schema != nullptr;
}

QStringList SRGnomeKeyBindingProbe::boundAccelerators()
{
    QStringList accelerators;
    for (const char* id : kSchemas) {
        if (GSettingsSchema* schema = lookUp(id)) {
            collectSchema(schema, nullptr, accelerators);
            g_settings_schema_unref(schema);
        }
    }
    return accelerators;
}

bool SRGnomeKeyBindingProbe::matches(const QString& accelerator, qint64 keyCode, quint32 carbonFlags)
{
    static const QRegularExpression modifier(QStringLiteral("^<([^>]*)>"));
    QString rest = accelerator.trimmed();
    quint32 flags = 0;
    for (QRegularExpressionMatch match = modifier.match(rest); match.hasMatch(); match = modifier.match(rest)) {
        const QString name = match.captured(1).toLower();
        if (name == QStringLiteral("shift")) {
            flags |= SRCarbonShiftFlag;
        } else if (name == QStringLiteral("control") || name == QStringLiteral("ctrl")
                   || name == QStringLiteral("primary")) {
            flags |= SRCarbonControlFlag;
        } else if (name == QStringLiteral("alt") || name == QStringLiteral("mod1")) {
            flags |= SRCarbonOptionFlag;
        } else if (name == QStringLiteral("super") || name == QStringLiteral("mod4") || name == QStringLiteral("meta")) {
            flags |= SRCarbonCommandFlag;
        }
        rest = rest.mid(match.capturedLength());
    }
    constexpr quint32 compared = SRCarbonShiftFlag | SRCarbonControlFlag | SRCarbonOptionFlag | SRCarbonCommandFlag;
    if (rest.isEmpty() || flags != (carbonFlags & compared)) {
        return false;
    }
    const QByteArray name = rest.toUtf8();
    xkb_keysym_t wanted = xkb_keysym_from_name(name.constData(), XKB_KEYSYM_NO_FLAGS);
    if (wanted == XKB_KEY_NoSymbol) {
        wanted = xkb_keysym_from_name(name.constData(), XKB_KEYSYM_CASE_INSENSITIVE);
    }
    SRKeyboardLayout* layout = SRKeyboardLayout::current();
    const int x11KeyCode = keyCode >= 0 && keyCode < 128 ? RKKeyCodeTable::x11KeyCode(int(keyCode)) : 0;
    if (wanted == XKB_KEY_NoSymbol || !layout || x11KeyCode == 0) {
        return false;
    }
    return xkb_keysym_to_lower(layout->keysym(x11KeyCode)) == xkb_keysym_to_lower(wanted);
}

bool SRGnomeKeyBindingProbe::isTaken(qint64 keyCode, quint32 carbonFlags)
{
    const QStringList accelerators = boundAccelerators();
    for (const QString& accelerator : accelerators) {
        if (matches(accelerator, keyCode, carbonFlags)) {
            return true;
        }
    }
    return false;
}
