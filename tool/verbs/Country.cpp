#include "verbs/Country.h"

#include "workbench/Items.h"
#include "workbench/Management.h"
#include "workbench/Workbench.h"

#include "Media/MediaDataCache.h"

#include <utility>

namespace Tool::Verbs::Country {

using namespace Data;
using Media::MediaDataCache;

Report run(Options const& options, Workbench& workbench)
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

Verb verb()
{
    auto const options = std::make_shared<Options>();
    return {.name = "country",
            .help = "Show the country, or report a new one",
            .arguments = {{.name = "CODE", .target = &options->code, .help = "Two capital letters, as of ISO 3166-1"}},
            .changesAs = "management",
            .action = onWorkbench(options)};
}

} // namespace Tool::Verbs::Country
