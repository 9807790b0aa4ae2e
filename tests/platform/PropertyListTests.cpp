// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PropertyList.h>

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <filesystem>
#include <limits>
#include <random>

#include <sys/stat.h>

using namespace std::chrono_literals;

namespace platform {
namespace {

using Array = PropertyList::Array;
using Data = PropertyList::Data;
using Date = PropertyList::Date;
using Dictionary = PropertyList::Dictionary;

PropertyList parsed(const std::string& value) {
    return PropertyList::parse("<plist version=\"1.0\">" + value + "</plist>");
}

PropertyList afterRoundTrip(const PropertyList& list) {
    return PropertyList::parse(list.toXML());
}

std::string faultOf(std::string_view xml) {
    try {
        PropertyList::parse(xml);
    } catch (const PropertyListError& error) {
        EXPECT_EQ(error.reason(), "line " + std::to_string(error.line()) + ": " + error.problem());
        return error.reason();
    }
    return "none";
}

std::string faultOfWriting(const PropertyList& list) {
    try {
        list.toXML();
    } catch (const PropertyListError& error) {
        return error.reason();
    }
    return "none";
}

PropertyList nested(int depth) {
    PropertyList list(1);
    for (int i = 0; i < depth; ++i) list = i % 2 ? PropertyList(Array{list}) : Dictionary{{"k", list}};
    return list;
}

Date dateOf(int year, unsigned month, unsigned day) {
    return std::chrono::sys_days(std::chrono::year(year) / month / day);
}

TEST(PropertyList, ReadsEveryType) {
    const PropertyList list = PropertyList::parse(R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "a>b" 'c"' [ <!ENTITY e "f>"> <!-- it's -->]>
<!-- a comment -->
<plist version="1.0">
<dict>
  <key>array</key> <array> <integer> 1 </integer><array/><dict></dict> </array>
  <key>string</key><string> spaces stay </string>
  <key>integer</key><integer>-17</integer>
  <key>real</key><real>2.5</real>
  <key>yes</key><true/>
  <key>no</key><false></false>
  <key>data</key><data>
    TWFy
    bA==
  </data>
  <key>date</key><date>2026-11-21T10:00:05Z</date>
</dict>
</plist>
)");
    EXPECT_EQ(list["array"], (Array{1, Array{}, Dictionary{}}));
    EXPECT_EQ(list["string"], " spaces stay ");
    EXPECT_EQ(list["integer"], -17);
    EXPECT_EQ(list["real"], 2.5);
    EXPECT_EQ(list["yes"], true);
    EXPECT_EQ(list["no"], false);
    EXPECT_EQ(list["data"], (Data{std::byte{'M'}, std::byte{'a'}, std::byte{'r'}, std::byte{'l'}}));
    EXPECT_EQ(list["date"], dateOf(2026, 11, 21) + 10h + 5s);
    EXPECT_EQ(list.asDictionary()->size(), 8u);
}

TEST(PropertyList, ReadsTexts) {
    const struct {
        const char *xml, *text;
    } cases[] = {
        {"<string/>", ""},
        {"<string></string >", ""},
        {"<string a='1>' b = \"2\">x</string>", "x"},
        {"<string>&amp;&lt;&gt;&quot;&apos;</string>", "&<>\"'"},
        {"<string>&#65;&#x42;&#x00000000000000000043;&#9;&#13;</string>", "ABC\t\r"},
        {"<string>&#xe9;&#x20AC;&#x1F3B5;</string>", "\u00E9\u20AC\U0001F3B5"},
        {"<string>&amp;lt;</string>", "&lt;"},
        {"<string>a<!-- <b> -->c<?d e?>f</string>", "acf"},
        {"<string><![CDATA[<a>&amp;]]]]><![CDATA[>]]></string>", "<a>&amp;]]>"},
        {"<string>a\r\nb\rc\n\r\nd<![CDATA[\r\n]]></string>", "a\nb\nc\n\nd\n"},
        {"<string>\u00E9\U0001F3B5</string>", "\u00E9\U0001F3B5"},
    };
    for (const auto& [xml, text] : cases) EXPECT_EQ(parsed(xml), text) << xml;
    EXPECT_EQ(PropertyList::parse("\xEF\xBB\xBF<plist><string>a</string></plist>"), "a");
}

TEST(PropertyList, ReadsNumbersAndDates) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr auto kLowest = std::numeric_limits<std::int64_t>::min();
    const struct {
        const char* xml;
        PropertyList value;
    } cases[] = {
        {"<integer>9223372036854775807</integer>", std::numeric_limits<std::int64_t>::max()},
        {"<integer>-9223372036854775808</integer>", kLowest},
        {"<integer>-0x8000000000000000</integer>", kLowest},
        {"<integer>\n+007\t</integer>", 7},
        {"<integer>0XfF</integer>", 255},
        {"<real>-1e-3</real>", -0.001},
        {"<real>+.5</real>", 0.5},
        {"<real>5</real>", 5.0},
        {"<real>INF</real>", kInfinity},
        {"<real>-Infinity</real>", -kInfinity},
        {"<real>4.9406564584124654e-324</real>", std::numeric_limits<double>::denorm_min()},
        {"<date> 1969-12-31T23:59:59Z </date>", Date(-1s)},
        {"<date>2024-02-29T00:00:00Z</date>", dateOf(2024, 2, 29)},
        {"<data/>", Data{}},
        {"<data>AA</data>", Data{std::byte{0}}},
        {"<data>/+8=</data>", Data{std::byte{0xFF}, std::byte{0xEF}}},
    };
    for (const auto& [xml, value] : cases) EXPECT_EQ(parsed(xml), value) << xml;
    EXPECT_TRUE(std::isnan(*parsed("<real>NaN</real>").asReal()));
}

TEST(PropertyList, TakesTheLastOfEqualKeys) {
    EXPECT_EQ(parsed("<dict><key>a</key><true/><key>b</key><integer>1</integer><key>a</key><false/></dict>"),
              (Dictionary{{"a", false}, {"b", 1}}));
}

TEST(PropertyList, SaysWhatIsWrongAndWhere) {
    const struct {
        const char *xml, *fault;
    } cases[] = {
        {"", "line 1: the file ends too early"},
        {"hello", "line 1: expected a tag, found 'hello'"},
        {"bplist00", "line 1: a binary property list; only XML is read"},
        {"\n<dict/>", "line 2: expected a <plist>, found <dict/>"},
        {"<plist/>", "line 1: expected a <plist>, found <plist/>"},
        {"<plist>\r\n</plist>", "line 2: expected a value, found </plist>"},
        {"<plist><true/>\r<true/></plist>", "line 2: expected </plist>, found <true/>"},
        {"<plist><true/></plist>\n\n<!-- -->x", "line 3: something follows the property list"},
        {"<plist>\n<dict>\n<key>a</key>\n", "line 4: the file ends too early"},
        {"<plist><dict><key>a</key></dict></plist>", "line 1: expected the value of a key, found </dict>"},
        {"<plist><dict>\n<string/></dict></plist>", "line 2: expected a <key>, found <string/>"},
        {"<plist><dict>x</dict></plist>", "line 1: expected a tag, found 'x'"},
        {"<plist><array></dict></plist>", "line 1: expected the end of a <array>, found </dict>"},
        {"<plist><string>a<b/></string></plist>", "line 1: expected </string>, found <b/>"},
        {"<plist><key>a</key></plist>", "line 1: unknown element <key>"},
        {"<plist><Dict/></plist>", "line 1: unknown element <Dict/>"},
        {"<plist>< dict/></plist>", "line 1: a tag without a name"},
        {"<plist><dict a></dict></plist>", "line 1: the tag of dict is malformed"},
        {"<plist><dict a=1></dict></plist>", "line 1: the tag of dict is malformed"},
        {"<plist><dict a='1></dict></plist>", "line 1: a quoted text has no end"},
        {"<plist><dict", "line 1: the tag of dict is malformed"},
        {"<plist><dict/ ></plist>", "line 1: the tag of dict is malformed"},
        {"<plist>\n<!-- <dict/></plist>", "line 2: a comment has no end"},
        {"<?xml <plist>", "line 1: a processing instruction has no end"},
        {"<!DOCTYPE plist [ > ", "line 1: the document type has no end"},
        {"<plist><!DOCTYPE plist><true/></plist>", "line 1: the tag of !DOCTYPE is malformed"},
        {"<plist><string><![CDATA[a]]</string></plist>", "line 1: a CDATA section has no end"},
        {"<plist><string>a & b</string></plist>", "line 1: an '&' that begins no reference; write &amp;"},
        {"<!DOCTYPE plist [<!ENTITY e 'x'>]><plist><string>&e;</string></plist>",
         "line 1: unknown entity &e;"},
        {"<plist><string>&#;</string></plist>", "line 1: &#; is no character"},
        {"<plist><string>&#0;</string></plist>", "line 1: &#0; is no character"},
        {"<plist><string>&#xD800;</string></plist>", "line 1: &#xD800; is no character"},
        {"<plist><string>&#x110000;</string></plist>", "line 1: &#x110000; is no character"},
        {"<plist><string>&#99999999999;</string></plist>", "line 1: &#99999999999; is no character"},
        {"<plist>\n<string>\x01</string></plist>", "line 2: a byte that is not text in UTF-8"},
        {"<plist>\n<string>\xE9</string></plist>", "line 2: a byte that is not text in UTF-8"},
        {"<plist>\n<string>\xEF\xBF\xBF</string></plist>", "line 2: a byte that is not text in UTF-8"},
        {"<plist><integer/></plist>", "line 1: the text of an element <integer/> is no integer of 64 bits"},
        {"<plist><true>x</true></plist>", "line 1: <true> holds text"},
    };
    for (const auto& [xml, fault] : cases) EXPECT_EQ(faultOf(xml), fault) << xml;
}

TEST(PropertyList, RefusesTextsThatAreNoValues) {
    const struct {
        const char* element;
        std::vector<const char*> texts;
    } cases[] = {
        {"integer",
         {"", "x", "1x", "1.0", "--1", "+-1", "- 1", "0x", "9223372036854775808", "-9223372036854775809",
          "99999999999999999999"}},
        {"real", {"", ".", "1,5", "--1", "1e", "1e999", "nan(1)", "infinite", "0x1p3"}},
        {"data", {"A", "AAAAA", "A===", "AA=A", "AA===", "AAAA=", "A-_A", "="}},
        {"date",
         {"", "2026-11-21", "2026-11-21 10:00:00Z", "2026-11-21T10:00:00", "2026-13-01T00:00:00Z",
          "2025-02-29T00:00:00Z", "2026-11-21T24:00:00Z", "2026-11-21T10:60:00Z", "2026-11-21T10:00:60Z",
          "+026-11-21T10:00:00Z"}},
    };
    for (const auto& [element, texts] : cases) {
        for (const char* text : texts) {
            const std::string name(element);
            EXPECT_THROW(parsed("<" + name + ">" + text + "</" + name + ">"), PropertyListError)
                << name << ' ' << text;
        }
    }
}

TEST(PropertyList, CutsLongNamesInMessages) {
    const std::string fault = faultOf("<plist><a" + std::string(1000, 'b') + "/></plist>");
    EXPECT_EQ(fault, "line 1: unknown element <a" + std::string(39, 'b') + ".../>");
}

TEST(PropertyList, NestsAsDeepAsItReads) {
    const PropertyList deepest = nested(PropertyList::kMostNested);
    EXPECT_EQ(afterRoundTrip(deepest), deepest);
    EXPECT_EQ(faultOfWriting(nested(PropertyList::kMostNested + 1)), "nested too deeply");
    std::string xml = "<plist>";
    for (int i = 0; i < 1'000'000; ++i) xml += "<array>";
    EXPECT_EQ(faultOf(xml), "line 1: nested too deeply");
}

TEST(PropertyList, ReadsWhatItWrote) {
    Data everyByte;
    for (int i = 0; i < 256; ++i) everyByte.push_back(static_cast<std::byte>(i));
    const Dictionary list{
        {"", Array{Dictionary{}, Array{}, "", Data{}}},
        {"<key> & 'more'", " \t\n\r\n\"]]>&amp;<![CDATA[\u00E9\U0001F3B5"},
        {"flags", Array{true, false}},
        {"integers", Array{0, -1, std::numeric_limits<std::int64_t>::min(), 255u}},
        {"dates", Array{dateOf(0, 1, 1), dateOf(1969, 12, 31), dateOf(9999, 12, 31) + 24h - 1s}},
        {"data", Array{everyByte, Data(everyByte.begin(), everyByte.end() - 1), Data(1)}},
    };
    EXPECT_EQ(afterRoundTrip(list), PropertyList(list));
}

TEST(PropertyList, KeepsEveryBitOfAReal) {
    constexpr unsigned kSeed = 20261121;
    SCOPED_TRACE(kSeed);
    std::mt19937_64 random(kSeed);
    Array reals{0.0,
                -0.0,
                0.1,
                1e308,
                std::numeric_limits<double>::denorm_min(),
                -std::numeric_limits<double>::infinity()};
    while (reals.size() < 2000) {
        const auto real = std::bit_cast<double>(random());
        if (!std::isnan(real)) reals.push_back(real);
    }
    const PropertyList list = afterRoundTrip(reals);
    ASSERT_EQ(list.asArray()->size(), reals.size());
    for (std::size_t i = 0; i < reals.size(); ++i) {
        EXPECT_EQ(std::bit_cast<std::uint64_t>(*(*list.asArray())[i].asReal()),
                  std::bit_cast<std::uint64_t>(*reals[i].asReal()));
    }
    const PropertyList nan = afterRoundTrip(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(std::isnan(*nan.asReal()));
}

TEST(PropertyList, WritesOneValueALine) {
    const PropertyList list(Dictionary{{"b", Array{1, 2.5, "<"}}, {"a", Dictionary{}}});
    EXPECT_EQ(list.toXML(), R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
	<key>a</key>
	<dict/>
	<key>b</key>
	<array>
		<integer>1</integer>
		<real>2.5</real>
		<string>&lt;</string>
	</array>
</dict>
</plist>
)");
}

TEST(PropertyList, RefusesToWriteWhatXMLCannotHold) {
    constexpr char kBadText[] = "a text with control characters, or not in UTF-8";
    constexpr char kBadDate[] = "a date outside of the years 0 to 9999";
    for (const std::string& text : {std::string("\0", 1), std::string("a\x1F"), std::string("\xE9"),
                                    std::string("\xEF\xBF\xBE"), std::string("\xED\xA0\x80")}) {
        EXPECT_EQ(faultOfWriting(text), kBadText);
        EXPECT_EQ(faultOfWriting(Dictionary{{text, 1}}), kBadText);
    }
    EXPECT_EQ(faultOfWriting(dateOf(-1, 12, 31)), kBadDate);
    EXPECT_EQ(faultOfWriting(dateOf(10000, 1, 1)), kBadDate);
    EXPECT_EQ(faultOfWriting(Date::max()), kBadDate);
}

TEST(PropertyList, GivesNothingForAnotherType) {
    const PropertyList list(Dictionary{{"n", 3}, {"d", Dictionary{{"s", "x"}}}});
    EXPECT_EQ(list["n"].asInteger(), 3);
    EXPECT_EQ(list["n"].asReal(), 3.0);
    EXPECT_EQ(*list["d"]["s"].asString(), "x");
    EXPECT_EQ(list["n"].asString(), nullptr);
    EXPECT_EQ(list["n"].asBoolean(), std::nullopt);
    EXPECT_EQ(PropertyList(2.0).asInteger(), std::nullopt);
    EXPECT_EQ(list["n"].find("s"), nullptr);
    EXPECT_EQ(list.find("x"), nullptr);
    EXPECT_EQ(list["x"]["y"], PropertyList());
    EXPECT_EQ(PropertyList(true).type(), PropertyList::Type::kBoolean);
    EXPECT_NE(PropertyList(1), PropertyList(1.0));
}

TEST(PropertyList, NamesTheFileInItsErrors) {
    const support::TemporaryFolder folder;
    const auto faultOfLoading = [](const std::string& path) -> std::string {
        try {
            PropertyList::load(path);
        } catch (const PropertyListError& error) {
            return error.reason();
        }
        return "none";
    };
    const std::string broken = folder.write("Broken.plist", "<plist>\n<dict>\n</plist>");
    EXPECT_EQ(faultOfLoading(broken), broken + ": line 3: expected the end of a <dict>, found </plist>");
    const std::string missing = folder.path("Missing.plist");
    EXPECT_EQ(faultOfLoading(missing), missing + ": No such file or directory");
    const std::string pipe = folder.path("Pipe.plist");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, folder.path(), std::string("/dev/zero")})
        EXPECT_EQ(faultOfLoading(path), path + ": is no regular file");
    const std::string large = folder.write("Large.plist", "");
    std::filesystem::resize_file(large, PropertyList::kLargestFile + 1);
    EXPECT_EQ(faultOfLoading(large), large + ": too large for a property list");
    EXPECT_EQ(PropertyList::load(folder.write("Fine.plist", PropertyList(1).toXML())), 1);
}

}  // namespace
}  // namespace platform
