// The document as JSON, and back with all the doubts that a file from elsewhere deserves. docs/json/export.json describes it.
#include "workbench/Accepted.h"
#include "workbench/Document.h"
#include "workbench/FlagFile.h"
#include "workbench/Items.h"
#include "workbench/Values.h"

#include "Data/DataSourceOCMS.h"
#include "Tables/Labels.h"

#include <fmt/format.h>

#include <algorithm>
#include <climits>
#include <exception>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

namespace Tool {

using namespace Data;

namespace {

constexpr char const* formatName = "mediadata export";
constexpr int formatVersion = 1;
constexpr std::size_t longestDocument = 16UL * 1024 * 1024;
constexpr int deepest = 4;
constexpr std::size_t mostInDocument = 4096; ///< names and values: several times what an export has

/// The tables that stand by themselves, those with ranks first.
std::vector<Tables::Table const*> const& tablesOfText()
{
    static auto const tables = [] {
        std::vector<Tables::Table const*> found;
        for (auto const kind : {Tables::Kind::ranked, Tables::Kind::numbered}) {
            for (auto const& table : Tables::all) {
                if (table.kind == kind)
                    found.push_back(&table);
            }
        }
        return found;
    }();
    return tables;
}

bool isText(std::string const& bytes)
{
    // What the JSON library can write is UTF-8.
    try {
        Json(bytes).dump();
        return true;
    } catch (Json::exception const&) {
        return false;
    }
}

/// Texts that are not UTF-8 stand as {"hex": "..."}.
Json portable(Json const& value)
{
    if (!value.is_string() || isText(value.get_ref<std::string const&>()))
        return value;
    std::string hex;
    for (char const c : value.get_ref<std::string const&>())
        hex += fmt::format("{:02x}", static_cast<unsigned char>(c));
    return {{"hex", hex}};
}

/// What is wrong with a document: where, and what.
struct Fault {
    std::string place;
    std::string reason;
};

std::string bytesOf(std::string const& place, Json const& value)
{
    auto const* const hex = value.size() == 1 && value.contains("hex") && value["hex"].is_string()
                                ? value["hex"].get_ptr<Json::string_t const*>()
                                : nullptr;
    auto const isHex = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
    if (!hex || hex->size() % 2 != 0 || !std::all_of(hex->begin(), hex->end(), isHex))
        throw Fault{place, R"(expected a value, or {"hex": "..."} with pairs of digits and letters a to f)"};
    std::string bytes;
    for (std::size_t at = 0; at < hex->size(); at += 2)
        bytes += static_cast<char>(std::stoi(hex->substr(at, 2), nullptr, 16));
    return bytes;
}

std::string textAt(std::string const& place, Json const& value)
{
    auto text = value.is_object() ? bytesOf(place, value) : value.is_string() ? value.get<std::string>() : "";
    if (!value.is_string() && !value.is_object())
        throw Fault{place, fmt::format("expected a text, found {}", value.type_name())}; // The value may be a secret.
    if (text.find('\0') != std::string::npos)
        throw Fault{place, "a text must not hold the character 0"};
    return text;
}

/// A value as a message quotes it.
std::string quoted(Json const& value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace).substr(0, 60);
}

/// A value in the item's own type.
Json valueAt(std::string const& place, Json const& value, eDataItemType type)
{
    bool const isInt = value.is_number_integer() && value.get<double>() >= INT_MIN && value.get<double>() <= INT_MAX;
    if (type == eDataItemTypeInt && isInt)
        return value;
    if (auto const meant = type == eDataItemTypeBool ? boolNamed(textOf(value)) : std::nullopt)
        return *meant;
    if (type == eDataItemTypeInt || type == eDataItemTypeBool)
        throw Fault{place,
                    fmt::format("expected {}, found {}",
                                type == eDataItemTypeInt ? "a whole number of 32 bits" : "true or false", quoted(value))};
    return textAt(place, value);
}

Json const& objectAt(std::string const& place, Json const& value)
{
    if (!value.is_object())
        throw Fault{place, "expected an object"};
    return value;
}

/// Settings of any table and of none, or those of one table alone.
void readSettings(std::string const& where, Json const& values, Document& document, Tables::Table const* table = nullptr)
{
    for (auto const& [name, value] : objectAt(where, values).items()) {
        auto const place = fmt::format("{}/{}", where, name);
        auto const tag = findItem(name);
        if (!tag)
            document.unknown.push_back({name, "no item has this name", namesNear(name), place});
        else if (table && storedTableOf(*tag) != table->tag)
            document.unknown.push_back({place, "is no cell of this table", {}, place});
        else if (!document.settings.emplace(*tag, valueAt(place, value, typeOf(*tag))).second)
            throw Fault{place, "this item is there already, by another of its names"};
    }
}

void readTexts(std::string const& where, Json const& values, std::map<std::string, std::string>& texts)
{
    for (auto const& [name, value] : objectAt(where, values).items())
        texts[name] = textAt(fmt::format("{}/{}", where, name), value);
}

int numberAt(Json const& object, char const* name)
{
    return valueAt(std::string("secrets/") + name, object.value(name, Json()), eDataItemTypeInt).get<int>();
}

void readSecrets(Json const& secrets, Document& document)
{
    objectAt("secrets", secrets);
    if (secrets.value("cipher", Json()) != Json("argon2id13 xchacha20-poly1305"))
        throw Fault{"secrets/cipher", R"(expected "argon2id13 xchacha20-poly1305")"};
    auto& box = document.secrets.emplace();
    box.passes = numberAt(secrets, "passes");
    box.memoryKiB = numberAt(secrets, "memory-kib");
    box.salt = textAt("secrets/salt", secrets.value("salt", Json()));
    box.sealed = textAt("secrets/sealed", secrets.value("sealed", Json()));
    if (!box.isSane())
        throw Fault{"secrets", "expected 1..8 passes, 8..262144 KiB of memory and a salt of 16 bytes"};
}

void readDevice(Json const& device, Document& document)
{
    for (auto const& [name, value] : objectAt("device", device).items()) {
        if (name == "model")
            document.model = textAt("device/model", value);
        else if (name == "usb")
            document.usb = valueAt("device/usb", value, eDataItemTypeBool).get<bool>();
        else
            document.unknown.push_back(
                {"device/" + name, "no such property of the device", nearest(name, {"model", "usb"}), "device/" + name});
    }
}

void readFlags(Json const& values, Document& document)
{
    auto& flags = document.flags.emplace();
    readTexts("flags", values, flags);
    auto const words = flagNames();
    std::erase_if(flags, [&](auto const& flag) {
        bool const isFlag = std::find(words.begin(), words.end(), flag.first) != words.end();
        if (!isFlag)
            document.unknown.push_back(
                {"flags/" + flag.first, "no such flag", nearest(flag.first, words), "flags/" + flag.first});
        return !isFlag;
    });
}

void readService(Json const& values, Document& document)
{
    readTexts("service", values, document.service);
    std::erase_if(document.service, [&](auto const& item) {
        auto const tag = findItem(item.first);
        bool const isItem = tag && DataSourceOCMS::dataOCMSDescriptionTable[*tag].item;
        if (!isItem)
            document.unknown.push_back(
                {item.first, "the management service has no such item", namesNear(item.first), "service/" + item.first});
        return !isItem;
    });
}

void readTables(Json const& tables, Document& document)
{
    for (auto const& [name, cells] : objectAt("tables", tables).items()) {
        auto const& known = tablesOfText();
        auto const table = std::find_if(known.begin(), known.end(),
                                        [&, &word = name](auto const* each) { return Tables::shortNameOf(*each) == word; });
        if (table != known.end())
            readSettings("tables/" + name, cells, document, *table);
        else
            document.unknown.push_back(
                {"tables/" + name, "no such table: codec, srtp, headset or ringing", {}, "tables/" + name});
    }
}

/// The members of the document and what takes them in.
struct Member {
    char const* name;
    void (*read)(Json const& value, Document& document);
};

constexpr Member members[]{
    {"format", [](Json const&, Document&) {}},
    {"version", [](Json const&, Document&) {}},
    {"device", readDevice},
    {"flags", readFlags},
    {"service", readService},
    {"settings", [](Json const& value, Document& document) { readSettings("settings", value, document); }},
    {"tables", readTables},
    {"secrets", readSecrets},
};

void readMembers(Json const& root, Document& document)
{
    if (!root.is_object() || root.value("format", Json()) != Json(formatName))
        throw Fault{"format", fmt::format("this is no export: expected \"format\": \"{}\"", formatName)};
    if (root.value("version", Json()) != Json(formatVersion))
        throw Fault{"version", fmt::format("expected {}, found {}", formatVersion, quoted(root.value("version", Json())))};
    for (auto const& [name, value] : root.items()) {
        auto const known = std::find_if(std::begin(members), std::end(members),
                                        [&, &word = name](Member const& each) { return each.name == word; });
        if (known == std::end(members))
            throw Fault{name, "this version has no such member"};
        known->read(value, document);
    }
}

/// Notices what the JSON library lets pass while it reads: names given twice, deep nesting, and where each name stands.
class Watcher {
public:
    Watcher(std::string fileName, std::string const& text) : m_fileName(std::move(fileName)), m_text(text), m_stream(text) {}

    std::istream& stream() { return m_stream; }

    /// The file's name, with line and column where something of that path begins.
    std::string placeOf(std::string const& path) const
    {
        auto const found = m_starts.find(path);
        return found == m_starts.end() ? m_fileName : placeAt(found->second);
    }

    std::string placeAt(std::size_t offset) const
    {
        auto const before = std::string_view(m_text).substr(0, std::min(offset, m_text.size()));
        auto const line = std::count(before.begin(), before.end(), '\n') + 1;
        return fmt::format("{}:{}:{}", m_fileName, line, before.size() - (before.rfind('\n') + 1) + 1);
    }

    bool operator()(int depth, Json::parse_event_t event, Json& parsed)
    {
        if (depth > deepest)
            throw Fault{path(), fmt::format("nested deeper than {} levels", deepest)};
        if (++m_seen > mostInDocument)
            throw Fault{path(), "there is more in it than in any export"};
        if (event == Json::parse_event_t::object_start)
            m_open.emplace_back();
        else if (event == Json::parse_event_t::object_end)
            m_open.pop_back();
        else if (event == Json::parse_event_t::key)
            see(parsed.get<std::string>());
        return true;
    }

private:
    struct Level {
        std::set<std::string> names;
        std::string last;
    };

    /// The parser has just read the name's closing quote. A quote within the name has an odd number of backslashes before it.
    std::size_t startOfName()
    {
        auto const end = m_stream.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in);
        auto start = static_cast<std::size_t>(end) - 1;
        std::size_t other = 0;
        do {
            start = m_text.rfind('"', start - 1);
            other = m_text.find_last_not_of('\\', start - 1);
        } while ((start - other) % 2 == 0);
        return start;
    }

    void see(std::string name)
    {
        m_open.back().last = name;
        m_starts[path()] = startOfName();
        if (!m_open.back().names.insert(std::move(name)).second)
            throw Fault{path(), "given twice"};
    }

    std::string path() const
    {
        std::string text;
        for (auto const& level : m_open)
            text += (text.empty() ? "" : "/") + level.last;
        return text;
    }

    std::string m_fileName;
    std::string const& m_text;
    std::istringstream m_stream;
    std::vector<Level> m_open;
    std::size_t m_seen = 0;
    std::map<std::string, std::size_t> m_starts; ///< by path
};

/// What the JSON library has to say, without what it quotes from the document: that may be a secret, and long.
std::string saidBehind(char const* head, Json::exception const& error)
{
    std::string words = error.what();
    words.erase(std::min(words.find("; last read"), words.size()));
    return words.substr(words.find(head) + 2);
}

} // namespace

std::string textOf(Document const& document)
{
    Json root{{"format", formatName}, {"version", formatVersion}};
    root["device"] = {{"model", *document.model}, {"usb", *document.usb}};
    root["flags"] = Json::object();
    for (auto const& [flag, value] : *document.flags)
        root["flags"][flag] = value;
    root["service"] = Json::object();
    for (auto const& [name, value] : document.service)
        root["service"][name] = portable(value);
    root["settings"] = Json::object();
    for (auto const* const table : tablesOfText())
        root["tables"][Tables::shortNameOf(*table)] = Json::object();
    for (auto const& [tag, value] : document.settings) {
        auto const* const table = Tables::find(storedTableOf(tag));
        auto& group = table ? root["tables"][Tables::shortNameOf(*table)] : root["settings"];
        group[nameOf(tag)] = portable(value);
    }
    if (document.secrets)
        root["secrets"] = {{"cipher", "argon2id13 xchacha20-poly1305"},
                           {"passes", document.secrets->passes},
                           {"memory-kib", document.secrets->memoryKiB},
                           {"salt", document.secrets->salt},
                           {"sealed", document.secrets->sealed}};
    return root.dump(2) + "\n";
}

Problem problemOf(Document::Unknown const& unknown)
{
    return {unknown.place, unknown.name + ": " + unknown.reason, unknown.near};
}

Report parseDocument(std::string const& text, std::string const& fileName, Document& document)
{
    if (text.size() > longestDocument)
        return failure(exitUsage, fileName, fmt::format("is longer than {} bytes", longestDocument));
    Watcher watcher(fileName, text);
    try {
        // By reference: the parser copies what it is given.
        auto const root = Json::parse(watcher.stream(), std::ref(watcher));
        readMembers(root, document);
        for (auto& each : document.unknown)
            each.place = watcher.placeOf(each.place);
        return {};
    } catch (Fault const& fault) {
        auto const place = watcher.placeOf(fault.place);
        return failure(exitUsage, fault.place.empty() ? place : place + ": " + fault.place, fault.reason);
    } catch (Json::parse_error const& error) {
        return failure(exitUsage, watcher.placeAt(error.byte - 1), saidBehind(": ", error));
    } catch (Json::exception const& error) {
        return failure(exitUsage, fileName, saidBehind("] ", error));
    }
}

} // namespace Tool
