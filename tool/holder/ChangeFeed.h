// The changes of a running library on their way to those who watch them: each has a queue of its own, so that a slow one
// holds up nobody.
#pragma once

#include "workbench/ChangeCallback.h"

#include "Files.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Tool {

struct Change {
    std::string time; ///< local, to the millisecond
    HeardChange heard;
};

/// The local time now, to the millisecond.
std::string timeNow();

class Subscription {
public:
    using Tags = std::set<Data::eDataTag>;

    /// Wants the changes of `only`, or all.
    explicit Subscription(std::optional<Tags> only);

    /// Readable when there is something to take or the feed has closed.
    int descriptor() const { return m_event.get(); }

    struct Taken {
        std::deque<Change> changes;
        std::size_t missed = 0; ///< changes after these that found the queue full
        bool closed = false;
    };
    Taken take();

private:
    friend class ChangeFeed;
    void put(std::string const& time, std::vector<HeardChange> const& changes);
    void close();
    void wake() const;

    std::optional<Tags> const m_only;
    Host::FileDescriptor m_event;
    std::mutex m_mutex; ///< guards m_waiting
    Taken m_waiting;
};

class ChangeFeed {
public:
    std::shared_ptr<Subscription> subscribe(std::optional<Subscription::Tags> only);
    void publish(std::vector<HeardChange> const& changes);
    void close();

private:
    std::mutex m_mutex; ///< guards the list
    std::vector<std::weak_ptr<Subscription>> m_subscriptions;
};

} // namespace Tool
