// The changes of a running library on their way to those who watch them: each has a queue of its own, so that a slow one
// holds up nobody.
#pragma once

#include "workbench/ChangeCallback.h"

#include "AnnotatedMutex.h"
#include "Files.h"
#include "seam/Author.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace Host {
class Platform;
}

namespace Tool {

struct Change {
    std::optional<std::int64_t> time; ///< milliseconds since 1970; nothing: it was so already
    Data::eDataTag tag;
    Json old; ///< null: not known
    Json value;
    Host::Author author = {};
    std::optional<std::int64_t> number = {}; ///< of the history's entry; nothing: the database does not keep the value
};

class Subscription {
public:
    using Tags = std::set<Data::eDataTag>;
    using Values = std::map<Data::eDataTag, Json>;

    /// Wants the changes of `only`, or all; `present` are all values before the first of them.
    Subscription(std::optional<Tags> only, Values const& present);

    /// Readable when there is something to take or the feed has closed.
    int descriptor() const { return m_event.get(); }

    /// What it wants, as it was before the first change.
    Values const& present() const { return m_present; }

    struct Taken {
        std::deque<Change> changes;
        std::size_t missed = 0; ///< changes after these that found the queue full
        Values lost = {};       ///< what they left
        bool closed = false;
    };
    Taken take() MEDIADATA_EXCLUDES(m_mutex);

private:
    friend class ChangeFeed;
    void put(std::vector<Change> const& changes) MEDIADATA_EXCLUDES(m_mutex);
    void close() MEDIADATA_EXCLUDES(m_mutex);
    void wake() const;

    bool wants(Data::eDataTag tag) const { return !m_only || m_only->contains(tag); }

    std::optional<Tags> const m_only;
    Values m_present;
    Host::FileDescriptor m_event;
    Threads::Mutex m_mutex;
    Taken m_waiting MEDIADATA_GUARDED_BY(m_mutex);
};

class ChangeFeed {
public:
    using Listener = std::function<void(std::vector<Change> const&)>;

    /// The first subscription reads all values of the library: not for those who are called by it.
    std::shared_ptr<Subscription> subscribe(std::optional<Subscription::Tags> only) MEDIADATA_EXCLUDES(m_mutex);
    /// How many subscriptions there are.
    std::size_t subscriptions() MEDIADATA_EXCLUDES(m_mutex);

    /// Tells one listener at once, on the thread that publishes; null ends that, and it is not called any more on return.
    void tell(Listener listener) MEDIADATA_EXCLUDES(m_mutex);

    /// What the calling thread has changed on this platform.
    void publish(Host::Platform& platform, std::vector<HeardChange> const& heard) MEDIADATA_EXCLUDES(m_mutex);
    void close() MEDIADATA_EXCLUDES(m_mutex);

private:
    struct Known {
        Json value;
        bool isAnnounced; ///< otherwise read
    };

    void learnValues() MEDIADATA_EXCLUDES(m_mutex);

    Threads::Mutex m_mutex;
    std::vector<std::weak_ptr<Subscription>> m_subscriptions MEDIADATA_GUARDED_BY(m_mutex);
    Listener m_listener MEDIADATA_GUARDED_BY(m_mutex);
    std::map<Data::eDataTag, Known> m_known MEDIADATA_GUARDED_BY(m_mutex);
    bool m_knowsAll MEDIADATA_GUARDED_BY(m_mutex) = false;
};

} // namespace Tool
