// How the user's settings are handled when the management service announces that the user's data moved.
#pragma once

#include "Data/DataTypes.h"
#include "Data/Export.h"

#include <string>

namespace Data {

class DataMobilityCallback {
public:
    virtual ~DataMobilityCallback() = default;

    /// The announcement item changed to `value`.
    virtual void mobilityChanged(std::string const& value) = 0;

    /// Reads every user setting from the database again.
    virtual void readUserDataFromSourceDB() = 0;
};

/// The mobility type and the user settings that wait for being pushed. Both are guarded by the cache's lock, which the cache
/// holds around every access.
class MEDIADATA_EXPORT DataMobility : public DataMobilityCallback {
public:
    DataMobility();
    ~DataMobility() override;
    DataMobility(DataMobility const&) = delete;
    DataMobility& operator=(DataMobility const&) = delete;

    /// "all" and "managed" read the user's settings again; "unmanaged" and the empty text do not; anything else is logged and
    /// changes nothing.
    void mobilityChanged(std::string const& value) override;

protected:
    /// The numbers are fixed. All but None and Managed push the pending settings at the next notification pass.
    enum eMobilityType : int {
        eMobilityNone = 0,
        eMobilityReset = 1, ///< the management service ordered a reset to defaults
        eMobilityEmpty = 2,
        eMobilityAll = 3,
        eMobilityUnmanaged = 4,
        eMobilityManaged = 5 ///< collects and sends nothing
    };

    /// Makes `type` the present one, counted as news even when it is the same again.
    void announce(eMobilityType type);

    int m_mobilityType = eMobilityNone;
    unsigned int m_announcements = 0; ///< tells a new announcement of the same type from the old one
    DataTagValue_t m_pendingUserData;
};

} // namespace Data
