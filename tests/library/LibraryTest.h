// The whole library over the scripted platform: a database that starts empty, a management service that accepts everything.
#pragma once

#include "../Records.h"
#include "../Standard.h"
#include "Data/BulkData.h"
#include "Data/DataTypes.h"
#include "Media/MediaDataCache.h"

#include "ScriptedFixture.h"

using namespace Data;

inline std::string valueText(BulkDataItem const& item)
{
    return item.itemType == eDataItemTypeString ? item.stringValue
           : item.itemType == eDataItemTypeBool ? (item.boolValue ? "true" : "false")
                                                : std::to_string(item.intValue);
}

/// The present text of a tag that the cache holds.
inline std::string presentText(eDataTag tag)
{
    using Cache = Media::MediaDataCache;
    BulkDataItem item;
    item.itemType = Cache::getItemType(tag);
    EXPECT_TRUE(item.itemType == eDataItemTypeInt    ? Cache::getData(tag, item.intValue)
                : item.itemType == eDataItemTypeBool ? Cache::getData(tag, item.boolValue)
                                                     : Cache::getData(tag, item.stringValue))
        << tag;
    return valueText(item);
}

/// What a client heard: one text per notification, "tag=value tag=value".
class Listener : public DataUpdateCallback {
public:
    void onDataUpdate(BulkData& changes) override
    {
        std::string text;
        for (auto const& [tag, item] : changes.getTagsValues()) {
            text += (text.empty() ? "" : " ") + std::to_string(tag) + "=" + valueText(*item);
        }
        heard.push_back(text);
        lockDepths.push_back(Scripted::Platform::heldLocks());
        if (onNews)
            onNews();
    }

    std::vector<std::string> heard;
    std::vector<int> lockDepths;
    std::function<void()> onNews;
};

struct LibraryTest : ScriptedTest {
    using Cache = Media::MediaDataCache;
    using Texts = std::vector<std::string>;

    explicit LibraryTest(std::unique_ptr<Scripted::Platform> wanted = std::make_unique<Scripted::Platform>())
        : ScriptedTest(std::move(wanted))
    {
        platform.answerOrdinarily();
    }

    void TearDown() override
    {
        Cache::terminate();
        ScriptedTest::TearDown();
    }

    /// Starts the library and forgets the calls that takes and what was heard before.
    void start()
    {
        Cache::init(platform);
        listener.heard.clear();
        platform.clearJournal();
        platform.clearLogs();
    }

    void restart()
    {
        Cache::terminate();
        start();
    }

    void listen(std::list<eDataTag> const& tags) { EXPECT_TRUE(Cache::registerCallback(tags, &listener)); }

    Listener listener;
};

struct GroupingTest : LibraryTest {
    GroupingTest() : LibraryTest(std::make_unique<Scripted::GroupingPlatform>()) {}
};
