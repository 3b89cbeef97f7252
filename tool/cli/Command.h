// One command line while it is parsed and run. CommandLine.cpp runs it; Verbs.cpp says which verbs and options there are.
#pragma once

#include "cli/CommandLine.h"
#include "holder/Server.h"
#include "verbs/Catalogue.h"
#include "workbench/Assignment.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tool {

/// The options live here because the parser writes into them.
class Command {
public:
    explicit Command(Invocation& invocation);
    int run(std::vector<std::string> words);
    std::vector<std::string> verbs() const;
    std::vector<OptionName> options(std::vector<std::string> const& verbs) const;

private:
    using Verb = std::function<Report(Workbench&)>;

    CLI::App* add(std::string const& name, std::string const& help);
    /// A verb that needs the library.
    void onWorkbench(CLI::App* verb, Verb action);
    /// A verb that changes something, which the history tells as done by `who`.
    void onChange(CLI::App* verb, std::string who, Verb action);
    void addGlobalOptions();
    void addSettings();
    void addConfiguration();
    void addCatalogue();
    void addManagement();
    void addTelephone();
    void addHolders();

    Report assign(Workbench& workbench);
    Report exportTo(Workbench& workbench);
    Report importFrom(Workbench& workbench);
    Report compare(Workbench& workbench);
    /// Reads what the user gives beside the words before another process is kept out of the data directory.
    void gatherInput();
    /// The file of `diff` is a data directory, and not this one.
    bool isOtherDirectory() const;
    /// Where --secrets gets its passphrase; empty without --secrets.
    std::function<std::optional<std::string>()> passphrase() const;
    /// The words ITEM=VALUE and what is wrong with them.
    Report assignments(std::vector<Assignment>& result) const;
    Report withAssignments(std::function<Report(std::vector<Assignment> const&)> const& action) const;
    Workbench& workbench();
    /// Opens the data directory, unless another process serves it and runs the command instead (Answered).
    void reach();
    std::unique_ptr<Server> startServer();
    int shell();
    int serve();
    int watch();
    int render(Report const& report) const;
    /// Verbs or options that may have been meant.
    std::vector<std::string> wordsNear(std::string const& word) const;

    struct BadInput {
        std::string file;
        std::string reason;
    };
    struct OpenFailure {
        std::string reason;
    };
    /// The holder of the data directory has run the command.
    struct Answered {
        int status;
    };

    Invocation& m_invocation;
    CLI::App m_app{"See, change and exercise the settings of a telephone's media process.", "mediadata"};
    std::function<Report()> m_action;
    std::function<int()> m_process; ///< in the place of an action: a verb that goes on until it is ended
    bool m_holds = false;           ///< it needs the data directory for itself
    std::vector<std::string> m_words;
    std::string m_colour = "auto";
    bool m_json;
    bool m_dryRun = false;
    bool m_watch = false;
    bool m_clear = false;
    bool m_atomic = false;
    bool m_changedOnly = false;
    bool m_secrets = false;
    bool m_commands = false;
    std::string m_passphraseFile;
    std::size_t m_limit = 100;
    bool m_showSecrets = false;
    std::string m_item;
    std::string m_file;
    std::string m_word;
    std::vector<std::string> m_items;
    std::size_t m_count = 0;
    std::size_t m_seconds = 0;
};

} // namespace Tool
