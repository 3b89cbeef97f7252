// Who changes what: the running verb is named to the host, whose database enters every change, and gets an entry for what the
// database does not keep. Refusals go to the history's file; secrets are masked before they get there.
#pragma once

#include "report/Result.h"

#include "Data/DataTypes.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Host {
struct Author;
struct HistoryChange;
} // namespace Host

namespace Tool {

class Workbench;

/// Numbers as an entry notes them: "1,5-9".
std::string rangesOf(std::set<std::int64_t> const& numbers);
std::set<std::int64_t> numbersOf(std::string const& ranges);

/// The name of a user, or the number of one without.
std::string userName(unsigned int user);

/// The user of this process, who gives a command.
Host::Author ownAuthor(std::string verb);

class Journal {
public:
    /// Who changed what follows from a change that was asked for.
    static constexpr char const* ruleName = "library rule";

    explicit Journal(Workbench& workbench) : m_workbench(workbench) {}

    /// The running verb asks for a change of this item; what changes besides is the work of the library's rules.
    void ask(Data::eDataTag tag) { m_asked.insert(tag); }

    /// The running verb takes back what these entries changed.
    void undo(std::set<std::int64_t> entries) { m_undone = std::move(entries); }

    /// The running verb met a refusal; `result` is Refused or NotStored.
    void refuse(Data::eDataTag tag, Json given, std::string reason, Result result);

    /// Runs a verb in its doer's name and keeps what it changed. A history that cannot be written is told of once and stops
    /// nothing that was done.
    Report record(Host::Author doer, std::function<Report()> const& action);

private:
    /// What a verb can change and the database does not keep, by schema and element of its entries.
    using State = std::map<std::pair<std::string, std::string>, std::string>;

    struct Refusal {
        Json given;
        std::string reason;
        Result result;
    };

    std::size_t countStored(std::vector<Json> const& before) const;
    static State state();
    static std::vector<Host::HistoryChange> differences(State const& before, State const& after);
    std::string note() const;
    void keepRefusals(Host::Author const& doer, std::string& error) const;

    Workbench& m_workbench;
    std::int64_t m_begun = 0; ///< when the running verb began
    std::set<Data::eDataTag> m_asked;
    std::set<std::int64_t> m_undone;
    std::map<Data::eDataTag, Refusal> m_refused;
    std::optional<State> m_last;
    bool m_failed = false;
};

} // namespace Tool
