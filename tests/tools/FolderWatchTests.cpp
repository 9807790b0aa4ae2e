// SPDX-License-Identifier: MIT
#include <tools/marl/FolderWatch.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include "support/TemporaryFolder.h"

namespace marl::tool {
namespace {

namespace fs = std::filesystem;
using support::TemporaryFolder;
using Roots = std::vector<std::string>;

constexpr FolderWatch::Timing kImpatient{FolderWatch::Duration(1), FolderWatch::Duration(1000),
                                         FolderWatch::Duration(1)};

/// Can be read from when a test has waited so long that what it waits for will not come.
class Deadline {
public:
    Deadline() : m_timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC)) {
        const itimerspec aMinute{{}, {60, 0}};
        ::timerfd_settime(m_timer, 0, &aMinute, nullptr);
    }
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
    ~Deadline() { ::close(m_timer); }
    int descriptor() const noexcept { return m_timer; }

private:
    int m_timer;
};

Roots nextChange(FolderWatch& watch) {
    const Deadline deadline;
    return watch.wait(deadline.descriptor());
}

TEST(FolderWatch, TellsOfEveryChangeBelow) {
    const TemporaryFolder folder, elsewhere;
    const std::string in = folder.write("a/b/in.aif", "in");
    const std::string out = elsewhere.write("out.aif", "out");
    const std::string target = elsewhere.write("files/target.aif", "1");
    fs::create_symlink(target, folder.path("a/b/link.aif"));
    elsewhere.write("linked/x.aif", "");
    fs::create_directory_symlink(elsewhere.path("linked"), folder.path("a/link"));
    fs::create_directory_symlink(folder.path(), folder.path("a/b/loop"));
    FolderWatch watch({folder.path()}, "", kImpatient);
    EXPECT_TRUE(watch.takeBlindTrees().empty());
    const struct {
        const char* name;
        std::function<void()> change;
    } kRows[] = {
        {"written", [&] { folder.write("a/b/in.aif", "changed"); }},
        {"moved in", [&] { fs::rename(out, folder.path("a/moved.aif")); }},
        {"moved within", [&] { fs::rename(in, folder.path("a/in.aif")); }},
        {"moved out", [&] { fs::rename(folder.path("a/moved.aif"), out); }},
        {"deleted", [&] { fs::remove(folder.path("a/in.aif")); }},
        {"opened to all", [&] { fs::permissions(folder.path("a/b"), fs::perms::all); }},
        {"a new folder", [&] { fs::create_directories(folder.path("c/d/e")); }},
        {"in the new folder", [&] { folder.write("c/d/e/new.aif", ""); }},
        {"a folder renamed", [&] { fs::rename(folder.path("c/d"), folder.path("moved")); }},
        {"in the renamed one", [&] { folder.write("moved/e/newer.aif", ""); }},
        {"a new folder in that", [&] { fs::create_directory(folder.path("moved/e/f")); }},
        {"in which there is a file", [&] { folder.write("moved/e/f/newest.aif", ""); }},
        {"behind a link", [&] { elsewhere.write("linked/x.aif", "y"); }},
        {"the target of a link to a file", [&] { elsewhere.write("files/target.aif", "2"); }},
        {"another in its place", [&] { fs::rename(elsewhere.write("files/other.aif", "3"), target); }},
        {"the new target", [&] { elsewhere.write("files/target.aif", "4"); }},
        {"a link to a folder", [&] { fs::create_directory_symlink(elsewhere.path(), folder.path("l")); }},
        {"behind the new link", [&] { elsewhere.write("out.aif", "z"); }},
        {"a folder moved out", [&] { fs::rename(folder.path("a"), elsewhere.path("a")); }}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        row.change();
        EXPECT_EQ(nextChange(watch), Roots{folder.path()});
    }
}

TEST(FolderWatch, TellsWhichOfItsTreesHasChanged) {
    const TemporaryFolder one, two;
    one.write("indexes/Search Index.txt", "");
    one.write("a/b.aif", "");
    FolderWatch watch({one.path(), two.path()}, one.path("indexes"), kImpatient);
    one.write("indexes/Search Index.txt", "does not count");
    two.write("c.aif", "");
    EXPECT_EQ(nextChange(watch), Roots{two.path()});
    fs::rename(one.path("a"), two.path("a"));
    EXPECT_EQ(nextChange(watch), (Roots{one.path(), two.path()}));
    one.write("d.aif", "");
    two.write("a/b.aif", "where it is now");
    EXPECT_EQ(nextChange(watch), (Roots{one.path(), two.path()}));
    watch.remind(two.path());
    EXPECT_EQ(nextChange(watch), Roots{two.path()});
}

TEST(FolderWatch, DoesNotWaitForATreeThatNeverRests) {
    const TemporaryFolder folder;
    const FolderWatch::Timing restless{FolderWatch::Duration(3600 * 1000), FolderWatch::Duration(1), {}};
    FolderWatch watch({folder.path()}, "", restless);
    folder.write("a.aif", "");
    EXPECT_EQ(nextChange(watch), Roots{folder.path()});
}

TEST(FolderWatch, SeesMoreThanTheSystemKeeps) {
    const TemporaryFolder folder;
    FolderWatch watch({folder.path()}, "", kImpatient);
    std::ifstream limit("/proc/sys/fs/inotify/max_queued_events");
    int events = 0;
    limit >> events;
    if (events <= 0 || events > 20000) events = 20000;
    for (int i = 0; i < events; ++i) {  // two events each
        const std::string path = folder.path(std::to_string(i % 100));
        ::close(::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        ::unlink(path.c_str());
    }
    fs::create_directory(folder.path("late"));
    EXPECT_EQ(nextChange(watch), Roots{folder.path()});
    folder.write("late/a.aif", "");
    EXPECT_EQ(nextChange(watch), Roots{folder.path()});
}

TEST(FolderWatch, LooksNowAndThenAtATreeThatIsNotThere) {
    const TemporaryFolder folder;
    const std::string root = folder.path("drive");
    FolderWatch watch({root}, "", kImpatient);
    const auto blind = watch.takeBlindTrees();
    ASSERT_EQ(blind.size(), 1U);
    EXPECT_EQ(blind[0].path, root);
    EXPECT_EQ(blind[0].reason, "No such file or directory");
    EXPECT_EQ(nextChange(watch), Roots{root});
    EXPECT_TRUE(watch.takeBlindTrees().empty());  // once is enough
    fs::create_directory(root);
    EXPECT_EQ(nextChange(watch), Roots{root});
    folder.write("drive/a.aif", "");
    EXPECT_EQ(nextChange(watch), Roots{root});
    fs::remove_all(root);
    EXPECT_EQ(nextChange(watch), Roots{root});
    EXPECT_EQ(watch.takeBlindTrees().size(), 1U);
}

TEST(FolderWatch, LooksNowAndThenBehindALinkThatLeadsNowhere) {
    const TemporaryFolder folder, elsewhere;
    fs::create_symlink(elsewhere.path("late.aif"), folder.path("link.aif"));
    FolderWatch watch({folder.path()}, "", kImpatient);
    const auto blind = watch.takeBlindTrees();
    ASSERT_EQ(blind.size(), 1U);
    EXPECT_EQ(blind[0].reason, "a link in it cannot be followed");
    elsewhere.write("late.aif", "");
    EXPECT_EQ(nextChange(watch), Roots{folder.path()});
    EXPECT_TRUE(watch.takeBlindTrees().empty());
    fs::remove(elsewhere.path("late.aif"));
    EXPECT_EQ(nextChange(watch), Roots{folder.path()});
    EXPECT_EQ(watch.takeBlindTrees().size(), 1U);
}

/// Leaves the process a few descriptors.
class FewDescriptors {
public:
    FewDescriptors() {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        const int next = ::dup(0);
        ::close(next);
        const rlimit few{static_cast<rlim_t>(next), m_before.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
    }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;
    ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

private:
    rlimit m_before{};
};

TEST(FolderWatch, LooksNowAndThenWhereTheSystemHasNoWatchesLeft) {
    const TemporaryFolder folder;
    std::unique_ptr<FolderWatch> watch;
    {
        const FewDescriptors none;
        watch = std::make_unique<FolderWatch>(Roots{folder.path()}, "", kImpatient);
    }
    EXPECT_EQ(watch->takeBlindTrees().size(), 1U);
    EXPECT_EQ(nextChange(*watch), Roots{folder.path()});
    EXPECT_TRUE(watch->takeBlindTrees().empty());  // and sees again when it can
    folder.write("a.aif", "");
    EXPECT_EQ(nextChange(*watch), Roots{folder.path()});
}

}  // namespace
}  // namespace marl::tool
