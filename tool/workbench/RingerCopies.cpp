#include "workbench/RingerCopies.h"

#include "workbench/Items.h"
#include "workbench/Rehearsal.h"
#include "workbench/Rules.h"
#include "workbench/Workbench.h"

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

/// The setting that the cell is copied from while its row has no identifier; 0 for other items.
eDataTag generalOf(eDataTag cell)
{
    auto const rule = ringerRuleOf(cell);
    return rule ? rule->general : eDataTagNone;
}

bool hasIdentifier(eDataTag cell)
{
    return readValue(ringerRuleOf(cell)->identifier) != Json("");
}

std::size_t refusedByCopying()
{
    return static_cast<std::size_t>(std::count_if(allTags().begin(), allTags().end(), [](eDataTag cell) {
        auto const general = generalOf(cell);
        return general != eDataTagNone && !hasIdentifier(cell) &&
               !isAccepted(cell, textOf(readValue(general).value_or(Json(""))));
    }));
}

std::size_t refusedByReading(Workbench& workbench)
{
    auto const stored = storedText(workbench.platform(), eDataTagDistinctiveRinging);
    if (!stored)
        return 0;
    Rehearsal rehearsal;
    rehearsal.read({{eDataTagDistinctiveRinging, *stored}});
    auto const& refusals = rehearsal.refusals();
    return static_cast<std::size_t>(std::count_if(refusals.begin(), refusals.end(), [](auto const& refusal) {
        auto const& [cell, text] = refusal;
        auto const general = generalOf(cell);
        return general != eDataTagNone && hasIdentifier(cell) && isAccepted(general, text);
    }));
}

} // namespace

RingerCopies::RingerCopies(Workbench& workbench, bool reads, bool copies)
    : m_workbench(workbench), m_reads(reads), m_copies(copies)
{
    if (!workbench.options().logLevel && (reads || copies))
        m_hold.emplace(workbench.log());
}

RingerCopies RingerCopies::atChange(Workbench& workbench, TagTexts const& wanted)
{
    auto const isMobility = [](auto const& each) { return each.first == eDataTagMobilityDataUpdate; };
    auto const isNewCell = [](auto const& each) {
        auto const& [tag, text] = each;
        return storedTableOf(tag) == eDataTagDistinctiveRinging && isAccepted(tag, text) &&
               textOf(readValue(tag).value_or(Json())) != text;
    };
    bool const reads = std::any_of(wanted.begin(), wanted.end(), isMobility);
    return {workbench, reads, reads || std::any_of(wanted.begin(), wanted.end(), isNewCell)};
}

RingerCopies::~RingerCopies()
{
    if (m_hold && m_hold->hasLines())
        m_hold->drop((m_reads ? refusedByReading(m_workbench) : 0) + (m_copies ? refusedByCopying() : 0));
}

} // namespace Tool
