// All entries of one run of a verb have the same note, by which they are found again as one: when it began, the tags that
// it asked for and the entries that it takes back.
#include "workbench/Journal.h"

#include "workbench/FlagFile.h"
#include "workbench/Items.h"
#include "workbench/Snapshot.h"
#include "workbench/Values.h"
#include "workbench/Workbench.h"

#include "Author.h"
#include "HostPlatform.h"
#include "store/Database.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <utility>

#include <pwd.h>
#include <unistd.h>

namespace Tool {

using namespace Data;

std::string rangesOf(std::set<std::int64_t> const& numbers)
{
    std::string text;
    for (auto each = numbers.begin(); each != numbers.end();) {
        auto const first = *each;
        auto last = first;
        while (++each != numbers.end() && *each == last + 1)
            last = *each;
        text += fmt::format("{}{}", text.empty() ? "" : ",", first);
        if (last != first)
            text += fmt::format("-{}", last);
    }
    return text;
}

std::set<std::int64_t> numbersOf(std::string const& ranges)
{
    constexpr std::int64_t most = 100'000; // of one range: the text may be damaged
    std::set<std::int64_t> numbers;
    std::istringstream parts(ranges);
    for (std::string part; std::getline(parts, part, ',');) {
        char* rest = nullptr;
        auto const first = std::strtoll(part.c_str(), &rest, 10);
        auto const last = *rest == '-' ? std::strtoll(rest + 1, nullptr, 10) : first;
        for (auto number = first; number <= last && number - first < most; ++number)
            numbers.insert(number);
    }
    return numbers;
}

std::string userName(unsigned int user)
{
    std::array<char, 4096> room{};
    passwd entry{};
    passwd* found = nullptr;
    bool const isKnown = ::getpwuid_r(user, &entry, room.data(), room.size(), &found) == 0 && found != nullptr;
    return isKnown ? found->pw_name : std::to_string(user);
}

Host::Author ownAuthor(std::string verb)
{
    return {userName(::geteuid()), program_invocation_short_name, std::move(verb), "command"};
}

Journal::State Journal::state()
{
    State state;
    readValue(eDataTagOpusTest); // applies the flag file, which may change items with lower tags
    for (auto const tag : allTags()) {
        if (isFleeting(tag)) // What the service keeps it enters itself.
            state[{"@unkept", nameOf(tag)}] = textOf(readValue(tag).value_or(""));
    }
    for (auto const& [word, value] : flagFileValues())
        state[{"@flags", word}] = value;
    return state;
}

std::vector<Host::HistoryChange> Journal::differences(State const& before, State const& after)
{
    auto const textIn = [](State const& state, State::key_type const& key) {
        auto const found = state.find(key);
        return found == state.end() ? std::string(Host::notStored) : found->second;
    };
    State all = before;
    all.insert(after.begin(), after.end());
    std::vector<Host::HistoryChange> changes;
    for (auto const& [key, text] : all) {
        if (auto const [old, now] = std::pair(textIn(before, key), textIn(after, key)); old != now)
            changes.push_back({key.first, key.second, old, now});
    }
    return changes;
}

std::string Journal::note() const
{
    auto note = fmt::format("run={}", m_begun);
    if (!m_asked.empty())
        note += " asked=" + rangesOf({m_asked.begin(), m_asked.end()});
    if (!m_undone.empty())
        note += " undoes=" + rangesOf(m_undone);
    return note;
}

void Journal::refuse(eDataTag tag, Json given, std::string reason, Result result)
{
    m_refused[tag] = {std::move(given), std::move(reason), result};
}

void Journal::keepRefusals(Host::Author const& doer, std::string& error) const
{
    if (m_refused.empty())
        return;
    Json refused = Json::array();
    for (auto const& [tag, refusal] : m_refused) {
        // A reason may quote the value.
        refused.push_back({{"item", nameOf(tag)},
                           {"old", shown(tag, readValue(tag).value_or(Json()), false)},
                           {"new", shown(tag, refusal.given, false)},
                           {"result", wordOf(refusal.result)},
                           {"reason", isSecret(tag) ? Json() : Json(refusal.reason)}});
    }
    Json const line{{"time", m_begun},   {"user", doer.user}, {"process", doer.process},      {"verb", doer.verb},
                    {"door", doer.door}, {"note", note()},    {"refused", std::move(refused)}};
    m_workbench.platform().database().historyFile().append(line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n",
                                                           error);
}

/// How many values are others than before, but for those that only the cache has.
std::size_t Journal::countStored(std::vector<Json> const& before) const
{
    std::size_t count = 0;
    auto const after = Snapshot::values();
    auto const& lost = m_workbench.storage().lost();
    for (std::size_t index = 0; index < after.size(); ++index)
        count += before[index] != after[index] && !lost.contains(allTags()[index]) ? 1 : 0;
    return count;
}

Report Journal::record(Host::Author doer, std::function<Report()> const& action)
{
    auto& platform = m_workbench.platform();
    auto& database = platform.database();
    auto before = state();
    auto const values = Snapshot::values();
    if (m_last) {
        auto changes = differences(*m_last, before);
        auto const isFlag = [](Host::HistoryChange const& each) { return each.schema == "@flags"; };
        auto const byHand = std::stable_partition(changes.begin(), changes.end(), std::not_fn(isFlag));
        database.addToHistory({changes.begin(), byHand});
        database.completeHistory();
        platform.author(Host::Author{"", "", "", "flag file"});
        database.addToHistory({byHand, changes.end()});
    }
    database.completeHistory();
    m_begun =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
    m_asked.clear();
    m_undone.clear();
    m_refused.clear();
    doer.note = [this] { return note(); };
    platform.author(doer);
    m_workbench.storage().takeAny();
    auto report = action();
    auto after = state();
    database.addToHistory(differences(before, after));
    bool const isEntered = database.completeHistory();
    platform.author({});
    m_last = std::move(after);
    if (auto& storage = m_workbench.storage(); storage.takeAny()) {
        auto const account = storage.account(countStored(values));
        if (report.code == exitStorage && !report.problems.empty() && storage.lost().empty())
            report.problems.back().reason += ": " + account;
        else
            report.fail(exitStorage, {"", account});
    }
    std::string error = isEntered ? "" : "the database does not take it";
    keepRefusals(doer, error);
    if (!error.empty() && !std::exchange(m_failed, true))
        report.fail(exitOk, {"", "the history could not be written: " + error});
    return report;
}

} // namespace Tool
