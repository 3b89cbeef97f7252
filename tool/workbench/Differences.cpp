#include "workbench/Differences.h"

#include "workbench/Items.h"
#include "workbench/Values.h"
#include "workbench/Workbench.h"

#include <utility>

namespace Tool {

namespace {

using Texts = std::map<std::string, std::string>;

Json valueIn(Texts const& texts, std::string const& name)
{
    auto const found = texts.find(name);
    return found == texts.end() ? Json() : Json(found->second);
}

/// Adds the names of which the two say different things.
void compareTexts(Section& section, std::string const& prefix, Texts const& other, Texts const& here)
{
    Texts names = other;
    names.insert(here.begin(), here.end());
    for (auto const& [name, ignored] : names) {
        if (valueIn(other, name) != valueIn(here, name))
            section.rows.push_back(
                {prefix + name, typedValue(name, valueIn(other, name)), typedValue(name, valueIn(here, name))});
    }
}

template <class T> Json orNull(std::optional<T> const& value)
{
    return value ? Json(*value) : Json();
}

} // namespace

Report diff(Workbench& workbench, Document const& other, std::string const& otherName)
{
    auto const here = documentOf(workbench);
    bool const secrets = workbench.options().showSecrets;
    Section section{"differences", Layout::Table, {"item", "other", "here"}, {}, "Differences from " + otherName + ":"};
    for (auto const& [tag, value] : here.settings) {
        auto const counterpart = other.settings.find(tag);
        if (counterpart != other.settings.end() && counterpart->second != value)
            section.rows.push_back({nameOf(tag), shown(tag, counterpart->second, secrets), shown(tag, value, secrets)});
    }
    if (other.model && other.model != here.model)
        section.rows.push_back({"device/model", orNull(other.model), orNull(here.model)});
    if (other.usb && other.usb != here.usb)
        section.rows.push_back({"device/usb", orNull(other.usb), orNull(here.usb)});
    if (other.flags)
        compareTexts(section, "flags/", *other.flags, *here.flags);
    compareTexts(section, "", other.service, here.service);
    Report report{exitOk, {std::move(section)}};
    addMissingSecrets(report, other);
    for (auto const& each : other.unknown)
        report.fail(exitUnknownItem, problemOf(each));
    return report;
}

} // namespace Tool
