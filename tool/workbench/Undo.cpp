#include "workbench/Undo.h"

#include "workbench/Document.h"
#include "workbench/FlagFile.h"
#include "workbench/Import.h"
#include "workbench/Items.h"
#include "workbench/Journal.h"
#include "workbench/PastEntries.h"
#include "workbench/Values.h"
#include "workbench/Workbench.h"

#include "ClientUtils.h"
#include "HostPlatform.h"
#include "ManagementService.h"
#include "secrets/SecretBox.h"
#include "store/Database.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace Tool {

using namespace Data;

namespace {

/// Something else than the database's values, which only follows: what nothing keeps, and what is no setting.
bool isUndoable(PastChange const& change)
{
    return !change.schema.empty() && change.schema != "@unkept";
}

bool isUndoable(PastEntry const& entry)
{
    return entry.isInDatabase && std::ranges::any_of(entry.changes, [](PastChange const& each) { return isUndoable(each); });
}

/// By the number of an entry that stands: since which one it does, which is itself or the undo of its undo.
class Standing {
public:
    explicit Standing(std::vector<PastEntry> const& entries)
    {
        for (auto const& each : entries)
            m_undoes[each.number] = each.undoes;
        for (auto const& each : entries)
            settle(each.number, true, each.number);
    }

    std::optional<std::int64_t> since(PastEntry const& entry) const
    {
        auto const found = m_since.find(entry.number);
        return found == m_since.end() ? std::nullopt : std::optional(found->second);
    }

private:
    void settle(std::int64_t number, bool stands, std::int64_t since)
    {
        auto const& undone = m_undoes[number];
        for (auto const each : undone)
            if (each < number)
                settle(each, !stands, since);
        if (undone.empty() && stands)
            m_since[number] = since;
        else
            m_since.erase(number);
    }

    std::map<std::int64_t, std::set<std::int64_t>> m_undoes;
    std::map<std::int64_t, std::int64_t> m_since;
};

/// The entries to take back, oldest first; the report says why there are none.
Report choose(UndoOptions const& options, std::vector<PastEntry> const& entries, std::vector<PastEntry>& chosen)
{
    if (options.number) {
        auto const found =
            std::ranges::find_if(entries, [&](PastEntry const& each) { return each.numbers.contains(*options.number); });
        if (found == entries.end())
            return failure(exitUnknownItem, std::to_string(*options.number), "no entry has this number");
        if (!isUndoable(*found))
            return failure(exitRefused, std::to_string(*options.number),
                           found->isInDatabase ? "has nothing that can be taken back"
                                               : "is too old: its values left the database for the file");
        chosen = {*found};
        return {};
    }
    Standing const standing(entries);
    auto const counts = [&](PastEntry const& each) {
        return isUndoable(each) && (options.since ? each.time >= *options.since : standing.since(each).has_value());
    };
    std::ranges::copy_if(entries, std::back_inserter(chosen), counts);
    if (!options.since && !chosen.empty())
        chosen = {*std::ranges::max_element(chosen, {}, [&](PastEntry const& each) { return standing.since(each); })};
    return chosen.empty() ? failure(exitRefused, "", "nothing is left that can be taken back") : Report{};
}

/// What changed from the first to the last of them.
std::vector<PastChange> sumOf(std::vector<PastEntry> const& entries)
{
    std::vector<PastChange> sum;
    for (auto const& entry : entries) {
        for (auto const& change : entry.changes) {
            auto const isSame = [&](PastChange const& each) {
                return each.item == change.item && each.schema == change.schema && each.element == change.element;
            };
            auto const earlier = std::ranges::find_if(sum, isSame);
            if (!isUndoable(change))
                continue;
            if (earlier == sum.end())
                sum.push_back(change);
            else
                earlier->textAfter = change.textAfter;
        }
    }
    std::erase_if(sum, [](PastChange const& each) { return each.textBefore == each.textAfter; });
    return sum;
}

class Undoing {
public:
    explicit Undoing(Workbench& workbench) : m_workbench(workbench) {}

    /// A cell that a rule of its table makes what it is, and has made something else since.
    bool isOfARule(PastChange const& change)
    {
        return change.cause == "rule" && change.element.empty() && presentText(change) != change.textAfter;
    }

    /// Why this cannot be taken back; empty when it is in the document now.
    std::string add(PastChange const& change, bool force)
    {
        if (!force && !isAsLeft(change))
            return "was changed meanwhile";
        auto const& before = change.textBefore;
        bool const wasStored = before != Host::notStored;
        if (change.schema == "@flags") {
            if (!document.flags)
                document.flags = flagFileValues();
            document.flags->erase(change.element);
            if (wasStored)
                document.flags->emplace(change.element, before);
            return "";
        }
        if (change.schema == "@device") {
            auto const profile = Host::DeviceProfile();
            if (change.element == "model")
                document.model = wasStored ? before : Host::modelName(profile.model);
            else
                document.usb = wasStored ? ClientUtils::stob(before) : profile.usb;
            return "";
        }
        if (change.schema.starts_with("@management/"))
            return addService(change);
        if (!change.tag || !isKept(*change.tag))
            return "is no setting that the telephone keeps";
        return addSetting(change);
    }

    Document document;
    std::vector<std::string> ciphers; ///< the secrets of the document as they were stored

private:
    std::string presentText(PastChange const& change)
    {
        if (change.tag && storedTableOf(*change.tag) != eDataTagNone && change.element.empty())
            return textOf(readValue(*change.tag).value_or(Json()));
        if (change.schema == "@flags") {
            auto const flags = flagFileValues();
            auto const found = flags.find(change.element);
            return found == flags.end() ? Host::notStored : found->second;
        }
        return m_workbench.platform().database().read(change.schema, change.element).value_or(Host::notStored);
    }

    /// Each encryption of a secret gives another text.
    bool isAsLeft(PastChange const& change)
    {
        auto const present = presentText(change);
        std::string now;
        std::string left;
        bool const isSecretText = (change.tag && isSecret(*change.tag)) || Host::isSecretItem(change.element);
        return present == change.textAfter ||
               (isSecretText && decrypt(present, now) && decrypt(change.textAfter, left) && now == left);
    }

    bool decrypt(std::string const& stored, std::string& plain) const
    {
        return m_workbench.platform().secrets().decrypt(stored, plain);
    }

    std::string addSetting(PastChange const& change)
    {
        auto const tag = *change.tag;
        auto text = change.textBefore;
        if (text == Host::notStored)
            text = textOf(defaultOf(tag));
        else if (isSecret(tag) && !text.empty() && !decrypt(std::string(text), text))
            return "is a secret that cannot be decrypted: its key is gone";
        if (isSecret(tag))
            ciphers.push_back(change.textBefore);
        std::string reason;
        if (auto value = validate(tag, text, reason); !value.is_null())
            document.settings[tag] = std::move(value);
        return reason;
    }

    std::string addService(PastChange const& change)
    {
        auto text = change.textBefore;
        if (!change.tag)
            return "has no name among the items";
        if (text == Host::notStored) {
            document.withdrawn.insert(nameOf(*change.tag));
            return "";
        }
        if (Host::isSecretItem(change.element) && !text.empty() && !decrypt(std::string(text), text))
            return "is a secret that cannot be decrypted: its key is gone";
        document.service[nameOf(*change.tag)] = text;
        ciphers.push_back(change.textBefore);
        return "";
    }

    Workbench& m_workbench;
};

} // namespace

Report undo(Workbench& workbench, UndoOptions const& options)
{
    std::string error;
    auto const entries = pastEntries(workbench, error);
    std::vector<PastEntry> chosen;
    if (auto report = choose(options, entries, chosen); report.code != exitOk)
        return report;
    std::set<std::int64_t> numbers;
    for (auto const& each : chosen)
        numbers.insert(each.number);
    Undoing undoing(workbench);
    Report refusals;
    for (auto const& change : sumOf(chosen)) {
        if (undoing.isOfARule(change))
            continue;
        if (auto reason = undoing.add(change, options.force); !reason.empty())
            refusals.fail(exitRefused, {change.item, std::move(reason)});
    }
    auto const names = fmt::format("{} {}", numbers.size() == 1 ? "entry" : "entries", rangesOf(numbers));
    if (refusals.code != exitOk && !options.force) {
        refusals.fail(exitRefused, {"", "nothing was taken back of " + names + "; --force takes back what can be"});
        return refusals;
    }
    auto const& secrets = workbench.platform().secrets();
    if (!options.dryRun) {
        workbench.journal().undo(numbers);
        secrets.reuse(std::move(undoing.ciphers));
    }
    auto report = importDocument(workbench, undoing.document,
                                 {.dryRun = options.dryRun, .atomic = !options.force, .yes = options.yes});
    secrets.reuse({});
    std::erase_if(report.sections, [](Section const& section) {
        return section.name == "counts" || section.name == "missingSecrets"; // of a document that nobody gave
    });
    for (auto& problem : refusals.problems)
        report.fail(exitRefused, std::move(problem));
    Section which{"undoes", Layout::Table, {"number"}, {}, "Taken back:"};
    for (auto const number : numbers)
        which.rows.push_back({number});
    report.sections.insert(report.sections.begin(), std::move(which));
    return report;
}

} // namespace Tool
