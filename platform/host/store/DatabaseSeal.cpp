// The seal is one line of text, far shorter than a sector: it is on the disk as a whole or not at all.
#include "store/DatabaseSeal.h"

#include "Files.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace Host {

namespace {

using State = DataDirectory::State;

constexpr char const* sealName = "mediadata.seal";
constexpr std::array<char const*, 2> logs{"-wal", "-journal"};
constexpr std::string_view beforeSum = " bytes, sum ";

/// A sum of blocks, far cheaper than a cryptographic hash. Four chains of 64 bits, in which each step can be reversed: whatever
/// changes in one word of a chain changes its end, and what changes in several leaves the end as it was once in 2^64.
class CheckSum {
public:
    using Block = std::array<char, 4096>;

    void add(Block const& block)
    {
        auto [first, second, third, fourth] = m_chains;
        for (std::size_t place = 0; place < block.size(); place += sizeof m_chains) {
            char const* const words = block.data() + place;
            first = link(first, words);
            second = link(second, words + 8);
            third = link(third, words + 16);
            fourth = link(fourth, words + 24);
        }
        m_chains = {first, second, third, fourth};
    }

    std::string text() const
    {
        std::array<char, 16> digits{};
        std::string text;
        for (std::uint64_t const chain : m_chains) {
            auto const end = std::to_chars(digits.data(), digits.data() + digits.size(), chain, 16).ptr;
            text.append(1, '-').append(digits.data(), end);
        }
        return text.substr(1);
    }

private:
    static std::uint64_t link(std::uint64_t chain, char const* word)
    {
        std::uint64_t value = 0;
        std::memcpy(&value, word, sizeof value);
        return std::rotl(chain + value * 0xc2b2ae3d27d4eb4f, 31) * 0x9e3779b185ebca87;
    }

    std::array<std::uint64_t, 4> m_chains{};
};

std::string contentOf(DataDirectory const& directory)
{
    std::string ignored;
    std::array<char, 256> content{}; // no seal is longer
    FileDescriptor const file = directory.openFile(sealName, O_RDONLY, ignored);
    auto const size = file ? readUpTo(file.get(), content.data(), content.size()) : std::nullopt;
    return {content.data(), size.value_or(0)};
}

} // namespace

/// All of the database is in its file.
bool DatabaseSeal::isWhole() const
{
    std::string ignored;
    return std::ranges::all_of(
        logs, [&](char const* log) { return m_directory.look(m_databaseName + log, ignored) == State::absent; });
}

/// The seal of the file as it is now; empty when it cannot be read.
std::string DatabaseSeal::describeFile() const
{
    std::string ignored;
    FileDescriptor const file = m_directory.openFile(m_databaseName, O_RDONLY, ignored);
    if (!file)
        return "";
    CheckSum sum;
    CheckSum::Block block{};
    std::size_t total = 0;
    std::optional<std::size_t> size;
    while ((size = readUpTo(file.get(), block.data(), block.size())) && *size > 0) {
        std::fill(block.data() + *size, block.data() + block.size(), '\0');
        sum.add(block);
        total += *size;
    }
    return size ? std::to_string(total).append(beforeSum).append(sum.text()).append("\n") : "";
}

bool DatabaseSeal::takeOff(std::string& error)
{
    State const state = m_directory.look(sealName, error);
    if (state != State::present)
        return state == State::absent;
    m_text = contentOf(m_directory);
    std::string ignored;
    if (m_directory.look(m_databaseName, ignored) == State::absent)
        m_verdict = Verdict::orphaned;
    else if (m_text.ends_with('\n') && m_text.find(beforeSum) != m_text.npos && isWhole())
        if (std::string const file = describeFile(); !file.empty())
            m_verdict = m_text == file ? Verdict::fits : Verdict::differs;
    m_directory.remove(sealName);
    int const code = errno;
    if (m_directory.look(sealName, error) == State::absent)
        return true;
    error = m_directory.pathOf(sealName) + ": cannot be removed: " + std::generic_category().message(code);
    return false;
}

void DatabaseSeal::putOn(bool isChanged) const
{
    if (!isWhole())
        return;
    std::string ignored;
    std::string const text = isChanged || m_verdict != Verdict::fits ? describeFile() : m_text;
    FileDescriptor const file =
        text.empty() ? FileDescriptor() : m_directory.openFile(sealName, O_WRONLY | O_CREAT | O_TRUNC, ignored);
    if (file && !writeAll(file.get(), text))
        m_directory.remove(sealName);
}

} // namespace Host
