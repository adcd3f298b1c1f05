// GIO's headers name struct members `signals`, which Qt defines as a keyword: they come first.
#pragma push_macro("signals")
#undef signals
#include <gio/gio.h>
#pragma pop_macro("signals")

#include "vantaquill/providers/GSettingsKey.hpp"

namespace vq {

std::unique_ptr<GSettingsKey> GSettingsKey::follow(const QString& schema, const QString& key, OnValue onValue) {
    // GLib ends the process when asked for a schema it does not know: it is looked up first.
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    GSettingsSchema* found = source ? g_settings_schema_source_lookup(source, schema.toUtf8().constData(), TRUE)
                                    : nullptr;
    if (!found)
        return nullptr;
    const bool hasKey = g_settings_schema_has_key(found, key.toUtf8().constData());
    g_settings_schema_unref(found);
    if (!hasKey)
        return nullptr;
    return std::unique_ptr<GSettingsKey>(new GSettingsKey(schema, key, std::move(onValue)));
}

GSettingsKey::GSettingsKey(const QString& schema, const QString& key, OnValue onValue)
    : key_(key.toUtf8()), onValue_(std::move(onValue)), settings_(g_settings_new(schema.toUtf8().constData())) {
    const QByteArray signal = "changed::" + key_;
    handler_ = g_signal_connect_swapped(settings_, signal.constData(),
                                        G_CALLBACK(+[](GSettingsKey* self) { self->tell(); }), this);
    tell();
}

GSettingsKey::~GSettingsKey() {
    g_signal_handler_disconnect(settings_, handler_);
    g_object_unref(settings_);
}

void GSettingsKey::tell() {
    GVariant* value = g_settings_get_value(settings_, key_.constData());
    gchar* text = g_variant_print(value, FALSE);
    const QString printed = QString::fromUtf8(text);
    g_free(text);
    g_variant_unref(value);
    onValue_(printed);
}

} // namespace vq
