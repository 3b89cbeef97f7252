// The management record, and how the management service is found.
#include "LocalMgmtIfc.h"
#include "ManageableData.h"
#include "PlatformUnderTest.h"

TEST(ManagementRecord, ASubItemHasAValueOnlyOnceOneWasStored)
{
    ManageableData record;
    std::string value = "untouched";
    record.setRootId("volume", nullptr);
    record.populate("volume", "volume");
    EXPECT_FALSE(record.interogate("volume", "volume", value));
    EXPECT_FALSE(record.interogate("unknown", "unknown", value));
    EXPECT_EQ(value, "untouched");

    record.populate("volume", "volume", "");
    EXPECT_TRUE(record.interogate("volume", "volume", value));
    EXPECT_EQ(value, "");

    record.populate("volume", "volume", "5");
    record.populate("volume", "volume");
    EXPECT_TRUE(record.interogate("volume", "volume", value));
    EXPECT_EQ(value, "5") << "naming a sub-item keeps its value";
    EXPECT_EQ(record.entries().size(), 1u);
}

TEST(ManagementService, IsFoundByItsNameAndLeavesUnknownSubItemsWithoutValue)
{
    auto const platform = PlatformUnderTest::make();
    EXPECT_EQ(platform->context().findService("NoSuchService"), nullptr);
    auto* const service = dynamic_cast<LocalMgmtIfc*>(platform->context().findService("LocalMgmtIfc"));
    ASSERT_NE(service, nullptr);

    ManageableData record;
    std::string value;
    record.setRootId("no-such-item", nullptr);
    record.populate("no-such-item", "no-such-item");
    EXPECT_TRUE(service->readData(record));
    EXPECT_FALSE(record.interogate("no-such-item", "no-such-item", value));
}
