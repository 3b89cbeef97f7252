#include "workbench/RingerCopies.h"

#include "workbench/Items.h"
#include "workbench/Rehearsal.h"
#include "workbench/Rules.h"
#include "workbench/Values.h"
#include "workbench/Workbench.h"

#include "Data/DataSourceDB.h"

#include <algorithm>
#include <cstddef>

namespace Tool {

using namespace Data;

namespace {

bool isAccepted(eDataTag tag, std::string const& text)
{
    std::string ignored;
    return !validate(tag, text, ignored).is_null();
}

/// The refusals of a write of the ringing table as it is now.
std::size_t refusedByWrite()
{
    return static_cast<std::size_t>(std::count_if(allTags().begin(), allTags().end(), [](eDataTag cell) {
        auto const rule = ringerRuleOf(cell);
        return rule && rule->general != eDataTagNone && readValue(rule->identifier) == Json("") &&
               !isAccepted(cell, textOf(readValue(rule->general).value_or(Json(""))));
    }));
}

/// The refusals of a start with the table as it is stored. A row that has no identifier by now did not follow the general
/// ringer then, which a start does not know.
std::size_t refusedByStart(Workbench& workbench)
{
    auto const stored = storedText(workbench.platform(), eDataTagDistinctiveRinging);
    if (!stored)
        return 0;
    Rehearsal rehearsal;
    rehearsal.read({{eDataTagDistinctiveRinging, *stored}});
    auto const& refusals = rehearsal.refusals();
    return static_cast<std::size_t>(std::count_if(refusals.begin(), refusals.end(), [](auto const& refusal) {
        auto const& [cell, text] = refusal;
        auto const rule = ringerRuleOf(cell);
        return rule && rule->general != eDataTagNone && readValue(rule->identifier) != Json("") &&
               isAccepted(rule->general, text);
    }));
}

} // namespace

RingerCopies::AtStart::AtStart(Workbench& workbench) : m_workbench(workbench)
{
    if (!workbench.options().logLevel)
        m_hold.emplace(workbench.log());
}

RingerCopies::AtStart::~AtStart()
{
    if (m_hold && m_hold->hasLines())
        m_hold->drop(refusedByStart(m_workbench));
}

RingerCopies::AtWrite::AtWrite(Workbench& workbench, DataTagValue_t const& wanted)
{
    auto const writesTable = [](auto const& each) {
        auto const& [tag, text] = each;
        return storedTableOf(tag) == eDataTagDistinctiveRinging && isAccepted(tag, text) &&
               textOf(readValue(tag).value_or(Json())) != text;
    };
    if (!workbench.options().logLevel && std::any_of(wanted.begin(), wanted.end(), writesTable))
        m_hold.emplace(workbench.log());
}

RingerCopies::AtWrite::~AtWrite()
{
    if (m_hold && m_hold->hasLines())
        m_hold->drop(refusedByWrite());
}

} // namespace Tool
