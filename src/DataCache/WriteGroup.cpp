#include "DataCache/WriteGroup.h"

#include "Data/DataItemBase.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceOCMS.h"

#include "DataCache/CacheLock.h"
#include "DataCache/Operation.h"
#include "DataCache/Reasons.h"
#include "Log.h"

#include "StorageGroup.h"
#include "SvcRTEContext.h"

#include <algorithm>
#include <type_traits>

namespace Data {

namespace {

constexpr char const* unit = "./src/DataCache";

/// A template, so that a context without virtual functions would do, too.
template <class Context> StorageGroup* findStorageGroup(Context& context)
{
    if constexpr (std::is_polymorphic_v<Context>)
        return dynamic_cast<StorageGroup*>(&context);
    else
        return nullptr;
}

DataSourceDB::DbDescription const& rowOf(eDataTag tag)
{
    return DataSourceDB::dataDbDescriptionTable[tag];
}

} // namespace

std::unique_ptr<DataCache::WriteGroup> DataCache::WriteGroup::make(DataCache& cache, SvcRTEContext& context)
{
    auto* const platform = findStorageGroup(context);
    return platform ? std::make_unique<WriteGroup>(cache, *platform) : nullptr;
}

void DataCache::WriteGroup::keepTables()
{
    if (m_cache.m_sourceDB && !std::exchange(m_keepsTables, true))
        m_cache.m_sourceDB->keepTables();
}

void DataCache::WriteGroup::beginWriting(eDataTag tag)
{
    keepTables();
    auto const* const row = DataSourceDB::findDescription(tag); // who writes past the items may name any
    if (m_isOpen || m_isRefused || !row || !row->schema)
        return;
    m_isOpen = m_platform.beginGroup();
    m_isRefused = !m_isOpen;
}

void DataCache::WriteGroup::note(eDataTag tag, std::string before, Origin origin, bool isStored)
{
    if (!m_isRefused)
        m_frame.changes.push_back({tag, std::move(before), origin, isStored && rowOf(tag).schema, m_frame.isFlushing});
}

bool DataCache::WriteGroup::owe(eDataTag tag, std::string const& text)
{
    if (m_isOpen)
        m_owed.emplace_back(tag, text);
    return m_isOpen;
}

void DataCache::WriteGroup::logNotStored(eDataTag tag, Origin origin)
{
    if (origin == Origin::Batch)
        LOG_ERROR(unit, "DataCache::setDataValues - ERR storing into db failed, restoring original value for tag %i\n", tag);
    else
        LOG_ERROR(unit, "DataCache::setDataValue - ERR storing into db failed\n");
}

/// Stores what was written, or takes it back. The reports that are due then, if any, are to be made outside of the span.
DataCache::WriteGroup::Reports DataCache::WriteGroup::endPart()
{
    auto frame = std::exchange(m_frame, {}); // who reads the log may write, and what is thrown leaves no span
    bool const mayBeLost = std::exchange(m_isOpen, false);
    m_isRefused = false;
    m_keepsTables = false;
    auto reports = std::exchange(m_owed, {});
    if (mayBeLost && !m_platform.endGroup()) {
        takeBack(frame);
        reports.clear();
    }
    m_frame = std::move(frame);
    return reports;
}

/// Behind what is stored. A cell is stored with its table, which may belong to a later part.
void DataCache::WriteGroup::keepWaitingCells()
{
    std::vector<Change> waiting;
    for (auto& change : m_frame.changes)
        if (isWaitingCell(change, m_frame.changes))
            waiting.push_back(std::move(change));
    m_frame.changes = std::move(waiting);
}

/// The cell of a table whose text this part has not written.
bool DataCache::WriteGroup::isWaitingCell(Change const& change, std::vector<Change> const& all)
{
    auto const& row = rowOf(change.tag);
    return !row.schema && row.parentTable != eDataTagNone &&
           std::ranges::find(all, row.parentTable, &Change::tag) == all.end();
}

void DataCache::WriteGroup::takeBack(Frame& frame)
{
    auto& all = frame.changes;
    auto const first = std::ranges::find_if(all, &Change::isWritten);
    if (first == all.end())
        return; // all that was to be stored had been refused before: a table's text, whose cells stay
    bool const isOneTable = std::ranges::count_if(all, &Change::isWritten) == 1 && rowOf(first->tag).isTable;
    frame.hasFailed = frame.hasFailed || !isOneTable || !first->isByTable;
    if (isOneTable) { // a write that failed, as any: the cells stay, and are stored with the table's next change
        all = {Change(*first)};
    } else {
        m_cache.m_sourceDB->restoreTables();
        for (auto const& change : all)
            if (isWaitingCell(change, all)) // may have been stored by somebody whom a pause let in
                m_cache.m_sourceDB->setTableChanged(rowOf(change.tag).parentTable);
    }

    for (auto const& change : all) {
        if (change.isWritten) {
            DataSourceDB::logNotStored(change.tag);
            logNotStored(change.tag, change.origin);
        }
        if (frame.isBulk && !change.isByTable)
            LOG_ERROR(unit, "DataCache::setData - failed to set tag %i \n", change.tag);
    }
    auto const restore = [&](Change const& change) MEDIADATA_NO_THREAD_SAFETY_ANALYSIS {
        std::string reason;
        m_cache.findItem(change.tag)->setValueString(change.before, reason);
        m_cache.noteChange(change.tag);
        frame.lost.emplace(change.tag, "");
    };
    std::for_each(all.rbegin(), all.rend(), restore);
    all.clear();
}

void DataCache::WriteGroup::make(Reports const& reports)
{
    for (auto const& [tag, text] : reports)
        m_cache.m_sourceOCMS->setData(tag, text);
}

/// One value of several that are stored as a whole: with its table, or with what the operation under way stores besides.
bool DataCache::storeInGroup(DataItemBase& item, std::string const& before, Written& written)
{
    auto const tag = item.tag();
    bool const isAlone = !m_group->isInSpan();
    Span span(*this);
    written.inDatabase = storeItem(tag, &item);
    if (!written.inDatabase) {
        std::string reason;
        WriteGroup::logNotStored(tag, WriteGroup::Origin::Value);
        tellNotStored(notStored);
        item.setValueString(before, reason);
        touch(tag);
        return false;
    }
    m_group->note(tag, before, WriteGroup::Origin::Value, true);
    if (!isAlone)
        return true;
    written.withTables = true;
    bool const flushed = flushTables();
    if (!flushed)
        tellRefused(refusedByTable);
    bool const isStored = span.end();
    if (!isStored)
        tellNotStored(notStored);
    return isStored && flushed;
}

DataCache::Span::Span(DataCache& cache, bool isBulk) : m_group(cache.m_group.get())
{
    if (m_group && ++m_group->m_frame.depth == 1)
        m_group->m_frame.isBulk = isBulk;
}

DataCache::Span::~Span()
{
    try {
        end();
    } catch (
        ...) { // NOLINT(bugprone-empty-catch): perhaps while another exception unwinds, and nobody else is left to be told
    }
}

bool DataCache::Span::end(DataTagValue_t* lost)
{
    auto* const group = std::exchange(m_group, nullptr);
    if (!group)
        return true;
    if (group->m_frame.depth > 1) {
        --group->m_frame.depth;
        return true;
    }
    auto const reports = group->endPart();
    auto frame = std::exchange(group->m_frame, {});
    group->make(reports);
    if (lost)
        lost->merge(frame.lost);
    return !frame.hasFailed;
}

void DataCache::Pause::begin(WriteGroup& group)
{
    auto const reports = group.endPart();
    group.keepWaitingCells();
    m_frame = std::exchange(group.m_frame, {});
    m_group = &group;
    group.make(reports);
}

void DataCache::Pause::end()
{
    m_group->m_frame = std::move(*m_frame);
}

DataCache::WriteGroup::Flush::Flush(WriteGroup* group) : m_group(group && group->isInSpan() ? group : nullptr)
{
    if (!m_group)
        return;
    m_group->keepTables();
    m_wasFlushing = std::exchange(m_group->m_frame.isFlushing, true);
}

DataCache::WriteGroup::Flush::~Flush()
{
    if (m_group)
        m_group->m_frame.isFlushing = m_wasFlushing;
}

} // namespace Data
