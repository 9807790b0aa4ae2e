// SPDX-License-Identifier: MIT
#include <MarlCore/platform/SimdLevel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace platform {
namespace {

// Each case runs in a process of its own under ctest, but not when the program is started by hand: the level
// is read once, so the forced choice is looked at in a child process.
void exitSayingForcedLevel(const char* forced) {
    setenv("MARLCORE_SIMD", forced, 1);
    std::fprintf(stderr, "level=%s\n", simdLevelName(simdLevel()));
    std::exit(0);
}

TEST(SimdLevel, PortableIsAlwaysAvailableAndComesFirst) {
    ASSERT_FALSE(availableSimdLevels().empty());
    EXPECT_EQ(availableSimdLevels().front(), SimdLevel::portable);
    EXPECT_TRUE(std::ranges::is_sorted(availableSimdLevels()));
}

TEST(SimdLevelDeathTest, EnvironmentForcesEachAvailableLevel) {
    GTEST_FLAG_SET(death_test_style, MARL_DEATH_TEST_STYLE);
    for (const SimdLevel level : availableSimdLevels()) {
        const std::string name = simdLevelName(level);
        EXPECT_EXIT(exitSayingForcedLevel(name.c_str()), testing::ExitedWithCode(0), "level=" + name);
    }
}

TEST(SimdLevelDeathTest, UnknownNameFallsBackToTheFastest) {
    GTEST_FLAG_SET(death_test_style, MARL_DEATH_TEST_STYLE);
    const std::string fastest = simdLevelName(availableSimdLevels().back());
    EXPECT_EXIT(exitSayingForcedLevel("quantum"), testing::ExitedWithCode(0), "level=" + fastest);
}

}  // namespace
}  // namespace platform
