// The library copies the general ringer into the rows of the ringing table that have no identifier, at each write of the table.
// What a row cannot have is refused and logged each time, although nothing is lost; the stored table holds it all the same, so
// that a start that gives an emptied row its identifier back refuses it once more. Unless somebody asked for a log, nobody is
// told: the validators foretell how many refusals there are, and so many messages are dropped.
#pragma once

#include "workbench/LogTap.h"

#include "Data/DataTypes.h"

#include <optional>

namespace Tool {

class Workbench;

namespace RingerCopies {

/// Around the start of the library.
class AtStart {
public:
    explicit AtStart(Workbench& workbench);
    ~AtStart();
    AtStart(AtStart const&) = delete;
    AtStart& operator=(AtStart const&) = delete;

private:
    Workbench& m_workbench;
    std::optional<LogTap::Hold> m_hold;
};

/// Around the one write of the values `wanted`.
class AtWrite {
public:
    AtWrite(Workbench& workbench, Data::DataTagValue_t const& wanted);
    ~AtWrite();
    AtWrite(AtWrite const&) = delete;
    AtWrite& operator=(AtWrite const&) = delete;

private:
    std::optional<LogTap::Hold> m_hold;
};

} // namespace RingerCopies

} // namespace Tool
