#include "Media/MediaDataCache.h"

#include "Data/DataCache.h"
#include "Data/DataDBCallback.h"

#include "Data/SettingTraits.h"

#include "Setting/Publication.h"
#include "Tables/SettingOptions.h"

#include <string>

namespace Media {

using namespace Data;

namespace {

constexpr int regionOfUnknownCountry = 1;

} // namespace

MediaDataCache* MediaDataCache::m_instance = nullptr;

MediaDataCache::MediaDataCache(SvcRTEContext& context)
{
    std::list<eDataTag> observed;
    getObservedTags(observed);
    m_cache = std::make_unique<DataCache>(context, observed, eDataComponentMedia);
}

MediaDataCache::~MediaDataCache()
{
    m_cache.reset();
}

void MediaDataCache::init(SvcRTEContext& context)
{
    // Stored only when complete: what the cache's own construction asks of the facade gets the fallbacks.
    if (m_instance)
        return;
    m_instance = new MediaDataCache(context);
    if (auto* const publication = Publication::begun())
        m_instance->m_cache->publishTo(*publication);
}

void MediaDataCache::terminate()
{
    if (auto* const data = cache())
        data->endFollowing();
    delete m_instance;
    m_instance = nullptr;
}

DataCache* MediaDataCache::cache()
{
    return m_instance ? m_instance->m_cache.get() : nullptr;
}

void MediaDataCache::getObservedTags(std::list<eDataTag>& tags)
{
    tags.insert(tags.end(), std::begin(observedByMedia), std::end(observedByMedia));
}

template <class T> bool MediaDataCache::getData(eDataTag tag, T& value)
{
    auto* const data = cache();
    return data && data->getData(tag, value);
}

template <class T> bool MediaDataCache::setData(eDataTag tag, T const& value, bool toManagement)
{
    auto* const data = cache();
    return data && data->setData(tag, value, toManagement);
}

bool MediaDataCache::setDataBulk(BulkData& bulk)
{
    auto* const data = cache();
    return data && data->setDataBulk(bulk);
}

bool MediaDataCache::getDataBulk(BulkData& bulk)
{
    auto* const data = cache();
    return data && data->getDataBulk(bulk);
}

bool MediaDataCache::getDataOcms(ManageableData& record)
{
    auto* const data = cache();
    return data && data->getDataOcms(record);
}

bool MediaDataCache::setDataOcms(ManageableData& record)
{
    auto* const data = cache();
    return data && data->setDataOcms(record);
}

bool MediaDataCache::manageableDataChanged(ManageableData& record)
{
    auto* const data = cache();
    return data && data->manageableDataChanged(record);
}

MgmtAgentIfc* MediaDataCache::managementAgent()
{
    auto* const data = cache();
    return data ? &data->managementAgent() : nullptr;
}

bool MediaDataCache::getPendingUserData(DataTagValue_t& values)
{
    auto* const data = cache();
    if (data)
        data->getPendingUserData(values);
    return data != nullptr;
}

eDataItemType MediaDataCache::getItemType(eDataTag tag)
{
    auto* const data = cache();
    return data ? data->getItemType(tag) : eDataItemTypeInvalid;
}

bool MediaDataCache::registerCallback(std::list<eDataTag> const& tags, DataUpdateCallback* callback)
{
    auto* const data = cache();
    return data && data->registerCallback(tags, callback);
}

void MediaDataCache::unregisterCallback(DataUpdateCallback* callback)
{
    if (auto* const data = cache())
        data->unregisterCallback(callback);
}

void MediaDataCache::readUserDataFromSourceDB()
{
    if (auto* const data = cache())
        data->readUserDataFromSourceDB();
}

void MediaDataCache::resetDataSetUserAudio()
{
    auto const tags = Tables::audioResetTags();
    if (auto* const data = cache())
        data->resetDataToDefault({tags.begin(), tags.end()});
}

void MediaDataCache::resetDataSetUserAll()
{
    resetDataSetUserAudio();
}

eCountry MediaDataCache::getCountry()
{
    auto* const data = cache();
    std::string code;
    if (!data || !data->getData(eDataTagCountry, code))
        return eCountryUnknown;
    return m_instance->m_country.getCountry(code);
}

int MediaDataCache::getCountryRegion()
{
    auto const country = getCountry();
    if (country == eCountryUnknown)
        return regionOfUnknownCountry;
    return m_instance->m_country.getCountryRegion(country);
}

template MEDIADATA_EXPORT bool MediaDataCache::getData<int>(eDataTag, int&);
template MEDIADATA_EXPORT bool MediaDataCache::getData<bool>(eDataTag, bool&);
template MEDIADATA_EXPORT bool MediaDataCache::getData<std::string>(eDataTag, std::string&);
template MEDIADATA_EXPORT bool MediaDataCache::setData<int>(eDataTag, int const&, bool);
template MEDIADATA_EXPORT bool MediaDataCache::setData<bool>(eDataTag, bool const&, bool);
template MEDIADATA_EXPORT bool MediaDataCache::setData<std::string>(eDataTag, std::string const&, bool);

} // namespace Media
