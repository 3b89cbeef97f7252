// A fresh data directory for each test, and the host platform opened on it.
#pragma once

#include "../TemporaryDirectory.h"

#include "DataStorage.h"
#include "HostLog.h"
#include "HostPlatform.h"

struct HostTest : testing::Test {
    HostTest()
    {
        // What a test provokes is not for the eyes of who runs it.
        Host::setLogSink([](Host::LogLine const&) {});
    }

    ~HostTest() override
    {
        m_platform.reset();
        Host::setLogSink({});
    }

    bool open()
    {
        m_platform.reset();
        m_error.clear();
        m_platform = Host::Platform::open({m_directory, std::nullopt}, m_error);
        return m_platform != nullptr;
    }

    void close() { m_platform.reset(); }

    std::string pathOf(std::string const& name) const { return m_directory + "/" + name; }

    std::string read(std::string const& schema, std::string const& element)
    {
        return DataStorage(*m_platform, schema).getDataItem(element, element.empty() ? 0 : 1);
    }

    bool write(std::string const& schema, std::string const& element, std::string const& text)
    {
        return DataStorage(*m_platform, schema).setDataItem(element, text);
    }

    /// No file may grow beyond this size, as far as the limit that the process started with allows.
    static void limitFiles(rlim_t size = RLIM_INFINITY)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit{};
        ::getrlimit(RLIMIT_FSIZE, &limit);
        limit.rlim_cur = std::min(size, limit.rlim_max);
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }

    TemporaryDirectory const m_place;
    std::string const m_parent = m_place.path();
    std::string m_directory = m_parent + "/phone";
    std::string m_error;
    std::unique_ptr<Host::Platform> m_platform;
};
