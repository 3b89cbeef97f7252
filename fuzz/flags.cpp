// The flag file: the input is its content. A model of the file says which flags must have changed.
#include "LibraryUnderFuzz.h"

#include "Tables/SettingOptions.h"

namespace {

bool flag(eDataTag tag)
{
    bool value = false;
    EXPECT_TRUE(Fuzz::Library::Cache::getData(tag, value));
    return value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto& library = Fuzz::Library::ready();
    std::string base;
    for (auto const& [word, tag] : Tables::flagWords())
        base += std::string(word) + " false\n";
    std::map<std::string, std::string> told;
    for (std::string const& line : Fuzz::linesOf(data, size)) {
        std::istringstream words(line);
        std::string name, value;
        words >> name >> value;
        told[name] = value.empty() ? "true" : value;
    }
    for (std::string const& text : {base, std::string(reinterpret_cast<char const*>(data), size)}) {
        library.platform.flagFile(text);
        flag(eDataTagForceEtsi);
        library.check();
    }
    for (auto const& [word, tag] : Tables::flagWords())
        EXPECT_EQ(flag(tag), ClientUtils::stob(told[word])) << word;
    return 0;
}
