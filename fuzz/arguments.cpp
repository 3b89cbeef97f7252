// The words of the tool, one in each line of an input; what follows an empty line is every file that the command reads.
#include "ToolUnderFuzz.h"

namespace {

class FilesConsole : public Tool::Console {
public:
    FilesConsole(std::ostream& forAnswers, std::ostream& forErrors, std::string text)
        : Console(forAnswers, forErrors), m_text(std::move(text))
    {}

    Tool::FileContent read(std::string const&) override { return {m_text}; }
    std::optional<std::string> passphrase(std::string const&) override { return m_text; }

private:
    std::string m_text;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto& tool = Fuzz::ToolUnderFuzz::ready();
    std::string const input(reinterpret_cast<char const*>(data), size);
    auto const end = std::min(input.find("\n\n"), size);
    auto const words = Fuzz::linesOf(data, end);
    std::ostringstream out;
    std::ostringstream err;
    FilesConsole console(out, err, input.substr(std::min(end + 2, size)));
    auto bench = tool.invocation;
    console.directory = bench.options.dataDirectory;
    bench.console = &console;
    bool const completes = !words.empty() && words.front() == "complete";
    bench.place = completes ? Tool::Place::Process : Tool::Place::Holder; // no threads for progress, no holding
    int const status = Tool::runCommand(bench, words);
    tool.check(status, input, out.str() + err.str());
    auto const has = [&](char const* word) { return std::find(words.begin(), words.end(), word) != words.end(); };
    bool const isPlain = completes || out.str().find("Usage: mediadata") != std::string::npos ||
                         out.str().starts_with("mediadata "); // completions, help, version
    // The last one counts: "--json=0" takes it back.
    bool const isJson =
        has("--json") && std::ranges::none_of(words, [](auto const& word) { return word.starts_with("--json="); });
    bool const isAnswer = isJson && !isPlain && !has("--") && !out.str().empty();
    EXPECT_TRUE(isAnswer ? Tool::Json::accept(out.str()) : true) << out.str();
    return 0;
}
