// Documents for import. What stands before the first brace chooses: "import" stores, otherwise it is a dry run; "atomic";
// "secrets" opens the box with the sealed ones.
#include "ToolUnderFuzz.h"

#include "verbs/Passphrase.h"

#include "Tables/Tables.h"

using namespace Tool;
namespace Tables = Data::Tables;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto& tool = Fuzz::ToolUnderFuzz::ready();
    std::string const input(reinterpret_cast<char const*>(data), size);
    auto const begin = std::min(input.find('{'), size);
    auto const has = [head = input.substr(0, begin)](char const* word) { return head.find(word) != std::string::npos; };
    ImportOptions const options{.dryRun = !has("import"), .atomic = has("atomic"), .all = true};
    PassphraseOptions passphrase{.secrets = has("secrets"), .typed = "passphrase"};
    Document document;
    auto const report = readDocument("input", {input.substr(begin)}, passphrase, document);
    EXPECT_EQ(report.code == exitOk, report.problems.empty());
    if (report.code != exitOk)
        return 0;

    auto const account = importDocument(tool.workbench(), document, options);
    std::ostringstream out;
    renderJson(account, out);
    tool.check(account.code, input, out.str());
    EXPECT_TRUE(Json::accept(out.str())) << out.str();
    if (options.dryRun) {
        EXPECT_FALSE(tool.isChanged());
        return 0;
    }
    auto const now = tool.kept();
    EXPECT_EQ(now, options.atomic && account.code != exitOk ? tool.keptBefore() : now) << out.str();
    auto const& rows = account.sections.front().rows;
    EXPECT_GE(rows.size(), document.settings.size() + document.service.size() + document.unknown.size());
    auto row = rows.begin();
    for (auto const& [tag, value] : document.settings)
        // Ranks that are named move codecs.
        EXPECT_EQ(value, *(row++)->begin() == "stored" && !Tables::codecs.holds(tag) ? readValue(tag) : value)
            << nameOf(tag);
    Document again;
    EXPECT_EQ(parseDocument(now, "export", again).code, exitOk);
    EXPECT_EQ(textOf(again), now);
    return 0;
}
