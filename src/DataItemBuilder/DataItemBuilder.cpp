// Reads the catalogue: makes validators and items from its records, answers questions about tags, hands out defaults.
#include "Data/DataItemBuilder.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "ClientUtils.h"
#include "Data/DataItem.h"
#include "DataItemBuilder/Settings.h"
#include "Log.h"
#include "Tables/SettingOptions.h"

namespace Data {

namespace {

using Builder = DataCache::DataItemBuilder;

constexpr char const* unit = "./src/DataItemBuilder";

constexpr auto isFlagRow = [](Settings::Setting const& row) { return row.flagWord != nullptr; };
constexpr eDataTag firstFlag = std::ranges::find_if(Settings::all, isFlagRow)->tag;
constexpr bool flagsAreLast = std::ranges::all_of(Settings::all + firstFlag, Settings::all + eDataTagEnd, isFlagRow);

/// Asked of every item at a start: a comparison, as long as no settings stand behind the flags.
bool isFlag(eDataTag tag)
{
    return tag >= firstFlag && (flagsAreLast || Tables::flagWordOf(tag) != nullptr);
}

bool areParameters(Builder::DataValue const* params, eDataItemType type)
{
    return std::all_of(params, params + 2, [type](auto const& value) { return value.type == type && !value.text.empty(); });
}

/// Null, with `next` left to the caller, unless both parameters are numbers.
template <class Validator> DataValidator* makeNumberValidator(Builder::DataValue const* params, DataValidator* next)
{
    if (!areParameters(params, eDataItemTypeInt))
        return nullptr;
    return new Validator(ClientUtils::stoi(params[0].text), ClientUtils::stoi(params[1].text), next);
}

/// The filters of both getDefaultValues; a null record never passes.
bool passes(Builder::DataItemRecord const* record, eDataComponent component, bool userDataOnly)
{
    return record != nullptr && (!userDataOnly || record->isUserData) &&
           (component == eDataComponentNone || component == record->component);
}

std::unique_ptr<DataItemBase> makeItem(eDataItemType type, eDataTag tag, eDataSource source)
{
    switch (type) {
    case eDataItemTypeInt:
        return std::make_unique<DataItem<int>>(tag, source);
    case eDataItemTypeBool:
        return std::make_unique<DataItem<bool>>(tag, source);
    case eDataItemTypeString:
    case eDataItemTypeComplex:
        return std::make_unique<DataItem<std::string>>(tag, source);
    default:
        return nullptr;
    }
}

} // namespace

bool Builder::isRecordValid(DataItemRecord const& record)
{
    return !record.value.text.empty() || record.value.type > eDataItemTypeBool;
}

Builder::DataItemRecord const* Builder::findDataRecord(eDataTag tag)
{
    if (tag < 0 || tag >= eDataTagEnd)
        return nullptr;
    DataItemRecord const& record = dataItemDefaultTable[tag];
    return isRecordValid(record) ? &record : nullptr;
}

bool Builder::isValidValidatorBuilder(ValidatorBuilder const& builder)
{
    if (builder == nullptr) // most steps name none
        return false;
    // dataValidatorIntRangeNot is missing on purpose: a step that names it is skipped.
    ValidatorBuilder const valid[] = {
        dataValidatorStringsAllowed,  dataValidatorStringLength, dataValidatorStringBoolean, dataValidatorStringNoWhitespace,
        dataValidatorStringAllDigits, dataValidatorBasePort,     dataValidatorIntRange};
    return std::find(std::begin(valid), std::end(valid), builder) != std::end(valid);
}

DataValidator* Builder::buildValidatorChain(ValidatorAndParams const* chain)
{
    DataValidator* head = nullptr;
    if (isValidValidatorBuilder(chain[0].builder)) {
        head = chain[0].builder(chain[0].params, nullptr);
        if (head == nullptr)
            return nullptr;
    }
    if (isValidValidatorBuilder(chain[1].builder))
        if (DataValidator* const second = chain[1].builder(chain[1].params, head))
            return second;
    return head;
}

DataItemBase* Builder::createDataItem(eDataTag tag, eDataSource source)
{
    DataItemRecord const* const record = findDataRecord(tag);
    if (record == nullptr) {
        LOG_ERROR(unit, "DataCache::createDataItem - unknown tag %i", tag);
        return nullptr;
    }
    std::unique_ptr<DataItemBase> item = makeItem(record->value.type, tag, source);
    if (!item) {
        LOG_ERROR(unit, "DataCache::createDataItem - invalid type, tag %i", tag);
        return nullptr;
    }
    item->setValueChain(buildValidatorChain(record->valueChain));
    item->setStringChain(buildValidatorChain(record->stringChain));
    std::string reason;
    if (!item->setValueString(record->value.text, reason))
        LOG_ERROR(unit, "DataCache::createDataItem - validate error: %s", reason.c_str());
    return item.release();
}

void Builder::getComponentTagList(eDataComponent component, std::list<eDataTag>& tags)
{
    auto const found = tagsOf(component);
    tags.insert(tags.end(), found.begin(), found.end());
}

std::vector<eDataTag> Builder::tagsOf(eDataComponent component)
{
    std::vector<eDataTag> tags;
    tags.reserve(recordCount);
    for (int i = 0; i < eDataTagEnd; ++i) {
        DataItemRecord const* const record = findDataRecord(static_cast<eDataTag>(i));
        if (record != nullptr && record->component == component)
            tags.push_back(record->tag);
    }
    return tags;
}

void Builder::getDefaultValues(std::map<eDataTag, std::string>& values, eDataComponent component, bool userDataOnly)
{
    for (auto entry = values.begin(); entry != values.end();) {
        DataItemRecord const* const record = findDataRecord(entry->first);
        if (passes(record, component, userDataOnly)) {
            entry->second = record->value.text;
            ++entry;
        } else {
            entry = values.erase(entry);
        }
    }
}

void Builder::getDefaultValues(std::map<eDataTag, DataItemBase*> const& items, std::map<eDataTag, std::string>& out,
                               eDataComponent component, bool userDataOnly)
{
    for (auto const& [tag, item] : items) {
        DataItemRecord const* const record = findDataRecord(tag);
        if (passes(record, component, userDataOnly) && record->value.type != eDataItemTypeComplex)
            out.emplace(tag, record->value.text);
    }
}

bool Builder::verifyDataTable()
{
    bool good = true;
    for (std::size_t i = 0; i < eDataTagEnd; ++i) {
        DataItemRecord const& record = dataItemDefaultTable[i];
        if (!isRecordValid(record) || record.tag == static_cast<eDataTag>(i) || record.tag == eDataTagEnd)
            continue;
        LOG_ERROR(unit, "DATA table mismatch: index %zu ?= tag %i ; component %i != 0", i, record.tag, record.component);
        good = false;
    }
    return good;
}

eDataItemType Builder::getItemType(eDataTag tag)
{
    if (DataItemRecord const* const record = findDataRecord(tag))
        return record->value.type;
    LOG_ERROR(unit, "oops.. no record found for tag %i", tag);
    return eDataItemTypeInvalid;
}

bool Builder::isUserData(eDataTag tag)
{
    if (DataItemRecord const* const record = findDataRecord(tag))
        return record->isUserData;
    LOG_ERROR(unit, "DataItemBuilder::isUserData - no record found for tag %i", tag);
    return false;
}

bool Builder::addItemToMap(eDataTag tag, DataItemBase* item, std::map<eDataTag, DataItemBase*>& map)
{
    // A tag whose item could not be made counts as added: required, since it then reaches the sources all the same.
    auto const before = map.size();
    if (item != nullptr)
        map.emplace_hint(map.end(), tag, item); // tags come in order
    if (item == nullptr || map.size() > before)
        return true;
    LOG_AT(unit, 3, " -- item %i already in map!", tag);
    return false;
}

void Builder::addIntoDataMap(std::list<eDataTag> const& tags, bool observed, std::map<eDataTag, DataItemBase*>& map,
                             std::list<eDataTag>& added)
{
    added.clear();
    for (eDataTag const tag : tags) {
        DataItemBase* const item = createDataItem(tag, sourceOf(tag, observed));
        if (addItemToMap(tag, item, map))
            added.push_back(tag);
        else
            delete item;
    }
}

eDataSource Builder::sourceOf(eDataTag tag, bool observed)
{
    if (observed)
        return eDataSourceNone;
    if (isFlag(tag))
        return eDataSourceFile;
    return tag == eDataTagGroupPickup ? eDataSourceGroupPickup : eDataSourceDB;
}

DataValidator* Builder::dataValidatorIntRange(DataValue const* params, DataValidator* next)
{
    DataValidator* const validator = makeNumberValidator<DataValidatorIntRange>(params, next);
    if (validator == nullptr)
        std::puts("invalid parameters for 'dataValidatorIntRange'");
    return validator;
}

DataValidator* Builder::dataValidatorBasePort(DataValue const* params, DataValidator* next)
{
    return makeNumberValidator<DataValidatorBasePort>(params, next);
}

DataValidator* Builder::dataValidatorIntRangeNot(DataValue const* params, DataValidator* next)
{
    return makeNumberValidator<DataValidatorIntRangeNot>(params, next);
}

DataValidator* Builder::dataValidatorStringLength(DataValue const* params, DataValidator* next)
{
    return makeNumberValidator<DataValidatorStringLength>(params, next);
}

DataValidator* Builder::dataValidatorStringAllDigits(DataValue const*, DataValidator* next)
{
    return new DataValidatorStringAllDigits(next);
}

DataValidator* Builder::dataValidatorStringNoWhitespace(DataValue const*, DataValidator* next)
{
    return new DataValidatorStringNoWhitespace(next);
}

DataValidator* Builder::dataValidatorStringBoolean(DataValue const*, DataValidator* next)
{
    return new DataValidatorStringBoolean(next);
}

DataValidator* Builder::dataValidatorStringsAllowed(DataValue const* params, DataValidator* next)
{
    if (!areParameters(params, eDataItemTypeString))
        return nullptr;
    return new DataValidatorStringsAllowed(params[0].text, params[1].text, next);
}

} // namespace Data
