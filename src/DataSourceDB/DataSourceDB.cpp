#include "Data/DataSourceDB.h"

#include "Data/DataItemBase.h"
#include "Data/DataNames.h"
#include "Data/DataTableHandler.h"

#include "DataItemBuilder/NameTable.h"
#include "Log.h"
#include "Tables/Tables.h"

#include "ClientUtils.h"
#include "DasCrypt.h"
#include "DataStorage.h"
#include "SvcRTEContext.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace Data {

namespace {

constexpr char const* unit = "./src/DataSourceDB";

/// What the database answers when it cannot deliver a value.
constexpr std::string_view failure = "failure";

/// How the data access service is to read.
constexpr int readWholeSchema = 0;
constexpr int readOneElement = 1;

/// The last row that verifyDataTable looks at is the one before the end marker's.
constexpr std::size_t verifiedRows = eDataTagEnd;

/// The names of the schemas are the first ones; this is the first that is none.
constexpr Name schemasEnd = Name::dasTableFull;

#define SETTING_ELEMENT(number, name, schema, ...) SETTING_WHOLE_TABLE(number, name, schema)
#define SETTING_WHOLE_TABLE(number, name, schema)                                                                           \
    static_assert(Name::das##schema##Schema < schemasEnd, "row " #name ": its schema does not stand with the schemas");
#define SETTING_NO_ELEMENT(...)
#define SETTING_NO_SCHEMA(...)
#include "Data/settings.def"

std::size_t placeOf(std::string const& schema)
{
    return static_cast<std::size_t>(nameOf(schema));
}

bool isTableTag(eDataTag tag)
{
    auto const* const row = DataSourceDB::findDescription(tag);
    return row && row->isTable;
}

/// What bounds one stored row in the text of a table.
struct RowMarks {
    std::string opening;
    std::string closing;
};

/// Ranked rows are stored without the "Entry" around them.
RowMarks findMarks(eDataTag tag)
{
    Tables::Table const* const table = Tables::find(tag);
    if (!table || table->schema.empty()) {
        LOG_ERROR(unit, "DataSourceDB::writeDataValue -> elements not defined for table %i \n", tag);
        return {"<", "</"};
    }
    if (table->kind == Tables::Kind::numbered)
        return {"<" + dasTableEntry + ">", "</" + dasTableEntry + ">"};
    return {"<" + std::string(table->firstElement()) + ">", "</" + std::string(table->lastElement()) + ">"};
}

/// The stored text in clear. What cannot be decrypted, or decrypts to nothing, is handed on as it is stored.
std::string decrypted(std::string const& element, std::string stored)
{
    std::string plain;
    if (!DasCrypt::fromEncryptedText(stored, plain)) {
        LOG_AT(unit, 3, "DataSourceDB::readDataValue -> failed to decrypt tag %s\n", element.c_str());
        return stored;
    }
    return plain.empty() ? stored : plain;
}

/// The text as it is stored: what the platform put out, also when it could not encrypt. What must not be stored then, its
/// storage refuses.
std::string encrypted(std::string const& plain)
{
    std::string stored;
    DasCrypt::toEncryptedText(plain, stored);
    return stored;
}

} // namespace

DataSourceDB::DataSourceDB(SvcRTEContext& context, std::list<eDataTag> const& tags, DataDBCallback* callback)
    : DataSourceDB(std::vector(tags.begin(), tags.end()), context, callback)
{}

DataSourceDB::DataSourceDB(std::span<eDataTag const> tags, SvcRTEContext& context, DataDBCallback* callback)
    : m_storages(static_cast<std::size_t>(schemasEnd)), m_callback(callback)
{
    std::list<eDataTag> tableTags;
    std::ranges::copy_if(tags, std::back_inserter(tableTags), isTableTag);
    m_tableHandler = std::make_unique<DataTableHandler>(tableTags, callback);
    for (auto const tag : tags)
        openStorage(context, tag);
}

DataSourceDB::~DataSourceDB()
{
    m_tableHandler.reset();
    cleanStorageMap();
}

bool DataSourceDB::verifyDataTable()
{
    bool matches = true;
    for (std::size_t index = 0; index < verifiedRows; ++index) {
        auto const tag = dataDbDescriptionTable[index].tag;
        if (static_cast<std::size_t>(tag) == index)
            continue;
        LOG_ERROR(unit, "DataSourceDB::verifyDataTable - ERR - DB table mismatch: index %zu, tag %i\n", index, tag);
        matches = false;
    }
    return matches;
}

void DataSourceDB::fillStorageMap(SvcRTEContext& context, std::list<eDataTag> const& tags)
{
    for (auto const tag : tags)
        openStorage(context, tag);
}

void DataSourceDB::openStorage(SvcRTEContext& context, eDataTag tag)
{
    auto const* const row = findDescription(tag);
    if (!row || !row->schema || m_storages[placeOf(*row->schema)])
        return;
    // A schema that is out of reach is tried again for each of its tags.
    auto storage = std::make_unique<DataStorage>(context, *row->schema);
    if (storage->findDataAccessService())
        m_storages[placeOf(*row->schema)] = std::move(storage);
}

void DataSourceDB::cleanStorageMap()
{
    for (auto& storage : m_storages)
        storage.reset();
}

DataSourceDB::DbDescription const* DataSourceDB::findDescription(eDataTag tag)
{
    auto const index = static_cast<std::size_t>(tag);
    if (index >= rowCount || dataDbDescriptionTable[index].tag != tag)
        return nullptr;
    return &dataDbDescriptionTable[index];
}

void DataSourceDB::getTableItemTags(std::list<eDataTag> const& tags, std::list<eDataTag>& tableTags)
{
    std::ranges::copy_if(tags, std::back_inserter(tableTags), isTableTag);
}

bool DataSourceDB::findTagInfo(eDataTag tag, DataStorage*& storage, std::string const*& element, bool& isTable,
                               eDataTag& parentTable)
{
    storage = nullptr;
    element = nullptr;
    isTable = false;
    parentTable = eDataTagNone;

    auto const* const row = findDescription(tag);
    if (!row) {
        LOG_ERROR(unit, "DataSourceDB::findTagInfo - ERR item %i doesn't have database as source\n", tag);
        return false;
    }
    element = row->element;
    isTable = row->isTable;
    parentTable = row->parentTable;
    if (!row->schema)
        return true;

    storage = m_storages[placeOf(*row->schema)].get();
    if (!storage) {
        LOG_ERROR(unit, "DataSourceDB::findTagInfo - schema '%s' not initialized/found in db storage\n",
                  row->schema->c_str());
        return false;
    }
    return true;
}

bool DataSourceDB::readDataValue(eDataTag tag, DataItemBase* item)
{
    DataStorage* storage = nullptr;
    std::string const* element = nullptr;
    bool isTable = false;
    eDataTag parentTable = eDataTagNone;
    if (!findTagInfo(tag, storage, element, isTable, parentTable))
        return false;
    if (!storage)
        return true;

    std::string text = storage->getDataItem(*element, isTable ? readWholeSchema : readOneElement);
    if (!isTable && ClientUtils::isKnownPasswordDAS(*element))
        text = decrypted(*element, std::move(text));
    if (text == failure) {
        if (m_callback)
            m_callback->dbCBGetFailed(tag);
        return false;
    }

    std::string reason;
    if (item && item->setValueString(text, reason))
        return true;
    LOG_ERROR(unit, "DataSourceDB::readDataValue - validate error: %s\n", reason.c_str());
    return false;
}

bool DataSourceDB::writeDataValue(eDataTag tag, DataItemBase const* item)
{
    if (!item)
        return false;
    DataStorage* storage = nullptr;
    std::string const* element = nullptr;
    bool isTable = false;
    eDataTag parentTable = eDataTagNone;
    if (!findTagInfo(tag, storage, element, isTable, parentTable))
        return false;

    bool const marked = parentTable == eDataTagNone || setTableChanged(parentTable);
    if (!storage)
        return marked;

    std::string text;
    if (!item->getValueString(text)) {
        LOG_ERROR(unit, "DataSourceDB::writeDataValue - ERR can't convert to string for tag %i \n", tag);
        return false;
    }
    bool stored = false;
    if (isTable) {
        stored = writeTable(tag, *storage, text);
    } else {
        if (ClientUtils::isKnownPasswordDAS(*element))
            text = encrypted(text);
        stored = storage->setDataItem(*element, text);
    }
    if (!stored)
        logNotStored(tag);
    return stored;
}

void DataSourceDB::logNotStored(eDataTag tag)
{
    LOG_AT(unit, 3, "DataSourceDB::writeDataValue failed to save tag %i into database\n", tag);
}

bool DataSourceDB::writeTable(eDataTag tag, DataStorage& storage, std::string const& xml)
{
    auto const marks = findMarks(tag);
    bool stored = true;
    std::string_view rest = xml;
    for (;;) {
        auto const opening = rest.find(marks.opening);
        auto const closing = rest.find(marks.closing);
        if (opening == std::string_view::npos || closing == std::string_view::npos || opening >= closing)
            return stored;
        auto const end = closing + marks.closing.size();
        // The loop goes on after a refused row, and the last row's result is the table's.
        stored = storage.setDataItems(std::string(rest.substr(opening, end - opening)));
        rest.remove_prefix(end);
    }
}

void DataSourceDB::readDataFromTables(bool userDataOnly)
{
    if (m_tableHandler)
        m_tableHandler->readDataFromTables(userDataOnly);
}

bool DataSourceDB::hasChangedTables() const
{
    return m_tableHandler->hasChangedTables();
}

bool DataSourceDB::isCellOfChangedTable(eDataTag tag) const
{
    return m_tableHandler->isTableChanged(dataDbDescriptionTable[tag].parentTable);
}

void DataSourceDB::keepTables()
{
    m_tableHandler->keepState();
}

void DataSourceDB::restoreTables()
{
    m_tableHandler->restoreState();
}

bool DataSourceDB::writeDataTables(DataTagValue_t& rejected)
{
    return m_tableHandler && m_tableHandler->writeTablesToDB(rejected);
}

bool DataSourceDB::setTableChanged(eDataTag table)
{
    if (!m_tableHandler)
        return false;
    m_tableHandler->setTableChanged(table);
    return true;
}

} // namespace Data
