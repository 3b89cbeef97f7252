// What surrounds one command: its streams, the directory it was given in, how its output may look, and what it may ask for.
// A command of this process has the process's own; one that came through the socket has its sender's.
#pragma once

#include "workbench/OtherTelephone.h"

#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace Tool {

/// A verb asks (read, passphrase) before it changes anything: a command from the socket begins anew when its sender has
/// answered.
class Console {
public:
    Console(std::ostream& forAnswers, std::ostream& forErrors) : out(forAnswers), err(forErrors) {}
    virtual ~Console() = default;
    Console(Console const&) = delete;
    Console& operator=(Console const&) = delete;

    /// The whole of a file, "-" for the standard input. False when it cannot be read or is longer than 16 MiB.
    virtual bool read(std::string const& file, std::string& text) const;

    /// Another data directory.
    virtual OtherTelephone readDirectory(std::string const& name) const;

    /// MEDIADATA_PASSPHRASE, or else one line that the user types without seeing it. Nothing when there is no terminal to ask at.
    virtual std::optional<std::string> passphrase(std::string const& prompt) const;

    /// Gets now what read(), readDirectory() and passphrase() answer later: other processes may need the data directory
    /// before it comes.
    void readAhead(std::string const& file);
    void readDirectoryAhead(std::string const& name);
    void askAhead(std::string const& prompt);

    /// Tells how far the command is; call it as often as you like. A terminal shows it from the second second on, and
    /// without it how long the command takes.
    virtual void progress(std::size_t done, std::size_t total);

    /// Other things are about to be written: no progress is shown from now on.
    void quiet() const;

    std::ostream& out;
    std::ostream& err;
    std::filesystem::path directory = {}; ///< file names are relative to it; empty: the process's own
    bool colourOut = false;
    bool colourErr = false;
    bool outIsTerminal = false; ///< which obeys control characters
    bool showsProgress = false;

private:
    friend class ProgressLine;
    void paint(std::string const& text) const;

    std::map<std::string, std::optional<std::string>> m_files; ///< nothing: could not be read
    std::map<std::string, OtherTelephone> m_directories;
    std::map<std::string, std::optional<std::string>> m_passphrases;

    mutable std::mutex m_mutex; ///< guards what follows and the writing of progress
    std::size_t m_done = 0;
    std::size_t m_total = 0;
    mutable bool m_quiet = true;
    mutable std::size_t m_width = 0;
};

/// Shows the progress of a console's command as long as it lives.
class ProgressLine {
public:
    explicit ProgressLine(Console& console);
    ~ProgressLine();
    ProgressLine(ProgressLine const&) = delete;
    ProgressLine& operator=(ProgressLine const&) = delete;

private:
    void run();

    Console& m_console;
    std::condition_variable m_end;
    bool m_ended = false; ///< under the console's mutex
    std::thread m_thread;
};

/// This process's streams.
Console& standardConsole();

/// Decides on colours: "always", "never", or "auto" for the streams that are terminals unless NO_COLOR is set.
void chooseColours(Console& console, std::string const& when);

} // namespace Tool
