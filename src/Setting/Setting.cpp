#include "Media/Setting.h"

#include "Data/DataCache.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceOCMS.h"

#include "DataCache/TextValues.h"
#include "Setting/CacheAccess.h"
#include "Setting/Publication.h"
#include "Setting/Subscriber.h"

#include <span>

namespace Data::Detail {

namespace {

bool isItemName(DataSourceOCMS::OcmsDescription const& row, std::string_view name)
{
    auto const* const own = row.subItem ? row.subItem : row.item;
    return own && *own == name;
}

bool isElementName(DataSourceDB::DbDescription const& row, std::string_view name)
{
    if (!row.schema || row.element->empty() || name.size() != row.schema->size() + 1 + row.element->size())
        return false;
    return name.starts_with(*row.schema) && name[row.schema->size()] == '/' && name.ends_with(*row.element);
}

} // namespace

std::optional<eDataTag> findByStoredName(std::string_view name)
{
    for (int index = eDataTagNone + 1; index < eDataTagEnd; ++index) {
        auto const tag = static_cast<eDataTag>(index);
        if (isItemName(DataSourceOCMS::dataOCMSDescriptionTable[tag], name) ||
            isElementName(DataSourceDB::dataDbDescriptionTable[tag], name))
            return tag;
    }
    return std::nullopt;
}

} // namespace Data::Detail

namespace Media {

using namespace Data;

namespace {

constexpr char const* noCache = "there is no cache: MediaDataCache::init was not called";

/// The catalogue's default.
template <class T> void readDefault(eDataTag tag, T& value)
{
    convertFromString(DataCache::DataItemBuilder::dataItemDefaultTable[tag].value.text, value);
}

template <class T> void readLocked(Detail::Wanted const& wanted)
{
    auto& value = *static_cast<T*>(wanted.value);
    if (!MediaDataCache::getData(wanted.tag, value))
        readDefault(wanted.tag, value);
}

} // namespace

namespace Detail {

void beginPublication()
{
    if (Publication::begun() && Publication::begun()->isAttached())
        return;
    auto& publication = Publication::begin();
    if (auto* const cache = CacheAccess::cache())
        cache->publishTo(publication);
}

void lockedValue(Wanted const& wanted)
{
    switch (traitsOf(wanted.tag).type()) {
    case eDataItemTypeInt:
        return readLocked<int>(wanted);
    case eDataItemTypeBool:
        return readLocked<bool>(wanted);
    default:
        return readLocked<std::string>(wanted);
    }
}

Result setValue(eDataTag tag, Value const& value, bool toManagement)
{
    auto* const cache = CacheAccess::cache();
    if (!cache)
        return {Result::Absent, noCache};
    Result result;
    bool const isTaken =
        std::visit([&](auto const& each) { return cache->setData(tag, each, toManagement, result); }, value);
    return isTaken || !result.ok() ? result : Result(Result::NotStored, "it was not taken");
}

std::optional<Value> changedValue(BulkData const& changed, eDataTag tag)
{
    auto const items = changed.getTagsValues();
    auto const found = items.find(tag);
    if (found == items.end())
        return std::nullopt;
    switch (found->second->itemType) {
    case eDataItemTypeInt:
        return found->second->intValue;
    case eDataItemTypeBool:
        return found->second->boolValue;
    default:
        return found->second->stringValue;
    }
}

} // namespace Detail

Subscription::Subscription() noexcept = default;
Subscription::Subscription(Subscription&& other) noexcept = default;
Subscription::Subscription(std::shared_ptr<Subscriber> subscriber) noexcept : m_subscriber(std::move(subscriber)) {}

Subscription& Subscription::operator=(Subscription&& other) noexcept
{
    Subscription moved(std::move(other));
    std::swap(m_subscriber, moved.m_subscriber);
    return *this;
}

Subscription::~Subscription()
{
    if (!*this)
        return;
    auto* const cache = CacheAccess::cache();
    if (cache && cache->unsubscribe(*m_subscriber))
        m_subscriber->waitForCalls();
}

Subscription::operator bool() const noexcept
{
    return m_subscriber && !m_subscriber->hasEnded();
}

Subscription onChange(std::vector<eDataTag> const& tags, std::function<void(BulkData const&)> function)
{
    auto* const cache = CacheAccess::cache();
    if (!cache || !function)
        return {};
    Subscription subscription(std::make_shared<Subscriber>(std::move(function))); // ends it, too, when memory is short
    return cache->subscribe(tags, subscription.m_subscriber) ? std::move(subscription) : Subscription();
}

BatchResult Batch::commit() const
{
    auto* const cache = CacheAccess::cache();
    std::vector<Refusal> refused;
    if (!cache) {
        for (auto const& [tag, value] : m_values)
            refused.push_back({tag, Result::Absent, noCache});
        return BatchResult(std::move(refused));
    }
    BulkData bulk;
    for (auto const& [tag, value] : m_values)
        std::visit([&, tag = tag](auto const& each) { bulk.addTagValue(tag, each, false); }, value);
    cache->setDataBulk(bulk, &refused);
    return BatchResult(std::move(refused));
}

} // namespace Media
