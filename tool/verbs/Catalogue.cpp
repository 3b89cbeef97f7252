#include "verbs/Catalogue.h"

#include "workbench/Items.h"

#include "Data/DataSourceDB.h"
#include "Data/DataSourceOCMS.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <cstdint>
#include <utility>

namespace Tool::Verbs::Catalogue {

using namespace Data;

namespace {

using Builder = DataCache::DataItemBuilder;

struct NamedBuilder {
    Builder::ValidatorBuilder builder;
    char const* name;
    bool hasParameters;
};

constexpr NamedBuilder builders[]{
    {&Builder::dataValidatorIntRange, "IntRange", true},
    {&Builder::dataValidatorIntRangeNot, "IntRangeNot", true},
    {&Builder::dataValidatorBasePort, "BasePort", true},
    {&Builder::dataValidatorStringLength, "StringLength", true},
    {&Builder::dataValidatorStringsAllowed, "StringsAllowed", true},
    {&Builder::dataValidatorStringAllDigits, "StringAllDigits", false},
    {&Builder::dataValidatorStringNoWhitespace, "StringNoWhitespace", false},
    {&Builder::dataValidatorStringBoolean, "StringBoolean", false},
};

std::string stepText(Builder::ValidatorAndParams const& step)
{
    for (auto const& known : builders) {
        if (known.builder != step.builder)
            continue;
        if (!known.hasParameters)
            return known.name;
        // A list of allowed texts has commas of its own; its separator comes after a bar.
        auto const* const between = known.builder == &Builder::dataValidatorStringsAllowed ? "|" : ",";
        return fmt::format("{}({}{}{})", known.name, step.params[0].text, between, step.params[1].text);
    }
    return "?";
}

constexpr std::array columns{"tag",         "type",   "default", "component", "userData",    "secondFlag",     "valueChain",
                             "stringChain", "schema", "element", "isTable",   "parentTable", "managementItem", "subItem"};

std::string nameText(std::string const* name)
{
    return name ? *name : "-";
}

std::array<std::string, columns.size()> row(std::size_t index)
{
    auto const& record = Builder::dataItemDefaultTable[index];
    auto const& database = DataSourceDB::dataDbDescriptionTable[index];
    auto const& management = DataSourceOCMS::dataOCMSDescriptionTable[index];
    auto const flag = [](bool value) { return std::string(value ? "1" : "0"); };
    return {std::to_string(index),
            typeName(record.value.type),
            record.value.text,
            std::to_string(record.component),
            flag(record.isUserData),
            flag(record.secondFlag),
            chainText(record.valueChain),
            chainText(record.stringChain),
            nameText(database.schema),
            nameText(database.element),
            flag(database.isTable),
            std::to_string(database.parentTable),
            nameText(management.item),
            nameText(management.subItem)};
}

Report asText(std::string text)
{
    Report report;
    report.sections.push_back({"catalogue", Layout::Text, {"text"}, {{std::move(text)}}});
    return report;
}

Report markdown()
{
    std::string text = fmt::format("| {} |\n|", fmt::join(columns, " | "));
    for (std::size_t column = 0; column < columns.size(); ++column)
        text += "---|";
    text += '\n';
    for (std::size_t index = 0; index < Builder::recordCount; ++index) {
        auto cells = row(index);
        for (auto& cell : cells) {
            for (auto bar = cell.find('|'); bar != std::string::npos; bar = cell.find('|', bar + 2))
                cell.insert(bar, 1, '\\');
        }
        text += fmt::format("| {} |\n", fmt::join(cells, " | "));
    }
    return asText(std::move(text));
}

Report tsv()
{
    std::string text;
    for (std::size_t index = 0; index < Builder::recordCount; ++index)
        text += fmt::format("{}\n", fmt::join(row(index), "\t"));
    return asText(std::move(text));
}

Json absentAsNull(std::string text)
{
    return text == "-" ? Json() : Json(std::move(text));
}

Report json()
{
    Section section{"catalogue", Layout::Table, {columns.begin(), columns.end()}, {}};
    for (std::size_t index = 0; index < Builder::recordCount; ++index) {
        auto cells = row(index);
        std::vector<Json> values;
        for (std::size_t column = 0; column < columns.size(); ++column) {
            std::string_view const name = columns[column];
            if (name == "tag" || name == "component" || name == "parentTable")
                values.emplace_back(std::stoi(cells[column]));
            else if (name == "userData" || name == "secondFlag" || name == "isTable")
                values.emplace_back(cells[column] == "1");
            else if (name == "default")
                values.emplace_back(std::move(cells[column]));
            else
                values.push_back(absentAsNull(std::move(cells[column])));
        }
        section.rows.push_back(std::move(values));
    }
    Report report{exitOk, {std::move(section)}};
    report.form = Report::Form::AsJson;
    return report;
}

} // namespace

std::string chainText(Builder::ValidatorAndParams const* chain)
{
    constexpr std::size_t steps = 2;
    std::string text;
    for (std::size_t step = 0; chain && step < steps; ++step) {
        if (chain[step].builder)
            text += (text.empty() ? "" : "+") + stepText(chain[step]);
    }
    return text.empty() ? "-" : text;
}

Report run(Options const& options)
{
    if (options.general.json || options.format == "json")
        return json();
    return options.format == "markdown" ? markdown() : tsv();
}

Verb verb()
{
    auto const options = std::make_shared<Options>();
    return {.name = "catalogue",
            .help = "Print the table of all settings",
            .arguments = {{.name = "--format",
                           .target = &options->format,
                           .help = "tsv, json or markdown",
                           .value = "FORMAT",
                           .choices = {"tsv", "json", "markdown"}}},
            .action = alone(options),
            .general = &options->general};
}

} // namespace Tool::Verbs::Catalogue
