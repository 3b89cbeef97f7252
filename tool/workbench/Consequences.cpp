#include "workbench/Consequences.h"

#include "report/Text.h"
#include "workbench/Items.h"
#include "workbench/Rules.h"
#include "workbench/Snapshot.h"
#include "workbench/Workbench.h"

#include "Tables/Rules.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

constexpr char const* alsoChangedName = "alsoChanged";

/// With a line above the text only where there is something below it.
Section titled(Section section)
{
    section.title = section.rows.empty() ? "" : "\nAlso changed by a rule:";
    return section;
}

std::string assigned(eDataTag tag, Json const& value)
{
    return fmt::format("{}={}", nameOf(tag), cellText(value));
}

/// What has to be set for a camera to have this door opener or phone number.
std::string missingForCamera(eDataTag tag, Json const& wanted, Forecast const& forecast)
{
    auto const& cameras = Tables::cameras;
    int const row = cameras.rowOf(tag);
    auto const videoOf = [](int opener) { return Tables::doorOpeners.cell(eDataTagDoorOpener1DirectVideo, opener - 1); };
    auto const links = linkedCameras([&](eDataTag each) { return forecast.valueOf(each); });
    int const shower = links.at(cameras.cell(eDataTagCamera1DoorOpener, row)).get<int>();
    bool const isPhone = cameras.columnOf(tag) == eDataTagCamera1PhoneNumber;
    if (isPhone && shower == 0)
        return fmt::format("a door opener that shows the camera: {} to {}={}", nameOf(videoOf(1)),
                           nameOf(videoOf(Tables::doorOpeners.rows)), row + 1);
    if (isPhone)
        return assigned(Tables::doorOpeners.cell(eDataTagDoorOpener1PhoneNumber, shower - 1), wanted);
    int const opener = wanted.get<int>();
    if (opener != 0 && forecast.valueOf(videoOf(opener)) != Json(row + 1))
        return assigned(videoOf(opener), row + 1);
    return fmt::format("{} other than {}", nameOf(videoOf(shower)), row + 1);
}

/// The other side of the group-pickup tone.
std::string missingForPickup(eDataTag tag, Json const& wanted, Forecast const& forecast)
{
    if (tag == eDataTagGroupPickupToneType) {
        auto const flags = Tables::pickupFlagsOf(wanted.get<int>()).value_or(Tables::PickupFlags{});
        return assigned(eDataTagGroupPickupAsRinger, flags.asRinger) + " and " +
               assigned(eDataTagGroupPickupToneAllowed, flags.toneAllowed);
    }
    auto const flag = [&](eDataTag each) { return (each == tag ? wanted : forecast.valueOf(each)) == Json(true); };
    return assigned(eDataTagGroupPickupToneType,
                    Tables::toneTypeOf({flag(eDataTagGroupPickupAsRinger), flag(eDataTagGroupPickupToneAllowed)}));
}

/// Why a value would not stay, and what is missing for that; empty when it would.
std::string whyUndone(Outcome const& outcome, Forecast const& forecast, Manner manner)
{
    auto const tag = outcome.tag;
    auto const value = forecast.valueOf(tag);
    bool const isKeptNow = !isHeld(tag) || value == outcome.toStore();
    if (auto const rule = ringerRuleOf(tag); rule && forecast.valueOf(rule->identifier) == Json("")) {
        bool const isNew = outcome.result == Result::WouldStore;
        return isKeptNow && (!isNew || outcome.wanted == rule->atStart)
                   ? ""
                   : fmt::format("its row has no alert identifier and follows the general ringer: needs {}",
                                 nameOf(rule->identifier));
    }
    auto const* const table = Tables::holderOf(tag);
    if (table == &Tables::cameras) {
        auto const links = linkedCameras([&](eDataTag each) { return forecast.valueOf(each); });
        auto const link = links.find(tag);
        bool const isLinked = link == links.end() || link->second == outcome.toStore();
        if (!isLinked && (!isKeptNow || (manner != Manner::Together && outcome.result == Result::WouldStore)))
            return fmt::format("the door openers make it {}: needs {}", cellText(link->second),
                               missingForCamera(tag, outcome.toStore(), forecast));
    }
    if (isKeptNow)
        return "";
    if (table == &Tables::doorOpeners)
        return fmt::format("a door opener of type 0 has none: needs {} other than 0",
                           nameOf(table->cell(eDataTagDoorOpener1Type, table->rowOf(tag))));
    if (table == &Tables::groupPickup)
        return fmt::format("a rule makes it {}: needs {}", cellText(value),
                           missingForPickup(tag, outcome.toStore(), forecast));
    return fmt::format("a rule makes it {}", cellText(value));
}

/// What the rule about cameras has given a camera, or that about ringers to a row, nobody has set.
bool isOfRule(eDataTag tag, Json const& value)
{
    auto const now = [](eDataTag each) { return readValue(each).value_or(Json()); };
    auto const links = cameraLinks(now);
    auto const link = links.find(tag);
    auto const rule = ringerRuleOf(tag);
    return (link != links.end() && link->second == value) || (rule && now(rule->identifier) == Json(""));
}

} // namespace

Forecast forecastOf(std::vector<Outcome> const& outcomes, Manner manner)
{
    Forecast forecast;
    std::map<eDataTag, Json> wanted;
    for (auto const& outcome : outcomes) {
        if (outcome.result == Result::WouldStore)
            wanted[outcome.tag] = outcome.toStore();
    }
    forecast.set(wanted);
    for (int pass = 1; manner == Manner::Together && pass < storingPasses; ++pass) {
        wanted.clear();
        for (auto const& outcome : outcomes) {
            bool const counts = outcome.result == Result::WouldStore || outcome.result == Result::Unchanged;
            if (counts && isHeld(outcome.tag) && forecast.valueOf(outcome.tag) != outcome.toStore())
                wanted[outcome.tag] = outcome.toStore();
        }
        if (wanted.empty())
            break;
        forecast.set(wanted);
    }
    return forecast;
}

void refuseUndone(std::vector<Outcome>& outcomes, Manner manner)
{
    // What is unchanged may be undone by what is stored, and what is refused undoes nothing.
    for (auto const result : {Result::WouldStore, Result::Unchanged, Result::WouldStore}) {
        bool isSettled = false;
        for (std::size_t round = 0; !isSettled && round <= outcomes.size(); ++round) {
            isSettled = true;
            auto const forecast = forecastOf(outcomes, manner);
            for (auto& outcome : outcomes) {
                auto reason = outcome.result == result ? whyUndone(outcome, forecast, manner) : "";
                if (reason.empty())
                    continue;
                if (manner == Manner::Follow) {
                    auto const value = forecast.valueOf(outcome.tag);
                    if (value == outcome.wanted)
                        continue;
                    outcome = check(outcome.tag, textOf(value), {});
                } else {
                    outcome.result = Result::Refused;
                    outcome.reason = std::move(reason);
                }
                isSettled = false;
            }
        }
    }
}

Tags askedFor(std::vector<Outcome> const& outcomes)
{
    Tags asked;
    for (auto const& outcome : outcomes) {
        if (isGood(outcome.result) || outcome.result == Result::Unchanged)
            asked.insert(outcome.tag);
    }
    return asked;
}

Section foretold(Workbench& workbench, Forecast const& forecast, std::string name,
                 std::function<bool(eDataTag)> const& counts)
{
    Section section{std::move(name), Layout::Table, {"item", "old", "new"}, {}};
    bool const secrets = workbench.options().showSecrets;
    for (auto const& [tag, value] : forecast.changes()) {
        if (counts(tag))
            section.rows.push_back(
                {nameOf(tag), shown(tag, readValue(tag).value_or(Json()), secrets), shown(tag, value, secrets)});
    }
    return section;
}

void addForetold(Workbench& workbench, Report& report, Forecast const& forecast, Tags const& asked)
{
    report.sections.push_back(foretold(workbench, forecast, "changed", [&](eDataTag tag) { return asked.contains(tag); }));
    report.sections.back().title = "Would change:";
    report.sections.push_back(alsoChanged(workbench, forecast, asked));
}

Section alsoChanged(Workbench& workbench, Forecast const& forecast, Tags const& asked)
{
    return titled(foretold(workbench, forecast, alsoChangedName, [&](eDataTag tag) { return !asked.contains(tag); }));
}

Section alsoChanged(Snapshot const& before, Tags const& asked)
{
    return titled(before.section(alsoChangedName, {}, [&](eDataTag tag) { return !asked.contains(tag); }));
}

std::vector<eDataTag> wiped(Forecast const& forecast, Tags const& asked)
{
    std::vector<eDataTag> tags;
    for (auto const& [tag, value] : forecast.changes()) {
        auto const now = readValue(tag).value_or(Json());
        if (!asked.contains(tag) && now.is_string() && now != Json("") && now != defaultOf(tag) && !isOfRule(tag, now))
            tags.push_back(tag);
    }
    return tags;
}

void addWiped(Workbench& workbench, Report& report, std::vector<eDataTag> const& wiped)
{
    Section section{"wouldWipe", Layout::Table, {"item", "old"}, {}, "\nWould be wiped, which needs --yes:"};
    for (auto const tag : wiped)
        section.rows.push_back({nameOf(tag), shown(tag, readValue(tag).value_or(Json()), workbench.options().showSecrets)});
    if (!wiped.empty())
        report.sections.push_back(std::move(section));
}

void askToWipe(Report& report, std::vector<eDataTag> const& wiped)
{
    std::vector<std::string> names;
    std::ranges::transform(wiped, std::back_inserter(names), nameOf);
    report.question = fmt::format("wipes {}: go on?", fmt::join(names, ", "));
    report.fail(exitRefused, {"", fmt::format("would wipe {}; --yes does it, nothing was stored", fmt::join(names, ", "))});
}

} // namespace Tool
