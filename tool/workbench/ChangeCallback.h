// What the library tells its clients, on its way to those in this process who want to hear it.
#pragma once

#include "report/Report.h"

#include "Data/DataTypes.h"
#include "Data/DataUpdateCallback.h"

#include "AnnotatedMutex.h"

#include <functional>
#include <vector>

namespace Tool {

/// One value that a callback heard of, secrets not yet masked.
struct HeardChange {
    Data::eDataTag tag;
    Json value;
};

using Listener = std::function<void(std::vector<HeardChange> const&)>;

/// Hears what the library announces while it lives, on the thread that made the change and with that thread's locks. The
/// function must not use the library; it is not called any more when the destructor returns.
class Listening {
public:
    explicit Listening(Listener listener);
    ~Listening();
    Listening(Listening const&) = delete;
    Listening& operator=(Listening const&) = delete;

    Listener const& listener() const { return m_listener; }

private:
    Listener m_listener;
};

/// The process's one callback. The library reaches a removed callback still through all items but one, so it is never removed
/// and outlives every cache.
class ChangeCallback : public DataUpdateCallback {
public:
    static ChangeCallback& instance();

    /// Registers for every single item of the running library; doing it again changes nothing.
    void hearEverything();

    void onDataUpdate(Data::BulkData& changes) override;

private:
    friend class Listening;

    Threads::Mutex m_mutex;
    std::vector<Listening const*> m_listening MEDIADATA_GUARDED_BY(m_mutex);
};

} // namespace Tool
