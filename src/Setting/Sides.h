// One value that a writer publishes and readers take without waiting: two sides, each with the number of the publication that
// wrote it. The template's parameter is std::atomic, or what a test puts in its place to run all interleavings.
//
// The writer, one at a time: for publication n it fills the older side of each slot that changed, with number n, and then stores
// n as the published number. So, at any time,
//   1. a side is never changed while it is the younger one: the value of the last publication stays whole until two more;
//   2. whoever loads the published number n (acquire) finds in each slot the value of n, or a side that is younger than n;
//   3. the sides of a slot are overwritten in turn.
// The reader loads n and both sides. Both younger than n: the value of n is gone, and it begins again with a newer n. None: the
// younger one is the value of n, by 2. Exactly one: the other may be the value of n, or, when two more publications came between
// the two loads, one before it. In the second case the writer went on to that other side, by 3, before it came to the one that
// was seen; so the side is looked at a second time, and counts when it has not changed. Do not simplify this look away.
//
// Numbers wrap: which of two is younger is decided by their difference. The publisher writes all sides anew in time (Publication.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace Data {

using PublicationNumber = std::uint32_t;

constexpr bool isYounger(PublicationNumber left, PublicationNumber right)
{
    return static_cast<std::int32_t>(left - right) > 0;
}

/// A number and what it stamps, in one word that is read and written at once.
struct Stamped {
    using Word = std::uint64_t;

    static constexpr Word pack(PublicationNumber number, std::uint32_t content) { return Word{number} << 32 | content; }
    static constexpr PublicationNumber number(Word word) { return static_cast<PublicationNumber>(word >> 32); }
    static constexpr std::uint32_t content(Word word) { return static_cast<std::uint32_t>(word); }
};

/// Which side has the value of publication n, when that can be said.
struct SideChoice {
    [[gnu::always_inline]] SideChoice(PublicationNumber n, PublicationNumber first, PublicationNumber second)
    {
        bool const isFirstTooYoung = isYounger(first, n);
        bool const isSecondTooYoung = isYounger(second, n);
        isGone = isFirstTooYoung && isSecondTooYoung;
        isDoubtful = isFirstTooYoung != isSecondTooYoung;
        side = isFirstTooYoung || (!isSecondTooYoung && isYounger(second, first)) ? 1 : 0;
    }

    bool isGone;     ///< the value of n has been overwritten
    bool isDoubtful; ///< the side is to be looked at once more
    std::size_t side;
};

/// An int or bool.
template <template <class> class Atomic> class NumberSides {
public:
    /// By the writer.
    void write(PublicationNumber n, std::uint32_t value)
    {
        m_sides[older()].store(Stamped::pack(n, value), std::memory_order_release);
    }

    /// For the writer: what it published last.
    std::uint32_t last() const { return Stamped::content(m_sides[1 - older()].load(std::memory_order_relaxed)); }

    /// The value of publication n, the published number as it was loaded before. False: begin again.
    bool read(PublicationNumber n, std::uint32_t& value) const
    {
        Stamped::Word const words[]{m_sides[0].load(std::memory_order_acquire), m_sides[1].load(std::memory_order_acquire)};
        SideChoice const choice(n, Stamped::number(words[0]), Stamped::number(words[1]));
        auto const word = words[choice.side];
        value = Stamped::content(word);
        return !choice.isGone && (!choice.isDoubtful || m_sides[choice.side].load(std::memory_order_acquire) == word);
    }

private:
    std::size_t older() const
    {
        return isYounger(Stamped::number(m_sides[0].load(std::memory_order_relaxed)),
                         Stamped::number(m_sides[1].load(std::memory_order_relaxed)))
                   ? 1
                   : 0;
    }

    Atomic<Stamped::Word> m_sides[2]{};
};

/// A text. Each side is a block of words, the first of which has the number and the size. A block that is overwritten gets its
/// first word first: whoever copied one of the others anew finds, when it looks again, that the first has changed. A block
/// that is too small is left to who may be reading it, for ever; the next is at least twice as large.
template <template <class> class Atomic> class TextSides {
public:
    TextSides() = default;
    TextSides(TextSides const&) = delete;
    TextSides& operator=(TextSides const&) = delete;
    /// When nobody reads any more, if ever.
    ~TextSides()
    {
        for (auto const& side : m_sides)
            for (auto* block = side.load(std::memory_order_relaxed); block != emptyBlock();)
                ::operator delete(std::exchange(block, block->before));
    }

    /// By the writer.
    void write(PublicationNumber n, std::string_view text)
    {
        auto& side = m_sides[older()];
        auto const needed = wordsFor(text.size());
        auto* block = side.load(std::memory_order_relaxed);
        bool const isNew = block == emptyBlock() || block->capacity < needed;
        if (isNew)
            block = Block::make(std::max(needed, 2 * block->capacity), block);
        block->head.store(Stamped::pack(n, static_cast<std::uint32_t>(text.size())), std::memory_order_release);
        for (std::size_t i = 0; i < needed; ++i) {
            Stamped::Word word = 0;
            auto const rest = text.substr(i * sizeof word, sizeof word);
            std::memcpy(&word, rest.data(), rest.size());
            block->words()[i].store(word, std::memory_order_release);
        }
        if (isNew)
            side.store(block, std::memory_order_release);
    }

    /// For the writer: whether it is what was published last.
    bool isLast(PublicationNumber n, std::string_view text) const
    {
        std::string last;
        return read(n, last) && last == text;
    }

    /// As for numbers. `text` has whatever it had room for when it answers false.
    bool read(PublicationNumber n, std::string& text) const
    {
        Block* const blocks[]{m_sides[0].load(std::memory_order_acquire), m_sides[1].load(std::memory_order_acquire)};
        Stamped::Word const heads[]{blocks[0]->head.load(std::memory_order_acquire),
                                    blocks[1]->head.load(std::memory_order_acquire)};
        SideChoice const choice(n, Stamped::number(heads[0]), Stamped::number(heads[1]));
        if (choice.isGone)
            return false;
        auto* const block = blocks[choice.side];
        auto const head = heads[choice.side];
        if (std::size_t const size = Stamped::content(head); text.size() != size)
            text.resize(size);
        copy(block->words(), text);
        return block->head.load(std::memory_order_acquire) == head &&
               m_sides[choice.side].load(std::memory_order_acquire) == block;
    }

private:
    struct Block {
        static Block* make(std::size_t capacity, Block* before)
        {
            auto* const block = new (::operator new(sizeof(Block) + capacity * sizeof(Atomic<Stamped::Word>))) Block;
            block->capacity = capacity;
            block->before = before;
            std::uninitialized_value_construct_n(block->words(), capacity);
            return block;
        }
        Atomic<Stamped::Word>* words() { return reinterpret_cast<Atomic<Stamped::Word>*>(this + 1); }

        Atomic<Stamped::Word> head{};
        // Constant, and the writer's own affair:
        std::size_t capacity = 0; ///< in words
        Block* before = nullptr;  ///< which this one replaced
    };
    static_assert(sizeof(Block) % alignof(Atomic<Stamped::Word>) == 0);

    /// Copies as much as fits into the text.
    static void copy(Atomic<Stamped::Word> const* words, std::string& text)
    {
        char* to = text.data();
        auto const* const end = words + text.size() / sizeof(Stamped::Word);
        for (; words != end; ++words, to += sizeof(Stamped::Word)) {
            auto const word = words->load(std::memory_order_acquire);
            std::memcpy(to, &word, sizeof word);
        }
        auto const rest = text.size() % sizeof(Stamped::Word);
        if (rest == 0)
            return;
        // Pieces of fixed sizes, which need no call.
        auto const word = words->load(std::memory_order_acquire);
        char from[sizeof word];
        std::memcpy(from, &word, sizeof word);
        auto const* next = from;
        if ((rest & 4) != 0) {
            std::memcpy(to, next, 4);
            to += 4;
            next += 4;
        }
        if ((rest & 2) != 0) {
            std::memcpy(to, next, 2);
            to += 2;
            next += 2;
        }
        if ((rest & 1) != 0)
            *to = *next;
    }

    static constexpr std::size_t wordsFor(std::size_t bytes)
    {
        return (bytes + sizeof(Stamped::Word) - 1) / sizeof(Stamped::Word);
    }

    /// What all sides begin with: number 0, nothing in it. Never written.
    static Block* emptyBlock()
    {
        static Block block;
        return &block;
    }

    std::size_t older() const
    {
        auto const numberOf = [this](int side) {
            return Stamped::number(m_sides[side].load(std::memory_order_relaxed)->head.load(std::memory_order_relaxed));
        };
        return isYounger(numberOf(0), numberOf(1)) ? 1 : 0;
    }

    Atomic<Block*> m_sides[2]{emptyBlock(), emptyBlock()};
};

} // namespace Data
