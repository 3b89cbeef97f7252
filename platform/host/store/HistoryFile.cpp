#include "store/HistoryFile.h"

#include "ClientUtils.h"
#include "Files.h"
#include "service/ManagementService.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace Host {

namespace {

constexpr char const* present = "mediadata.history";
constexpr char const* older = "mediadata.history.1";
constexpr char const* mask = "********";

/// How many bytes the UTF-8 character at the beginning has; 0: it is none.
std::size_t characterSize(std::string_view text)
{
    constexpr std::array<std::uint32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
    auto const first = static_cast<unsigned char>(text.front());
    std::size_t const size = first < 0x80   ? 1
                             : first < 0xc0 ? 0
                             : first < 0xe0 ? 2
                             : first < 0xf0 ? 3
                             : first < 0xf8 ? 4
                                            : 0;
    if (size < 2 || size > text.size())
        return size == 1 ? 1 : 0;
    std::uint32_t code = first & (0x7fU >> size);
    for (char const each : text.substr(1, size - 1)) {
        if ((static_cast<unsigned char>(each) & 0xc0) != 0x80)
            return 0;
        code = code << 6 | (static_cast<unsigned char>(each) & 0x3fU);
    }
    bool const isCharacter = code >= least[size] && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
    return isCharacter ? size : 0;
}

constexpr auto isPlain = [] {
    std::array<bool, 256> result{};
    for (std::size_t each = 0x20; each < 0x7f; ++each)
        result[each] = each != '"' && each != '\\';
    return result;
}();

void appendQuoted(std::string& line, std::string_view text)
{
    line += '"';
    while (!text.empty()) {
        std::size_t plain = 0;
        while (plain < text.size() && isPlain[static_cast<unsigned char>(text[plain])])
            ++plain;
        line.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty())
            break;
        auto const size = characterSize(text);
        auto const code = static_cast<unsigned char>(text.front());
        if (size == 0) {
            line += "\\ufffd";
        } else if (code < 0x20) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u%04x", code);
            line += escape.data();
        } else {
            line.append(code == '"' || code == '\\' ? "\\" : "").append(text.substr(0, size));
        }
        text.remove_prefix(std::max<std::size_t>(size, 1));
    }
    line += '"';
}

void appendMember(std::string& line, char const* name, std::string_view text)
{
    line.append(line.back() == '{' ? "\"" : ",\"").append(name).append("\":");
    appendQuoted(line, text);
}

bool isSecretChange(ChangedText const& change)
{
    return change.schema.starts_with('@') ? isSecretItem(std::string(change.schema).append("/").append(change.element))
                                          : ClientUtils::isKnownPasswordDAS(std::string(change.element));
}

std::string_view masked(bool isSecret, std::string_view text)
{
    return isSecret && !text.empty() && text != notStored ? mask : text;
}

} // namespace

bool HistoryFile::append(std::string text, std::string& error) const
{
    auto const open = [&] { return m_directory.openFile(present, O_RDWR | O_APPEND | O_CREAT, error); };
    auto file = open();
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0)
        return false;
    if (status.st_size > 0 && static_cast<std::size_t>(status.st_size) + text.size() > longest) {
        if (m_directory.look(older, error) == DataDirectory::State::refused || !m_directory.rename(present, older, error) ||
            !m_directory.sync(error))
            return false;
        file = open();
        if (!file)
            return false;
        status.st_size = 0;
    }
    // A file in which something stands has its name for good.
    if (status.st_size == 0 && !m_directory.sync(error))
        return false;
    // A line that a kill left torn is ended first, so that it spoils nothing but itself.
    char last = '\n';
    if (status.st_size > 0 && ::pread(file.get(), &last, 1, status.st_size - 1) == 1 && last != '\n')
        text.insert(0, 1, '\n');
    if (writeAll(file.get(), text) && ::fdatasync(file.get()) == 0)
        return true;
    error = m_directory.pathOf(present) + ": cannot be written: " + std::strerror(errno);
    return false;
}

std::string HistoryFile::read(std::string& error) const
{
    std::string text;
    for (auto const* const name : {older, present}) {
        if (m_directory.look(name, error) != DataDirectory::State::present)
            continue;
        auto const file = m_directory.openFile(name, O_RDONLY, error);
        std::array<char, 65536> piece;
        for (auto size = std::optional<std::size_t>(1); file && size > 0U;) {
            size = readUpTo(file.get(), piece.data(), piece.size());
            text.append(piece.data(), size.value_or(0));
            if (!size)
                error = m_directory.pathOf(name) + ": cannot be read: " + std::strerror(errno);
        }
        if (!text.empty() && text.back() != '\n')
            text += '\n';
    }
    return text;
}

bool HistoryFile::replace(std::string const& text, std::string& error) const
{
    if (text.empty()) {
        m_directory.remove(present);
    } else if (!m_directory.replaceFile(present, text, error)) {
        return false;
    }
    m_directory.remove(older);
    return m_directory.sync(error);
}

void appendLine(std::string& lines, HistoryRow const& row)
{
    HistoryEntry head;
    std::vector<ChangedText> changes;
    if (!row.withoutChanges().read(head) || !row.readChanges(changes))
        return;
    lines.append("{\"number\":").append(std::to_string(head.number)).append(",\"time\":").append(std::to_string(head.time));
    for (auto const& [name, text] :
         {std::pair("user", &head.user), std::pair("process", &head.process), std::pair("verb", &head.verb),
          std::pair("door", &head.door), std::pair("note", &head.note)})
        appendMember(lines, name, *text);
    lines += ",\"changes\":[";
    for (ChangedText const& change : changes) {
        lines += lines.back() == '[' ? "{" : ",{";
        bool const isSecret = isSecretChange(change);
        appendMember(lines, "schema", change.schema);
        appendMember(lines, "element", change.element);
        appendMember(lines, "old", masked(isSecret, change.before.value_or(notStored)));
        appendMember(lines, "new", masked(isSecret, change.after));
        lines += '}';
    }
    lines.append("]}\n");
}

} // namespace Host
