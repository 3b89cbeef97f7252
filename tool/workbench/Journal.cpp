#include "workbench/Journal.h"

#include "workbench/Items.h"
#include "workbench/Snapshot.h"
#include "workbench/Workbench.h"

#include "Tables/Tables.h"

#include "Files.h"
#include "HostPlatform.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <sstream>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tool {

using namespace Data;

namespace {

constexpr char const* fileName = "mediadata.history";
constexpr char const* olderName = "mediadata.history.1";
constexpr std::size_t longestJournal = 512UL * 1024;
constexpr std::size_t longestValue = 200;

Json stamped(std::string const& who, std::string const& item, Json const& before, Json const& after)
{
    auto const brief = [](Json const& value) {
        bool const isLong = value.is_string() && value.get_ref<std::string const&>().size() > longestValue;
        return isLong ? Json(value.get<std::string>().substr(0, longestValue) + "...") : value;
    };
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    return {{"time", std::chrono::duration_cast<std::chrono::milliseconds>(now).count()},
            {"who", who},
            {"item", item},
            {"old", brief(before)},
            {"new", brief(after)}};
}

std::string line(Json const& entry)
{
    return entry.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

/// Appends whole lines. A line that a kill left torn is ended first, so that it spoils nothing but itself.
bool append(Host::DataDirectory const& directory, std::string text, std::string& error)
{
    auto const open = [&] { return directory.openFile(fileName, O_RDWR | O_APPEND | O_CREAT, error); };
    auto file = open();
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0)
        return false;
    if (status.st_size > 0 && static_cast<std::size_t>(status.st_size) + text.size() > longestJournal) {
        if (directory.look(olderName, error) == Host::DataDirectory::State::refused ||
            !directory.rename(fileName, olderName, error))
            return false;
        file = open();
        if (!file)
            return false;
        status.st_size = 0;
    }
    char last = '\n';
    if (status.st_size > 0 && ::pread(file.get(), &last, 1, status.st_size - 1) == 1 && last != '\n')
        text.insert(0, 1, '\n');
    if (::write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()))
        return true;
    error = directory.pathOf(fileName) + ": cannot be written";
    return false;
}

/// An entry's values are no objects: one that nests, at worst without end, is none of ours.
bool isFlat(int depth, Json::parse_event_t event, Json&)
{
    return depth == 0 || (event != Json::parse_event_t::object_start && event != Json::parse_event_t::array_start);
}

void readEntries(Host::DataDirectory const& directory, char const* name, std::vector<Json>& entries, std::string& error)
{
    if (directory.look(name, error) != Host::DataDirectory::State::present)
        return;
    auto const file = directory.openFile(name, O_RDONLY, error);
    std::string text;
    std::array<char, 65536> piece;
    for (ssize_t length = 0; file && (length = ::read(file.get(), piece.data(), piece.size())) > 0;)
        text.append(piece.data(), static_cast<std::size_t>(length));
    std::istringstream lines(text);
    for (std::string each; std::getline(lines, each);) {
        auto entry = Json::parse(each, isFlat, false);
        auto const isDiscarded = [](Json const& value) { return value.is_discarded(); };
        bool const isWhole = entry.is_object() && std::none_of(entry.begin(), entry.end(), isDiscarded) &&
                             entry.value("time", Json()).is_number_integer() && entry.value("item", Json()).is_string() &&
                             entry.value("who", Json()).is_string();
        if (isWhole)
            entries.push_back(std::move(entry));
    }
}

} // namespace

Journal::State Journal::state() const
{
    State state{Snapshot::values(), {}};
    for (auto const& [name, value] : serviceValues(m_workbench)) {
        auto const tag = findItem(name);
        if (!tag || !isHeld(*tag))
            state.others[name] = value;
    }
    auto const profile = m_workbench.platform().deviceProfile();
    state.others["device/model"] = Host::modelName(profile.model);
    state.others["device/usb"] = profile.usb;
    return state;
}

void Journal::note(std::string const& who, std::string const& item, Json const& before, Json const& after)
{
    auto entry = stamped(who, item, before, after);
    entry["result"] = wordOf(Result::Stored);
    m_lines += line(entry);
}

void Journal::noteItems(State const& before, State const& after, std::function<std::string(eDataTag)> const& who)
{
    for (std::size_t index = 0; index < after.items.size(); ++index) {
        auto const tag = allTags()[index];
        if (before.items[index] != after.items[index] && !m_refused.contains(tag))
            note(who(tag), nameOf(tag), shown(tag, before.items[index], false), shown(tag, after.items[index], false));
    }
}

void Journal::refuse(eDataTag tag, Json given, std::string reason, Result result)
{
    m_refused[tag] = {std::move(given), std::move(reason), result};
}

void Journal::noteRefusals(std::string const& who, State const& before)
{
    for (auto const& [tag, refusal] : m_refused) {
        auto const& old = before.items[static_cast<std::size_t>(tag) - 1];
        auto entry = stamped(who, nameOf(tag), shown(tag, old, false), shown(tag, refusal.given, false));
        entry["result"] = wordOf(refusal.result);
        // A reason may quote the value.
        entry["reason"] = isSecret(tag) ? Json() : Json(refusal.reason);
        m_lines += line(entry);
    }
}

/// How many values are others than before, but for those that only the cache has.
std::size_t Journal::countStored(State const& before, State const& after) const
{
    std::size_t count = 0;
    auto const& lost = m_workbench.storage().lost();
    for (std::size_t index = 0; index < after.items.size(); ++index)
        count += before.items[index] != after.items[index] && !lost.contains(allTags()[index]) ? 1 : 0;
    return count;
}

Report Journal::record(std::string const& who, std::function<Report()> const& action)
{
    auto const before = state();
    m_lines.clear();
    m_asked.clear();
    m_refused.clear();
    // Between two verbs of a process of the tool only the flag file can be edited.
    auto const* const others = m_workbench.isAttached() ? "application" : "flag file";
    if (m_last)
        noteItems(*m_last, before, [=](eDataTag tag) { return Tables::isHardwareFlag(tag) ? "hardware rule" : others; });
    m_workbench.storage().takeAny();
    auto report = action();
    auto after = state();
    if (auto& storage = m_workbench.storage(); storage.takeAny()) {
        auto const account = storage.account(countStored(before, after));
        if (report.code == exitStorage && !report.problems.empty() && storage.lost().empty())
            report.problems.back().reason += ": " + account;
        else
            report.fail(exitStorage, {"", account});
    }
    noteItems(before, after, [&](eDataTag tag) -> std::string {
        return m_asked.contains(tag) ? who : Tables::isHardwareFlag(tag) ? "hardware rule" : ruleName;
    });
    for (auto const& [name, value] : after.others) {
        auto const old = before.others.find(name);
        if (old == before.others.end() || old->second != value)
            note(who, name, old == before.others.end() ? Json() : old->second, value);
    }
    noteRefusals(who, before);
    m_last = std::move(after);
    keep(report);
    return report;
}

void Journal::keep(Report& report)
{
    std::string error;
    if (m_lines.empty() || append(m_workbench.platform().files(), m_lines, error) || std::exchange(m_failed, true))
        return;
    report.fail(exitOk, {"", "the history could not be written: " + error});
}

std::vector<Json> Journal::entries(std::string& error) const
{
    std::vector<Json> entries;
    for (auto const* const name : {olderName, fileName})
        readEntries(m_workbench.platform().files(), name, entries, error);
    return entries;
}

} // namespace Tool
