// The exchanges with the management service: set, get and change report on the way in, read and push on the way out.
// Ranked tables are translated on the way (TableTranslation.cpp).
#include "Data/DataSourceOCMS.h"

#include "Log.h"

#include "LocalMgmtIfc.h"
#include "ManageableData.h"
#include "SvcRTEContext.h"

#include <algorithm>

namespace Data {

namespace {

constexpr char const* unit = "./src/DataSourceOCMS";

/// The end marker is left out of every walk over the rows.
constexpr std::size_t usedRows = DataSourceOCMS::rowCount - 1;

/// The names of a tag that has an item.
std::string const& itemOf(eDataTag tag)
{
    return *DataSourceOCMS::dataOCMSDescriptionTable[tag].item;
}

std::string const& subItemOf(eDataTag tag)
{
    auto const* const subItem = DataSourceOCMS::dataOCMSDescriptionTable[tag].subItem;
    return subItem == nullptr ? itemOf(tag) : *subItem;
}

/// False for what is no tag, too.
bool hasItem(eDataTag tag)
{
    auto const index = static_cast<std::size_t>(tag); // a negative tag becomes a large index
    return index < DataSourceOCMS::rowCount && DataSourceOCMS::dataOCMSDescriptionTable[index].item != nullptr;
}

std::vector<std::string> rootIdsOf(ManageableData& record)
{
    std::vector<std::string> rootIds;
    record.getRootIds(rootIds);
    return rootIds;
}

} // namespace

DataSourceOCMS::DataSourceOCMS(SvcRTEContext& context, eDataComponent, std::list<eDataTag> const& observedTags,
                               std::list<eDataTag> const& ownedTags, DataOCMSCallback* cache, DataMobilityCallback* mobility)
    : DataSourceOCMS(context, observedTags, std::vector(ownedTags.begin(), ownedTags.end()), cache, mobility)
{}

DataSourceOCMS::DataSourceOCMS(SvcRTEContext& context, std::list<eDataTag> const& observedTags,
                               std::span<eDataTag const> ownedTags, DataOCMSCallback* cache, DataMobilityCallback* mobility)
    : m_cache(cache), m_mobility(mobility)
{
    m_handling.reserve(observedTags.size() + ownedTags.size());
    // The first entry wins: a tag in both lists is observed.
    addToHandlingMap(observedTags, OBSERVED);
    addHandling(ownedTags, OWNED);
    m_localMgmt = dynamic_cast<LocalMgmtIfc*>(context.findService("LocalMgmtIfc"));
}

DataSourceOCMS::~DataSourceOCMS() = default;

bool DataSourceOCMS::verifyDataTable()
{
    bool ok = true;
    for (std::size_t index = 0; index < usedRows; ++index) {
        eDataTag const tag = dataOCMSDescriptionTable[index].tag;
        if (static_cast<std::size_t>(tag) == index)
            continue;
        LOG_ERROR(unit, "DataSourceOCMS::verifyDataTable - error - OCMS table mismatch: index %zu, tag %i\n", index,
                  static_cast<int>(tag));
        ok = false;
    }
    return ok;
}

void DataSourceOCMS::buildOCMS2EnumMap() {}

void DataSourceOCMS::addToHandlingMap(std::list<eDataTag> const& tags, eDataHandling handling)
{
    addHandling(std::vector(tags.begin(), tags.end()), handling);
}

void DataSourceOCMS::addHandling(std::span<eDataTag const> tags, eDataHandling handling)
{
    auto place = m_handling.begin();
    for (eDataTag const tag : tags) {
        if (place != m_handling.begin() && std::prev(place)->tag >= tag) // seldom: tags come in order
            place = m_handling.begin();
        place = std::find_if(place, m_handling.end(), [tag](Handling const& entry) { return entry.tag >= tag; });
        if (place == m_handling.end() || place->tag != tag)
            place = std::next(m_handling.insert(place, {tag, handling}));
        else
            LOG_ERROR(unit, "DataSourceOCMS::addToHandlingMap - ERR while building handling map, there's collision between "
                            "owned & observed\n");
    }
}

void DataSourceOCMS::buildObservedList(std::list<eDataTag> const&, std::list<std::string>&) {}

bool DataSourceOCMS::checkOCMSItemHandling(eDataTag tag, eDataHandling handling)
{
    auto const found = std::ranges::lower_bound(m_handling, tag, {}, &Handling::tag);
    return found != m_handling.end() && found->tag == tag && found->handling == handling;
}

bool DataSourceOCMS::findStringsFor(eDataTag tag, std::string& itemName, std::string& subItemName)
{
    if (static_cast<std::size_t>(tag) >= rowCount)
        return false;
    itemName.clear();
    subItemName.clear();
    if (!hasItem(tag))
        return false;
    itemName = itemOf(tag);
    subItemName = subItemOf(tag);
    return true;
}

bool DataSourceOCMS::findTagFor(std::string const& itemName, std::string const& subItemName, eDataTag& tag)
{
    auto const rows = findRows(itemName);
    if (rows.empty())
        return false;
    auto const found =
        std::ranges::find_if(rows, [&](auto row) { return subItemOf(static_cast<eDataTag>(row)) == subItemName; });
    // A sub-item that the item does not have gets the item's first row.
    tag = static_cast<eDataTag>(found != rows.end() ? *found : std::ranges::min(rows));
    return true;
}

void DataSourceOCMS::fillTagsAndValue(ManageableData& record, eDataHandling handling, bool withValues,
                                      DataTagValue_t& values)
{
    for (std::string const& rootId : rootIdsOf(record)) {
        for (auto const row : findRows(rootId)) {
            auto const tag = static_cast<eDataTag>(row);
            std::string value;
            if (!checkOCMSItemHandling(tag, handling) || (withValues && !record.interogate(rootId, subItemOf(tag), value)))
                continue;
            values.try_emplace(tag, value);
        }
    }
}

bool DataSourceOCMS::setData(ManageableData& record)
{
    DataTagValue_t values;
    fillTagsAndValue(record, OWNED, true, values);
    if (values.empty()) {
        LOG_AT(unit, 3, "DataSourceOCMS::setData -> no tags found\n");
        return true;
    }
    DataTagValue_t const sent = values;
    checkSpecificDataForSet(values);
    dropAddedPacketSizes(values, sent);
    if (m_cache == nullptr)
        return true;

    DataTagValue_t rejects;
    bool const stored = m_cache->ocmsCBSetDataValues(values, rejects);
    auto const unchanged = static_cast<std::size_t>(
        std::count_if(rejects.begin(), rejects.end(), [](auto const& reject) { return reject.second.empty(); }));
    LOG_AT(unit, 5, "DataSourceOCMS::setData -> amount of unchanged data %i / %i", static_cast<int>(unchanged),
           static_cast<int>(values.size()));

    // Unchanged values count as refused only when the whole request changes nothing.
    bool const nothingTaken = unchanged == values.size();
    bool refused = false;
    for (auto const& [tag, reason] : rejects) {
        if (!hasItem(tag))
            continue;
        std::string const& subItem = subItemOf(tag);
        if (nothingTaken)
            record.addRejectReason(itemOf(tag), subItem, "UNCHANGED_DATA: " + subItem);
        if (!reason.empty()) {
            LOG_AT(unit, 5, "DataSourceOCMS::setData -> rejected for '%s'", subItem.c_str());
            record.addRejectReason(itemOf(tag), subItem, reason);
        }
        refused = refused || nothingTaken || !reason.empty();
    }
    return !refused && stored;
}

bool DataSourceOCMS::getData(ManageableData& record)
{
    DataTagValue_t values;
    fillTagsAndValue(record, OWNED, false, values);
    if (m_cache != nullptr)
        m_cache->ocmsCBGetDataValues(values);
    checkSpecificDataForGet(values);
    for (auto const& [tag, value] : values) {
        if (hasItem(tag))
            record.populate(itemOf(tag), subItemOf(tag), value);
    }
    return true;
}

void DataSourceOCMS::manageableDataChanged(ManageableData& record)
{
    if (m_cache == nullptr)
        return;
    DataTagValue_t values;
    fillTagsAndValue(record, OBSERVED, true, values);
    checkSpecificDataForChanged(values);
    DataTagValue_t ignored; // a report cannot be refused
    m_cache->ocmsCBSetDataValues(values, ignored);
}

bool DataSourceOCMS::resetUserData()
{
    if (m_cache == nullptr)
        return false;
    m_cache->ocmsCBResetToDefault();
    return true;
}

void DataSourceOCMS::checkSpecificDataForSet(DataTagValue_t& values)
{
    if (m_cache == nullptr)
        return;
    processRequestToSetCodecs(values);
    processRequestToSetEncryption(values);
    processRequestToSetHeadsetPriority(values);
}

void DataSourceOCMS::checkSpecificDataForGet(DataTagValue_t& values)
{
    if (m_cache == nullptr)
        return;
    processRequestToGetCodecs(values);
    processRequestToGetEncryption(values);
    processRequestToGetHeadsetPriority(values);
}

void DataSourceOCMS::checkSpecificDataForChanged(DataTagValue_t& values)
{
    auto const announcement = values.find(eDataTagMobilityDataUpdate);
    if (m_mobility != nullptr && announcement != values.end())
        m_mobility->mobilityChanged(announcement->second);
}

bool DataSourceOCMS::getData(eDataTag tag, std::string& value)
{
    if (m_localMgmt == nullptr || !hasItem(tag))
        return false;
    ManageableData record;
    record.setRootId(itemOf(tag), nullptr);
    record.populate(itemOf(tag), subItemOf(tag));
    // What the record holds afterwards is the answer, whatever the service says of the whole.
    m_localMgmt->readData(record);
    return record.interogate(itemOf(tag), subItemOf(tag), value);
}

bool DataSourceOCMS::setData(eDataTag tag, std::string const& value)
{
    if (m_localMgmt == nullptr || !hasItem(tag))
        return false;
    ManageableData record;
    record.setRootId(itemOf(tag), nullptr);
    record.populate(itemOf(tag), subItemOf(tag), value);
    return checkOCMSItemHandling(tag, OWNED) ? m_localMgmt->reportChanged(record, rootIdsOf(record))
                                             : m_localMgmt->requestSet(record);
}

bool DataSourceOCMS::setData(DataTagValue_t& values)
{
    if (m_localMgmt == nullptr)
        return false;
    ManageableData owned;
    ManageableData others;
    bool ok = true;
    for (auto const& [tag, value] : values) {
        if (hasItem(tag)) {
            (checkOCMSItemHandling(tag, OWNED) ? owned : others).populate(itemOf(tag), subItemOf(tag), value);
        } else {
            LOG_ERROR(unit, "DataSourceOCMS::setData -> failed to find strings for tag %i \n", static_cast<int>(tag));
            ok = false;
        }
    }
    if (auto const rootIds = rootIdsOf(owned); !rootIds.empty())
        ok = m_localMgmt->reportChanged(owned, rootIds) && ok;
    if (!rootIdsOf(others).empty())
        ok = m_localMgmt->requestSet(others) && ok;
    return ok;
}

} // namespace Data
