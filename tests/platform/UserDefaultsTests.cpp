// SPDX-License-Identifier: MIT
#include <MarlCore/platform/UserDefaults.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

#include "support/TemporaryFolder.h"

namespace platform {
namespace {

namespace fs = std::filesystem;
using Dictionary = PropertyList::Dictionary;
using Array = PropertyList::Array;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string contentsOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class Settings : public testing::Test {
protected:
    PropertyList inFile() const { return PropertyList::load(m_path); }

    /// Settings that write their messages down.
    std::unique_ptr<UserDefaults> open() {
        auto settings = std::make_unique<UserDefaults>(m_path);
        settings->setMessageHandler([this](const std::string& message) { m_messages += message + "\n"; });
        return settings;
    }

    static std::string faultOf(const std::function<void()>& operation) {
        try {
            operation();
        } catch (const Exception& error) {
            return error.reason();
        }
        return "none";
    }

    support::TemporaryFolder m_folder;
    const std::string m_path = m_folder.path("sub/folder/preferences.plist");
    std::string m_messages;
};

TEST_F(Settings, LieOverTheDefaultsAndAreAllThatIsWritten) {
    UserDefaults settings(m_path);
    settings.registerDefaults({{"a", 1}, {"b", 2}});
    settings.registerDefaults({{"b", 3}, {"c", 4}});
    EXPECT_EQ(settings.integerForKey("a"), 1);
    EXPECT_EQ(settings.integerForKey("b"), 3);
    EXPECT_FALSE(fs::exists(m_folder.path("sub")));  // nothing is written for reading
    settings.setInteger(7, "b");
    EXPECT_EQ(settings.integerForKey("b"), 7);
    EXPECT_EQ(inFile(), Dictionary({{"b", 7}}));
    settings.removeObjectForKey("b");
    EXPECT_EQ(settings.integerForKey("b"), 3);
    EXPECT_EQ(inFile(), Dictionary());
    EXPECT_EQ(settings.registrationDomain(), Dictionary({{"a", 1}, {"b", 3}, {"c", 4}}));
}

TEST_F(Settings, AreConvertedBetweenNumbersAndNothingElse) {
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
    constexpr float kLargest = std::numeric_limits<float>::max();
    const struct {
        PropertyList value;
        float real;
        std::int64_t integer;
        bool truth;
    } cases[] = {
        {-2.75, -2.75f, -2, true},
        {0.5, 0.5f, 0, true},
        {0, 0, 0, false},
        {true, 1, 1, true},
        {false, 0, 0, false},
        {kMost, 9223372036854775808.0f, kMost, true},
        {kInfinity, kLargest, kMost, true},
        {-1e300, -kLargest, -kMost - 1, true},
        {"1", 0, 0, false},
        {Array{1}, 0, 0, false},
    };
    UserDefaults settings("");
    for (const auto& [value, real, integer, truth] : cases) {
        settings.registerDefaults({{"key", value}});
        EXPECT_EQ(settings.floatForKey("key"), real);
        EXPECT_EQ(settings.integerForKey("key"), integer);
        EXPECT_EQ(settings.boolForKey("key"), truth);
    }
    settings.registerDefaults({{"key", std::numeric_limits<double>::quiet_NaN()}});
    EXPECT_EQ(settings.integerForKey("key"), 0);
    EXPECT_TRUE(settings.floatForKey("key") != settings.floatForKey("key"));
}

TEST_F(Settings, AreNothingWhereThereIsNoneOfTheType) {
    UserDefaults settings("");
    settings.registerDefaults({{"n", 1}, {"s", "x"}, {"a", Array{1}}, {"d", Dictionary{{"k", 1}}}});
    EXPECT_EQ(settings.stringForKey("s"), "x");
    EXPECT_EQ(settings.arrayForKey("a"), Array{1});
    EXPECT_EQ(settings.dictionaryForKey("d"), Dictionary({{"k", 1}}));
    for (const char* const key : {"n", "missing"}) {
        EXPECT_EQ(settings.stringForKey(key), std::nullopt);
        EXPECT_EQ(settings.arrayForKey(key), std::nullopt);
        EXPECT_EQ(settings.dictionaryForKey(key), std::nullopt);
    }
    EXPECT_EQ(settings.objectForKey("missing"), std::nullopt);
    EXPECT_EQ(settings.floatForKey("missing"), 0);
    EXPECT_EQ(settings.integerForKey("missing"), 0);
    EXPECT_FALSE(settings.boolForKey("missing"));
}

TEST_F(Settings, OfTwoWritersAreAllKept) {
    UserDefaults one(m_path), other(m_path);
    one.setInteger(1, "a");
    one.setInteger(1, "b");
    EXPECT_EQ(other.integerForKey("a"), 1);
    one.setInteger(2, "a");
    one.removeObjectForKey("b");
    other.setInteger(3, "c");
    EXPECT_EQ(inFile(), Dictionary({{"a", 2}, {"c", 3}}));
    EXPECT_EQ(other.integerForKey("a"), 2);  // seen with its own write
    EXPECT_EQ(one.integerForKey("c"), 0);
    one.synchronize();
    EXPECT_EQ(one.integerForKey("c"), 3);
}

TEST_F(Settings, ThatXMLCannotHoldChangeNothing) {
    const auto settings = open();
    settings->setInteger(1, "a");
    EXPECT_THROW(settings->setObject("\x01", "a"), PropertyListError);
    EXPECT_THROW(settings->setObject(1, "\x01"), PropertyListError);
    settings->setInteger(2, "b");
    EXPECT_EQ(inFile(), Dictionary({{"a", 1}, {"b", 2}}));
}

TEST_F(Settings, InADamagedFileAreKeptAsideAndNotedOnce) {
    const struct {
        const char *contents, *aside, *problem;
    } cases[] = {
        {"", ".damaged", "line 1"},
        {"<plist><dict><key>a</key>", ".damaged-2", "line 1"},
        {"<plist><string>x</string></plist>", ".damaged-3", "not a dictionary"},
    };
    for (const auto& [contents, aside, problem] : cases) {
        m_messages.clear();
        m_folder.write("sub/folder/preferences.plist", contents);
        const auto settings = open();
        settings->registerDefaults({{"a", 1}});
        EXPECT_EQ(settings->integerForKey("a"), 1);
        EXPECT_EQ(contentsOf(m_path + aside), contents);
        EXPECT_TRUE(m_messages.starts_with(m_path + ": damaged (")) << m_messages;
        EXPECT_NE(m_messages.find(problem), std::string::npos) << m_messages;
        EXPECT_TRUE(m_messages.ends_with("kept as '" + m_path + aside + "'\n")) << m_messages;
        m_messages.clear();
        settings->setInteger(2, "b");
        EXPECT_EQ(open()->integerForKey("b"), 2);
        EXPECT_EQ(m_messages, "");
    }
}

TEST_F(Settings, AreWrittenAgainWhenTheFileIsDamagedMeanwhile) {
    for (const bool isNoticedByReading : {true, false}) {
        const auto settings = open();
        settings->setInteger(1, "a");
        m_folder.write("sub/folder/preferences.plist", "garbage");
        if (isNoticedByReading) settings->synchronize();
        EXPECT_EQ(settings->integerForKey("a"), 1);
        settings->setInteger(2, "b");
        EXPECT_EQ(inFile(), Dictionary({{"a", 1}, {"b", 2}}));
        EXPECT_EQ(contentsOf(m_path + ".damaged"), "garbage");
        fs::remove(m_path);  // that, on the other hand, is meant
        settings->setInteger(3, "c");
        EXPECT_EQ(inFile(), Dictionary({{"c", 3}}));
        fs::remove(m_path);
        fs::remove(m_path + ".damaged");
    }
}

TEST_F(Settings, MayBeSetByWhoIsToldOfDamage) {
    m_folder.write("sub/folder/preferences.plist", "garbage");
    UserDefaults settings(m_path);
    settings.setMessageHandler([&](const std::string&) { settings.setBool(true, "was told"); });
    settings.setInteger(1, "a");
    EXPECT_EQ(inFile(), Dictionary({{"a", 1}, {"was told", true}}));
}

TEST_F(Settings, ThatCannotBeWrittenCountInThisProcessAndGoWithTheNext) {
    fs::create_directories(m_folder.path("sub"));
    m_folder.write("sub/folder", "in the way");
    const auto settings = open();
    const std::string fault = faultOf([&] { settings->setInteger(1, "a"); });
    EXPECT_EQ(fault, m_path + ": cannot be written: Not a directory");
    EXPECT_EQ(faultOf([&] { settings->removeObjectForKey("b"); }), fault);
    EXPECT_EQ(faultOf([&] { settings->synchronize(); }), fault);
    EXPECT_EQ(settings->integerForKey("a"), 1);
    fs::remove(m_folder.path("sub/folder"));
    settings->setInteger(2, "c");
    EXPECT_EQ(inFile(), Dictionary({{"a", 1}, {"c", 2}}));
}

TEST_F(Settings, InAFileThatCannotBeReadStayThere) {
    fs::create_directories(m_path);  // a folder in its place
    const auto settings = open();
    EXPECT_EQ(settings->integerForKey("a"), 0);
    settings->synchronize();  // says nothing new
    EXPECT_EQ(m_messages, m_path + ": cannot be read: is no regular file; the defaults apply\n");
    EXPECT_EQ(faultOf([&] { settings->setInteger(1, "a"); }),
              m_path + ": cannot be written: is no regular file");
    EXPECT_TRUE(fs::is_directory(m_path));
    EXPECT_FALSE(fs::exists(m_path + ".damaged"));
}

TEST_F(Settings, WithoutAHomeFolderCountInThisProcess) {
    UserDefaults settings("");
    EXPECT_EQ(faultOf([&] { settings.setInteger(1, "a"); }),
              "settings cannot be kept: there is no home folder");
    EXPECT_EQ(settings.integerForKey("a"), 1);
}

TEST_F(Settings, LeaveOwnerAndPermissionsAsTheyAre) {
    UserDefaults(m_path).setInteger(1, "a");
    EXPECT_EQ(static_cast<int>(fs::status(m_path).permissions()), 0600);
    // As by root for a user, where the test may give files away.
    const bool isGiven = ::chown(m_path.c_str(), 1234, static_cast<gid_t>(-1)) == 0;
    const uid_t owner = isGiven ? 1234 : ::geteuid();
    ASSERT_EQ(::chmod(m_path.c_str(), 0640), 0);
    m_folder.write("sub/folder/preferences.plist.new", "left by a process that was killed");
    UserDefaults(m_path).setInteger(2, "a");
    struct stat status;
    ASSERT_EQ(::stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, owner);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_FALSE(fs::exists(m_path + ".new"));
}

/// Two paths that lead to one file, which has a name of its own.
class LinkedSettings : public Settings {
protected:
    LinkedSettings() {
        fs::create_directories(m_folder.path("sub/folder"));
        fs::create_directories(m_folder.path("dotfiles"));
        fs::create_symlink("../../dotfiles/link", m_path);
        fs::create_symlink("real.plist", m_folder.path("dotfiles/link"));
    }

    const std::string m_otherPath = m_folder.path("dotfiles/link"),
                      m_target = m_folder.path("dotfiles/real.plist");
};

TEST_F(LinkedSettings, StayLinked) {
    UserDefaults(m_path).setInteger(1, "a");  // makes the file that the link leads to
    EXPECT_EQ(PropertyList::load(m_target), Dictionary({{"a", 1}}));
    m_folder.write("dotfiles/real.plist", "garbage");
    open()->setInteger(2, "a");
    EXPECT_EQ(contentsOf(m_target + ".damaged"), "garbage");
    EXPECT_TRUE(fs::is_symlink(m_path) && fs::is_regular_file(m_target));
    EXPECT_EQ(inFile(), Dictionary({{"a", 2}}));
}

TEST_F(LinkedSettings, OfManyWritersAtOnceAreAllKept) {
    constexpr int kWriters = 4, kKeys = 12;
    std::vector<std::thread> writers;
    for (int writer = 0; writer < kWriters; ++writer)
        writers.emplace_back([this, writer] {
            UserDefaults settings(writer % 2 ? m_path : m_otherPath);
            for (int key = 0; key < kKeys; ++key)
                settings.setInteger(key, std::to_string(writer) + " " + std::to_string(key));
        });
    for (std::thread& writer : writers) writer.join();
    EXPECT_EQ(inFile().asDictionary()->size(), std::size_t{kWriters * kKeys});
}

}  // namespace
}  // namespace platform
