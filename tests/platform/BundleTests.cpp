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

TEST(Bundle, PrefersTheFolderThatTheEnvironmentNames) {
    const support::TemporaryFolder folder;
    const EnvironmentVariable resources("MARLCORE_RESOURCES", folder.path().c_str());
    const std::string path = folder.write("Some Name.plist", "x");
    EXPECT_EQ(Bundle::pathForResource("Some Name", "plist"), path);
    EXPECT_EQ(Bundle::pathForResource("Some Name", "dat"), std::nullopt);
}

TEST(Bundle, LooksFurtherForWhatAFolderDoesNotHold) {
    const support::TemporaryFolder folder;
    const auto elsewhere = [&](const char* variable) {
        const EnvironmentVariable resources("MARLCORE_RESOURCES", variable);
        return Bundle::pathForResource("Keyword Dictionary", "plist");
    };
    std::filesystem::create_directory(folder.path("Keyword Dictionary.plist"));  // no file
    const auto shipped = elsewhere(nullptr);
    ASSERT_TRUE(shipped);
    EXPECT_EQ(elsewhere(folder.path().c_str()), shipped);
    EXPECT_EQ(elsewhere(folder.path("missing").c_str()), shipped);
    EXPECT_EQ(elsewhere(""), shipped);
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
