// Memory for short-lived nodes: from inside the object as long as that lasts, then from the heap. The standard library's
// monotonic resource would do, but with it a change that somebody hears takes a tenth longer.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory_resource>
#include <new>
#include <utility>

namespace Data {

class NearMemory final : public std::pmr::memory_resource {
public:
    NearMemory() = default;
    ~NearMemory() override = default;
    NearMemory(NearMemory const&) = delete;
    NearMemory& operator=(NearMemory const&) = delete;

private:
    static constexpr std::size_t alignment = alignof(std::max_align_t);
    static_assert(alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);

    /// The nodes of maps and lists hold nothing that needs more than the usual alignment.
    void* do_allocate(std::size_t size, std::size_t) override
    {
        size = (size + alignment - 1) / alignment * alignment;
        if (size > static_cast<std::size_t>(m_room.data() + m_room.size() - m_next))
            return ::operator new(size); // aligned as much
        return std::exchange(m_next, m_next + size);
    }

    void do_deallocate(void* memory, std::size_t, std::size_t) override
    {
        std::less<void const*> const before;
        if (before(memory, m_room.data()) || !before(memory, m_room.data() + m_room.size()))
            ::operator delete(memory);
    }

    bool do_is_equal(memory_resource const& other) const noexcept override { return this == &other; }

    alignas(alignment) std::array<std::byte, 1024> m_room; ///< two callees with two values each
    std::byte* m_next = m_room.data();
};

} // namespace Data
