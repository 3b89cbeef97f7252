// The seal is one line of text, far shorter than a sector: it is on the disk as a whole or not at all.
#include "store/DatabaseSeal.h"

#include "Files.h"

#include <fcntl.h>

#define XXH_INLINE_ALL // no library to load
#include <xxhash.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <system_error>
#include <utility>

namespace Host {

namespace {

using State = DataDirectory::State;

constexpr char const* sealName = "mediadata.seal";
constexpr std::array<char const*, 2> logs{"-wal", "-journal"};
constexpr char const* beforeHash = " bytes, XXH64 "; ///< a seal with another is none

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
    XXH64_state_t state;
    XXH64_reset(&state, 0);
    std::array<char, 4096> block{};
    std::size_t total = 0;
    std::optional<std::size_t> size;
    while ((size = readUpTo(file.get(), block.data(), block.size())) && *size > 0) {
        XXH64_update(&state, block.data(), *size);
        total += *size;
    }
    if (!size)
        return "";
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "%zu%s%016llx\n", total, beforeHash,
                  static_cast<unsigned long long>(XXH64_digest(&state)));
    return text.data();
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
    else if (m_text.ends_with('\n') && m_text.find(beforeHash) != std::string::npos && isWhole())
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
