// What a telephone does with the library, in random pieces, for the tests that do much of it; MEDIADATA_SOAK_SECONDS says
// how long (make soak: ten minutes), without it two seconds.
#pragma once

#include "Records.h"

#include "Data/BulkData.h"
#include "Media/MediaDataCache.h"

#include "MgmtAgentIfc.h"
#include "PlatformPath.h"

namespace Workload {

using namespace Data;
using Cache = Media::MediaDataCache;

inline char const* const wantedSeconds = std::getenv("MEDIADATA_SOAK_SECONDS");
inline int const seconds = wantedSeconds ? std::atoi(wantedSeconds) : 2;

/// Uses the cache from within its notifications.
struct Meddler : DataUpdateCallback {
    void onDataUpdate(BulkData& changes) override
    {
        if (++told % 4 == 0)
            Cache::setData(eDataTagKeyClickVolume, told % 3, false);
        Cache::getDataBulk(changes);
    }
    std::atomic<int> told = 0;
};
inline Meddler meddler;

using Operation = void (*)(int random);

inline Operation const operations[]{
    [](int) {
        std::string text;
        Cache::getData(eDataTagCamera1Url, text);
        Cache::getData(eDataTagFunctionKeyDef100, text);
        Cache::getCountryRegion();
    },
    [](int random) { Cache::setData(eDataTagRingerVolume, 1 + random % 9, random % 2 == 0); },
    [](int random) { Cache::setData(eDataTagDoorOpener1Pin, std::to_string(random), false); },
    [](int random) { Cache::setData(eDataTagCamera1Url, std::to_string(random), false); },
    [](int random) { Cache::setData(eDataTagCodecPacketSize1, random % 7, false); },
    [](int random) { Cache::setData(eDataTagAlertIdentifier4, "id" + std::to_string(random), false); },
    [](int random) { Cache::setData(eDataTagDoorOpener2DirectVideo, random % 5, false); },
    [](int random) {
        BulkData bulk;
        bulk.addTagValue(eDataTagHandsetVolume, 1 + random % 9, false);
        bulk.addTagValue(eDataTagSRTPEncryptionAllowed1, random % 2 == 0, false);
        bulk.addTagValue(eDataTagGroupPickupToneType, random % 4, false);
        Cache::setDataBulk(bulk);
        BulkData copy(bulk);
        Cache::getDataBulk(copy);
    },
    [](int random) {
        Cache::registerCallback({eDataTagIceServerType, eDataTagRingerVolume, eDataTagHandsetVolume}, &meddler);
        if (random % 3 == 0)
            Cache::unregisterCallback(&meddler);
    },
    [](int random) {
        auto volume = record("headset-volume", std::to_string(random % 9));
        Cache::setDataOcms(volume);
        auto rank = record({{"codecSettings", "codec[1]/rank", std::to_string(1 + random % 4)}});
        Cache::managementAgent()->setData(rank);
    },
    [](int) {
        ManageableData request;
        for (auto const* const item : {"codecSettings", "SRTPEncryptionSettings", "headsetPriorities", "ringer-volume"})
            request.setRootId(item, nullptr);
        Cache::getDataOcms(request);
    },
    [](int random) {
        auto report = record("country", random % 2 == 0 ? "DE" : "CA");
        Cache::manageableDataChanged(report);
    },
    [](int random) {
        constexpr std::array types{"all", "managed", "unmanaged", "", "unknown"};
        auto report = record("mobility-user-data-update", types[static_cast<std::size_t>(random) % types.size()]);
        Cache::managementAgent()->manageableDataChanged(report);
    },
    [](int random) {
        bool flag = false;
        if (random % 8 == 0)
            std::ofstream(platformPath("/data/database/media_config"))
                << (random % 16 == 0 ? "aes256_test true\nopus_test false\n" : "force_etsi\n");
        Cache::getData(eDataTagForceEtsi, flag);
    },
    [](int random) { random % 8 == 0 ? void(Cache::managementAgent()->resetUserData()) : Cache::resetDataSetUserAll(); }};

} // namespace Workload
