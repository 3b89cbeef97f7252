// The functions and classes of the seam, over the scripted platform. ClientUtils, ManageableData and XmlParser are those
// that all platforms share.
#include "AppLog.h"
#include "DasCrypt.h"
#include "DataStorage.h"
#include "HardwareVersion.h"
#include "PlatformPath.h"
#include "Seam.h"
#include "XmlParser.h"

#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

using Scripted::Seam;

// --- Database ---

namespace {

/// The tables of the configuration database. Where an element gives a row's position, a row out of place is refused and the
/// first position begins a new table, so that rows of two tables never mix.
struct TableShape {
    char const* schema;
    std::size_t rows;
    char const* positionElement;
};

constexpr std::array tableShapes{
#define TABLE_RANKED(name, shortName, schema, rows) TableShape{schema, rows, ""},
#define TABLE_NUMBERED(name, shortName, schema, rows, number, element) TableShape{schema, rows, element},
#include "Data/tables.def"
};

TableShape const* findShape(std::string const& schema)
{
    for (TableShape const& shape : tableShapes)
        if (schema == shape.schema)
            return &shape;
    return nullptr;
}

/// One row as it arrived: well-formed or not, and the text of its position element.
struct Row {
    Row(std::string const& fragment, char const* position) : positionElement(position)
    {
        XmlParser parser(
            this,
            [](void* row, char const* name, char const**) {
                static_cast<Row*>(row)->element = name;
                static_cast<Row*>(row)->empty = false;
            },
            [](void* row, char const*) { static_cast<Row*>(row)->element.clear(); },
            [](void* row, char const* text, int length) {
                Row& self = *static_cast<Row*>(row);
                if (self.element == self.positionElement)
                    self.positionText.assign(text, static_cast<std::size_t>(length));
            });
        wellFormed = parser.parseMessage(fragment.data(), static_cast<int>(fragment.size())) && !empty;
    }

    std::string const positionElement;
    std::string positionText;
    std::string element;
    bool empty = true;
    bool wellFormed = false;
};

/// The rows of a table that is on its way, until the last one arrives.
class PendingTable {
public:
    void abandon() { *this = PendingTable(); }

    /// Takes note of the next row; false when it is refused.
    bool append(TableShape const& shape, std::string const& fragment, bool delivered)
    {
        Row const row(" " + fragment, shape.positionElement); // a declaration or byte order mark is none behind a blank
        bool const hasPosition = !row.positionElement.empty();
        auto const limits = Seam::groupLimits();
        if ((hasPosition && row.positionText == "0") || limits != m_groupLimits)
            abandon();
        m_groupLimits = limits;
        std::string const expected = std::to_string(m_rows);
        bool const good = delivered && row.wellFormed && (!hasPosition || row.positionText == expected);
        m_entries += fragment.starts_with("<Entry>") ? fragment : "<Entry>" + fragment + "</Entry>";
        m_whole = m_whole && good;
        ++m_rows;
        return good;
    }

    bool complete(TableShape const& shape) const { return m_rows == shape.rows; }
    bool whole() const { return m_whole; }
    std::string xml(TableShape const& shape) const
    {
        return "<Schema name=\"" + std::string(shape.schema) + "\">" + m_entries + "</Schema>";
    }

private:
    std::size_t m_rows = 0;
    bool m_whole = true;
    std::size_t m_groupLimits = 0;
    std::string m_entries;
};

} // namespace

struct DataStorage::Implementation {
    std::string schema;
    PendingTable pending;

    bool appendRow(std::string const& fragment, bool delivered)
    {
        TableShape const* const shape = findShape(schema);
        if (shape == nullptr)
            return false;
        bool good = pending.append(*shape, fragment, delivered);
        if (pending.complete(*shape)) {
            // What a reader could not take in again as a whole must not replace what can be read.
            std::string const xml = pending.xml(*shape);
            good = pending.whole() && Row(xml, "").wellFormed;
            if (good)
                Seam::replaceTable(schema, xml);
            pending.abandon();
        }
        return good;
    }
};

DataStorage::DataStorage(Context&, std::string const& schemaName) : m_implementation(new Implementation{schemaName, {}})
{
    Seam::text("DataStorage", {schemaName}, nullptr, [] { return std::string(); });
}

DataStorage::~DataStorage()
{
    Seam::text("~DataStorage", {m_implementation->schema}, nullptr, [] { return std::string(); });
}

bool DataStorage::findDataAccessService()
{
    std::string const& schema = m_implementation->schema;
    return Seam::truth("findDataAccessService", {schema}, true, [&] { return Seam::reachable(schema); });
}

bool DataStorage::setDataItems(std::string const& xmlFragment)
{
    std::string const& schema = m_implementation->schema;
    bool asked = false;
    bool const result = Seam::truth("setDataItems", {schema, xmlFragment}, true, [&] {
        asked = true;
        return m_implementation->appendRow(xmlFragment, Seam::reachable(schema));
    });
    // A row that a fault swallowed is missing from its table, which then must not become visible.
    if (!asked)
        m_implementation->appendRow(xmlFragment, false);
    return result;
}

std::string DataStorage::getDataItem(std::string const& element, int flag)
{
    std::string const& schema = m_implementation->schema;
    m_implementation->pending.abandon();
    return Seam::text("getDataItem", {schema, element, std::to_string(flag)}, "failure", [&] {
        return Seam::reachable(schema) ? Seam::read(schema, element, flag == 0) : std::string("failure");
    });
}

bool DataStorage::setDataItem(std::string const& element, std::string const& text)
{
    std::string const& schema = m_implementation->schema;
    m_implementation->pending.abandon();
    return Seam::truth("setDataItem", {schema, element, text}, true,
                       [&] { return Seam::reachable(schema) && Seam::write(schema, element, text); });
}

// --- Secrets: readable by a test, yet changed by no one without being noticed ---

std::string Scripted::Platform::encrypted(std::string const& plain)
{
    // The library keeps the stored text where the decrypted one is empty, so an empty secret is stored as empty text.
    if (plain.empty())
        return "";
    constexpr std::uint32_t offset = 2166136261u;
    constexpr std::uint32_t prime = 16777619u;
    std::string hex;
    std::uint32_t sum = offset;
    char digits[9];
    for (char const c : plain) {
        auto const byte = static_cast<unsigned char>(c);
        std::snprintf(digits, sizeof digits, "%02x", byte);
        hex += digits;
        sum = (sum ^ byte) * prime;
    }
    std::snprintf(digits, sizeof digits, "%08x", sum);
    return "enc(" + hex + ":" + digits + ")";
}

bool DasCrypt::toEncryptedText(std::string const& plain, std::string& stored)
{
    stored = Seam::failedEncryption();
    return Seam::truth("toEncryptedText", {plain}, true, [&] {
        stored = Scripted::Platform::encrypted(plain);
        return true;
    });
}

bool DasCrypt::fromEncryptedText(std::string const& stored, std::string& plain)
{
    std::string const text = stored; // the caller may pass one string as both
    plain.clear();
    return Seam::truth("fromEncryptedText", {text}, true, [&] {
        std::string found;
        std::string const prefix = "enc(";
        for (std::size_t i = prefix.size(); i + 1 < text.size() && text[i] != ':'; i += 2) {
            std::string const digits = text.substr(i, 2);
            char* end = nullptr;
            found += static_cast<char>(std::strtoul(digits.c_str(), &end, 16));
            if (end != digits.c_str() + digits.size())
                return false;
        }
        if (text != Scripted::Platform::encrypted(found))
            return false;
        plain = found;
        return true;
    });
}

// --- Device, paths, log ---

bool HardwareVersion::is_TL20()
{
    return Seam::truth("is_TL20", {}, false, [] { return Seam::hardware("is_TL20"); });
}

bool HardwareVersion::is_TL70()
{
    return Seam::truth("is_TL70", {}, false, [] { return Seam::hardware("is_TL70"); });
}

bool HardwareVersion::is_USBSupported()
{
    return Seam::truth("is_USBSupported", {}, false, [] { return Seam::hardware("is_USBSupported"); });
}

std::string platformPath(std::string const& path)
{
    return Seam::text("platformPath", {path}, nullptr, [&] { return Scripted::Platform::current().directory() + path; });
}

void logAppUni(char const*, char const* sourceFile, int level, int, char const* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    int const length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length < 0 ? 0 : static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    va_end(arguments);
    Seam::log(level, sourceFile, std::move(text));
}

bool loggingOnAppUni(char const*, int level)
{
    return Seam::logWanted(level);
}
