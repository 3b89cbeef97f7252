// GSettings over the backend that the variant names: memory, keyfile or dconf (which needs a session bus). The schema is made
// from the keys and compiled into the directory.
#include "Measure.h"

#define G_SETTINGS_ENABLE_BACKEND
#include <gio/gio.h>
#include <gio/gsettingsbackend.h>

#include <filesystem>
#include <fstream>

namespace Bench {

namespace {

constexpr char const* schemaId = "bench.mediadata";
constexpr char const* schemaPath = "/bench/mediadata/";

void writeSchema(std::string const& directory)
{
    if (std::filesystem::exists(directory + "/gschemas.compiled"))
        return;
    std::ofstream out(directory + "/bench.gschema.xml");
    out << "<schemalist><schema id=\"" << schemaId << "\" path=\"" << schemaPath << "\">\n";
    for (Key const& key : allKeys()) {
        out << "<key name=\"" << key.name;
        if (key.type == Type::Int)
            out << "\" type=\"i\"><range min=\"" << key.minimum << "\" max=\"" << key.maximum << "\"/><default>"
                << key.minimum << "</default></key>\n";
        else if (key.type == Type::Bool)
            out << "\" type=\"b\"><default>false</default></key>\n";
        else
            out << "\" type=\"s\"><default>''</default></key>\n";
    }
    out << "</schema></schemalist>\n";
    out.close();
    if (std::system(("glib-compile-schemas " + directory).c_str()) != 0)
        std::abort();
}

GSettingsBackend* makeBackend(Setup const& setup)
{
    if (setup.variant == "memory")
        return g_memory_settings_backend_new();
    if (setup.variant == "keyfile")
        return g_keyfile_settings_backend_new((setup.directory + "/settings.ini").c_str(), "/", nullptr);
    auto* const backend = g_settings_backend_get_default();
    if (std::string(G_OBJECT_TYPE_NAME(backend)) != "DConfSettingsBackend")
        std::abort();
    return backend;
}

class GSettingsStore {
public:
    static constexpr bool validates = true;
    static constexpr bool persists = true;
    static constexpr bool notifies = true;

    explicit GSettingsStore(Setup const& setup) : m_hasNoLock(setup.variant != "dconf")
    {
        writeSchema(setup.directory);
        GSettingsSchemaSource* const source =
            g_settings_schema_source_new_from_directory(setup.directory.c_str(), nullptr, TRUE, nullptr);
        m_schema = g_settings_schema_source_lookup(source, schemaId, FALSE);
        m_backend = makeBackend(setup);
        m_settings = g_settings_new_full(m_schema, m_backend, nullptr);
        g_settings_schema_source_unref(source);
        if (setup.variant == "memory")
            writeMany(allKeys(), 1);
    }
    GSettingsStore(GSettingsStore const& other)
        : m_hasNoLock(other.m_hasNoLock), m_schema(g_settings_schema_ref(other.m_schema)),
          m_backend(static_cast<GSettingsBackend*>(g_object_ref(other.m_backend))),
          m_settings(g_settings_new_full(m_schema, m_backend, nullptr))
    {}
    ~GSettingsStore()
    {
        g_object_unref(m_settings);
        g_object_unref(m_backend);
        g_settings_schema_unref(m_schema);
    }

    bool read(Key const& key, int& value)
    {
        value = g_settings_get_int(m_settings, key.name.c_str());
        return true;
    }
    bool read(Key const& key, bool& value)
    {
        value = g_settings_get_boolean(m_settings, key.name.c_str()) != FALSE;
        return true;
    }
    bool read(Key const& key, std::string& value)
    {
        gchar* const text = g_settings_get_string(m_settings, key.name.c_str());
        value = text;
        g_free(text);
        return true;
    }

    bool write(Key const& key, int value) { return g_settings_set_int(m_settings, key.name.c_str(), value) != FALSE; }
    bool write(Key const& key, bool value) { return g_settings_set_boolean(m_settings, key.name.c_str(), value) != FALSE; }
    bool write(Key const& key, std::string const& value)
    {
        return g_settings_set_string(m_settings, key.name.c_str(), value.c_str()) != FALSE;
    }

    void save() { g_settings_sync(); }

    void readMany(std::vector<Key> const& keys)
    {
        for (Key const& key : keys)
            each(key, [&](auto value) {
                read(key, value);
                keep(value);
            });
    }

    void writeMany(std::vector<Key> const& keys, int variant)
    {
        // An object in delayed mode stays so, hence objects of their own; one takes no more than 255 keys.
        constexpr std::size_t limit = 250;
        for (std::size_t first = 0; first < keys.size(); first += limit) {
            GSettingsStore many(*this);
            g_settings_delay(many.m_settings);
            for (std::size_t i = first; i < std::min(first + limit, keys.size()); ++i)
                each(keys[i], [&](auto value) {
                    keys[i].value(variant, value);
                    many.write(keys[i], value);
                });
            g_settings_apply(many.m_settings);
        }
    }

    void listen(Key const& key, int& heard)
    {
        auto const count = +[](GSettings*, gchar const*, gpointer target) { ++*static_cast<int*>(target); };
        g_signal_connect(m_settings, ("changed::" + key.name).c_str(), G_CALLBACK(count), &heard);
        read(key, m_scratch); // only keys that were read are announced
    }
    void await(int const& heard, int count)
    {
        while (heard < count)
            g_main_context_iteration(nullptr, FALSE);
    }

    std::unique_ptr<GSettingsStore> another() { return std::make_unique<GSettingsStore>(*this); }

    bool hasNoLock() const { return m_hasNoLock; }

private:
    bool m_hasNoLock;
    GSettingsSchema* m_schema = nullptr;
    GSettingsBackend* m_backend = nullptr;
    GSettings* m_settings = nullptr;
    int m_scratch = 0;
};

} // namespace

} // namespace Bench

int main(int argc, char** argv)
{
    // Refusals are logged; that is not part of the comparison.
    g_log_set_writer_func([](GLogLevelFlags, GLogField const*, gsize, gpointer) { return G_LOG_WRITER_HANDLED; }, nullptr,
                          nullptr);
    return Bench::measure<Bench::GSettingsStore>(argc, argv);
}
