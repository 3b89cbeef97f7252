// The catalogue as people and programs read it: every column of every row, in three formats: `catalogue`.
#include "verbs/Verbs.h"

#include "workbench/Accepted.h"
#include "workbench/Items.h"
#include "workbench/Values.h"

#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceOCMS.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <cstdint>
#include <utility>

namespace Tool::Verbs {

using namespace Data;

namespace {

struct CatalogueOptions {
    std::string format = "tsv"; ///< tsv, json or markdown
    General general;
};

using Builder = DataCache::DataItemBuilder;

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
                values.push_back(defaultOf(static_cast<eDataTag>(index)));
            else
                values.push_back(absentAsNull(std::move(cells[column])));
        }
        section.rows.push_back(std::move(values));
    }
    Report report{exitOk, {std::move(section)}};
    report.form = Report::Form::AsJson;
    return report;
}

/// One section "catalogue" with the rows of all tags, with 0 and the end.
Report run(CatalogueOptions const& options)
{
    if (options.general.json || options.format == "json")
        return json();
    return options.format == "markdown" ? markdown() : tsv();
}

} // namespace

Verb catalogueVerb()
{
    auto const options = std::make_shared<CatalogueOptions>();
    return {.name = "catalogue",
            .help = "Print the table of all settings",
            .arguments = {{.name = "--format",
                           .target = &options->format,
                           .help = "tsv, json or markdown",
                           .value = "FORMAT",
                           .choices = {"tsv", "json", "markdown"}}},
            .action = Alone([options](Console&) { return run(*options); }),
            .general = &options->general};
}

} // namespace Tool::Verbs
