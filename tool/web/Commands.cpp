#include "web/Commands.h"

#include "cli/Answer.h"
#include "workbench/Journal.h"

#include <array>
#include <cstdint>
#include <sstream>
#include <utility>

#include <malloc.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Tool::Web {

namespace {

/// Has what came with the request and nothing else: no file of this host's, no question.
class PageConsole : public Console {
public:
    PageConsole(Command const& command, std::ostream& forAnswers, std::ostream& forErrors)
        : Console(forAnswers, forErrors), m_command(command)
    {}

    FileContent read(std::string const& file) override
    {
        return file == "-" ? FileContent{m_command.document} : FileContent{{}, "is no file of the page's"};
    }
    OtherTelephone readDirectory(std::string const&) override { return {exitUsage, "is no directory of the page's"}; }
    std::optional<std::string> passphrase(std::string const&) override
    {
        return m_command.passphrase.empty() ? std::nullopt : std::optional(m_command.passphrase);
    }
    std::optional<std::string> secret(std::string const&) override { return std::nullopt; }
    bool confirm(std::string const& question) override
    {
        asked = question;
        return false;
    }

    std::string asked; ///< what was not confirmed

private:
    Command const& m_command;
};

constexpr std::size_t longAnswer = 65536;

/// In the order of the exit statuses.
constexpr std::array statuses{200, 500, 400, 404, 422, 507};

/// The reasons of a report's errors.
std::string detailOf(Json const& report)
{
    std::string detail;
    for (auto const& error : report.value("errors", Json::array()))
        detail += (detail.empty() ? "" : "; ") + (error["item"].is_string() ? error["item"].get<std::string>() + ": " : "") +
                  error["reason"].get<std::string>();
    return detail.empty() ? "the command failed" : detail;
}

} // namespace

Commands::Commands(Threads::Mutex& turn)
    : m_turn(turn), m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), m_thread([this] { work(); })
{}

Commands::~Commands()
{
    {
        Threads::Lock const held(m_mutex);
        m_ending = true;
    }
    m_wanted.notifyOne();
    m_thread.join();
}

void Commands::post(Work work)
{
    Threads::Lock const held(m_mutex);
    m_waiting.push_back(std::move(work));
    m_wanted.notifyOne();
}

void Commands::work()
{
    Threads::Lock held(m_mutex);
    while (!m_ending) {
        if (m_waiting.empty()) {
            m_wanted.wait(held);
            continue;
        }
        auto const next = std::move(m_waiting.front());
        m_waiting.pop_front();
        held.unlock();
        Done done;
        {
            Threads::Lock const turn(m_turn);
            done = next();
        }
        held.lock();
        m_done.push_back(std::move(done));
        std::uint64_t const one = 1;
        [[maybe_unused]] auto const written = ::write(m_event.get(), &one, sizeof one);
    }
}

void Commands::finish()
{
    std::deque<Done> done;
    {
        Threads::Lock const held(m_mutex);
        std::uint64_t count = 0;
        [[maybe_unused]] auto const taken = ::read(m_event.get(), &count, sizeof count);
        done = std::exchange(m_done, {});
    }
    for (auto const& each : done)
        each();
}

Answer run(Invocation const& holder, Command const& command)
{
    std::ostringstream out;
    std::ostringstream err;
    PageConsole console(command, out, err);
    std::shared_ptr<Watcher> watcher;
    Sender const sender{userName(::geteuid()), "mediadata-web", "page"};
    int const status = runFor(holder, sender, console, command.words, watcher);
    if (status == exitOk) {
        auto text = std::move(out).str();
        if (text.size() > longAnswer)
            ::malloc_trim(0); // What it was made of was a multiple of it, and this thread's arena would keep that.
        return {200, std::move(text), "application/json", {}};
    }
    auto report = Json::parse(out.str(), nullptr, false);
    if (!report.is_object())
        return problem(500, "the command gave no answer");
    Json more;
    if (!console.asked.empty())
        more["question"] = console.asked;
    auto const detail = detailOf(report);
    more["report"] = std::move(report);
    int const refused = console.asked.empty() ? command.refused : 409;
    return problem(status == exitRefused ? refused : statuses.at(static_cast<std::size_t>(status)), detail, more);
}

} // namespace Tool::Web
