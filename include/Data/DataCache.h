// The centre of the data layer: the items of one component, their lock, their sources and their notifications.
#pragma once

#include "Data/DataDBCallback.h"
#include "Data/DataMobility.h"
#include "Data/DataOCMSCallback.h"
#include "Data/DataTypes.h"
#include "Data/Export.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <forward_list>
#include <list>
#include <map>
#include <memory>
#include <memory_resource>
#include <set>
#include <string>

class DataUpdateCallback;
class ManageableData;
class MgmtAgentIfc;
class Semaphore;
class SvcRTEContext;

namespace Data {

class BulkData;
class DataItemBase;
class DataSourceDB;
class DataSourceFile;
class DataSourceOCMS;

/// Locking: one re-entrant lock guards the item map, every item, the changed flag and the mobility state. Every public
/// operation takes it without time limit and gives it on every return. Notifications and pushes of user data run after it was
/// given, except inside an outer operation that still holds it. Failures are results, logged under "./src/DataCache".
class MEDIADATA_EXPORT DataCache : public DataOCMSCallback, public DataDBCallback, public DataMobility {
public:
    class DataItemBuilder;

    /// Builds the items, makes the sources and reads everything stored, holding the lock from the start. The context is
    /// borrowed and must outlive the cache.
    DataCache(SvcRTEContext& context, std::list<eDataTag> const& observedTags, eDataComponent component);
    ~DataCache() override;
    DataCache(DataCache const&) = delete;
    DataCache& operator=(DataCache const&) = delete;

    /// The current value; T is int, bool or std::string. A tag that the cache does not hold is read from the management
    /// service, and `value` is overwritten even when that fails; a wrong type leaves it untouched.
    template <class T> bool getData(eDataTag tag, T& value);
    /// Validates, stores, persists and announces one value. `toManagement` asks that a value kept in the database is also
    /// reported to the management service. False when refused or not stored; the old value then stands.
    template <class T> bool setData(eDataTag tag, T const& value, bool toManagement);
    /// Sets many values given as text. `rejected` gets one entry per tag not taken: empty when unchanged, otherwise the
    /// reason. The first failed database write ends the batch. Announces nothing.
    bool setDataValues(DataTagValue_t const& values, DataTagValue_t& rejected, bool persist, bool toManagement);
    /// Fills in the current value of each tag that `values` names and the cache holds.
    void getDataValues(DataTagValue_t& values);
    /// The catalogue's type of a tag, 4 when it has none.
    eDataItemType getItemType(eDataTag tag);

    /// False when one of the tags is not held; the callback is registered for the others all the same. Not owned.
    bool registerCallback(std::list<eDataTag> const& tags, DataUpdateCallback* callback);
    /// Takes the callback from the item with the lowest tag and from no other: required behaviour.
    void unregisterCallback(DataUpdateCallback* callback);
    /// Sends what changed since the last pass.
    void updateCallbacks();

    /// The management service's exchanges, forwarded to its source.
    bool getDataOcms(ManageableData& record);
    bool setDataOcms(ManageableData& record);
    bool manageableDataChanged(ManageableData& record);
    /// The agent that a platform hands to its management service; owned by the cache and valid as long as it.
    MgmtAgentIfc& managementAgent();

    /// Sets the values of `bulk`, flags those that were stored, reports them to the management service and announces them.
    /// False when one was refused or not stored; the others are stored all the same.
    bool setDataBulk(BulkData& bulk);
    /// Fills in the values of the tags that `bulk` asks for. False when one could not be read; the others are filled in.
    bool getDataBulk(BulkData& bulk);
    /// Resets the tags to their defaults and stores those. Announced by the next pass of any operation.
    void resetDataToDefault(std::list<eDataTag> const& tags);

    void readAllDataFromSourceDB();
    /// Looks at the flag file and applies it when it changed.
    void readDataFromSourceFile();
    /// Deletes all items.
    void clearDataMap();

    void ocmsCBGetDataValues(DataTagValue_t& values) override;
    bool ocmsCBSetDataValues(DataTagValue_t const& values, DataTagValue_t& rejected) override;
    void ocmsCBResetToDefault() override;
    void readUserDataFromSourceDB() override;
    void dbCBGetDataValues(DataTagValue_t& values) override;
    bool dbCBSetDataValues(DataTagValue_t const& values, bool persist, bool toManagement) override;
    void dbCBGetFailed(eDataTag tag) override;
    void dbCBResetSelectedToDefault(DataTagValue_t& values) override;
    bool dbCBQueryIsTableUserData(eDataTag table) override;
    /// Last, so that the slots of the operations above follow one another.
    void mobilityChanged(std::string const& value) override;

private:
    static constexpr std::size_t tagCount = eDataTagEnd + 1;

    /// What a notification pass has for one callee. The list has them in the order of the callees' addresses.
    struct Notice;
    using Notices = std::pmr::forward_list<Notice>;

    template <class T> MEDIADATA_HIDDEN bool setDataValue(eDataTag tag, T const& value, bool& persisted);
    template <class T> inline bool setUnlessPresent(eDataTag tag, T const& value, bool& persisted);
    template <class T>
    MEDIADATA_HIDDEN bool changeValue(DataItemBase& item, T const& value, T const& present, bool& persisted);
    template <class T> MEDIADATA_HIDDEN bool setAtManagement(eDataTag tag, T const& value);
    template <class T> MEDIADATA_HIDDEN bool writeDataToSourceOCMS(eDataTag tag, T const& value);
    template <class T> MEDIADATA_HIDDEN bool readDataFromSourceOCMS(eDataTag tag, T& value);
    bool readDataFromSourceDB(eDataTag tag, DataItemBase* item);
    bool writeDataToSourceDB(eDataTag tag, DataItemBase const* item);
    bool updateDataInSourceDB(DataTagValue_t& rejected);
    bool updateDataInSourceDB();

    MEDIADATA_HIDDEN bool applyChangedConfigFile();
    MEDIADATA_HIDDEN DataItemBase* findItem(eDataTag tag) const;
    MEDIADATA_HIDDEN void place(eDataTag tag, DataItemBase* item);
    MEDIADATA_HIDDEN void touch(eDataTag tag);
    MEDIADATA_HIDDEN void forgetTouched();
    MEDIADATA_HIDDEN void noteChange(eDataTag tag);
    MEDIADATA_HIDDEN void applyDefaults(DataTagValue_t const& defaults);
    template <class T> MEDIADATA_HIDDEN static void addChange(DataItemBase const& item, Notices& notices);
    MEDIADATA_HIDDEN void collectChanges(Notices& notices);
    MEDIADATA_HIDDEN void pushUserData(DataTagValue_t pending, unsigned int announcement);

    eDataComponent m_component;
    bool m_initialised = false;
    std::unique_ptr<Semaphore> m_lock;
    std::array<DataItemBase*, tagCount> m_dataMap{}; ///< owning; by tag, null where there is no item
    bool m_changed = false;
    std::unique_ptr<DataSourceDB> m_sourceDB;
    std::unique_ptr<DataSourceOCMS> m_sourceOCMS;
    std::unique_ptr<DataSourceFile> m_sourceFile;
    std::bitset<tagCount> m_touched;       ///< the tags whose changed mark may be set
    std::size_t m_touchedBegin = tagCount; ///< no touched tag is lower
    std::size_t m_touchedEnd = 0;          ///< all touched tags are lower
};

} // namespace Data
