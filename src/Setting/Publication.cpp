#include "Setting/Publication.h"

#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Media/Setting.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Data {

namespace {

/// How often all sides get new numbers: twice before any number is so old that it would count as younger.
constexpr PublicationNumber renewalInterval = 1U << 29;

template <class T> std::uint32_t numberOf(DataItemBase const& item)
{
    T value{};
    item.getValue(value);
    return static_cast<std::uint32_t>(value);
}

} // namespace

constinit std::atomic<Publication*> Publication::s_begun = nullptr;
char const Publication::s_everyone = 0;

Publication& Publication::begin()
{
    // Readers may come until the process ends.
    static Publication& publication = *new Publication;
    s_begun.store(&publication, std::memory_order_release);
    return publication;
}

Publication::Publication(PublicationNumber first)
    : m_slots(std::make_unique<Slot[]>(DataCache::DataItemBuilder::recordCount)), m_number(first - 1)
{
    for (auto const& record : DataCache::DataItemBuilder::dataItemDefaultTable)
        if (isPublished(record.tag) && traitsOf(record.tag).type() == eDataItemTypeString)
            new (&slot(record.tag).text) TextSides<std::atomic>;
    publishDefaults();
}

Publication::~Publication()
{
    for (auto const& record : DataCache::DataItemBuilder::dataItemDefaultTable)
        if (isPublished(record.tag) && traitsOf(record.tag).type() == eDataItemTypeString)
            slot(record.tag).text.~TextSides();
}

void Publication::writeNumber(Slot& slot, std::uint32_t number)
{
    if (slot.number.last() == number)
        return;
    slot.number.write(nextNumber(), number);
    m_hasWritten = true;
}

void Publication::writeText(Slot& slot, std::string_view text)
{
    if (slot.text.isLast(lastNumber(), text))
        return;
    slot.text.write(nextNumber(), text);
    m_hasWritten = true;
}

void Publication::write(eDataTag tag, DataItemBase const& item)
{
    if (!isPublished(tag))
        return;
    switch (traitsOf(tag).type()) {
    case eDataItemTypeInt:
        return writeNumber(slot(tag), numberOf<int>(item));
    case eDataItemTypeBool:
        return writeNumber(slot(tag), numberOf<bool>(item));
    default:
        std::string text;
        item.getValue(text);
        return writeText(slot(tag), text);
    }
}

void Publication::finish()
{
    if (!std::exchange(m_hasWritten, false))
        return;
    m_number.store(nextNumber(), std::memory_order_release);
    if (lastNumber() % renewalInterval == 0)
        renewNumbers();
}

/// Publishes all values once more on both sides.
void Publication::renewNumbers()
{
    for (int side = 0; side < 2; ++side) {
        for (auto const& record : DataCache::DataItemBuilder::dataItemDefaultTable) {
            if (!isPublished(record.tag))
                continue;
            auto& each = slot(record.tag);
            if (traitsOf(record.tag).type() != eDataItemTypeString) {
                each.number.write(nextNumber(), each.number.last());
                continue;
            }
            try {
                std::string text;
                each.text.read(lastNumber(), text);
                each.text.write(nextNumber(), text);
            } catch (std::bad_alloc const&) { // NOLINT(bugprone-empty-catch): one of the next renewals is in time, too
            }
        }
        m_number.store(nextNumber(), std::memory_order_release);
    }
}

void Publication::publishDefaults()
{
    bool isComplete = true;
    for (auto const& record : DataCache::DataItemBuilder::dataItemDefaultTable) {
        if (!isPublished(record.tag))
            continue;
        try {
            std::unique_ptr<DataItemBase const> const item(
                DataCache::DataItemBuilder::createDataItem(record.tag, eDataSourceNone));
            if (item)
                write(record.tag, *item);
        } catch (std::bad_alloc const&) {
            isComplete = false;
        }
    }
    finish();
    if (isComplete)
        release();
    else
        claimForAll();
}

bool Publication::read(PublicationNumber n, Media::Detail::Wanted const& wanted) const
{
    auto const& sides = slot(wanted.tag);
    auto const type = traitsOf(wanted.tag).type();
    if (type == eDataItemTypeString)
        return sides.text.read(n, *static_cast<std::string*>(wanted.value));
    std::uint32_t value = 0;
    if (!sides.number.read(n, value))
        return false;
    if (type == eDataItemTypeInt)
        *static_cast<int*>(wanted.value) = static_cast<int>(value);
    else
        *static_cast<bool*>(wanted.value) = value != 0;
    return true;
}

void Publication::readTogether(std::span<Media::Detail::Wanted const> wanted) const
{
    for (bool isComplete = false; !isComplete;) {
        auto const n = lastNumber();
        isComplete = std::ranges::all_of(wanted, [&](auto const& each) { return read(n, each); });
    }
}

} // namespace Data
