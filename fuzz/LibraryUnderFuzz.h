// The whole library over the scripted platform, kept from input to input: what an input changed is set back, and the library
// starts anew when that fails.
#pragma once

#include "../tests/library/Sweep.h"
#include "Fuzz.h"

#include "ClientUtils.h"

namespace Fuzz {

/// Kept by the database, and changed by no table and no door opener.
inline bool isSingle(eDataTag tag)
{
    return keepingSchema(tag) != nullptr && !dependsOnOthers(tag);
}

class Library : public DataUpdateCallback {
public:
    using Cache = Media::MediaDataCache;

    /// The library as an input finds it.
    static Library& ready()
    {
        [[maybe_unused]] static bool const prepared = prepare();
        static std::unique_ptr<Library> library;
        if (!library || !library->setBack()) {
            library.reset();
            library = std::make_unique<Library>();
        }
        return *library;
    }

    Library()
    {
        platform.answerOrdinarily();
        platform.keepJournal(false);
        Cache::init(platform);
        Cache::registerCallback(heldTags(), this);
        m_base = snapshot();
    }
    ~Library() override { Cache::terminate(); }

    void onDataUpdate(BulkData& changes) override
    {
        for (auto const& [tag, item] : changes.getTagsValues())
            m_told[tag] = valueText(*item);
    }

    /// Held by the cache and not a table.
    bool holds(eDataTag tag) const { return m_base.contains(tag); }

    /// Hands the text to `use` as a value of the tag's type.
    template <class Use> bool with(eDataTag tag, std::string const& text, Use use)
    {
        m_touched.insert(tag);
        auto const type = Cache::getItemType(tag);
        return type == eDataItemTypeInt    ? use(tag, ClientUtils::stoi(text))
               : type == eDataItemTypeBool ? use(tag, ClientUtils::stob(text))
                                           : use(tag, text);
    }

    void add(BulkData& bulk, eDataTag tag, std::string const& text)
    {
        with(tag, text, [&](auto, auto const& value) { return bulk.addTagValue(tag, value, false); });
    }

    /// What holds after every operation.
    void check()
    {
        EXPECT_EQ(Scripted::Platform::heldLocks(), 0);
        EXPECT_EQ(platform.unscripted(), std::vector<std::string>{});
        platform.clearLogs();
        for (auto const& [tag, text] : m_told) {
            m_touched.insert(tag);
            EXPECT_EQ(presentText(tag), text) << "what clients were told last of " << tag;
            auto const& row = databaseRow(tag);
            if (row.schema == nullptr || row.isTable)
                continue;
            bool const secret = ClientUtils::isKnownPasswordDAS(*row.element);
            EXPECT_EQ(platform.databaseText(*row.schema, *row.element), secret ? Scripted::Platform::encrypted(text) : text)
                << "what the database keeps of " << tag;
        }
        m_told.clear();
    }

    Scripted::Platform platform;

private:
    bool setBack()
    {
        auto const isBack = [this](auto tag) { return !holds(tag) || presentText(tag) == m_base[tag]; };
        // More than once, since linked items change one another.
        for (int attempt = 0; attempt < 3; ++attempt) {
            BulkData base;
            for (auto const tag : std::set(m_touched))
                if (holds(tag))
                    add(base, tag, m_base[tag]);
            Cache::setDataBulk(base);
            check();
            if (std::all_of(m_touched.begin(), m_touched.end(), isBack)) {
                m_touched.clear();
                return true;
            }
        }
        return false;
    }

    DataTagValue_t m_base;
    DataTagValue_t m_told;
    std::set<eDataTag> m_touched;
};

} // namespace Fuzz
