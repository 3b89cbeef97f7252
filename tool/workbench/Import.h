// A whole configuration leaves and enters the telephone: `export` and `import`.
#pragma once

#include "report/Report.h"

#include <functional>
#include <optional>
#include <string>

namespace Tool {

class Workbench;
struct Document;

/// Asks for the passphrase; nothing when none can be had.
using Passphrase = std::function<std::optional<std::string>()>;

/// The document as text. Secrets stand in it in plain when the workbench shows secrets, otherwise sealed under `passphrase` if
/// there is one to ask, otherwise not at all.
Report exportDocument(Workbench& workbench, Passphrase const& passphrase);

struct ImportOptions {
    bool dryRun = false; ///< checks in the same way and writes nothing
    bool atomic = false; ///< stores nothing when one thing is refused or unknown
    bool all = false;    ///< accounts for what is unchanged, too, instead of only counting it
};

/// Reads the document's text; opens its sealed secrets when there is a passphrase to ask, else leaves them out and says so.
Report readDocument(std::string const& text, std::string const& fileName, Passphrase const& passphrase, Document& document);

/// Makes the telephone what the document says and accounts for every item of it.
Report importDocument(Workbench& workbench, Document const& document, ImportOptions options);

} // namespace Tool
