// The log's layout is that of SQLite's file format: a header of 32 bytes, then frames, each of a header of 24 bytes and a
// page. A frame's checksum continues the one that is written in the frame before it, so that the frames behind a damaged one
// can still be checked.
#include "mending/LogGaps.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

namespace Host {

namespace {

constexpr std::size_t headerSize = 32;
constexpr std::size_t frameHeaderSize = 24;
constexpr std::uint32_t magic = 0x377f0682; // the lowest bit: checksums are of big-endian words

using Checksum = std::pair<std::uint32_t, std::uint32_t>;

struct Frame {
    std::string bytes;
    bool isGood = false;
    bool isCommit = false; ///< ends a change, whether it is good or not
};

class Log {
public:
    explicit Log(std::string const& path) : m_path(path)
    {
        std::ifstream file(path, std::ios::binary);
        std::string const bytes{std::istreambuf_iterator<char>(file), {}};
        m_header = bytes.substr(0, headerSize);
        if (m_header.size() < headerSize || (big(m_header, 0) | 1) != (magic | 1) ||
            sum({}, std::string_view(m_header).substr(0, 24)) != stored(m_header, 24))
            return;
        auto const size = frameHeaderSize + big(m_header, 8);
        Checksum before = stored(m_header, 24);
        for (std::size_t at = headerSize; at + size <= bytes.size(); at += size) {
            Frame frame{bytes.substr(at, size)};
            bool const isOfThisLog = frame.bytes.compare(8, 8, m_header, 16, 8) == 0;
            frame.isGood = isOfThisLog && checksumOf(before, frame.bytes) == stored(frame.bytes, 16);
            frame.isCommit = isOfThisLog && big(frame.bytes, 4) != 0;
            before = stored(frame.bytes, 16);
            m_frames.push_back(std::move(frame));
        }
    }

    std::size_t changesBehindGap() const
    {
        auto const gap = std::ranges::find(m_frames, false, &Frame::isGood);
        return static_cast<std::size_t>(std::count_if(gap, m_frames.end(), [](Frame const& each) { return each.isCommit; }));
    }

    std::size_t closeGaps()
    {
        auto const isGood = [](Frame const& each) { return each.isGood; };
        // The log ends with its last whole change: what is behind it may never have been completed.
        auto end = m_frames.end();
        for (bool isWhole = false; end != m_frames.begin() && !isWhole;) {
            auto begin = end - 1;
            while (begin != m_frames.begin() && !(begin - 1)->isCommit)
                --begin;
            isWhole = (end - 1)->isCommit && std::all_of(begin, end, isGood);
            if (!isWhole)
                end = begin;
        }
        m_frames.erase(end, m_frames.end());
        auto const lost = std::erase_if(m_frames, [](Frame const& each) { return !each.isGood; });
        return lost > 0 && write() ? lost : 0;
    }

private:
    static std::uint32_t big(std::string_view bytes, std::size_t at)
    {
        std::uint32_t result = 0;
        for (auto const each : bytes.substr(at, 4))
            result = result << 8 | static_cast<unsigned char>(each);
        return result;
    }

    static Checksum stored(std::string_view bytes, std::size_t at) { return {big(bytes, at), big(bytes, at + 4)}; }

    Checksum sum(Checksum from, std::string_view bytes) const
    {
        auto const word = [this, bytes](std::size_t at) {
            auto const value = big(bytes, at);
            return (big(m_header, 0) & 1) != 0 ? value
                                               : value >> 24 | (value >> 8 & 0xff00) | (value << 8 & 0xff0000) | value << 24;
        };
        for (std::size_t at = 0; at + 8 <= bytes.size(); at += 8) {
            from.first += word(at) + from.second;
            from.second += word(at + 4) + from.first;
        }
        return from;
    }

    Checksum checksumOf(Checksum before, std::string_view frame) const
    {
        return sum(sum(before, frame.substr(0, 8)), frame.substr(frameHeaderSize));
    }

    bool write()
    {
        std::ofstream file(m_path, std::ios::binary);
        file << m_header;
        Checksum before = stored(m_header, 24);
        for (auto& [bytes, isGood, isCommit] : m_frames) {
            before = checksumOf(before, bytes);
            std::size_t at = 16;
            for (auto const part : {before.first, before.second}) {
                for (int shift = 24; shift >= 0; shift -= 8)
                    bytes[at++] = static_cast<char>(part >> shift);
            }
            file << bytes;
        }
        return static_cast<bool>(file.flush());
    }

    std::string const m_path;
    std::string m_header;
    std::vector<Frame> m_frames;
};

} // namespace

std::size_t changesBehindGap(std::string const& log)
{
    return Log(log).changesBehindGap();
}

std::size_t closeGaps(std::string const& log)
{
    return Log(log).closeGaps();
}

} // namespace Host
