// The log's layout is that of SQLite's file format: a header of 32 bytes, then frames, each of a header of 24 bytes and a
// page. A frame's checksum continues the one that is written in the frame before it, so that the frames behind a damaged one
// can still be checked.
#include "mending/LogGaps.h"

#include "Files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace Host {

namespace {

constexpr std::size_t headerSize = 32;
constexpr std::size_t frameHeaderSize = 24;
constexpr std::uint32_t magic = 0x377f0682; // the lowest bit: checksums are of big-endian words
constexpr std::uint32_t ownMagic = magic | (std::endian::native == std::endian::big ? 1 : 0);
constexpr std::uint32_t formatVersion = 3'007'000;
constexpr std::uint32_t pageSize = 4096;
constexpr std::size_t sectorSize = 512; // of larger ones the ends are ends of these

using Checksum = std::pair<std::uint32_t, std::uint32_t>;

struct Frame {
    std::string bytes;
    bool isGood = false;
    /// Ends a change, whether it is good or not. Not known when a cut may have left the mark of an older log there: it lies in
    /// another sector than what says which log a frame is of.
    bool isCommit = false;
};

class Log {
public:
    /// False with `error`.
    bool read(std::string const& path, std::string& error)
    {
        m_path = path;
        FileDescriptor const file = openPlain(path, O_RDONLY);
        if (!file && errno == ENOENT)
            return true;
        struct stat status {};
        std::optional<std::size_t> size;
        std::string bytes;
        if (file && ::fstat(file.get(), &status) == 0) {
            bytes.resize(static_cast<std::size_t>(status.st_size));
            size = readUpTo(file.get(), bytes.data(), bytes.size());
        }
        if (!size) {
            error = "database: " + path + " cannot be read: " + std::generic_category().message(errno);
            return false;
        }
        bytes.resize(*size);
        parse(bytes);
        return true;
    }

    bool isDamaged() const
    {
        auto const gap = std::ranges::find(m_frames, false, &Frame::isGood);
        auto const changes = std::count_if(gap, m_frames.end(), [](Frame const& each) { return each.isCommit; });
        return changes > 1 || m_isHeaderDamaged;
    }

    /// How many frames were lost; nothing when the log cannot be written.
    std::optional<std::size_t> mend(std::string& error)
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
        if (lost == 0 && !m_isHeaderDamaged)
            return 0;
        if (write())
            return lost;
        error = "database: " + m_path + " cannot be written: " + std::generic_category().message(errno);
        return std::nullopt;
    }

private:
    static std::uint32_t big(std::string_view bytes, std::size_t at)
    {
        std::uint32_t result = 0;
        for (auto const each : bytes.substr(at, 4))
            result = result << 8 | static_cast<unsigned char>(each);
        return result;
    }

    /// Makes a damaged header as a database of ours has it; the sequence number does not matter. Its new checksum.
    Checksum makeHeader(std::string const& bytes)
    {
        put(m_header, 0, ownMagic);
        put(m_header, 4, formatVersion);
        put(m_header, 8, pageSize);
        // A frame that continues the header's checksum is its own, whatever the marks say.
        if (std::string const first = bytes.substr(headerSize, frameHeaderSize + pageSize);
            first.size() == frameHeaderSize + pageSize && checksumOf(stored(m_header, 24), first) == stored(first, 16))
            m_header.replace(16, 8, first, 8, 8);
        Checksum const made = sum({}, std::string_view(m_header).substr(0, 24));
        put(m_header, 24, made.first);
        put(m_header, 28, made.second);
        return made;
    }

    void parse(std::string const& bytes)
    {
        m_header = bytes.substr(0, headerSize);
        if (m_header.size() < headerSize)
            return;
        Checksum before = stored(m_header, 24);
        m_isHeaderDamaged =
            (big(m_header, 0) | 1) != (magic | 1) || sum({}, std::string_view(m_header).substr(0, 24)) != before;
        Checksum const anew = m_isHeaderDamaged ? makeHeader(bytes) : before;
        auto const size = frameHeaderSize + big(m_header, 8);
        for (std::size_t at = headerSize; at + size <= bytes.size(); at += size) {
            Frame frame{bytes.substr(at, size)};
            bool const isOfThisLog = frame.bytes.compare(8, 8, m_header, 16, 8) == 0;
            Checksum const found = stored(frame.bytes, 16);
            frame.isGood = isOfThisLog && (checksumOf(before, frame.bytes) == found ||
                                           (m_frames.empty() && checksumOf(anew, frame.bytes) == found));
            bool const isTorn = !frame.isGood && at % sectorSize == sectorSize - 8;
            frame.isCommit = isOfThisLog && big(frame.bytes, 4) != 0 && !isTorn;
            before = found;
            m_frames.push_back(std::move(frame));
        }
        // What has no frames of its own may be a log that was being begun anew.
        m_isHeaderDamaged = m_isHeaderDamaged && std::ranges::any_of(m_frames, &Frame::isGood);
    }

    static void put(std::string& bytes, std::size_t at, std::uint32_t value)
    {
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes[at++] = static_cast<char>(value >> shift);
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
        std::string content = m_header;
        Checksum before = stored(m_header, 24);
        for (auto& [bytes, isGood, isCommit] : m_frames) {
            before = checksumOf(before, bytes);
            put(bytes, 16, before.first);
            put(bytes, 20, before.second);
            content += bytes;
        }
        FileDescriptor const file = openPlain(m_path, O_WRONLY | O_TRUNC);
        return file && writeAll(file.get(), content);
    }

    std::string m_path;
    std::string m_header;
    std::vector<Frame> m_frames;
    bool m_isHeaderDamaged = false;
};

} // namespace

std::optional<bool> isLogDamaged(std::string const& log, std::string& error)
{
    Log content;
    return content.read(log, error) ? std::optional(content.isDamaged()) : std::nullopt;
}

std::optional<std::size_t> mendLog(std::string const& log, std::string& error)
{
    Log content;
    return content.read(log, error) ? content.mend(error) : std::nullopt;
}

} // namespace Host
