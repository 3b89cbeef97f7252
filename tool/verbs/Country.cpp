#include "verbs/Country.h"

#include "workbench/Items.h"
#include "workbench/Management.h"
#include "workbench/Workbench.h"

#include "Media/MediaDataCache.h"

#include <utility>

namespace Tool {

using namespace Data;
using Media::MediaDataCache;

Report country(Workbench& workbench, std::optional<std::string> const& code)
{
    Report report;
    if (code) {
        report = managementChanged(workbench, {{nameOf(eDataTagCountry), *code}});
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

} // namespace Tool
