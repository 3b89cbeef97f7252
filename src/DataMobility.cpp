// Turns the management service's announcement texts into a mobility type.
#include "Data/DataMobility.h"

#include "Log.h"

#include <algorithm>
#include <iterator>

namespace Data {

namespace {

constexpr char const* unit = "./src/DataMobility";

} // namespace

DataMobility::DataMobility() = default;
DataMobility::~DataMobility() = default;

void DataMobility::announce(eMobilityType type)
{
    m_mobilityType = type;
    ++m_announcements;
}

void DataMobility::finishPush(Push const& push)
{
    for (auto const& [tag, text] : push.settings) {
        auto const found = m_pendingUserData.find(tag);
        if (found != m_pendingUserData.end() && found->second == text)
            m_pendingUserData.erase(found);
    }
    if (push.announcement == m_announcements)
        m_mobilityType = eMobilityNone;
}

void DataMobility::mobilityChanged(std::string const& value)
{
    struct Announcement {
        char const* text;
        eMobilityType type;
        bool reload;
    };
    static constexpr Announcement announcements[] = {
        {"all", eMobilityAll, true},
        {"managed", eMobilityManaged, true},
        {"unmanaged", eMobilityUnmanaged, false},
        {"", eMobilityEmpty, false},
    };

    auto const known = std::find_if(std::begin(announcements), std::end(announcements),
                                    [&value](Announcement const& announcement) { return value == announcement.text; });
    bool const isKnown = known != std::end(announcements);
    bool const reload = isKnown && known->reload;
    if (isKnown)
        announce(known->type);
    else
        LOG_ERROR(unit, "DataMobility::mobilityChanged -> unknown value >%s< for mobility data update tag\n", value.c_str());
    LOG_AT(unit, 5, "DataMobility::mobilityChanged -> mobility type: %s, reload user data: %i \n", value.c_str(),
           static_cast<int>(reload));
    if (reload)
        readUserDataFromSourceDB();
}

} // namespace Data
