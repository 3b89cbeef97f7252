// The changes of a running library on their way to those who watch them: each has a queue of its own, so that a slow one
// holds up nobody.
#pragma once

#include "workbench/ChangeCallback.h"

#include "AnnotatedMutex.h"
#include "Files.h"

#include <cstddef>
#include <deque>
#include <memory>
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
    Taken take() MEDIADATA_EXCLUDES(m_mutex);

private:
    friend class ChangeFeed;
    void put(std::string const& time, std::vector<HeardChange> const& changes) MEDIADATA_EXCLUDES(m_mutex);
    void close() MEDIADATA_EXCLUDES(m_mutex);
    void wake() const;

    std::optional<Tags> const m_only;
    Host::FileDescriptor m_event;
    Threads::Mutex m_mutex;
    Taken m_waiting MEDIADATA_GUARDED_BY(m_mutex);
};

class ChangeFeed {
public:
    std::shared_ptr<Subscription> subscribe(std::optional<Subscription::Tags> only) MEDIADATA_EXCLUDES(m_mutex);
    void publish(std::vector<HeardChange> const& changes) MEDIADATA_EXCLUDES(m_mutex);
    void close() MEDIADATA_EXCLUDES(m_mutex);

private:
    Threads::Mutex m_mutex;
    std::vector<std::weak_ptr<Subscription>> m_subscriptions MEDIADATA_GUARDED_BY(m_mutex);
};

} // namespace Tool
