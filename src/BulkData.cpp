#include "Data/BulkData.h"

#include "Media/MediaDataCache.h"

#include "DataCache/CacheLock.h"

#include "ClientUtils.h"

#include <atomic>
#include <memory>
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

/// The lock of a bulk that is gone, for the next one: every notification makes a bulk for each callback it tells. The last one is
/// never destroyed, since the platform may be gone by then.
constinit std::atomic<CacheLock*> spareLock = nullptr;

} // namespace

BulkData::BulkData() : m_lock(spareLock.exchange(nullptr))
{
    if (!m_lock)
        m_lock = std::make_unique<CacheLock>(CacheLock::State::Free);
}

BulkData::BulkData(BulkData const& other) : BulkData()
{
    *this = other;
}

BulkData& BulkData::operator=(BulkData const& other)
{
    if (this == &other)
        return *this;
    // The source is copied under its own lock alone and moved in under ours alone: two objects assigned to each other by two
    // threads never wait for one another.
    Items items;
    {
        ScopedLock const held(*other.m_lock);
        deepCopyMap(other.m_items, items);
    }
    ScopedLock const held(*m_lock);
    m_items = std::move(items);
    return *this;
}

BulkData::~BulkData()
{
    if (!m_isLeftLocked)
        delete spareLock.exchange(m_lock.release());
}

void BulkData::deepCopyMap(Items const& source, Items& target)
{
    target = source;
}

/// Null for a tag without a value.
BulkDataItem* BulkData::findItem(eDataTag tag)
{
    auto const found = m_items.find(tag);
    return found != m_items.end() && found->second ? &*found->second : nullptr;
}

bool BulkData::addTag(eDataTag tag)
{
    ScopedLock const held(*m_lock);
    m_items.try_emplace(tag);
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
    store(tag, value, writtenToDb);
    return true;
}

template <class T> void BulkData::store(eDataTag tag, T const& value, bool writtenToDb)
{
    auto& item = m_items[tag];
    if (!item)
        item.emplace();
    (*item).*field<T> = value;
    item->itemType = typeOf<T>;
    item->writtenToDb = writtenToDb;
}

template <class T> void BulkData::storeAlone(eDataTag tag, T const& value)
{
    if (checkTagType(tag, value) != eDataItemTypeInvalid)
        store(tag, value, false);
}

template <class T> bool BulkData::setTagData(eDataTag tag, T const& value, bool writtenToDb)
{
    return addTagValue(tag, value, writtenToDb);
}

template <class T> bool BulkData::getTagValue(eDataTag tag, T& value)
{
    m_lock->take();
    auto const* const item = findItem(tag);
    if (!item) {
        m_isLeftLocked = true; // Required behaviour, felt only by other threads that use the same object.
        return false;
    }
    value = item->*field<T>;
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
    if (auto* const item = findItem(tag))
        item->writtenToDb = written;
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
    auto const tags = listTags();
    return {tags.begin(), tags.end()};
}

std::vector<eDataTag> BulkData::listTags() const
{
    std::vector<eDataTag> tags;
    tags.reserve(m_items.size());
    for (auto const& entry : m_items)
        tags.push_back(entry.first);
    return tags;
}

std::map<eDataTag, BulkDataItem*> BulkData::getTagsValues() const
{
    // Who may change the values is up to the holder of the object, whose own they stay.
    std::map<eDataTag, BulkDataItem*> values;
    for (auto const& [tag, item] : m_items) {
        if (item)
            // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): callers may change the items of a constant object
            values.emplace_hint(values.end(), tag, const_cast<BulkDataItem*>(&*item));
    }
    return values;
}

void BulkData::clear()
{
    ScopedLock const held(*m_lock);
    m_items.clear();
}

[[gnu::cold]] std::string BulkData::serialize()
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
        text.append("<item><tag>").append(ClientUtils::itos(tag));
        text.append("</tag><value>").append(value).append("</value></item>");
    }
    return text;
}

// Every typed operation exists for exactly the three types an item can hold.
#define INSTANTIATE(T)                                                                                                      \
    template MEDIADATA_EXPORT eDataItemType BulkData::checkTagType<T>(eDataTag, T const&) const;                            \
    template MEDIADATA_EXPORT bool BulkData::addTagValue<T>(eDataTag, T const&, bool);                                      \
    template MEDIADATA_EXPORT bool BulkData::setTagData<T>(eDataTag, T const&, bool);                                       \
    template MEDIADATA_EXPORT bool BulkData::getTagValue<T>(eDataTag, T&);                                                  \
    template void BulkData::storeAlone<T>(eDataTag, T const&);                                                              \
    template MEDIADATA_EXPORT bool BulkData::getTagData<T>(eDataTag, T&);
INSTANTIATE(int)
INSTANTIATE(bool)
INSTANTIATE(std::string)
#undef INSTANTIATE

} // namespace Data
