#include "Data/BulkData.h"

#include "Media/MediaDataCache.h"

#include "DataCache/ScopedLock.h"

#include "ClientUtils.h"
#include "Semaphore.h"

#include <type_traits>
#include <utility>

namespace Data {

namespace {

/// The field of an item that holds values of type T, and the item type that says so.
template <class T> constexpr auto field = &BulkDataItem::stringValue;
template <> constexpr auto field<int> = &BulkDataItem::intValue;
template <> constexpr auto field<bool> = &BulkDataItem::boolValue;

template <class T> constexpr eDataItemType typeOf = std::is_same_v<T, int>    ? eDataItemTypeInt
                                                    : std::is_same_v<T, bool> ? eDataItemTypeBool
                                                                              : eDataItemTypeString;

} // namespace

BulkData::BulkData() : m_lock(std::make_unique<Semaphore>(1, 1, true)) {}

BulkData::BulkData(BulkData const& other) : BulkData()
{
    *this = other;
}

BulkData& BulkData::operator=(BulkData const& other)
{
    if (this == &other)
        return *this;
    // The source is copied under its own lock alone and swapped in under ours alone: two objects assigned to each other by two
    // threads never wait for one another.
    Items items;
    std::set<eDataTag> tags;
    {
        ScopedLock const held(*other.m_lock);
        deepCopyMap(other.m_items, items);
        tags = other.m_tags;
    }
    {
        ScopedLock const held(*m_lock);
        m_items.swap(items);
        m_tags.swap(tags);
    }
    deleteItems(items);
    return *this;
}

BulkData::~BulkData()
{
    deleteItems(m_items);
}

void BulkData::deepCopyMap(Items const& source, Items& target)
{
    for (auto const& [tag, item] : source)
        target.emplace(tag, item ? new BulkDataItem(*item) : nullptr);
}

void BulkData::deleteItems(Items& items)
{
    for (auto const& entry : items)
        delete entry.second;
    items.clear();
}

bool BulkData::addTag(eDataTag tag)
{
    ScopedLock const held(*m_lock);
    m_tags.insert(tag);
    return true;
}

bool BulkData::setTag(eDataTag tag)
{
    auto const type = Media::MediaDataCache::getItemType(tag);
    if (type == eDataItemTypeComplex || type == eDataItemTypeInvalid)
        return false;
    return addTag(tag);
}

template <class T> eDataItemType BulkData::checkTagType(eDataTag tag, T const& /*value*/) const
{
    return Media::MediaDataCache::getItemType(tag) == typeOf<T> ? typeOf<T> : eDataItemTypeInvalid;
}

template <class T> bool BulkData::addTagValue(eDataTag tag, T const& value, bool writtenToDb)
{
    auto const type = checkTagType(tag, value);
    if (type == eDataItemTypeInvalid)
        return false;
    ScopedLock const held(*m_lock);
    auto& item = m_items[tag];
    if (!item) {
        item = new BulkDataItem;
        m_tags.insert(tag);
    }
    item->*field<T> = value;
    item->itemType = type;
    item->writtenToDb = writtenToDb;
    return true;
}

template <class T> bool BulkData::setTagData(eDataTag tag, T const& value, bool writtenToDb)
{
    return addTagValue(tag, value, writtenToDb);
}

template <class T> bool BulkData::getTagValue(eDataTag tag, T& value)
{
    m_lock->take(-1);
    auto const found = m_items.find(tag);
    if (found == m_items.end() || !found->second)
        return false; // The lock stays held: required behaviour, felt only by other threads that use the same object.
    value = found->second->*field<T>;
    m_lock->give();
    return true;
}

template <class T> bool BulkData::getTagData(eDataTag tag, T& value)
{
    return getTagValue(tag, value);
}

void BulkData::setTagWrittenToDb(eDataTag tag, bool written)
{
    ScopedLock const held(*m_lock);
    auto const found = m_items.find(tag);
    if (found != m_items.end() && found->second)
        found->second->writtenToDb = written;
}

std::set<eDataTag> BulkData::getTagsNotSetInDb()
{
    ScopedLock const held(*m_lock);
    std::set<eDataTag> tags;
    for (auto const& [tag, item] : m_items) {
        if (item && !item->writtenToDb)
            tags.insert(tag);
    }
    return tags;
}

std::set<eDataTag> BulkData::getTags() const
{
    return m_tags;
}

std::map<eDataTag, BulkDataItem*> BulkData::getTagsValues() const
{
    return m_items;
}

void BulkData::clear()
{
    ScopedLock const held(*m_lock);
    deleteItems(m_items);
    m_tags.clear();
}

std::string BulkData::serialize()
{
    ScopedLock const held(*m_lock);
    std::string text;
    for (auto const& [tag, item] : m_items) {
        if (!item)
            continue;
        std::string value;
        switch (item->itemType) {
        case eDataItemTypeInt:
            value = ClientUtils::itos(item->intValue);
            break;
        case eDataItemTypeBool:
            value = ClientUtils::btos(item->boolValue);
            break;
        case eDataItemTypeString:
            value = item->stringValue;
            break;
        default:
            continue;
        }
        text += "<item><tag>" + ClientUtils::itos(tag) + "</tag><value>" + value + "</value></item>";
    }
    return text;
}

// Every typed operation exists for exactly the three types an item can hold.
#define INSTANTIATE(T)                                                                                                      \
    template MEDIADATA_EXPORT eDataItemType BulkData::checkTagType<T>(eDataTag, T const&) const;                            \
    template MEDIADATA_EXPORT bool BulkData::addTagValue<T>(eDataTag, T const&, bool);                                      \
    template MEDIADATA_EXPORT bool BulkData::setTagData<T>(eDataTag, T const&, bool);                                       \
    template MEDIADATA_EXPORT bool BulkData::getTagValue<T>(eDataTag, T&);                                                  \
    template MEDIADATA_EXPORT bool BulkData::getTagData<T>(eDataTag, T&);
INSTANTIATE(int)
INSTANTIATE(bool)
INSTANTIATE(std::string)
#undef INSTANTIATE

} // namespace Data
