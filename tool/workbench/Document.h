// A telephone's configuration as one document: what export writes, import reads and diff compares.
#pragma once

#include "report/Report.h"

#include "Data/DataTypes.h"

#include "secrets/PassphraseBox.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Tool {

class Workbench;

struct Document {
    /// Something that was given under a name that nothing has, or not in this place. Its value may be a secret.
    struct Unknown {
        std::string name;
        std::string reason;
        std::vector<std::string> near = {}; ///< names that may have been meant
        std::string place = {};             ///< the file's name, line and column
    };

    std::map<Data::eDataTag, Json> settings;    ///< single settings, cells of tables, secrets
    std::map<std::string, std::string> service; ///< what the management service holds for other components
    std::set<std::string> withdrawn;            ///< what it is to hold no longer; an export never says so
    std::optional<std::map<std::string, std::string>> flags;
    std::optional<std::string> model;
    std::optional<bool> usb;
    std::optional<Host::PassphraseBox> secrets; ///< the secrets when they are sealed, and then not among the settings
    std::vector<Unknown> unknown;
};

Problem problemOf(Document::Unknown const& unknown);

/// What this telephone keeps, as its next start will read it: the rows of ranked tables in the order of their ranks, the cells
/// of ringing rows without an identifier left out, since they follow the general ringer. Secrets in plain.
Document documentOf(Workbench& workbench);

/// A telephone on which nothing was ever changed.
Document defaultDocument();

/// The secrets go into a box, so that `document` has none in plain. False when the machine cannot.
bool seal(Document& document, std::string const& passphrase);

/// The secrets come out of the box and among the settings. The report says why not.
Report unseal(Document& document, std::string const& passphrase);

/// Takes the secrets out; says how many had a value.
std::size_t dropSecrets(Document& document);

/// The section "missingSecrets": those that the document does not have although it has others of their schema, and what they
/// are here. Added when there is anything of it.
void addMissingSecrets(Report& report, Document const& document);

/// The text of the document, indented, with a line end.
std::string textOf(Document const& document);

/// Reads a document; `report` names the place of what is wrong, and the document is then not to be used.
Report parseDocument(std::string const& text, std::string const& fileName, Document& document);

} // namespace Tool
