// A management source over the scripted platform, with a cache that only answers and takes notes.
#pragma once

#include "Data/DataSourceOCMS.h"
#include "TablesTest.h"

#include "ManageableData.h"

using Texts = std::vector<std::string>;

constexpr eDataTag tag(int number)
{
    return static_cast<eDataTag>(number);
}

constexpr eDataTag mobilityUpdate = tag(630), country = tag(633);

struct NotingCache : DataOCMSCallback {
    DataTagValue_t held;
    DataTagValue_t rejects;
    bool stores = true;
    std::vector<DataTagValue_t> taken;
    Texts order;

    void ocmsCBGetDataValues(DataTagValue_t& values) override
    {
        for (auto& [key, text] : values) {
            if (auto const found = held.find(key); found != held.end())
                text = found->second;
        }
    }
    bool ocmsCBSetDataValues(DataTagValue_t const& values, DataTagValue_t& rejected) override
    {
        order.push_back("set");
        taken.push_back(values);
        rejected = rejects;
        return stores;
    }
    void ocmsCBResetToDefault() override { order.push_back("reset"); }
};

struct NotingMobility : DataMobilityCallback {
    explicit NotingMobility(Texts& calls) : order(calls) {}
    void mobilityChanged(std::string const& value) override { order.push_back("mobility " + value); }
    void readUserDataFromSourceDB() override { order.push_back("reload"); }
    Texts& order;
};

struct Management : ScriptedTest {
    DataSourceOCMS makeSource()
    {
        std::list<eDataTag> owned;
        for (int number = 1; number < mobilityUpdate; ++number)
            owned.push_back(tag(number));
        return {platform, eDataComponentMedia, {mobilityUpdate, country}, owned, &cache, &mobility};
    }
    NotingCache cache;
    NotingMobility mobility{cache.order};
};
