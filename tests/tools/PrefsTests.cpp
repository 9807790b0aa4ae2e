// SPDX-License-Identifier: MIT
#include <MarlCore/Common/MarlPreferenceKeys.h>
#include <MarlCore/platform/Bundle.h>
#include <tools/marl/Output.h>
#include <tools/marl/PreferenceValue.h>
#include <tools/marl/Prefs.h>

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <sstream>
#include <thread>

#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"
#include "tools/Program.h"

namespace marl::tool {
namespace {

namespace fs = std::filesystem;
using platform::PropertyList;
using platform::UserDefaults;
using support::Outcome;
using support::runMarl;
using support::RunningMarl;
using Dictionary = PropertyList::Dictionary;

class Prefs : public testing::Test {
protected:
    Prefs() {
        m_settings.registerDefaults({{"Gain", 0.0},
                                     {"Rows", 8},
                                     {"Snap", true},
                                     {"Style", "AIFF"},
                                     {"Favorites", PropertyList::Array{}},
                                     {"Layout", Dictionary{}},
                                     {std::string(MarlPeaksTableIntervalKey), 256},
                                     {std::string(MarlWaveformOpacityKey), 1.0},
                                     {std::string(MarlDocumentStartupBehaviorKey), "Open Last Used"}});
    }

    /// What `set` reports, without the program's and the key's name; "" when it has been done.
    std::string faultOfSetting(const std::string& key, const std::string& text) {
        std::ostringstream err;
        const int status = runPrefsSet(m_settings, key, text, err);
        const std::string start = "marl: " + (key.empty() ? "''" : key) + ": ", fault = err.str();
        EXPECT_EQ(status, fault.empty() ? kDone : kWrongUsage) << fault;
        if (fault.empty()) return "";
        EXPECT_TRUE(fault.starts_with(start) && fault.ends_with("\n")) << fault;
        return fault.substr(start.size(), fault.size() - start.size() - 1);
    }

    std::string get(const std::string& key) {
        std::ostringstream out, err;
        EXPECT_EQ(runPrefsGet(m_settings, key, out, err), kDone) << err.str();
        return out.str();
    }

    support::TemporaryFolder m_folder;
    UserDefaults m_settings{m_folder.path("preferences.plist")};
};

TEST_F(Prefs, TakeWhatTheirTypeAllows) {
    const struct {
        std::string key, text, shown;
    } cases[] = {
        {"Gain", "-6", "-6.0"},
        {"Gain", "+1e-3", "0.001"},
        {"Rows", "-2147483648", "-2147483648"},
        {"Rows", "+7", "7"},
        {"Snap", "no", "false"},
        {"Snap", "on", "true"},
        {"Style", "", ""},
        {"Style", "C:\\\xC3\xA9 -x", "C:\\\xC3\xA9 -x"},
        {"Favorites", "[ \"/a\", [1, 0.5, -9223372036854775808] ]", "[\"/a\",[1,0.5,-9223372036854775808]]"},
        {"Favorites", "[9223372036854775807, 9223372036854775808, 18446744073709551615]",
         "[9223372036854775807,9.223372036854776e+18,1.8446744073709552e+19]"},
        {"Layout", "{\"w\": {\"open\": true}}", "{\"w\":{\"open\":true}}"},
        {std::string(MarlPeaksTableIntervalKey), "1", "1"},
        {std::string(MarlWaveformOpacityKey), "0", "0.0"},
        {std::string(MarlDocumentStartupBehaviorKey), "Open Untitled", "Open Untitled"},
    };
    for (const auto& [key, text, shown] : cases) {
        EXPECT_EQ(faultOfSetting(key, text), "") << text;
        EXPECT_EQ(get(key), shown + "\n");
    }
}

TEST_F(Prefs, SayWhatTheirTypeAllows) {
    const std::string whole = "a whole number from -2147483648 to 2147483647", real = "a number such as 0.5",
                      list = R"(a list in JSON, such as ["one", "two"])";
    const struct {
        std::string key, text, allowed;
    } cases[] = {
        {"Rows", "8.5", whole},
        {"Rows", "2147483648", whole},
        {"Rows", "", whole},
        {"Rows", "+-1", whole},
        {"Gain", "loud", real},
        {"Gain", "nan", real},
        {"Gain", "inf", real},
        {"Gain", "1e39", real},
        {"Gain", "1e999", real},
        {"Gain", "1 ", real},
        {"Snap", "maybe", "true or false"},
        {"Favorites", "/a", list},
        {"Favorites", "{}", list},
        {"Favorites", "[1", list},
        {"Favorites", "[\"\xE9\"]", list},
        {"Layout", "[]", R"(a dictionary in JSON, such as {"name": 1})"},
        {std::string(MarlPeaksTableIntervalKey), "0", "a whole number from 1 to 2147483647"},
        {std::string(MarlWaveformOpacityKey), "1.01", "a number from 0 to 1"},
        {std::string(MarlDocumentStartupBehaviorKey), "Open", "'Open Last Used' or 'Open Untitled'"},
    };
    for (const auto& [key, text, allowed] : cases) {
        const std::string shown = text == "[\"\xE9\"]" ? "[\"\\xE9\"]" : text;
        EXPECT_EQ(faultOfSetting(key, text), "'" + shown + "' is not " + allowed);
    }
    EXPECT_EQ(faultOfSetting("Rows", std::string(100000, '9')),
              "'" + std::string(59, '9') + "…' is not " + whole);
    EXPECT_EQ(faultOfSetting("Favorites", "[null]"), "null has no place in a setting");
    EXPECT_EQ(faultOfSetting("Favorites", std::string(100000, '[') + std::string(100000, ']')),
              "nested too deeply");
    EXPECT_EQ(faultOfSetting("Style", "\x01"), "a text with control characters, or not in UTF-8");
    EXPECT_FALSE(fs::exists(m_settings.path()));
}

TEST_F(Prefs, AreListedWithWhoSetThem) {
    m_settings.setBool(false, "Snap");
    m_settings.setObject("of a host\x7F", "Own");
    m_settings.setObject(PropertyList::Data(5), "Own Colour");
    std::ostringstream out, err;
    EXPECT_EQ(runPrefsList(m_settings, out, err), kDone);
    const std::string list = out.str();
    EXPECT_EQ(std::ranges::count(list, '\n'), 12);
    for (const char* const row :
         {"true/false   user    Snap                                   false\n",
          "whole number default Rows                                   8\n",
          "text         user    Own                                    of a host\\x7F\n",
          "data         user    Own Colour                             (5 bytes)\n"})
        EXPECT_NE(list.find(row), std::string::npos) << list;
    EXPECT_EQ(faultOfSetting("Own Colour", "red"), "is set by programs only");
    EXPECT_EQ(faultOfSetting("Own", "text"), "");
}

TEST_F(Prefs, HelpToFindTheirNames) {
    EXPECT_EQ(faultOfSetting("gian", "1"), "there is no such setting; did you mean 'Gain'?");
    EXPECT_EQ(faultOfSetting("Peak Table Interval", "1"),
              "there is no such setting; did you mean 'Peaks Table Interval'?");
    EXPECT_EQ(faultOfSetting("", "1"), "there is no such setting: 'marl prefs list' shows all");
    std::ostringstream out, err;
    EXPECT_EQ(runPrefsGet(m_settings, "x", out, err), kWrongUsage);
    EXPECT_EQ(runPrefsReset(m_settings, "x", err), kWrongUsage);
}

TEST(PreferenceValue, IsReadAsItIsShown) {
    const PropertyList defaults =
        PropertyList::load(*platform::Bundle::pathForResource("Default Values", "plist"));
    for (const auto& [key, value] : *defaults.asDictionary())
        EXPECT_EQ(valueFromText(key, value.type(), textOfValue(value)), value) << key;
}

/// The program, with a home of its own.
class PrefsProcess : public testing::Test {
protected:
    static Outcome prefs(std::vector<std::string> arguments, const support::Surroundings& surroundings = {}) {
        arguments.insert(arguments.begin(), "prefs");
        return runMarl(arguments, surroundings);
    }

    const support::TemporaryFolder m_home;
    const support::EnvironmentVariable m_config{"XDG_CONFIG_HOME", m_home.path().c_str()};
    const std::string m_path = m_home.path("marlcore/preferences.plist");
};

TEST_F(PrefsProcess, SetsGetsAndResets) {
    EXPECT_EQ(prefs({"reset", "Default Tempo"}).status, 0);
    EXPECT_FALSE(fs::exists(m_path));  // nothing to do
    EXPECT_EQ(prefs({"set", "Default Tempo", "97.5"}).status, 0);
    EXPECT_EQ(prefs({"get", "Default Tempo"}).out, "97.5\n");
    EXPECT_EQ(PropertyList::load(m_path), Dictionary({{"Default Tempo", 97.5}}));
    EXPECT_EQ(prefs({"reset", "Default Tempo"}).status, 0);
    EXPECT_EQ(prefs({"get", "Default Tempo"}).out, "120.0\n");
    EXPECT_EQ(PropertyList::load(m_path), Dictionary());
    EXPECT_EQ(prefs({"list"}, {.standardOutput = support::StandardOutput::kFullDevice}).status, 1);
}

TEST_F(PrefsProcess, LeavesTheOldFileWhenItCannotWrite) {
    ASSERT_EQ(prefs({"set", "Default Tempo", "100"}).status, 0);
    ASSERT_EQ(prefs({"set", "Export Style", std::string(1000, 'x')}).status, 0);
    const auto expectRefusal = [&](const support::Surroundings& surroundings, const char* reason) {
        const Outcome refused = prefs({"set", "Default Tempo", "200"}, surroundings);
        EXPECT_EQ(refused.status, 1);
        EXPECT_EQ(refused.err, "marl: " + m_path + ": cannot be written: " + reason + "\n");
        EXPECT_EQ(prefs({"get", "Default Tempo"}, surroundings).out, "100.0\n");
        EXPECT_EQ(prefs({"get", "Default Bit Depth"}, surroundings).out, "24\n");
        EXPECT_FALSE(fs::exists(m_path + ".new"));
    };
    expectRefusal({.mostFileBytes = 500}, "File too large");  // as a full disk, in the middle of a write
    fs::permissions(m_home.path("marlcore"), fs::perms::owner_read | fs::perms::owner_exec);
    expectRefusal({.obeysPermissions = true}, "Permission denied");
    fs::permissions(m_home.path("marlcore"), fs::perms::owner_all);
}

TEST_F(PrefsProcess, SaysOnceThatAFileIsDamaged) {
    m_home.write("marlcore/preferences.plist", "<plist><dict>");
    const Outcome first = prefs({"get", "Default Tempo"});
    EXPECT_EQ(first.out, "120.0\n");
    EXPECT_TRUE(first.err.starts_with("marl: " + m_path + ": damaged (line 1: ")) << first.err;
    EXPECT_EQ(std::ranges::count(first.err, '\n'), 1);
    EXPECT_EQ(prefs({"get", "Default Tempo"}).err, "");
}

TEST_F(PrefsProcess, KeepsWhatManyWriteAtOnce) {
    const char* const keys[] = {"Default Tempo", "Fade Time", "Tick Height", "Default Row Gain"};
    for (int round = 1; round <= 5; ++round) {
        std::vector<std::unique_ptr<RunningMarl>> writers;
        for (const char* const key : keys)
            writers.push_back(std::make_unique<RunningMarl>(
                std::vector<std::string>{"prefs", "set", key, std::to_string(round)}));
        for (const auto& writer : writers) EXPECT_EQ(writer->await().status, 0);
        const PropertyList file = PropertyList::load(m_path);
        for (const char* const key : keys) EXPECT_EQ(file[key], double(round)) << key;
    }
}

TEST_F(PrefsProcess, KilledLeavesTheFileOldOrNew) {
    constexpr unsigned kSeed = 20261;
    std::mt19937 random(kSeed);
    std::uniform_int_distribution<int> microseconds(0, 15000);
    ASSERT_EQ(prefs({"set", "Default Song Duration", "7"}).status, 0);
    ASSERT_EQ(prefs({"set", "Default Tempo", "0"}).status, 0);
    for (int round = 1; round <= 40; ++round) {
        const PropertyList before = PropertyList::load(m_path);
        RunningMarl writer({"prefs", "set", "Default Tempo", std::to_string(round)});
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
        writer.sendSignal(SIGKILL);
        writer.await();
        const PropertyList after = PropertyList::load(m_path);  // throws when it is not whole
        EXPECT_TRUE(after == before || after["Default Tempo"] == double(round)) << "seed " << kSeed;
        EXPECT_EQ(after["Default Song Duration"], 7.0);
    }
    EXPECT_EQ(prefs({"set", "Default Tempo", "99"}).status, 0);
    EXPECT_FALSE(fs::exists(m_path + ".new"));  // nothing piles up
}

}  // namespace
}  // namespace marl::tool
