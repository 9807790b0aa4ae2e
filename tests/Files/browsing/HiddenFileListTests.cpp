// SPDX-License-Identifier: MIT
#include <MarlCore/Files/browsing/HiddenFileList.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>
#include <vector>

#include "support/TemporaryFolder.h"

namespace marl {
namespace {

using support::TemporaryFolder;

TEST(HiddenFileList, ReadsANameALine) {
    const TemporaryFolder folder;
    const std::string longest(765, 'x'), tooLong(766, 'y');
    HiddenFileList list(folder.write("hidden", "bin\n \t etc  \n\n   \nwindows\r\n" + longest + "\n" +
                                                   tooLong + "behind\n" + "caf\xE9\n" + "last"));
    const std::string longButCut(765, 'y');
    for (const std::string& name : {std::string("bin"), std::string("etc  "), std::string("windows"), longest,
                                    longButCut, std::string("caf\xE9"), std::string("last")})
        EXPECT_TRUE(list.contains(name)) << name;
    for (const std::string& name :
         {std::string(), std::string("BIN"), std::string("bi"), std::string("etc"), std::string("windows\r"),
          tooLong, std::string("y"), std::string("behind"), std::string("ybehind")})
        EXPECT_FALSE(list.contains(name)) << name;
}

TEST(HiddenFileList, LooksForItsFileOnce) {
    const TemporaryFolder folder;
    HiddenFileList missing(folder.path("hidden"));
    EXPECT_FALSE(missing.contains("bin"));
    folder.write("hidden", "bin\n");
    EXPECT_FALSE(missing.contains("bin"));

    HiddenFileList present(folder.path("hidden"));
    EXPECT_TRUE(present.contains("bin"));
    folder.write("hidden", "etc\n");
    EXPECT_TRUE(present.contains("bin"));
    EXPECT_FALSE(present.contains("etc"));
}

TEST(HiddenFileList, TakesWhatIsNoRegularFileForAnEmptyList) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(HiddenFileList(folder.path("pipe")).contains("bin"));
    EXPECT_FALSE(HiddenFileList(folder.path()).contains(""));
}

TEST(HiddenFileList, IsWholeForThreadsThatAskAtOnce) {
    const TemporaryFolder folder;
    std::string names;
    for (int i = 0; i < 1000; ++i) names += "name " + std::to_string(i) + "\n";
    HiddenFileList list(folder.write("hidden", names));
    std::atomic<int> found{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([&] { found += list.contains("name 999"); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(found, 4);
}

}  // namespace
}  // namespace marl
