#include "workbench/FlagFile.h"

#include "workbench/Consequences.h"
#include "workbench/Items.h"
#include "workbench/Snapshot.h"
#include "workbench/Workbench.h"

#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Tables/Rules.h"
#include "Tables/SettingOptions.h"

#include "PlatformPath.h"

#include <fmt/format.h>

#include <algorithm>
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

constexpr char const* flagFile = "/data/database/media_config";

struct Line {
    std::string flag;
    std::string text;
};

/// Null for an unknown word.
Tables::FlagWord const* findFlag(std::string const& word)
{
    auto const known = Tables::flagWords();
    auto const found = std::ranges::find_if(known, [&](auto const& each) { return each.word == word; });
    return found == known.end() ? nullptr : &*found;
}

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

FlagValues valuesOf(std::vector<Line> const& lines)
{
    FlagValues values;
    for (auto const& line : lines) {
        if (!findFlag(line.flag))
            continue;
        std::istringstream words(line.text);
        std::string value;
        words >> value >> value;
        values[line.flag] = value == line.flag ? "true" : value;
    }
    return values;
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
        auto const* const flag = findFlag(word);
        if (!flag) {
            report.fail(exitUnknownItem, {word, "no such flag", nearest(word, flagNames())});
            continue;
        }
        std::erase_if(lines, [&](Line const& line) { return line.flag == word; });
        if (equals == std::string::npos) {
            lines.push_back({word, word});
            continue;
        }
        auto const value = change.substr(equals + 1);
        auto const reason = value.empty() ? "" : refusal(flag->tag, value);
        if (!reason.empty())
            report.fail(exitRefused, {word, reason + "; expected true or false"});
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
    for (auto const& [word, tag] : Tables::flagWords()) {
        Json text;
        for (auto const& line : lines) {
            if (line.flag == word)
                text = line.text;
        }
        section.rows.push_back({word, static_cast<int>(tag), readValue(tag).value_or(Json()), text});
    }
    return section;
}

/// What applying a file of these lines would change: its flags, and what follows from them.
void foretell(Workbench& workbench, std::vector<Line> const& lines, Report& report)
{
    auto const values = valuesOf(lines);
    Forecast forecast;
    auto wanted = hardwareFlagsBy(values, forecast);
    Tags asked;
    for (auto const& [word, tag] : Tables::flagWords()) {
        auto const value = values.find(word);
        std::string ignored;
        wanted[tag] = value == values.end() ? defaultOf(tag) : validate(tag, value->second, ignored);
        asked.insert(tag);
    }
    std::erase_if(wanted, [](auto const& each) { return each.second.is_null(); }); // A refused text changes nothing.
    forecast.set(wanted);
    addForetold(workbench, report, forecast, asked);
}

} // namespace

std::vector<std::string> flagNames()
{
    std::vector<std::string> names;
    for (auto const& flag : Tables::flagWords())
        names.emplace_back(flag.word);
    return names;
}

FlagValues flagFileValues()
{
    return valuesOf(readLines(platformPath(flagFile)));
}

std::map<eDataTag, Json> hardwareFlagsBy(FlagValues const& file, Forecast const& forecast)
{
    DataTagValue_t texts;
    for (auto const& [word, tag] : Tables::flagWords()) {
        if (auto const line = file.find(word); line != file.end())
            texts[tag] = line->second;
    }
    DataTagValue_t methods;
    for (int row = 0; row < Tables::encryptions.rows; ++row) {
        auto const method = Tables::encryptions.cell(eDataTagSRTPEncryptionMethod1, row);
        methods[method] = textOf(forecast.valueOf(method));
    }
    std::map<eDataTag, Json> flags;
    for (auto const& [flag, text] : Tables::hardwareFlagsByFile(texts, methods))
        flags[flag] = text == "true";
    return flags;
}

Report flags(Workbench& workbench, std::vector<std::string> const& changes, bool clear, bool isDry)
{
    std::filesystem::path const path = platformPath(flagFile);
    auto lines = readLines(path);
    if (clear)
        lines.clear();
    auto report = apply(changes, lines);
    if (report.code != exitOk)
        return report;
    bool const isChange = clear || !changes.empty();
    if (isChange && isDry) {
        foretell(workbench, lines, report);
    } else if (isChange) {
        Snapshot const before(workbench);
        for (auto const& flag : Tables::flagWords())
            workbench.journal().ask(flag.tag);
        std::error_code error;
        std::filesystem::create_directories(path.parent_path(), error);
        bool const done = lines.empty() ? ::unlink(path.c_str()) == 0 || errno == ENOENT : replaceFile(path, lines);
        if (!done)
            return failure(exitStorage, path.string(), std::strerror(errno));
        report.sections.push_back(before.section("changed", "Changed:"));
    }
    report.sections.push_back(flagSection(path));
    report.sections.back().title = isChange ? "\nFlags:" : "";
    return report;
}

} // namespace Tool
