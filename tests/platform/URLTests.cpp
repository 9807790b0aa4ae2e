// SPDX-License-Identifier: MIT
#include <MarlCore/platform/URL.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <string_view>

using namespace std::string_view_literals;

namespace platform {
namespace {

constexpr std::string_view kNoPath = "(no path)";

std::string pathOf(const URL& url) {
    return url.path().value_or(std::string(kNoPath));
}

TEST(URL, IsMadeFromAPath) {
    const struct {
        std::string_view path;
        bool isDirectory;
        std::string_view text, pathBack;
    } cases[] = {
        {"/loops/Kick.aif", false, "file:///loops/Kick.aif", "/loops/Kick.aif"},
        {"/loops/Kick 01.aif", false, "file:///loops/Kick%2001.aif", "/loops/Kick 01.aif"},
        {"/100%.aif", false, "file:///100%25.aif", "/100%.aif"},
        {"/%41.aif", false, "file:///%2541.aif", "/%41.aif"},
        {"/What?#1.aif", false, "file:///What%3F%231.aif", "/What?#1.aif"},
        {"/[a]{b}\\", false, "file:///%5Ba%5D%7Bb%7D%5C", "/[a]{b}\\"},
        {"/-._~!$&'()*+,;=:@", false, "file:///-._~!$&'()*+,;=:@", "/-._~!$&'()*+,;=:@"},
        {"/\u00C9t\u00E9.wav", false, "file:///%C3%89t%C3%A9.wav", "/\u00C9t\u00E9.wav"},
        {"/\xC9.wav", false, "file:///%C9.wav", "/\xC9.wav"},
        {"/loops", true, "file:///loops/", "/loops"},
        {"/loops/", true, "file:///loops/", "/loops"},
        {"/loops/", false, "file:///loops/", "/loops"},
        {"/", true, "file:///", "/"},
        {"///", true, "file://///", "/"},
        {"/a\0b"sv, false, "file:///a%00b", kNoPath},
    };
    for (const auto& [path, isDirectory, text, pathBack] : cases) {
        const URL url = URL::fromPath(path, isDirectory);
        EXPECT_EQ(url.string(), text);
        EXPECT_EQ(pathOf(url), pathBack) << text;
        EXPECT_EQ(URL::fromString(text), url) << text;
    }
}

TEST(URL, KeepsEveryByteOfAPath) {
    for (int value = 1; value <= 0xFF; ++value) {
        if (value == '/') continue;
        const std::string byte(1, static_cast<char>(static_cast<unsigned char>(value)));
        for (const std::string& path :
             {"/" + byte, "/a" + byte + "b", "/" + byte + "/x." + byte, "/%" + byte}) {
            const URL url = URL::fromPath(path, false);
            EXPECT_EQ(pathOf(url), path) << value;
            EXPECT_EQ(pathOf(URL::fromString(url.string())), path) << value;
            EXPECT_EQ(url.unescapedString(), "file://" + path) << value;
            EXPECT_TRUE(std::ranges::all_of(url.string(), [](unsigned char c) {
                return c < 0x80 && std::isgraph(c) &&
                       "\"<>\\^`{|}"sv.find(static_cast<char>(c)) == std::string_view::npos;
            })) << url.string();
        }
    }
}

TEST(URL, TakesRelativePathsFromTheCurrentFolder) {
    const std::string here = std::filesystem::current_path().string();
    EXPECT_EQ(pathOf(URL::fromPath("loops/Kick 01.aif", false)), here + "/loops/Kick 01.aif");
    EXPECT_EQ(pathOf(URL::fromString("loops/Kick%2001.aif")), here + "/loops/Kick 01.aif");
    EXPECT_EQ(pathOf(URL::fromPath("loops", true)), here + "/loops");
    EXPECT_TRUE(URL::fromString("loops/").string().ends_with("/loops/"));
    EXPECT_EQ(pathOf(URL::fromPath("a:b.aif", false)), here + "/a:b.aif");
}

TEST(URL, HasAPathOnlyOnThisMachine) {
    const struct {
        std::string_view text, path;
    } cases[] = {
        {"file:///a/b.aif", "/a/b.aif"},
        {"file:/a/b.aif", "/a/b.aif"},
        {"file://localhost/a/b.aif", "/a/b.aif"},
        {"FILE://LocalHost/a/B.aif", "/a/B.aif"},
        {"/a%20b", "/a b"},
        {"file:///a b", "/a b"},
        {"file:///a%2Fb", "/a/b"},
        {"file:///a.aif?x=/b#c", "/a.aif"},
        {"file:///a.aif#c?d", "/a.aif"},
        {"file:///a//", "/a"},
        {"file:///a%zz%4", "/a%zz%4"},  // malformed escapes stay
        {"file:///%", "/%"},
        {"file:///%4", "/%4"},
        {"file:///%%41", "/%A"},
        {"file:///%c3%a9", "/\u00E9"},
        {"file:///a%00b", kNoPath},
        {"file://server/a.aif", kNoPath},
        {"file://localhost", kNoPath},
        {"file://localhosts/a", kNoPath},
        {"file:", kNoPath},
        {"file:a.aif", kNoPath},
        {"file:?/a", kNoPath},
        {"files:///a", kNoPath},
        {"http://localhost/a.aif", kNoPath},
        {"x-loop+1.0:///a.aif", kNoPath},
    };
    for (const auto& [text, path] : cases) EXPECT_EQ(pathOf(URL::fromString(text)), path) << text;
}

TEST(URL, KeepsTheTextItWasMadeFrom) {
    for (const char* text : {"file://localhost/a%20b", "http://host/a?b#c", "FILE:///%c3"})
        EXPECT_EQ(URL::fromString(text).string(), text);
}

TEST(URL, KnowsTheExtensionOfItsLastComponent) {
    const struct {
        std::string_view text, extension;
    } cases[] = {
        {"file:///Kick.aif", "aif"},
        {"file:///Kick.AIFF", "AIFF"},
        {"file:///a.b/Kick", ""},
        {"file:///a.b/Kick.wav", "wav"},
        {"file:///Kick.tar.gz", "gz"},
        {"file:///Kick.", ""},
        {"file:///Kick", ""},
        {"file:///.hidden", ""},
        {"file:///.hidden.aif", "aif"},
        {"file:///Band.app/", "app"},
        {"file:///Band.app//", "app"},
        {"file:///", ""},
        {"file:///Kick.a%C3%AFf", "a\u00EFf"},
        {"file:///Kick%2Eaif", "aif"},
        {"file:///a.b%2FKick", ""},
        {"file:///Kick.aif?version=1.0", "aif"},
        {"file:///Kick.aif#a/b.c", "aif"},
        {"http://host.com/Kick.aif", "aif"},
        {"http://host.com", ""},
    };
    for (const auto& [text, extension] : cases)
        EXPECT_EQ(URL::fromString(text).pathExtension(), extension) << text;
}

TEST(URL, EqualsOneThatNamesTheSamePathAndIsInOrderWithOthers) {
    const struct {
        std::string_view a, b;
        bool equal;
    } cases[] = {
        {"file:///a%20b", "file:///a%20b", true},    {"file:///a%2Db%c3%a9", "file:///a-b%C3%A9", true},
        {"file:///a", "file://localhost/a", true},   {"file:///a", "FILE:/a", true},
        {"file:///a", "file:///A", false},           {"file:///a", "file:///a/", false},
        {"file:///a%2541", "file:///aA", false},     {"file:///a", "http:///a", false},
        {"http://host/%41", "http://host/A", false},  // what escapes mean there is that server's affair
        {"http://host/A", "http://host/A", true},
    };
    for (const auto& [a, b, equal] : cases) {
        const URL first = URL::fromString(a), second = URL::fromString(b);
        EXPECT_EQ(first == second, equal) << a << " / " << b;
        EXPECT_EQ(second == first, equal) << b << " / " << a;
        EXPECT_EQ((first < second) + (second < first), equal ? 0 : 1) << a << " / " << b;
    }
}

}  // namespace
}  // namespace platform
