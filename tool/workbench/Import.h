// A whole configuration leaves and enters the telephone: `export` and `import`.
#pragma once

#include "report/Report.h"

#include <optional>
#include <string>

namespace Tool {

class Workbench;
struct Document;

/// The document as text. Secrets stand in it in plain when the workbench shows secrets, otherwise sealed under `passphrase` if
/// there is one, otherwise not at all.
Report exportDocument(Workbench& workbench, std::optional<std::string> const& passphrase);

struct ImportOptions {
    bool dryRun = false; ///< checks in the same way and writes nothing
    bool atomic = false; ///< stores nothing when one thing is refused or unknown
    bool yes = false;    ///< wipes texts that the document does not name; otherwise the report asks first
    bool all = false;    ///< accounts for what is unchanged, too, instead of only counting it
};

/// Makes the telephone what the document says and accounts for every item of it.
Report importDocument(Workbench& workbench, Document const& document, ImportOptions options);

} // namespace Tool
