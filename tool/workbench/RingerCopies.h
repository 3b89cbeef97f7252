// The library copies the general ringer into the rows of the ringing table that have no identifier: at each write of the table,
// and when mobility has it read anew. What a row cannot have is refused and logged each time, although nothing is lost; the
// stored table holds it all the same, so that reading a row that has an identifier by then refuses it once more. Unless
// somebody asked for a log, nobody is told: the validators foretell how many refusals there are, and so many messages are
// dropped.
#pragma once

#include "workbench/LogTap.h"
#include "workbench/Values.h"

#include <optional>

namespace Tool {

class Workbench;

/// Lives around one call of the library.
class RingerCopies {
public:
    /// Around its start.
    static RingerCopies atStart(Workbench& workbench) { return {workbench, true, false}; }

    /// Around a call that hands over the values `wanted`.
    static RingerCopies atChange(Workbench& workbench, TagTexts const& wanted);

    ~RingerCopies();
    RingerCopies(RingerCopies const&) = delete;
    RingerCopies& operator=(RingerCopies const&) = delete;

private:
    RingerCopies(Workbench& workbench, bool reads, bool copies);

    Workbench& m_workbench;
    bool const m_reads;  ///< the stored table
    bool const m_copies; ///< the general ringer
    std::optional<LogTap::Hold> m_hold;
};

} // namespace Tool
