// The changes of the telephone as server-sent events. Each stream reads the same list of the last changes at its own pace; one that
// falls behind it ends, and its reader goes on where it was. For the loop's thread alone.
#pragma once

#include "holder/ChangeFeed.h"
#include "report/Report.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Tool {
class Workbench;
}

namespace Tool::Web {

/// Where a stream has got to: the history's entry up to which nothing is missing and, while the same process runs, the place in its
/// list, which has what the history has not, too.
struct Place {
    std::int64_t entry = 0;
    std::string process = {}; ///< empty: the entry alone counts
    std::uint64_t next = 0;
};

/// "ENTRY" or "ENTRY-PROCESS-NEXT"; nothing for any other text.
std::optional<Place> parsePlace(std::string_view text);
std::string textOf(Place const& place);

/// What the history says of the time behind an entry; to be asked while nothing changes.
struct Replay {
    std::int64_t last = 0;   ///< the last entry
    std::string events = {}; ///< of the changes behind the wanted one
    bool isWhole = false;    ///< nothing is missing
};
Replay replay(Workbench& workbench, std::optional<std::int64_t> behind);

class Events {
public:
    class Stream {
    public:
        /// The next bytes; empty when there are none yet.
        std::string_view peek();
        void taken(std::size_t bytes);
        bool isOver() const { return m_isOver && m_text.empty(); }

        std::function<void()> wake = {}; ///< called when there is more, or it is over

    private:
        friend class Events;
        void tell() const
        {
            if (wake)
                wake();
        }
        explicit Stream(Events& events) : m_events(events) {}
        bool advance();

        Events& m_events;
        std::string m_text;
        std::uint64_t m_next = 0;
        std::int64_t m_known = 0; ///< entries up to this one are known to the reader
        bool m_isReady = false;
        bool m_isOver = false;
    };

    /// `last` is the history's last entry.
    Events(ChangeFeed& feed, std::int64_t last);

    /// Readable when take() has something to do.
    int descriptor() const { return m_subscription->descriptor(); }
    void take();

    std::size_t size();
    /// A stream from now on that says nothing before begin(); it lives as long as its reader has it.
    std::shared_ptr<Stream> open();
    /// `hello` is what the first event says besides; `after` is the reader's place.
    void begin(Stream& stream, Json hello, Replay const& replay, std::optional<Place> const& after) const;
    /// The reader's place is in the list.
    bool has(Place const& place) const;

    /// A comment to all, so that who has gone is noticed.
    void comment();
    void end();

private:
    struct Event {
        std::string text;
        std::int64_t number; ///< of the entry; 0: the history does not have it
    };

    void append(Change const& change, bool isLastOfEntry);
    void forget();
    void each(std::function<void(Stream&)> const& action);

    std::shared_ptr<Subscription> m_subscription;
    std::string const m_process;
    std::deque<Event> m_events;
    std::uint64_t m_first = 1; ///< the place of the first
    std::int64_t m_entry = 0;  ///< everything up to this one is in the list, or was
    std::list<std::weak_ptr<Stream>> m_streams;
};

} // namespace Tool::Web
