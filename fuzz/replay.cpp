// Runs a fuzz target over the files of the folders given, so that the ordinary tests repeat what fuzzing found, and over some
// variants of each: a short fuzz run that is the same everywhere.
#include "../tests/TemporaryDirectory.h"
#include "Fuzz.h"

namespace {

constexpr int variants = 100;

std::string present; ///< the input that is being run

void run(std::string const& text)
{
    present = text;
    LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(text.data()), text.size());
}

/// Some bytes changed, a part cut out or said twice.
std::string varied(std::string text)
{
    static std::minstd_rand random;
    auto const below = [](std::size_t bound) { return random() % (bound + 1); };
    for (auto count = below(3); !text.empty() && count < 4; ++count) {
        auto const from = below(text.size() - 1);
        switch (below(2)) {
        case 0:
            text[from] = static_cast<char>(below(255));
            break;
        case 1:
            text.erase(from, below(text.size() - from));
            break;
        default:
            text.insert(from, text.substr(from, below(text.size() - from)));
        }
    }
    return text;
}

} // namespace

int main(int argc, char** argv)
{
    std::set_terminate([] {
        std::cerr << "the input was:\n" << present << '\n';
        std::abort();
    });
    int files = 0;
    int inputs = 0;
    for (int i = 1; i < argc; ++i)
        for (auto const& entry : std::filesystem::directory_iterator(argv[i])) {
            std::cerr << entry.path().filename().string() << '\n';
            auto const text = contentOf(entry.path());
            run(text);
            ++files;
            for (int variant = 0; variant < variants; ++variant, ++inputs)
                run(varied(text));
        }
    std::cerr << files << " files and " << inputs << " variants of them\n";
    return files > 0 ? 0 : 1;
}
