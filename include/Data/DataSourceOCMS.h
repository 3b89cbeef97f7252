// The bridge between the cache, which knows items by tag, and the management service, which knows them by name.
#pragma once

#include "Data/DataMobility.h"
#include "Data/DataOCMSCallback.h"
#include "Data/DataTypes.h"
#include "Data/Export.h"

#include "MgmtAgentIfc.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <span>
#include <string>
#include <vector>

class LocalMgmtIfc;
class ManageableData;
class SvcRTEContext;

namespace Data {

/// A ranked table in the words of its translation, known to that alone.
struct ManagedTable;

/// Takes no lock of its own: what it knows is made once and then only read; the cache's operations lock for themselves.
/// Failures are results, logged under "./src/DataSourceOCMS".
class MEDIADATA_EXPORT DataSourceOCMS : public MgmtAgentIfc {
public:
    /// What the management service calls a tag. A null item: nothing; a null sub-item: the item's own name.
    struct OcmsDescription {
        eDataTag tag;
        std::string const* item;
        std::string const* subItem;
    };

    static constexpr std::size_t rowCount = eDataTagEnd + 1;
    /// Row i describes tag i.
    static OcmsDescription const dataOCMSDescriptionTable[rowCount];

    /// Looks the management service up once; without it single reads and all pushes fail for the life of the object. Both
    /// callbacks are borrowed and may be null.
    DataSourceOCMS(SvcRTEContext& context, eDataComponent component, std::list<eDataTag> const& observedTags,
                   std::list<eDataTag> const& ownedTags, DataOCMSCallback* cache, DataMobilityCallback* mobility);
    MEDIADATA_HIDDEN DataSourceOCMS(SvcRTEContext& context, std::list<eDataTag> const& observedTags,
                                    std::span<eDataTag const> ownedTags, DataOCMSCallback* cache,
                                    DataMobilityCallback* mobility);
    ~DataSourceOCMS() override;
    DataSourceOCMS(DataSourceOCMS const&) = delete;
    DataSourceOCMS& operator=(DataSourceOCMS const&) = delete;

    bool setData(ManageableData& record) override;
    bool getData(ManageableData& record) override;
    void manageableDataChanged(ManageableData& record) override;
    bool resetUserData() override;

    /// Reads one item's current value from the management service.
    bool getData(eDataTag tag, std::string& value);
    /// Pushes one value: owned items as a change report, all others as a set request.
    bool setData(eDataTag tag, std::string const& value);
    /// Pushes a batch in at most one report and one request.
    bool setData(DataTagValue_t& values);

    static bool verifyDataTable();
    bool findStringsFor(eDataTag tag, std::string& itemName, std::string& subItemName);
    bool findTagFor(std::string const& itemName, std::string const& subItemName, eDataTag& tag);
    bool checkOCMSItemHandling(eDataTag tag, eDataHandling handling);
    void fillTagsAndValue(ManageableData& record, eDataHandling handling, bool withValues, DataTagValue_t& values);
    void addToHandlingMap(std::list<eDataTag> const& tags, eDataHandling handling);
    /// Does nothing: the service learns what is observed from its own configuration.
    void buildObservedList(std::list<eDataTag> const& tags, std::list<std::string>& names);
    /// Does nothing: the names were sorted by the compiler.
    void buildOCMS2EnumMap();

    void checkSpecificDataForSet(DataTagValue_t& values);
    void checkSpecificDataForGet(DataTagValue_t& values);
    void checkSpecificDataForChanged(DataTagValue_t& values);

    void processRequestToSetCodecs(DataTagValue_t& values);
    void processRequestToSetEncryption(DataTagValue_t& values);
    void processRequestToSetHeadsetPriority(DataTagValue_t& values);
    void processRequestToGetCodecs(DataTagValue_t& values);
    void processRequestToGetEncryption(DataTagValue_t& values);
    void processRequestToGetHeadsetPriority(DataTagValue_t& values);
    /// Completes a table that the service sent in part; `extraTag` 0: no further column.
    void processTableForSet(DataTagValue_t& values, char const* name, void (*sortByRank)(DataTagValue_t&, int),
                            std::size_t count, eDataTag typeTag, eDataTag rankTag, eDataTag allowedTag, eDataTag hardwareTag,
                            eDataTag extraTag);
    /// Takes out the rows that this hardware cannot use and stores the verdicts in the cache.
    void processTableForGet(DataTagValue_t& values, char const* name,
                            bool (*hardwareAllowed)(unsigned int type, unsigned int index, DataTagValue_t& side),
                            DataTagValue_t& side, std::size_t count, eDataTag typeTag, eDataTag rankTag, eDataTag allowedTag,
                            eDataTag hardwareTag, eDataTag extraTag);

private:
    struct Handling {
        eDataTag tag;
        eDataHandling handling;
    };

    /// The tags of one item in the order of their sub-items' names; empty when no row has this item.
    MEDIADATA_HIDDEN static std::span<std::uint16_t const> findRows(std::string const& itemName);
    MEDIADATA_HIDDEN void addHandling(std::span<eDataTag const> tags, eDataHandling handling);
    MEDIADATA_HIDDEN void completeTable(ManagedTable const& managed, DataTagValue_t& values);
    /// Takes out the empty packet sizes that completing the codecs added to what was sent: those rows keep theirs.
    MEDIADATA_HIDDEN static void dropAddedPacketSizes(DataTagValue_t& values, DataTagValue_t const& sent);
    MEDIADATA_HIDDEN void hideTableRows(ManagedTable const& managed, DataTagValue_t& values);

    LocalMgmtIfc* m_localMgmt = nullptr;
    std::vector<Handling> m_handling; ///< by tag
    DataOCMSCallback* m_cache;
    DataMobilityCallback* m_mobility;
};

} // namespace Data
