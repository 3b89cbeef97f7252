// The catalogue's records as a client iterates and indexes them.
#include "../Standard.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataValidator.h"

using namespace Data;
using Builder = DataCache::DataItemBuilder;

TEST(CatalogueRecords, HaveTwoStepsInEachChain)
{
    for (auto const& record : Builder::dataItemDefaultTable) {
        for (auto const& chain : {record.valueChain, record.stringChain}) {
            std::size_t steps = 0;
            for (auto const& step : chain) {
                EXPECT_EQ(&step, &chain[steps]) << record.tag;
                ++steps;
            }
            EXPECT_EQ(steps, 2U) << record.tag;
            EXPECT_EQ(std::size(chain), 2U) << record.tag;
        }
    }
    auto const& volume = Builder::dataItemDefaultTable[eDataTagRingerVolume];
    EXPECT_EQ(volume.valueChain[0].builder, &Builder::dataValidatorIntRange);
    EXPECT_EQ(volume.stringChain[0].builder, &Builder::dataValidatorStringAllDigits);
    EXPECT_EQ(volume.valueChain[1].builder, nullptr);
    std::unique_ptr<DataValidator> const built(Builder::buildValidatorChain(volume.valueChain));
    std::string reason;
    EXPECT_FALSE(built->validate(9, reason));
    EXPECT_EQ(std::size(Builder::DataItemRecord().valueChain), 0U) << "a record that nobody filled";
}

template <class T> constexpr bool showsSourceOf = requires
{
    T::sourceOf(eDataTagRingerVolume, false);
};

TEST(CatalogueRecords, KeepToThemselvesWhereItemsComeFrom)
{
    EXPECT_FALSE(showsSourceOf<Builder>);
}
