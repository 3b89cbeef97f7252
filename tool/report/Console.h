// What surrounds one command: its streams, the directory it was given in, how its output may look, and where it gets what it
// needs beside its words. This one is the process's own; a command that came through the socket has its sender's.
#pragma once

#include "workbench/OtherTelephone.h"

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>

namespace Tool {

class ProgressLine;

/// A file's content, or why there is none.
struct FileContent {
    std::optional<std::string> text = {};
    std::string reason = "cannot be read";
};

class Console {
public:
    Console(std::ostream& forAnswers, std::ostream& forErrors) : out(forAnswers), err(forErrors) {}
    virtual ~Console() = default;
    Console(Console const&) = delete;
    Console& operator=(Console const&) = delete;

    /// The whole of a file, "-" for the standard input. None that is longer than 16 MiB.
    virtual FileContent read(std::string const& file);

    /// Another data directory.
    virtual OtherTelephone readDirectory(std::string const& name);

    /// MEDIADATA_PASSPHRASE, or else one line that the user types without seeing it. Nothing when there is no terminal to ask at.
    virtual std::optional<std::string> passphrase(std::string const& prompt);

    /// One line that the user types without seeing it or, without a terminal, of the standard input. Nothing at its end.
    virtual std::optional<std::string> secret(std::string const& prompt);

    /// Whether the user says yes. Nobody does when the standard input is no terminal.
    virtual bool confirm(std::string const& question);

    /// The answers above were not the true ones: the command's sender has to be asked first, and the command begins anew.
    virtual bool lacksInput() const { return false; }

    /// What was gathered for one command is not for the next.
    void forget();

    /// Other things are about to be written: no progress is shown from now on.
    void quiet();

    std::ostream& out;
    std::ostream& err;
    std::filesystem::path directory = {}; ///< file names are relative to it; empty: the process's own
    bool colourOut = false;
    bool colourErr = false;
    bool outIsTerminal = false; ///< which obeys control characters
    bool showsProgress = false;
    std::size_t columns = 80; ///< the width that text keeps to where it can
    bool showsAll = false;    ///< no value is cut at a terminal, either; elsewhere none ever is

    /// Everything that a command may need is got now, and kept for a holder that asks for it: while a command works, other
    /// processes may wait for the data directory.
    bool gathersAhead = false;

    /// Called when the changes that the command wants are followed; set where somebody is to be told.
    std::function<void()> whenReady = {};

private:
    friend class ProgressLine;

    std::map<std::string, FileContent> m_files;
    std::map<std::string, OtherTelephone> m_directories;
    std::map<std::string, std::optional<std::string>> m_passphrases;
    ProgressLine* m_progress = nullptr; ///< of the running command
};

/// This process's streams.
Console& standardConsole();

/// Decides on colours: "always", "never", or "auto" for the streams that are terminals unless NO_COLOR is set.
void chooseColours(Console& console, std::string const& when);

} // namespace Tool
