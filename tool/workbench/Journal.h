// The journal of changes in the data directory: when, who, which item, old, new, result. Two files of half a megabyte at most,
// one JSON object a line; secrets are masked before they get there.
#pragma once

#include "report/Result.h"

#include "Data/DataTypes.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Tool {

class Workbench;

class Journal {
public:
    /// Who changed what follows from a change that was asked for.
    static constexpr char const* ruleName = "library rule";

    explicit Journal(Workbench& workbench) : m_workbench(workbench) {}

    /// The running verb asks for a change of this item; what changes besides is the work of the library's rules.
    void ask(Data::eDataTag tag) { m_asked.insert(tag); }

    /// The running verb met a refusal; `result` is Refused or NotStored.
    void refuse(Data::eDataTag tag, Json given, std::string reason, Result result);

    /// Runs a verb and keeps what it changed. A journal that cannot be written is told of once and stops nothing.
    Report record(std::string const& who, std::function<Report()> const& action);

    /// All entries, oldest first. `error` says what could not be read.
    std::vector<Json> entries(std::string& error) const;

private:
    /// Everything that a verb can change.
    struct State {
        std::vector<Json> items; ///< in the order of allTags()
        std::map<std::string, Json> others;
    };

    struct Refusal {
        Json given;
        std::string reason;
        Result result;
    };

    State state() const;
    std::size_t countStored(State const& before, State const& after) const;
    void note(std::string const& who, std::string const& item, Json const& before, Json const& after);
    void noteRefusals(std::string const& who, State const& before);
    void noteItems(State const& before, State const& after, std::function<std::string(Data::eDataTag)> const& who);
    void keep(Report& report);

    Workbench& m_workbench;
    std::set<Data::eDataTag> m_asked;
    std::map<Data::eDataTag, Refusal> m_refused;
    std::string m_lines; ///< not yet written
    std::optional<State> m_last;
    bool m_failed = false;
};

} // namespace Tool
