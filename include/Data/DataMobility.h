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

/// The mobility type and the user settings that wait for being pushed. The lock that guards both is the cache's, which derives
/// from this class: every operation is called with it held.
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

    /// The user settings to push, and the announcement that asks for it.
    struct Push {
        DataTagValue_t settings;
        unsigned int announcement;
    };

    /// Makes `type` the present one, counted as news even when it is the same again.
    void announce(eMobilityType type);
    /// True while user settings that change are to be added to the pending ones.
    bool collectsUserData() const { return m_mobilityType != eMobilityNone; }
    /// The place of one pending setting; made when there is none.
    std::string& pendingUserData(eDataTag tag) { return m_pendingUserData[tag]; }
    /// True when the pending settings are to be pushed.
    bool isPushDue() const { return m_mobilityType != eMobilityNone && m_mobilityType != eMobilityManaged; }
    Push push() const { return {m_pendingUserData, m_announcements}; }
    /// Forgets what was pushed. A setting that changed meanwhile stays pending, and a newer announcement stays in force.
    MEDIADATA_HIDDEN void finishPush(Push const& push);

private:
    int m_mobilityType = eMobilityNone;
    unsigned int m_announcements = 0; ///< tells a new announcement of the same type from the old one
    DataTagValue_t m_pendingUserData;
};

} // namespace Data
