// SPDX-License-Identifier: MIT
#include <MarlCore/platform/Bundle.h>

#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace platform {
namespace {

using support::EnvironmentVariable;

TEST(Bundle, LooksWhereTheEnvironmentSaysAndThenFurther) {
    const support::TemporaryFolder folder;
    const auto dictionaryIn = [&](const char* variable) {
        const EnvironmentVariable resources("MARLCORE_RESOURCES", variable);
        EXPECT_EQ(Bundle::pathForResource("Keyword Dictionary", "dat"), std::nullopt);
        return Bundle::pathForResource("Keyword Dictionary", "plist");
    };
    std::filesystem::create_directory(folder.path("Keyword Dictionary.plist"));  // no file
    const auto shipped = dictionaryIn(nullptr);
    ASSERT_TRUE(shipped);
    for (const std::string& named : {folder.path(), folder.path("missing"), std::string()})
        EXPECT_EQ(dictionaryIn(named.c_str()), shipped);
    const std::string own = folder.write("own/Keyword Dictionary.plist", "x");
    EXPECT_EQ(dictionaryIn(folder.path("own").c_str()), own);
}

TEST(Bundle, KnowsTheInstallationThatTheLibraryBelongsTo) {
    const EnvironmentVariable resources("MARLCORE_RESOURCES", nullptr);
    const auto folders = Bundle::resourceFolders();
    ASSERT_EQ(folders.size(), 2u);
    const std::filesystem::path installed(folders.front());
    EXPECT_EQ(installed.parent_path().filename(), "share");
    EXPECT_EQ(installed.filename(), "marlcore");
}

TEST(Bundle, KeepsAUsersFilesWhereXDGHasThem) {
    const struct {
        const char *config, *home, *folder;
    } cases[] = {
        {"/c", "/h", "/c/marlcore"},       {nullptr, "/h", "/h/.config/marlcore"},
        {"", "/h", "/h/.config/marlcore"}, {"relative", "/h", "/h/.config/marlcore"},
        {nullptr, nullptr, nullptr},       {nullptr, "relative", nullptr},
    };
    for (const auto& [config, home, folder] : cases) {
        const EnvironmentVariable configVariable("XDG_CONFIG_HOME", config), homeVariable("HOME", home);
        EXPECT_EQ(Bundle::userFolder(), folder ? std::optional<std::string>(folder) : std::nullopt);
    }
}

}  // namespace
}  // namespace platform
