// The catalogue's records as a client iterates and indexes them.
#include "../Standard.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataValidator.h"

using namespace Data;
using Builder = DataCache::DataItemBuilder;

TEST(CatalogueRecords, HaveTwoStepsInEachChain)
{
    auto const& volume = Builder::dataItemDefaultTable[eDataTagRingerVolume];
    EXPECT_EQ(std::distance(volume.valueChain.begin(), volume.valueChain.end()), 2);
    EXPECT_EQ(std::size(volume.stringChain), 2U);
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

static_assert(!showsSourceOf<Builder>, "where items come from is the builder's own matter");
