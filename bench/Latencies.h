// How long each of many calls took: a histogram of 32 steps an octave, so that taking note costs little and always the same.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace Bench {

class Latencies {
public:
    void add(std::uint64_t nanoseconds)
    {
        ++m_counts[stepOf(nanoseconds)];
        ++m_total;
    }
    std::uint64_t total() const { return m_total; }

    /// The nanoseconds that this part of the calls did not exceed, 3 % low at most.
    double quantile(double part) const
    {
        auto left = static_cast<std::uint64_t>(part * static_cast<double>(m_total));
        std::size_t step = 0;
        while (step + 1 < m_counts.size() && m_counts[step] <= left)
            left -= m_counts[step++];
        std::size_t const shift = step < 64 ? 0 : step / 32 - 1;
        return static_cast<double>((step - 32 * shift) << shift);
    }

private:
    static std::size_t stepOf(std::uint64_t nanoseconds)
    {
        auto const shift = nanoseconds < 64 ? 0U : static_cast<unsigned>(std::bit_width(nanoseconds)) - 6U;
        return 32 * shift + (nanoseconds >> shift);
    }

    std::array<std::uint32_t, 60 * 32> m_counts{};
    std::uint64_t m_total = 0;
};

} // namespace Bench
