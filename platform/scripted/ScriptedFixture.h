// The fixture of tests over the scripted platform: each test has a fresh platform, and fails when the library asked what the
// test did not script or left a lock held.
#pragma once

#include "ScriptedPlatform.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

class ScriptedTest : public testing::Test {
protected:
    explicit ScriptedTest(std::unique_ptr<Scripted::Platform> wanted = std::make_unique<Scripted::Platform>())
        : m_platform(std::move(wanted))
    {}

    /// Derived fixtures that stop the library in their own TearDown call this one last.
    void TearDown() override
    {
        EXPECT_EQ(platform.unscripted(), std::vector<std::string>{});
        EXPECT_EQ(Scripted::Platform::heldLocks(), 0);
    }

private:
    std::unique_ptr<Scripted::Platform> const m_platform;

protected:
    Scripted::Platform& platform = *m_platform;
};
