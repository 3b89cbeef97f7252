#include "workbench/FlagFile.h"

#include "workbench/Items.h"
#include "workbench/Snapshot.h"
#include "workbench/Workbench.h"

#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"

#include "PlatformPath.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace Tool {

using namespace Data;

namespace {

/// In the order of the tags from 797.
constexpr std::array flagWords{"opus_test",           "aes256_test",          "icelite_test",
                               "rtcpmux_disabled",    "force_nte8_enabled",   "force_nte8_disabled",
                               "force_nte48_enabled", "force_nte48_disabled", "force_etsi"};
static_assert(eDataTagOpusTest + flagWords.size() == eDataTagEnd);

constexpr char const* flagFile = "/data/database/media_config";

struct Line {
    std::string flag;
    std::string text;
};

std::vector<Line> readLines(std::filesystem::path const& path)
{
    std::vector<Line> lines;
    // Opening a pipe in the file's place would wait for its writer.
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored))
        return lines;
    std::ifstream file(path);
    for (std::string text; std::getline(file, text);) {
        Line line{{}, text};
        std::istringstream(text) >> line.flag;
        lines.push_back(std::move(line));
    }
    return lines;
}

/// The library's own check of a flag's value.
std::string refusal(eDataTag tag, std::string const& text)
{
    std::string reason;
    std::unique_ptr<DataItemBase> const item(DataCache::DataItemBuilder::createDataItem(tag, eDataSourceFile));
    return item->setValueString(text, reason) ? "" : reason;
}

Report apply(std::vector<std::string> const& changes, std::vector<Line>& lines)
{
    Report report;
    for (auto const& change : changes) {
        auto const equals = change.find('=');
        auto const word = change.substr(0, equals);
        auto const known = std::find(flagWords.begin(), flagWords.end(), word);
        if (known == flagWords.end()) {
            report.fail(exitUnknownItem, {word, "no such flag", nearest(word, flagNames())});
            continue;
        }
        std::erase_if(lines, [&](Line const& line) { return line.flag == word; });
        if (equals == std::string::npos) {
            lines.push_back({word, word});
            continue;
        }
        auto const value = change.substr(equals + 1);
        auto const reason =
            value.empty() ? "" : refusal(static_cast<eDataTag>(eDataTagOpusTest + (known - flagWords.begin())), value);
        if (!reason.empty())
            report.fail(exitRefused, {word, reason});
        else if (!value.empty())
            lines.push_back({word, fmt::format("{} {}", word, value)});
    }
    return report;
}

/// Writes a new file beside the old one and moves it into its place, so that a reader sees one of the two as a whole.
bool replaceFile(std::filesystem::path const& path, std::vector<Line> const& lines)
{
    std::string text;
    for (auto const& line : lines)
        text += line.text + "\n";
    auto const beside = path.string() + ".new";
    ::unlink(beside.c_str());
    int const file = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0)
        return false;
    bool written = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()) && ::fsync(file) == 0;
    written = ::close(file) == 0 && written;
    return written && std::rename(beside.c_str(), path.c_str()) == 0;
}

Section flagSection(std::filesystem::path const& path)
{
    Section section{"flags", Layout::Table, {"flag", "tag", "value", "line"}, {}};
    auto const lines = readLines(path);
    for (std::size_t index = 0; index < flagWords.size(); ++index) {
        auto const tag = static_cast<eDataTag>(eDataTagOpusTest + static_cast<int>(index));
        Json text;
        for (auto const& line : lines) {
            if (line.flag == flagWords[index])
                text = line.text;
        }
        section.rows.push_back({flagWords[index], static_cast<int>(tag), readValue(tag).value_or(Json()), text});
    }
    return section;
}

} // namespace

std::vector<std::string> flagNames()
{
    return {flagWords.begin(), flagWords.end()};
}

std::map<std::string, std::string> flagFileValues()
{
    std::map<std::string, std::string> values;
    for (auto const& line : readLines(platformPath(flagFile))) {
        if (std::find(flagWords.begin(), flagWords.end(), line.flag) == flagWords.end())
            continue;
        std::istringstream words(line.text);
        std::string value;
        words >> value >> value;
        values[line.flag] = value == line.flag ? "true" : value;
    }
    return values;
}

Report flags(Workbench& workbench, std::vector<std::string> const& changes, bool clear)
{
    std::filesystem::path const path = platformPath(flagFile);
    auto lines = readLines(path);
    if (clear)
        lines.clear();
    auto report = apply(changes, lines);
    if (report.code != exitOk)
        return report;
    if (clear || !changes.empty()) {
        Snapshot const before(workbench);
        for (int tag = eDataTagOpusTest; tag < eDataTagEnd; ++tag)
            workbench.journal().ask(static_cast<eDataTag>(tag));
        std::error_code error;
        std::filesystem::create_directories(path.parent_path(), error);
        bool const done = lines.empty() ? ::unlink(path.c_str()) == 0 || errno == ENOENT : replaceFile(path, lines);
        if (!done)
            return failure(exitStorage, path.string(), std::strerror(errno));
        report.sections.push_back(before.section("changed", "Changed:"));
        report.sections.push_back(flagSection(path));
        report.sections.back().title = "\nFlags:";
    } else {
        report.sections.push_back(flagSection(path));
    }
    return report;
}

} // namespace Tool
