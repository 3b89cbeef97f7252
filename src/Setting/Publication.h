// What readers that take no lock see of the cache: for each setting the value that was published last. Begins with the first
// Media::Setting of the process and stays until its end. The cache is its one writer, under its lock; Sides.h says how the two
// get along.
#pragma once

#include "Data/SettingTraits.h"

#include "Setting/Sides.h"
#include "Setting/ThisThread.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace Media::Detail {
struct Wanted;
}

namespace Data {

class DataItemBase;

static_assert(std::atomic<Stamped::Word>::is_always_lock_free, "readers would wait for one another's locks");

class Publication {
public:
    /// The process's, with the catalogue's defaults; the first call makes it. Safe to call from several threads.
    static Publication& begin();
    /// Null before.
    static Publication* begun() { return s_begun.load(std::memory_order_acquire); }

    /// `first` is the number of the first publication, so that a test need not wait for numbers to wrap.
    explicit Publication(PublicationNumber first = 1);
    Publication(Publication const&) = delete;
    Publication& operator=(Publication const&) = delete;
    ~Publication();

    // The writer's part, one thread at a time.

    /// Writes one value of the publication under way. Other tags than published ones are ignored. Throws std::bad_alloc, and
    /// the last value stays.
    void write(eDataTag tag, DataItemBase const& item);
    /// Publishes what was written since the last call; nothing when that was nothing.
    void finish();
    /// The defaults of all settings; where memory is short for them, everybody is to ask the cache, or else gets them there.
    void publishDefaults();

    /// Whether a cache publishes here.
    bool isAttached() const { return m_isAttached.load(std::memory_order_acquire); }
    void setAttached(bool is) { m_isAttached.store(is, std::memory_order_release); }

    // Who has changed something that is not published yet: that thread sees its own values in the cache.

    void claim()
    {
        if (!m_writer.load(std::memory_order_relaxed))
            m_writer.store(thisThread(), std::memory_order_relaxed);
    }
    /// Everybody is to ask the cache: it has not been published, or could not be.
    void claimForAll() { m_writer.store(&s_everyone, std::memory_order_release); }
    void release() { m_writer.store(nullptr, std::memory_order_release); }

    // The readers' part.

    /// True when the calling thread is to ask the cache, whose lock it has, unless claimForAll was called.
    bool isClaimed() const
    {
        auto const* const writer = m_writer.load(std::memory_order_acquire);
        return writer && (writer == thisThread() || writer == &s_everyone);
    }
    std::uint32_t number(eDataTag tag) const
    {
        auto const& sides = slot(tag).number;
        std::uint32_t value = 0;
        while (!sides.read(lastNumber(), value))
            ;
        return value;
    }
    void text(eDataTag tag, std::string& value) const
    {
        auto const& sides = slot(tag).text;
        while (!sides.read(lastNumber(), value))
            ;
    }
    void readTogether(std::span<Media::Detail::Wanted const> wanted) const;

private:
    /// By the setting's type.
    union Slot {
        Slot() : number() {}
        ~Slot() {} // NOLINT(modernize-use-equals-default): a union with such members has none
        Slot(Slot const&) = delete;
        Slot& operator=(Slot const&) = delete;

        NumberSides<std::atomic> number;
        TextSides<std::atomic> text;
    };

    void writeText(Slot& slot, std::string_view text);
    void writeNumber(Slot& slot, std::uint32_t number);
    void renewNumbers();
    bool read(PublicationNumber n, Media::Detail::Wanted const& wanted) const;
    PublicationNumber lastNumber() const { return m_number.load(std::memory_order_acquire); }
    PublicationNumber nextNumber() const { return m_number.load(std::memory_order_relaxed) + 1; }
    Slot& slot(eDataTag tag) const { return m_slots[static_cast<std::size_t>(tag)]; }
    static void const* thisThread() { return &passesOfThisThread; }

    static std::atomic<Publication*> s_begun;
    static char const s_everyone;

    std::unique_ptr<Slot[]> const m_slots;
    bool m_hasWritten = false;
    alignas(64) std::atomic<PublicationNumber> m_number; ///< beside nothing that is written more often
    std::atomic<void const*> m_writer = nullptr;
    std::atomic<bool> m_isAttached = false;
};

} // namespace Data
