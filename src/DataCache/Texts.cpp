// Values as texts, many at once: the form in which the sources set and get them.
#include "Data/DataCache.h"

#include "Data/DataItemBase.h"
#include "Data/DataSourceDB.h"

#include "DataCache/CacheLock.h"
#include "DataCache/Operation.h"
#include "DataCache/WriteGroup.h"
#include "Log.h"

#include "ClientUtils.h"

#include <utility>

namespace Data {

namespace {

constexpr char const* unit = "./src/DataCache";

/// For the management service an announcement of mobility is an action too.
constexpr bool isActionInBatch(eDataTag tag)
{
    return tag == eDataTagSubmitResendLatestQdcReport || tag == eDataTagQosStatistics || tag == eDataTagMobilityDataUpdate;
}

/// A text as the log may quote it.
char const* quotable(eDataTag tag, std::string const& text)
{
    auto const* const row = DataSourceDB::findDescription(tag);
    bool const isSecret = row && row->element && ClientUtils::isKnownPasswordDAS(*row->element);
    return isSecret ? "***" : text.c_str();
}

} // namespace

bool DataCache::setDataValues(DataTagValue_t const& values, DataTagValue_t& rejected, bool persist, bool toManagement)
{
    Operation const operation(*this);
    return setTexts(values, &rejected, persist, toManagement);
}

bool DataCache::setTexts(DataTagValue_t const& values, DataTagValue_t* rejected, bool persist, bool toManagement)
{
    if (!persist || !m_initialised)
        return setEachText(values, rejected, false, false);
    Span span(*this);
    bool const accepted = setEachText(values, rejected, true, toManagement);
    return span.end() && accepted;
}

bool DataCache::setEachText(DataTagValue_t const& values, DataTagValue_t* rejected, bool persist, bool toManagement)
{
    bool accepted = true;
    for (auto const& [tag, text] : values) {
        auto* const item = findItem(tag);
        if (!item)
            continue;
        std::string present;
        if (item->getValueString(present) && present == text && !isActionInBatch(tag)) {
            if (rejected)
                (*rejected)[tag] = "";
            continue;
        }
        std::string reason;
        if (!item->setValueString(text, reason)) {
            LOG_ERROR(unit, "DataCache::setDataValues - ERR invalid value '%s' given! '%s'\n", quotable(tag, text),
                      reason.c_str());
            if (rejected)
                (*rejected)[tag] = reason;
            accepted = false;
            continue;
        }
        noteChange(tag);
        bool const isStored = persist && item->source() == eDataSourceDB;
        if (isStored && !storeItem(tag, item)) {
            WriteGroup::logNotStored(tag, WriteGroup::Origin::Batch);
            item->setValueString(present, reason);
            touch(tag);
            return false;
        }
        if (m_group && (isStored || m_group->notesAll()))
            m_group->note(tag, std::move(present), WriteGroup::Origin::Batch, isStored);
        if (isStored && toManagement && !(m_group && m_group->owe(tag, text)))
            pushValue(tag, text);
    }
    return accepted;
}

void DataCache::getDataValues(DataTagValue_t& values)
{
    Operation const operation(*this);
    getTexts(values);
}

void DataCache::getPendingUserData(DataTagValue_t& values)
{
    ScopedLock const held(*m_lock);
    values = push().settings;
}

void DataCache::getTexts(DataTagValue_t& values)
{
    for (auto& [tag, text] : values) {
        auto const* const item = findItem(tag);
        if (item && !item->getValueString(text))
            LOG_ERROR(unit, "DataCache::getDataValues - ERR ... shouldn't happen that someone asks us for value of item we "
                            "don't have (and own)\n");
    }
}

} // namespace Data
