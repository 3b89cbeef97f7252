// The fixture of tests over the scripted platform: each test has a fresh platform, and fails when the library asked what the
// test did not script or left a lock held.
#pragma once

#include "ScriptedPlatform.h"

#include <gtest/gtest.h>

class ScriptedTest : public testing::Test {
protected:
    /// Derived fixtures that stop the library in their own TearDown call this one last.
    void TearDown() override
    {
        EXPECT_EQ(platform.unscripted(), std::vector<std::string>{});
        EXPECT_EQ(Scripted::Platform::heldLocks(), 0);
    }

    Scripted::Platform platform;
};
