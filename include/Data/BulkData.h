// Many typed values in one object, passed between clients and the cache.
#pragma once

#include "Data/DataTypes.h"
#include "Data/Export.h"
#include "Data/ThreadSafety.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Data {

class CacheLock;

/// One value of a BulkData. Only the field that `itemType` names is meaningful.
struct BulkDataItem {
    int intValue = 0;
    bool boolValue = false;
    std::string stringValue;
    eDataItemType itemType = eDataItemTypeInvalid;
    bool writtenToDb = false;
};

/// Usable while the facade is initialised, which answers the tags' types; without it values are refused. Operations take the
/// object's own re-entrant lock without time limit, save where it says otherwise.
class MEDIADATA_EXPORT BulkData {
public:
    BulkData();
    /// Deep copies: the source's lock is held while copying and the own one while replacing, never both.
    BulkData(BulkData const& other);
    BulkData& operator=(BulkData const& other);
    ~BulkData();

    /// Asks for a tag; always true.
    bool addTag(eDataTag tag);
    /// Asks for a tag that can be read in bulk: false for tables and unknown tags. Takes no lock before it adds the tag.
    bool setTag(eDataTag tag);
    /// The tag's item type when it is T's, otherwise 4 (invalid). Takes no lock. T is int, bool or std::string.
    template <class T> eDataItemType checkTagType(eDataTag tag, T const& value) const;
    /// Adds or replaces a value and asks for the tag. False, and nothing changes, when the tag's type is not T.
    template <class T> bool addTagValue(eDataTag tag, T const& value, bool writtenToDb);
    template <class T> bool setTagData(eDataTag tag, T const& value, bool writtenToDb);
    /// Reads a value. A tag without a value answers false and leaves the lock held by the caller, which is required behaviour:
    /// other threads then wait for this object.
    template <class T> bool getTagValue(eDataTag tag, T& value) MEDIADATA_NO_THREAD_SAFETY_ANALYSIS;
    template <class T> bool getTagData(eDataTag tag, T& value);
    /// Says whether the tag's value is in the database; ignored for a tag without a value.
    void setTagWrittenToDb(eDataTag tag, bool written);
    /// The tags whose values are not in the database.
    std::set<eDataTag> getTagsNotSetInDb();
    /// A copy of the tags asked for. Takes no lock.
    std::set<eDataTag> getTags() const MEDIADATA_NO_THREAD_SAFETY_ANALYSIS;
    /// A copy of the map; the items stay this object's own. Takes no lock.
    std::map<eDataTag, BulkDataItem*> getTagsValues() const MEDIADATA_NO_THREAD_SAFETY_ANALYSIS;
    /// Removes all tags and values.
    void clear();
    /// `<item><tag>T</tag><value>V</value></item>` for each value in tag order, nothing escaped.
    std::string serialize();

private:
    /// Lists what is in it under its lock, which it gives back before it takes its own; fills in one that nobody else knows yet.
    friend class DataCache;

    /// All tags asked for, those that have a value with their item.
    using Items = std::map<eDataTag, std::optional<BulkDataItem>>;

    static void deepCopyMap(Items const& source, Items& target);
    MEDIADATA_HIDDEN BulkDataItem* findItem(eDataTag tag) MEDIADATA_REQUIRES(*m_lock);
    /// What addTagValue does under the lock.
    template <class T> MEDIADATA_HIDDEN void store(eDataTag tag, T const& value, bool writtenToDb)
        MEDIADATA_REQUIRES(*m_lock);
    /// addTagValue without the lock, for an object that no other thread has.
    template <class T> MEDIADATA_HIDDEN void storeAlone(eDataTag tag, T const& value) MEDIADATA_NO_THREAD_SAFETY_ANALYSIS;
    MEDIADATA_HIDDEN std::vector<eDataTag> listTags() const MEDIADATA_NO_THREAD_SAFETY_ANALYSIS; ///< as getTags

    Items m_items MEDIADATA_GUARDED_BY(*m_lock);
    std::unique_ptr<CacheLock> m_lock;
    bool m_isLeftLocked MEDIADATA_GUARDED_BY(*m_lock) = false; ///< a caller kept the lock, see getTagValue
};

} // namespace Data
