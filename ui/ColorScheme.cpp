#include "ui/ColorScheme.h"

#include <memory>

#include <gtkmm/settings.h>

namespace ostrel {
namespace {

constexpr const char* portal = "org.freedesktop.portal.Desktop";
constexpr const char* object = "/org/freedesktop/portal/desktop";
constexpr const char* interface = "org.freedesktop.portal.Settings";
constexpr const char* group = "org.freedesktop.appearance";
constexpr const char* key = "color-scheme";
constexpr guint32 dark = 1;

// The value may be wrapped in variants, by the version of the portal.
void apply(GVariant* value) {
    GVariant* inner = g_variant_ref(value);
    while (g_variant_is_of_type(inner, G_VARIANT_TYPE_VARIANT)) {
        GVariant* next = g_variant_get_variant(inner);
        g_variant_unref(inner);
        inner = next;
    }
    if (g_variant_is_of_type(inner, G_VARIANT_TYPE_UINT32))
        Gtk::Settings::get_default()->property_gtk_application_prefer_dark_theme() =
            g_variant_get_uint32(inner) == dark;
    g_variant_unref(inner);
}

void changed(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* arguments, gpointer) {
    const char *changedGroup = nullptr, *changedKey = nullptr;
    GVariant* value = nullptr;
    g_variant_get(arguments, "(&s&sv)", &changedGroup, &changedKey, &value);
    if (g_str_equal(changedGroup, group) && g_str_equal(changedKey, key)) apply(value);
    g_variant_unref(value);
}

void answered(GObject* bus, GAsyncResult* result, gpointer) {
    GVariant* answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, nullptr);
    if (answer == nullptr) return;   // no portal: the theme decides
    GVariant* value = nullptr;
    g_variant_get(answer, "(v)", &value);
    apply(value);
    g_variant_unref(value);
    g_variant_unref(answer);
}

}   // namespace

struct ColorScheme::Connection {
    GDBusConnection* bus = nullptr;
    guint subscription = 0;

    ~Connection() {
        if (bus == nullptr) return;
        g_dbus_connection_signal_unsubscribe(bus, subscription);
        g_object_unref(bus);
    }
};

ColorScheme::ColorScheme() : connection_(std::make_shared<Connection>()) {
    g_bus_get(
        G_BUS_TYPE_SESSION, nullptr,
        [](GObject*, GAsyncResult* result, gpointer data) {
            const std::unique_ptr<std::weak_ptr<Connection>> asked(static_cast<std::weak_ptr<Connection>*>(data));
            GDBusConnection* bus = g_bus_get_finish(result, nullptr);
            const auto connection = asked->lock();
            if (bus == nullptr || !connection) {
                g_clear_object(&bus);
                return;
            }
            connection->bus = bus;
            connection->subscription =
                g_dbus_connection_signal_subscribe(bus, portal, interface, "SettingChanged", object, group,
                                                   G_DBUS_SIGNAL_FLAGS_NONE, changed, nullptr, nullptr);
            g_dbus_connection_call(bus, portal, object, interface, "Read", g_variant_new("(ss)", group, key),
                                   G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, answered, nullptr);
        },
        new std::weak_ptr<Connection>(connection_));
}

ColorScheme::~ColorScheme() = default;

}   // namespace ostrel
