// What one operation of the cache stores, as a whole: on a platform with a StorageGroup all of it becomes durable with one wait
// for the disk, or what the operation changed is taken back. Without one nothing of this is there, and every write stands alone.
//
// The operation that writes makes a Span; of spans within one another the outermost counts. The platform's group begins with the
// first write. A call to the management service or to a client makes a Pause: it ends the group, and the next write begins
// another, so that a span may have several parts, each of them whole. Whatever runs during a pause is an operation of its own.
#pragma once

#include "Data/DataCache.h"

#include <optional>
#include <utility>
#include <vector>

class StorageGroup;

namespace Data {

/// Used with the cache's lock held, which the compiler's analysis cannot see from here.
class DataCache::WriteGroup {
public:
    enum class Origin { Value, Batch }; ///< setDataValue or setDataValues

    /// What the management service is to be told, in the order of the writes.
    using Reports = std::vector<std::pair<eDataTag, std::string>>;

    /// Null for a platform that does without.
    static std::unique_ptr<WriteGroup> make(DataCache& cache, SvcRTEContext& context);
    WriteGroup(DataCache& cache, StorageGroup& platform) : m_cache(cache), m_platform(platform) {}

    bool isInSpan() const { return m_frame.depth > 0; }
    /// While tables are checked and written, what is set in the cache alone belongs to the operation, too.
    bool notesAll() const { return m_frame.isFlushing; }

    /// Before the tag is written.
    void beginWriting(eDataTag tag);
    /// After the item was changed and, when `isStored`, written.
    void note(eDataTag tag, std::string before, Origin origin, bool isStored);
    /// Takes over a report that is to be made when what was written is stored. False when it is to be made at once.
    bool owe(eDataTag tag, std::string const& text);

    static void logNotStored(eDataTag tag, Origin origin);

    /// Before tables are checked and written, until its destruction.
    class Flush;

private:
    friend class Span;
    friend class Pause;

    /// An item that was changed.
    struct Change {
        eDataTag tag;
        std::string before;
        Origin origin;
        bool isWritten; ///< has gone to the platform, as the cell of a table that is stored as text has not
        bool isByTable; ///< was set by a table's check, and not asked for by the operation
    };

    /// What belongs to a span, and not to those that a pause lets in.
    struct Frame {
        int depth = 0;
        bool isBulk = false;
        bool isFlushing = false;
        bool hasFailed = false;
        DataTagValue_t lost = {};         ///< the tags that were taken back
        std::vector<Change> changes = {}; ///< of this part, and before it cells of tables that are not written yet
    };

    void keepTables() MEDIADATA_NO_THREAD_SAFETY_ANALYSIS;
    Reports endPart();
    void keepWaitingCells();
    static bool isWaitingCell(Change const& change, std::vector<Change> const& all);
    void takeBack(Frame& frame) MEDIADATA_NO_THREAD_SAFETY_ANALYSIS;
    void make(Reports const& reports);

    DataCache& m_cache;
    StorageGroup& m_platform;
    Frame m_frame;
    // Of the present part:
    bool m_isOpen = false;
    bool m_isRefused = false; ///< another thread has a group open: what follows is written call by call
    bool m_keepsTables = false;
    Reports m_owed;
};

/// Made and destroyed with the lock held. What is written until `end`, or else its destruction, is stored as a whole.
class [[nodiscard]] DataCache::Span {
public:
    explicit Span(DataCache& cache, bool isBulk = false);
    ~Span();
    Span(Span const&) = delete;
    Span& operator=(Span const&) = delete;

    /// False when something was taken back; `lost`, when given, gets the tags. Within another span always true: nothing is
    /// known yet.
    bool end(DataTagValue_t* lost = nullptr);

private:
    WriteGroup* m_group; ///< null when there is none, and after the end
};

/// Made and destroyed with the lock held, around a call of somebody who may use the cache.
class [[nodiscard]] DataCache::Pause {
public:
    explicit Pause(WriteGroup* group)
    {
        if (group && group->isInSpan())
            begin(*group);
    }
    ~Pause()
    {
        if (m_group)
            end();
    }
    Pause(Pause const&) = delete;
    Pause& operator=(Pause const&) = delete;

private:
    void begin(WriteGroup& group);
    void end();

    WriteGroup* m_group = nullptr; ///< null when there is nothing to pause
    std::optional<WriteGroup::Frame> m_frame;
};

class [[nodiscard]] DataCache::WriteGroup::Flush {
public:
    explicit Flush(WriteGroup* group);
    ~Flush();
    Flush(Flush const&) = delete;
    Flush& operator=(Flush const&) = delete;

private:
    WriteGroup* const m_group;
    bool m_wasFlushing = false;
};

} // namespace Data
