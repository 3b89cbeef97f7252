// The workbench driven in this process: what it takes, leaves alone and tells.
#include "../host/HostTest.h"

#include "cli/Serving.h"
#include "workbench/Items.h"
#include "workbench/Outcomes.h"
#include "workbench/Workbench.h"

#include "Media/MediaDataCache.h"

#include "ManageableData.h"
#include "ManagementService.h"

using namespace Data;
using namespace Tool;
using Media::MediaDataCache;

struct WorkbenchTest : HostTest {
    ~WorkbenchTest() override
    {
        bench.reset();
        if (m_platform)
            m_platform->management().setAgent(nullptr);
        MediaDataCache::terminate();
    }

    void openBench()
    {
        bench.reset();
        Options options;
        options.dataDirectory = m_directory;
        options.verbose = true;
        std::string error;
        bool isInUse = false;
        bench = Workbench::open(options, error, isInUse);
        ASSERT_TRUE(bench) << error;
    }

    /// The library as an application runs it, with the workbench beside it.
    void attachBench()
    {
        ASSERT_TRUE(open()) << m_error;
        MediaDataCache::init(*m_platform);
        m_platform->management().setAgent(MediaDataCache::managementAgent());
        bench = Workbench::attach(*m_platform);
    }

    Outcome stored(eDataTag tag, std::string const& text)
    {
        std::vector outcomes{check(tag, text, {})};
        store(*bench, outcomes);
        return outcomes.front();
    }

    /// The lines that the log writes while `action` runs.
    template <class Action> static std::vector<std::string> logOf(Action action)
    {
        ::testing::internal::CaptureStderr();
        action();
        std::istringstream text(::testing::internal::GetCapturedStderr());
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
        return lines;
    }

    std::vector<std::string> log; ///< of the application
    std::unique_ptr<Workbench> bench;
};

TEST_F(WorkbenchTest, LeavesTheLibraryThatItFound)
{
    Host::setLogSink([this](Host::LogLine const& line) { log.push_back(line.text); });
    attachBench();
    EXPECT_EQ(stored(eDataTagRingerVolume, "5").result, Result::Stored);
    bench.reset();
    EXPECT_EQ(readValue(eDataTagRingerVolume), Json(5));
    ManageableData order;
    order.populate("ringer-volume", "ringer-volume", "6");
    EXPECT_TRUE(m_platform->management().setOwned(order)); // The agent is the application's.
    Host::logError("./here", 1, "still heard");
    EXPECT_EQ(log, std::vector<std::string>{"still heard"});
}

TEST_F(WorkbenchTest, AnApplicationSurvivesThatItsCallbacksThrowAtACommand)
{
    struct Thrower : DataUpdateCallback {
        void onDataUpdate(BulkData&) override { throw 42; }
    };
    static Thrower thrower;
    attachBench();
    MediaDataCache::registerCallback({eDataTagRingerVolume}, &thrower);
    Invocation invocation;
    invocation.workbench = std::move(bench);
    Serving const serving(invocation);
    ASSERT_TRUE(serving.server()) << serving.failure();
    std::string const command = MEDIADATA_TOOL " >/dev/null 2>&1 --data-dir " + m_directory;
    EXPECT_EQ(WEXITSTATUS(std::system((command + " set ringer-volume=7").c_str())), exitInternal);
    EXPECT_EQ(std::system((command + " get ringer-volume").c_str()), 0);
}

TEST_F(WorkbenchTest, WhatIsRequestedOfTheServiceIsReportedUnlessAnApplicationDoes)
{
    auto const announce = [&](char const* arrived) {
        EXPECT_TRUE(DataStorage(bench->platform(), "AudioSettings").setDataItem("RingerVolume", arrived));
        EXPECT_EQ(stored(eDataTagMobilityDataUpdate, "all").result, Result::Stored);
        return readValue(eDataTagRingerVolume);
    };
    openBench();
    EXPECT_EQ(announce("7"), Json(7));
    bench.reset();
    std::filesystem::remove_all(m_directory);
    attachBench();
    EXPECT_EQ(announce("6"), defaultOf(eDataTagRingerVolume));
    m_platform->management().dispatch();
    EXPECT_EQ(readValue(eDataTagRingerVolume), Json(6));
}

/// What the general ringer has by default no row of the ringing table can have; the library refuses it at each write.
TEST_F(WorkbenchTest, OnlyRefusalsThatLoseNothingGoUntold)
{
    openBench();
    EXPECT_EQ(logOf([&] { stored(eDataTagAlertIdentifier3, ""); }).size(), 0U);
    EXPECT_EQ(logOf([&] { openBench(); }).size(), 0U);
    ManageableData order;
    order.populate("ringer-volume", "ringer-volume", "0");
    EXPECT_EQ(logOf([&] { bench->service().setOwned(order); }).size(), 1U);
    limitFiles(1);
    auto const lines = logOf([&] { stored(eDataTagAlertType4, "1"); });
    limitFiles();
    auto const isRefusal = [](std::string const& line) { return line.find("invalid value") != std::string::npos; };
    EXPECT_GE(lines.size(), 1U);
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), isRefusal), 0);
}
