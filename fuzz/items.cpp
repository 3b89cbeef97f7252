// Values of single items: through an item of its own, and through the cache one by one and in bulk. An input has a line
// "TAG=TEXT" for each value; a line "!" begins a further bulk, "!TAG=TEXT" is set by itself.
#include "LibraryUnderFuzz.h"

#include "Data/DataItem.h"

namespace {

/// A refused text changes nothing and says why; an accepted one reads again as the same.
void checkItem(eDataTag tag, std::string const& text)
{
    std::unique_ptr<DataItemBase> const item(DataCache::DataItemBuilder::createDataItem(tag, eDataSourceDB));
    std::string before;
    std::string after;
    std::string reason;
    item->getValueString(before);
    bool const taken = item->setValueString(text, reason);
    item->getValueString(after);
    EXPECT_EQ(taken, reason.empty()) << tag;
    if (!taken) {
        EXPECT_EQ(after, before) << tag << ": " << reason;
        return;
    }
    std::string again;
    EXPECT_TRUE(item->setValueString(after, reason)) << tag << ": " << reason;
    item->getValueString(again);
    EXPECT_EQ(again, after) << tag;
}

void setAll(Fuzz::Library& library, BulkData& bulk)
{
    bool const done = Fuzz::Library::Cache::setDataBulk(bulk);
    for (auto const& [tag, item] : bulk.getTagsValues())
        EXPECT_EQ(valueText(*item), done && Fuzz::isSingle(tag) ? presentText(tag) : valueText(*item)) << tag;
    library.check();
    bulk.clear();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto& library = Fuzz::Library::ready();
    BulkData bulk;
    for (std::string const& line : Fuzz::linesOf(data, size)) {
        bool const alone = line.starts_with('!');
        if (line == "!")
            setAll(library, bulk);
        auto const equals = line.find('=');
        auto const tag = static_cast<eDataTag>(std::atoi(line.c_str() + (alone ? 1 : 0)));
        if (equals == std::string::npos || !library.holds(tag))
            continue;
        std::string const text = line.substr(equals + 1);
        checkItem(tag, text);
        if (!alone) {
            library.add(bulk, tag, text);
            continue;
        }
        std::string const before = presentText(tag);
        auto const set = [](auto key, auto const& value) { return Fuzz::Library::Cache::setData(key, value, true); };
        bool const isRefused = !library.with(tag, text, set);
        EXPECT_EQ(before, isRefused && Fuzz::isSingle(tag) ? presentText(tag) : before) << tag << " was refused";
        library.check();
    }
    setAll(library, bulk);
    return 0;
}
