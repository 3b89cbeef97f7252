// The centre of the data layer: the items of one component, their lock, their sources and their notifications.
#pragma once

#include "Data/DataDBCallback.h"
#include "Data/DataMobility.h"
#include "Data/DataOCMSCallback.h"
#include "Data/DataTypes.h"
#include "Data/Export.h"
#include "Data/ThreadSafety.h"

#include <array>
#include <atomic>
#include <bitset>
#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

class DataUpdateCallback;
class ManageableData;
class MgmtAgentIfc;
class SvcRTEContext;

namespace Media {
class Result;
struct Refusal;
namespace Detail {
struct Wanted;
}
} // namespace Media

namespace Data {

class BulkData;
struct BulkDataItem;
class CacheLock;
class DataItemBase;
class DataSourceDB;
class DataSourceFile;
class DataSourceOCMS;
class Publication;
class Subscriber;

/// Locking: one re-entrant lock guards the items, the changed flag and the mobility state. Every public operation takes it
/// without time limit and gives it on every return. Callbacks are called and user data is pushed after it was given, or with it
/// held when an outer operation still holds it. Failures are results, logged under "./src/DataCache".
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
    /// reported to the management service. False when it was refused or not stored, and the old value stands; also when the
    /// management service did not take it, and the new value stays.
    template <class T> bool setData(eDataTag tag, T const& value, bool toManagement);
    /// Sets many values given as text. `rejected` gets one entry per tag not taken: empty when unchanged, otherwise the
    /// reason. The first failed database write ends the batch. Announces nothing.
    bool setDataValues(DataTagValue_t const& values, DataTagValue_t& rejected, bool persist, bool toManagement);
    /// Fills in the current value of each tag that `values` names and the cache holds.
    void getDataValues(DataTagValue_t& values);
    /// The user settings that changed since an announcement of mobility and wait for being pushed.
    void getPendingUserData(DataTagValue_t& values);
    /// The catalogue's type of a tag, 4 when it has none.
    eDataItemType getItemType(eDataTag tag);

    /// False when one of the tags is not held; the callback is registered for the others all the same. Not owned. Null is never
    /// called.
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

    /// One tag of a source, past the items that the cache holds. False for a tag that the source does not know or did not take.
    bool readDataFromSourceDB(eDataTag tag, DataItemBase* item);
    bool writeDataToSourceDB(eDataTag tag, DataItemBase const* item);
    /// Stores the tables of which a cell was written; `rejected` gets the tags of those that were refused.
    bool updateDataInSourceDB(DataTagValue_t& rejected);
    bool updateDataInSourceDB();
    /// T is int, bool or std::string. A failed read leaves 0, false or the empty text.
    template <class T> bool writeDataToSourceOCMS(eDataTag tag, T const& value);
    template <class T> bool readDataFromSourceOCMS(eDataTag tag, T& value);

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

    // What Media::Setting asks besides; not exported.

    /// As above; `result` says why it was not taken.
    template <class T> MEDIADATA_HIDDEN bool setData(eDataTag tag, T const& value, bool toManagement, Media::Result& result);
    /// As above; `refused`, when given, gets the tags of `bulk` that were not taken, in their order.
    MEDIADATA_HIDDEN bool setDataBulk(BulkData& bulk, std::vector<Media::Refusal>* refused);
    /// Values of one moment.
    MEDIADATA_HIDDEN void readTogether(std::span<Media::Detail::Wanted const> wanted);
    /// From now on what changes is published there.
    MEDIADATA_HIDDEN void publishTo(Publication& publication);
    /// Publishes the defaults, and nothing more; ends all subscribers.
    MEDIADATA_HIDDEN void endFollowing();
    /// False when the cache has none of the tags.
    MEDIADATA_HIDDEN bool subscribe(std::span<eDataTag const> tags, std::shared_ptr<Subscriber> const& subscriber);
    /// True when the calling thread is in no operation of the cache, and hence may wait for others.
    MEDIADATA_HIDDEN bool unsubscribe(Subscriber& subscriber);

private:
    static constexpr std::size_t tagCount = eDataTagEnd + 1;

    /// The tags of the items whose changed marks may be set. What is in it, and not how many items there are, decides what a
    /// notification pass costs.
    class TouchedTags {
    public:
        MEDIADATA_HIDDEN void insert(eDataTag tag);
        bool contains(eDataTag tag) const { return m_tags[static_cast<std::size_t>(tag)]; }
        /// Takes out the lowest tag; 0 when there is none.
        MEDIADATA_HIDDEN eDataTag takeLowest();
        void clear() { *this = {}; }

    private:
        std::bitset<tagCount> m_tags;
        std::size_t m_begin = tagCount; ///< no tag is lower
        std::size_t m_end = 0;          ///< all tags are lower
    };

    /// What a notification pass has to tell.
    struct Notification;

    /// Holds the lock where something may be written (src/DataCache/Operation.h).
    class MEDIADATA_HIDDEN Operation;

    /// What an operation stores as a whole, and the guards that say from where to where (src/DataCache/WriteGroup.h).
    class MEDIADATA_HIDDEN WriteGroup;
    class MEDIADATA_HIDDEN Span;
    class MEDIADATA_HIDDEN Pause;

    /// What became of a changed value.
    struct Written {
        bool inDatabase = false;
        bool withTables = false; ///< the changed tables, too
    };

    /// Who wants to know why a value is not taken: of this operation, and not of those within it.
    struct Question {
        Media::Result* result = nullptr;
        int operation = 0;
    };
    class MEDIADATA_HIDDEN Asking;
    // The answer, when somebody asks.
    MEDIADATA_HIDDEN void tellRefused(char const* reason) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void tellNotStored(char const* reason) MEDIADATA_REQUIRES(*m_lock);

    // The work behind the public operations, which is done with the lock held and calls none of them.

    template <class T> MEDIADATA_HIDDEN bool setDataValue(eDataTag tag, T const& value, Written& written)
        MEDIADATA_REQUIRES(*m_lock);
    template <class T> MEDIADATA_HIDDEN bool changeValue(DataItemBase& item, T const& value, T const& present,
                                                         Written& written) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN bool storeInGroup(DataItemBase& item, std::string const& before, Written& written)
        MEDIADATA_REQUIRES(*m_lock);
    template <class T> MEDIADATA_HIDDEN bool setAtManagement(eDataTag tag, T const& value) MEDIADATA_REQUIRES(*m_lock);
    template <class T> MEDIADATA_HIDDEN bool pushValue(eDataTag tag, T const& value) MEDIADATA_REQUIRES(*m_lock);
    template <class T> MEDIADATA_HIDDEN bool fetchValue(eDataTag tag, T& value) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN bool readStored(eDataTag tag, DataItemBase* item) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN bool storeItem(eDataTag tag, DataItemBase const* item) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN bool flushTables(DataTagValue_t& rejected) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN bool flushTables() MEDIADATA_REQUIRES(*m_lock);

    MEDIADATA_HIDDEN DataItemBase* findItem(eDataTag tag) const MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void place(eDataTag tag, DataItemBase* item) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN bool setTexts(DataTagValue_t const& values, DataTagValue_t* rejected, bool persist, bool toManagement)
        MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN bool setEachText(DataTagValue_t const& values, DataTagValue_t* rejected, bool persist,
                                      bool toManagement) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void getTexts(DataTagValue_t& values) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void applyDefaults(DataTagValue_t const& defaults) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN bool applyChangedConfigFile() MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void applyFlagFile();
    template <class T> MEDIADATA_HIDDEN bool setFromBulk(eDataTag tag, T const& value, DataTagValue_t& texts,
                                                         Written& written) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN bool setFromBulk(eDataTag tag, BulkDataItem const& item, DataTagValue_t& texts, Written& written)
        MEDIADATA_REQUIRES(*m_lock);

    MEDIADATA_HIDDEN void noteChange(eDataTag tag) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void touch(eDataTag tag) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void noteUnpublished(eDataTag tag) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void publishAtTheEnd() MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void publishChanges() MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void sweepSubscribers();
    MEDIADATA_HIDDEN void endPass();
    MEDIADATA_HIDDEN bool allChangesAreNoted() const MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void addChange(DataItemBase const& item, Notification& notification) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void collectChanges(Notification& notification) MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN bool hasCallees() const MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void notifyChanges() MEDIADATA_REQUIRES(*m_lock);
    MEDIADATA_HIDDEN void notifyInPause() MEDIADATA_REQUIRES(*m_lock);
    // Runs without the lock where the pass does not run inside another operation.
    MEDIADATA_HIDDEN void notify(Notification& notification);

    eDataComponent const m_component;
    std::unique_ptr<CacheLock> const m_lock;
    bool m_initialised MEDIADATA_GUARDED_BY(*m_lock) = false;
    /// Owning; by tag, null where there is no item.
    std::array<DataItemBase*, tagCount> m_dataMap MEDIADATA_GUARDED_BY(*m_lock){};
    bool m_changed MEDIADATA_GUARDED_BY(*m_lock) = false;
    TouchedTags m_touched MEDIADATA_GUARDED_BY(*m_lock);
    int m_operations MEDIADATA_GUARDED_BY(*m_lock) = 0; ///< within one another, of the thread that holds the lock
    Publication* m_publication MEDIADATA_GUARDED_BY(*m_lock) = nullptr; ///< null: nobody reads without the lock
    TouchedTags m_unpublished MEDIADATA_GUARDED_BY(*m_lock);
    bool m_hasUnpublished MEDIADATA_GUARDED_BY(*m_lock) = false;
    Question m_question MEDIADATA_GUARDED_BY(*m_lock);
    std::list<std::shared_ptr<Subscriber>> m_subscribers MEDIADATA_GUARDED_BY(*m_lock);
    std::atomic<int> m_passes = 0; ///< that collected callees and are not over; rises with the lock held
    std::atomic<bool> m_hasEndedSubscribers = false;
    std::unique_ptr<WriteGroup> const m_group MEDIADATA_PT_GUARDED_BY(*m_lock); ///< null: every write stands alone
    // Made by the constructor before it gives the lock. Empty while the destructor takes them down: the platform, whose
    // storages go with the first, may still call operations then, which answer false.
    std::unique_ptr<DataSourceDB> m_sourceDB MEDIADATA_PT_GUARDED_BY(*m_lock);
    std::unique_ptr<DataSourceOCMS> m_sourceOCMS; ///< its names do not change, and it asks for the lock where it needs it
    std::unique_ptr<DataSourceFile> m_sourceFile MEDIADATA_PT_GUARDED_BY(*m_lock);
};

} // namespace Data
