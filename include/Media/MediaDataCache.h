// The library's public entry: one process-wide cache of the media component's settings.
#pragma once

#include "Data/BulkData.h"
#include "Data/DataCountry.h"
#include "Data/DataTypes.h"
#include "Data/DataUpdateCallback.h"
#include "Data/Export.h"

#include <list>
#include <memory>

class ManageableData;
class MgmtAgentIfc;
class SvcRTEContext;

namespace Data {
class DataCache;
}

namespace Media {

/// Every operation is static and safe before `init` and after `terminate`: it then does nothing and answers its fallback.
/// Locking is the cache's; `init` and `terminate` are not guarded and belong to start-up and shut-down.
class MEDIADATA_EXPORT MediaDataCache {
public:
    MediaDataCache(MediaDataCache const&) = delete;
    MediaDataCache& operator=(MediaDataCache const&) = delete;

    /// Builds the cache and reads everything stored before it returns; a second call does nothing. The context is borrowed and
    /// must outlive the cache.
    static void init(SvcRTEContext& context);
    /// Destroys the cache; `init` may follow and reads everything again.
    static void terminate();

    /// Appends the nine tags that the component observes without owning them.
    static void getObservedTags(std::list<Data::eDataTag>& tags);

    /// One value; T is int, bool or std::string and must be the item's own type. False when it is not, when the value cannot
    /// be read, and without cache.
    template <class T> static bool getData(Data::eDataTag tag, T& value);
    /// Validates, stores, persists and announces one value; `toManagement` also reports it to the management service. False
    /// when it was refused or not stored, when the management service did not take it, and without cache. True: a single value
    /// of the database is durable. A cell of a table passed its table's check, which may have changed other cells; when the
    /// database does not take the table, only the log says so.
    template <class T> static bool setData(Data::eDataTag tag, T const& value, bool toManagement);
    /// Many values at once; see Data::DataCache. False without cache.
    static bool setDataBulk(Data::BulkData& bulk);
    static bool getDataBulk(Data::BulkData& bulk);

    /// The management service's exchanges. False without cache.
    static bool getDataOcms(ManageableData& record);
    static bool setDataOcms(ManageableData& record);
    static bool manageableDataChanged(ManageableData& record);
    /// The agent that a platform hands to its management service; owned by the cache and valid until `terminate`. Null without
    /// cache.
    static MgmtAgentIfc* managementAgent();

    /// The user settings that wait for being pushed to the management service; see Data::DataMobility. False without cache.
    static bool getPendingUserData(Data::DataTagValue_t& values);

    /// 4 (invalid) for a tag without record and without cache.
    static Data::eDataItemType getItemType(Data::eDataTag tag);
    /// False when one of the tags is not held, and without cache. The callback is borrowed.
    static bool registerCallback(std::list<Data::eDataTag> const& tags, DataUpdateCallback* callback);
    /// Reaches the item with the lowest tag only: required behaviour.
    static void unregisterCallback(DataUpdateCallback* callback);
    static void readUserDataFromSourceDB();

    /// Resets the nineteen audio settings of the user; announced by the next notification pass.
    static void resetDataSetUserAudio();
    /// Exactly resetDataSetUserAudio: no other set is reset.
    static void resetDataSetUserAll();

    /// The device's country; 40 when it is not known, and without cache.
    static Data::eCountry getCountry();
    /// The country's region; 1 when the country is not known.
    static int getCountryRegion();

private:
    friend struct CacheAccess; // src/Setting/CacheAccess.h

    explicit MediaDataCache(SvcRTEContext& context);
    ~MediaDataCache();

    static Data::DataCache* cache();

    static MediaDataCache* m_instance;

    std::unique_ptr<Data::DataCache> m_cache;
    Data::DataCountry m_country;
};

} // namespace Media
