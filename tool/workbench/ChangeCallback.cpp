#include "workbench/ChangeCallback.h"

#include "workbench/Items.h"

#include "Data/BulkData.h"
#include "Media/MediaDataCache.h"

#include <list>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

Json valueOf(BulkDataItem const& item)
{
    switch (item.itemType) {
    case eDataItemTypeInt:
        return item.intValue;
    case eDataItemTypeBool:
        return item.boolValue;
    default:
        return item.stringValue;
    }
}

} // namespace

Listening::Listening(Listener listener) : m_listener(std::move(listener))
{
    auto& callback = ChangeCallback::instance();
    Threads::Lock const held(callback.m_mutex);
    callback.m_listening.push_back(this);
}

Listening::~Listening()
{
    auto& callback = ChangeCallback::instance();
    Threads::Lock const held(callback.m_mutex);
    std::erase(callback.m_listening, this);
}

ChangeCallback& ChangeCallback::instance()
{
    static auto* const only = new ChangeCallback;
    return *only;
}

void ChangeCallback::hearEverything()
{
    std::list<eDataTag> tags;
    for (auto const tag : allTags()) {
        if (isHeld(tag) && typeOf(tag) != eDataItemTypeComplex)
            tags.push_back(tag);
    }
    Media::MediaDataCache::registerCallback(tags, this);
}

void ChangeCallback::onDataUpdate(BulkData& changes)
{
    Threads::Lock const held(m_mutex);
    if (m_listening.empty())
        return;
    std::vector<HeardChange> heard;
    for (auto const& [tag, item] : changes.getTagsValues()) {
        if (item)
            heard.push_back({tag, valueOf(*item)});
    }
    for (auto const* const each : m_listening)
        each->listener()(heard);
}

} // namespace Tool
