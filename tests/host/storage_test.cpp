// What the host's storage promises beyond the conformance suite: tables whole through a kill at any row, damaged files
// mended.
#include "HostTest.h"

#include "Database.h"
#include "Semaphore.h"

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

namespace {

/// Row `row` of version `version` of the SRTP table: its rank cell deliberately does not tell the row.
std::string row(int version, int number)
{
    return "<Method>" + std::to_string(version) + "</Method><Rank>" + std::to_string(5 - number) +
           "</Rank><Allowed>true</Allowed>";
}

std::string table(int version)
{
    std::string text = "<Schema name=\"SRTPEncryptionSettings\">";
    for (int number = 0; number < 5; ++number)
        text += "<Entry>" + row(version, number) + "</Entry>";
    return text + "</Schema>";
}

/// Writes rows `from` to 4; the answer of the last call.
bool writeRows(DataStorage& storage, int version, int from = 0)
{
    bool last = false;
    for (int number = from; number < 5; ++number)
        last = storage.setDataItems(row(version, number));
    return last;
}

class HostStorageTest : public HostTest {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(open()) << m_error;
        m_table = std::make_unique<DataStorage>(*m_platform, "SRTPEncryptionSettings");
        ASSERT_TRUE(writeRows(*m_table, 1));
    }

    std::string readTable() { return m_table->getDataItem("", 0); }

    std::unique_ptr<DataStorage> m_table;
};

/// Overwrites a part of a file; a negative offset counts from its end.
void damage(std::string const& path, std::int64_t offset, std::string const& bytes)
{
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(offset, offset < 0 ? std::ios::end : std::ios::beg);
    file << bytes;
}

} // namespace

TEST_F(HostStorageTest, aTableKeepsItsRowsInOrderThroughARestart)
{
    DataStorage ringing(*m_platform, "DistinctiveRinging");
    std::string expected;
    for (int i = 0; i < 15; ++i) {
        std::string const entry = "<Entry><DistinctiveRingerIndex>" + std::to_string(i) +
                                  "</DistinctiveRingerIndex><AlertIdentifier>a &amp; b</AlertIdentifier></Entry>";
        expected += entry;
        ASSERT_TRUE(ringing.setDataItems(entry));
    }
    ASSERT_TRUE(open());
    EXPECT_EQ(read("DistinctiveRinging", ""), "<Schema name=\"DistinctiveRinging\">" + expected + "</Schema>");
    EXPECT_EQ(read("SRTPEncryptionSettings", ""), table(1));
}

TEST_F(HostStorageTest, aKillBetweenAnyTwoRowsLeavesThePreviousTableAndALaterOneTheNew)
{
    for (int rows = 1; rows <= 5; ++rows) {
        m_table.reset();
        close();
        pid_t const child = ::fork();
        if (child == 0) {
            bool done = open();
            DataStorage storage(*m_platform, "SRTPEncryptionSettings");
            for (int number = 0; number < rows; ++number)
                done = storage.setDataItems(row(2, number)) && done;
            if (done)
                ::raise(SIGKILL);
            ::_exit(1);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status));
        ASSERT_TRUE(open()) << m_error;
        EXPECT_EQ(read("SRTPEncryptionSettings", ""), table(rows < 5 ? 1 : 2)) << "after " << rows << " rows";
    }
}

TEST_F(HostStorageTest, aRefusedRowSpoilsItsTableOnlyAndTheNextWritingBeginsAtItsFirstRow)
{
    for (int bad = 0; bad < 5; ++bad) {
        bool last = true;
        for (int number = 0; number < 5; ++number)
            last = m_table->setDataItems(number == bad ? "<Method>1</Rank>" : row(2, number));
        EXPECT_FALSE(last) << "row " << bad;
        EXPECT_EQ(readTable(), table(1)) << "row " << bad;
        EXPECT_TRUE(writeRows(*m_table, 1));
    }
    EXPECT_EQ(readTable(), table(1));
}

TEST_F(HostStorageTest, anUnfinishedTableIsForgottenWhenTheCacheTakesItsLockAgain)
{
    Semaphore cacheLock(1, 1, true);
    cacheLock.take(-1);
    for (int number = 0; number < 3; ++number)
        EXPECT_TRUE(m_table->setDataItems(row(2, number)));
    cacheLock.give();
    cacheLock.take(-1);
    EXPECT_TRUE(writeRows(*m_table, 3));
    cacheLock.give();
    EXPECT_EQ(readTable(), table(3));
}

TEST_F(HostStorageTest, whatIsNotOneRowIsRefused)
{
    for (std::string const fragment :
         {"", " ", "text", "<a>1</a>text", "<a>", "<Entry></Entry>", "<Entry><a/></Entry><Entry><a/></Entry>",
          "</Entry><Entry><a/>", "</Schema><Schema><a/>", "<!DOCTYPE a><a/>", "<a>&x;</a>"}) {
        DataStorage storage(*m_platform, "HeadsetPriorities");
        EXPECT_FALSE(storage.setDataItems(fragment)) << fragment;
    }
    EXPECT_FALSE(DataStorage(*m_platform, "AudioSettings").setDataItems(row(1, 0))) << "this schema holds no table";
    EXPECT_EQ(read("HeadsetPriorities", ""), "failure");
}

namespace {

/// A way to damage the file, and how many of the 400 values may be lost with it.
struct DamageCase {
    char const* name;
    void (*damage)(std::string const& path);
    int atMostLost;
};

class HostDamageTest : public HostStorageTest, public testing::WithParamInterface<DamageCase> {};

std::string valueOf(int number)
{
    return std::to_string(number) + std::string(200, 'v');
}

} // namespace

TEST_P(HostDamageTest, isSetAsideAndEveryReadableRowBroughtOver)
{
    constexpr int count = 400;
    std::vector<Host::StoredItem> items;
    for (int i = 0; i < count; ++i)
        items.push_back({"Many", "element" + std::to_string(i), valueOf(i)});
    ASSERT_TRUE(m_platform->database().write(items, {}));
    m_table.reset();
    close();
    ASSERT_FALSE(std::filesystem::exists(pathOf("mediadata.db-wal"))) << "a clean close leaves the file alone";
    GetParam().damage(pathOf("mediadata.db"));

    ASSERT_TRUE(open()) << m_error;
    int lost = 0;
    std::string const report = testing::PrintToString(m_platform->notices());
    for (int i = 0; i < count; ++i) {
        std::string const value = read("Many", "element" + std::to_string(i));
        if (value == "failure") {
            ++lost;
            EXPECT_TRUE(report.find("lost: Many/element" + std::to_string(i)) != std::string::npos ||
                        report.find("no longer be read") != std::string::npos || report.find("further") != std::string::npos)
                << i;
        } else {
            EXPECT_EQ(value, valueOf(i));
        }
    }
    EXPECT_LE(lost, GetParam().atMostLost) << report;
    EXPECT_EQ(lost == 0, report.find("nothing was lost") != std::string::npos) << report;
    EXPECT_NE(report.find("set aside as mediadata.db.damaged-1"), std::string::npos) << report;
    EXPECT_TRUE(std::filesystem::exists(pathOf("mediadata.db.damaged-1")));
    ASSERT_TRUE(write("Many", "after", "mending"));
    ASSERT_TRUE(open());
    EXPECT_EQ(read("Many", "after"), "mending");
    EXPECT_TRUE(m_platform->notices().empty());
}

INSTANTIATE_TEST_SUITE_P(
    aDamagedDatabase, HostDamageTest,
    testing::Values(DamageCase{"header", [](std::string const& path) { damage(path, 0, std::string(100, '#')); }, 0},
                    DamageCase{"firstPage", [](std::string const& path) { damage(path, 0, std::string(4096, '\0')); }, 0},
                    DamageCase{"index", [](std::string const& path) { damage(path, 2 * 4096, std::string(4096, '\xff')); },
                               0},
                    DamageCase{"twoPagesInTheMiddle",
                               [](std::string const& path) {
                                   damage(path, 9 * 4096, std::string(4096, '\xff'));
                                   damage(path, 15 * 4096, std::string(4096, '\xff'));
                               },
                               60},
                    DamageCase{"cutOff",
                               [](std::string const& path) {
                                   std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2 / 4096 * 4096);
                               },
                               300},
                    DamageCase{"empty", [](std::string const& path) { std::filesystem::resize_file(path, 0); }, 400},
                    DamageCase{"oneByte", [](std::string const& path) { std::filesystem::resize_file(path, 1); }, 400},
                    DamageCase{"anotherFormat", [](std::string const& path) { std::ofstream(path) << "volume=5\n"; }, 400}),
    [](auto const& each) { return each.param.name; });

TEST_F(HostStorageTest, aLogWithoutItsDatabaseIsNotMixedIntoANewOne)
{
    ASSERT_TRUE(write("AudioSettings", "RingerVolume", "3"));
    std::filesystem::copy_file(pathOf("mediadata.db-wal"), m_parent + "/log");
    m_table.reset();
    close();
    std::filesystem::remove(pathOf("mediadata.db"));
    std::filesystem::copy_file(m_parent + "/log", pathOf("mediadata.db-wal"));
    ASSERT_TRUE(open()) << m_error;
    EXPECT_EQ(read("AudioSettings", "RingerVolume"), "failure");
    EXPECT_EQ(m_platform->notices().size(), 1U);
}

TEST_F(HostStorageTest, anInterruptedMendingIsCarriedOn)
{
    m_table.reset();
    close();
    std::filesystem::rename(pathOf("mediadata.db"), pathOf("mediadata.db.mended"));
    std::ofstream(pathOf("mediadata.db")) << "damaged";
    ASSERT_TRUE(open()) << m_error;
    EXPECT_EQ(read("SRTPEncryptionSettings", ""), table(1));
    EXPECT_TRUE(std::filesystem::exists(pathOf("mediadata.db.damaged-1")));
}
