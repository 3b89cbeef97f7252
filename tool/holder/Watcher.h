// Follows the changes of a running library and hands them over, a line each.
#pragma once

#include "holder/ChangeFeed.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tool {

/// A value to wait for.
struct Goal {
    Data::eDataTag tag;
    Json value;
};

struct WatcherOptions {
    bool initial = false;           ///< hands over the present values first
    std::optional<Goal> until = {}; ///< ends when it is or becomes so
    std::size_t count = 0;          ///< ends after so many changes; 0: never
    std::size_t seconds = 0;        ///< ends after so much time; 0: never
    bool json = false;
    bool showSecrets = false;
};

/// One line: the time and what changed, in JSON an object. A change without a time is a present value.
std::string changeLine(Change const& change, bool json, bool showSecrets);

class Watcher {
public:
    using Write = std::function<bool(std::string const& lines)>;

    Watcher(std::shared_ptr<Subscription> subscription, WatcherOptions options);

    /// Hands over lines until the wanted count or time is over, `write` answers false, one of the descriptors `ends` can be
    /// read or has lost its other side, or the feed closes.
    Report follow(Write const& write, std::vector<int> const& ends);

    /// Says what was not as wanted; in JSON a line like the others.
    int close(Report const& report, std::ostream& out, std::ostream& err) const;

private:
    std::string presentLines();
    std::string lines(Subscription::Taken const& taken);
    void meet(Data::eDataTag tag, Json const& value);
    bool isDone() const { return m_isMet || (m_options.count != 0 && m_told == m_options.count); }
    Report timeOver() const;

    std::shared_ptr<Subscription> m_subscription;
    WatcherOptions m_options;
    std::size_t m_told = 0;
    bool m_isMet = false; ///< what it waits for
};

} // namespace Tool
