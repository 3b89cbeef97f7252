// One command line while it is parsed and run. CommandLine.cpp runs it; Verbs.cpp says which verbs and options there are.
#pragma once

#include "Catalogue.h"
#include "CommandLine.h"
#include "Settings.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

namespace Tool {

/// The options live here because the parser writes into them.
class Command {
public:
    explicit Command(Workbench& workbench);
    int run(std::vector<std::string> words);
    std::vector<std::string> verbs();

private:
    using Verb = std::function<Report(Session&)>;

    CLI::App* add(std::string const& name, std::string const& help);
    /// A verb that needs the library.
    void onSession(CLI::App* verb, Verb action);
    void addGlobalOptions();
    void addSettings();
    void addCatalogue();
    void addManagement();
    void addTelephone();
    void addShell();

    Report assign(Session& session);
    /// The words ITEM=VALUE and what is wrong with them.
    Report assignments(std::vector<Assignment>& result) const;
    Report withAssignments(std::function<Report(std::vector<Assignment> const&)> const& action) const;
    Session& session();
    int render(Report const& report) const;

    struct OpenFailure {
        std::string reason;
    };

    Workbench& m_workbench;
    CLI::App m_app{"See, change and exercise the settings of a telephone's media process.", "mediadata"};
    std::function<Report()> m_action;
    bool m_runsShell = false;
    bool m_json;
    bool m_dryRun = false;
    bool m_watch = false;
    bool m_clear = false;
    bool m_showSecrets = false;
    std::string m_item;
    std::string m_file;
    std::string m_word;
    std::vector<std::string> m_items;
    CatalogueFormat m_format = CatalogueFormat::Tsv;
};

} // namespace Tool
