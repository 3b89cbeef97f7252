// The country and what it means: `country`.
#include "verbs/Verbs.h"

#include "workbench/Items.h"
#include "workbench/Management.h"
#include "workbench/Workbench.h"

#include "Media/MediaDataCache.h"

#include <utility>

namespace Tool::Verbs {

using namespace Data;
using Media::MediaDataCache;

namespace {

struct CountryOptions {
    std::optional<std::string> code; ///< two capital letters; is reported as the new country first
};

Report run(CountryOptions const& options, Workbench& workbench)
{
    Report report;
    if (options.code) {
        report = managementChanged(workbench, {{nameOf(eDataTagCountry), *options.code}});
        if (report.code != exitOk)
            return report;
    }
    auto const known = MediaDataCache::getCountry();
    Section section{"country", Layout::Pairs, {"code", "number", "region"}, {{}}};
    section.rows.front() = {readValue(eDataTagCountry).value_or(Json()),
                            known == eCountryUnknown ? Json() : Json(static_cast<int>(known)),
                            MediaDataCache::getCountryRegion()};
    report.sections.push_back(std::move(section));
    if (known == eCountryUnknown)
        report.notes.emplace_back("This code is no known country.");
    return report;
}

} // namespace

Verb countryVerb()
{
    auto const options = std::make_shared<CountryOptions>();
    return {.name = "country",
            .help = "Show the country, or report a new one",
            .arguments = {{.name = "CODE", .target = &options->code, .help = "Two capital letters, as of ISO 3166-1"}},
            .changesAs = "management",
            .action = onWorkbench(options),
            .onlyReads = [options] { return !options->code; }};
}

} // namespace Tool::Verbs
