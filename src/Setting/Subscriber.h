// A function that is called when settings change, until it is ended.
#pragma once

#include "Data/DataUpdateCallback.h"

#include <atomic>
#include <functional>

namespace Data {

/// Owned by the cache, too, since a pass may have collected it.
class Subscriber final : public DataUpdateCallback {
public:
    explicit Subscriber(std::function<void(BulkData const&)> function);

    void onDataUpdate(BulkData& changes) override;

    bool hasEnded() const { return (m_state.load() & ended) != 0; }
    /// From now on it is not called.
    void end() { m_state.fetch_or(ended); }
    /// After its end: waits for calls that are under way, and gives up the function. Not within one of them.
    void waitForCalls();

private:
    static constexpr int ended = 1;
    static constexpr int call = 2;

    std::function<void(BulkData const&)> m_function;
    std::atomic<int> m_state = 0; ///< `call` for each that is under way, and `ended`
};

} // namespace Data
