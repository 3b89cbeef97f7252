// The catalogue and everything that reads it: records, validator builders, item construction, defaults.
#pragma once

#include "Data/DataCache.h"
#include "Data/DataTypes.h"
#include "Data/Export.h"

#include <cstddef>
#include <list>
#include <map>
#include <string>
#include <vector>

namespace Data {

class DataItemBase;
class DataValidator;

/// All members are static and share no mutable state: maps passed in are guarded by their owner. Failures are null, false, the
/// invalid type or an erased entry, logged under "./src/DataItemBuilder".
class MEDIADATA_EXPORT DataCache::DataItemBuilder {
public:
    /// A value as text with its type.
    struct DataValue {
        eDataItemType type = eDataItemTypeInt;
        std::string text;
    };

    /// Makes one validator from two parameters, in front of `next`. Null, without taking over `next`, when the parameters do
    /// not fit.
    using ValidatorBuilder = DataValidator* (*)(DataValue const* params, DataValidator* next);

    /// One step of a chain.
    struct ValidatorAndParams {
        ValidatorBuilder builder = nullptr;
        DataValue params[2];
    };

    /// The two steps of a chain, to be iterated and indexed. A view: rows with the same chain share its steps.
    class Chain {
    public:
        constexpr Chain() = default;
        // NOLINTNEXTLINE(google-explicit-constructor): stands for its steps wherever those are wanted
        constexpr Chain(ValidatorAndParams const* steps) : m_steps(steps) {}
        constexpr ValidatorAndParams const* begin() const { return m_steps; }
        constexpr ValidatorAndParams const* end() const { return m_steps + size(); }
        constexpr std::size_t size() const { return m_steps ? 2 : 0; }
        /// Serves as index operator, too.
        // NOLINTNEXTLINE(google-explicit-constructor): as above
        constexpr operator ValidatorAndParams const*() const { return m_steps; }

    private:
        ValidatorAndParams const* m_steps = nullptr;
    };

    /// One row of the catalogue.
    struct DataItemRecord {
        eDataTag tag = eDataTagNone;
        DataValue value;
        eDataComponent component = eDataComponentNone;
        bool isUserData = false;
        bool secondFlag = false; ///< kept in the table; nothing here reads it
        Chain valueChain;
        Chain stringChain;
    };

    static constexpr std::size_t recordCount = eDataTagEnd + 1;
    /// Row i describes tag i.
    static DataItemRecord const (&dataItemDefaultTable)[recordCount];

    /// False for an int or bool row with an empty default, which counts as absent everywhere.
    static bool isRecordValid(DataItemRecord const& record);
    /// The valid record of a tag, or null.
    static DataItemRecord const* findDataRecord(eDataTag tag);
    /// False for null and for dataValidatorIntRangeNot: a step that names it is skipped, which is required.
    static bool isValidValidatorBuilder(ValidatorBuilder const& builder);
    /// The chain of two steps, owned by the caller; the second step becomes the head. Null when the first step's parameters do
    /// not fit or no step counts.
    static DataValidator* buildValidatorChain(ValidatorAndParams const* chain);
    /// A new item with its default, owned by the caller; null when the tag has no record.
    static DataItemBase* createDataItem(eDataTag tag, eDataSource source);
    /// Appends the tags of the component's valid records in ascending order.
    static void getComponentTagList(eDataComponent component, std::list<eDataTag>& tags);
    /// Replaces each entry by its default, or erases it when it has none or the filters exclude it; component 0 means any.
    static void getDefaultValues(std::map<eDataTag, std::string>& values, eDataComponent component, bool userDataOnly);
    /// Collects the defaults of the items that pass the filters, tables left out; entries that `out` holds stay.
    static void getDefaultValues(std::map<eDataTag, DataItemBase*> const& items, std::map<eDataTag, std::string>& out,
                                 eDataComponent component, bool userDataOnly);
    /// True when every valid row lies at its tag.
    static bool verifyDataTable();
    static eDataItemType getItemType(eDataTag tag);
    static bool isUserData(eDataTag tag);
    /// Takes over the item when it answers true; a null item answers true and changes nothing. False when the tag is present.
    static bool addItemToMap(eDataTag tag, DataItemBase* item, std::map<eDataTag, DataItemBase*>& map);
    /// Makes the items of `tags` and puts them into the map; `added` is cleared and gets the tags, those without an item too.
    static void addIntoDataMap(std::list<eDataTag> const& tags, bool observed, std::map<eDataTag, DataItemBase*>& map,
                               std::list<eDataTag>& added);

    static DataValidator* dataValidatorIntRange(DataValue const* params, DataValidator* next);
    static DataValidator* dataValidatorBasePort(DataValue const* params, DataValidator* next);
    static DataValidator* dataValidatorIntRangeNot(DataValue const* params, DataValidator* next);
    static DataValidator* dataValidatorStringLength(DataValue const* params, DataValidator* next);
    static DataValidator* dataValidatorStringAllDigits(DataValue const* params, DataValidator* next);
    static DataValidator* dataValidatorStringNoWhitespace(DataValue const* params, DataValidator* next);
    static DataValidator* dataValidatorStringBoolean(DataValue const* params, DataValidator* next);
    static DataValidator* dataValidatorStringsAllowed(DataValue const* params, DataValidator* next);

private:
    friend class DataCache;

    /// The tags of the component's valid records in ascending order.
    MEDIADATA_HIDDEN static std::vector<eDataTag> tagsOf(eDataComponent component);
    /// Where the items that addIntoDataMap makes have their values.
    MEDIADATA_HIDDEN static eDataSource sourceOf(eDataTag tag, bool observed);
};

} // namespace Data
