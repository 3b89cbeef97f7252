#include "verbs/Mobility.h"

#include "workbench/Items.h"
#include "workbench/Management.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Tool {

using namespace Data;

Report mobility(Workbench& workbench, std::string const& type)
{
    constexpr std::array<std::string_view, 4> known{"", "all", "managed", "unmanaged"};
    if (std::find(known.begin(), known.end(), type) == known.end())
        return failure(exitUsage, type, "is no mobility type: all, managed, unmanaged or the empty text");
    return managementChanged(workbench, {{nameOf(eDataTagMobilityDataUpdate), type}});
}

} // namespace Tool
