// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CString.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using namespace std::string_view_literals;

namespace halyard {
namespace {

/// The bytes 0x80 to 0xFF.
std::string upperHalf() {
    std::string bytes;
    for (int byte = 0x80; byte <= 0xFF; ++byte) bytes += static_cast<char>(static_cast<unsigned char>(byte));
    return bytes;
}

std::string decoded(const std::string& bytes, TextEncoding encoding) {
    return CString(bytes.c_str(), encoding).getStringRef();
}

TEST(String, DecodesMacRoman) {
    // As Python's codec "mac_roman" decodes them.
    EXPECT_EQ(decoded(upperHalf(), TextEncoding::kMacRoman),
              "ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü"
              "†°¢£§•¶ß®©™´¨≠ÆØ∞±≤≥¥µ∂∑∏π∫ªºΩæø"
              "¿¡¬√ƒ≈∆«»…\u00A0ÀÃÕŒœ–—“”‘’÷◊ÿŸ⁄€‹›ﬁﬂ"
              "‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔ\uF8FFÒÚÛÙıˆ˜¯˘˙˚¸˝˛ˇ");
}

TEST(String, DecodesWindowsLatin1) {
    // As Python's codec "cp1252" decodes them, U+FFFD for the five bytes that it refuses.
    EXPECT_EQ(decoded(upperHalf(), TextEncoding::kWindowsLatin1),
              "€\uFFFD‚ƒ„…†‡ˆ‰Š‹Œ\uFFFDŽ\uFFFD\uFFFD‘’“”•–—˜™š›œ\uFFFDžŸ"
              "\u00A0¡¢£¤¥¦§¨©ª«¬\u00AD®¯°±²³´µ¶·¸¹º»¼½¾¿"
              "ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞß"
              "àáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿ");
}

TEST(String, TakesASCIIAndUTF8AsTheyAre) {
    std::string ascii;
    for (char c = 1; c < 127; ++c) ascii += c;
    for (const auto encoding : {TextEncoding::kUTF8, TextEncoding::kMacRoman, TextEncoding::kWindowsLatin1})
        EXPECT_EQ(decoded(ascii, encoding), ascii);
    EXPECT_EQ(decoded(upperHalf(), TextEncoding::kUTF8), upperHalf()) << "paths may be any bytes";
}

TEST(String, IsMadeFromTheBytesOfABuffer) {
    const CBufferRef bytes(new CBuffer("K\xC9\0k", 4, false));
    const struct {
        CBufferRef buffer;
        int length;
        TextEncoding encoding;
        std::string_view expected;
    } cases[] = {
        {bytes, 4, TextEncoding::kUTF8, "K\xC9\0k"sv},  {bytes, 2, TextEncoding::kWindowsLatin1, "K\u00C9"},
        {bytes, 2, TextEncoding::kMacRoman, "K\u2026"}, {bytes, 0, TextEncoding::kUTF8, ""},
        {bytes, -1, TextEncoding::kUTF8, ""},           {bytes, 1000, TextEncoding::kUTF8, "K\xC9\0k"sv},
        {nullptr, 5, TextEncoding::kUTF8, ""},
    };
    for (const auto& [buffer, length, encoding, expected] : cases) {
        const CStringRef text(new CString(buffer, length, encoding));
        EXPECT_EQ(text->getStringRef(), expected) << length;
        EXPECT_EQ(text->getLength(), static_cast<int>(expected.size()));
        EXPECT_EQ(text->getCharPtr()[expected.size()], '\0');
    }
}

TEST(String, IsMadeFromHostText) {
    EXPECT_STREQ(CSTR("Kick 01")->getCharPtr(), "Kick 01");
    EXPECT_EQ(CSTR(static_cast<const char*>(nullptr))->getLength(), 0);
    EXPECT_EQ(CSTR(std::string("a\0b", 3))->getLength(), 3);
}

TEST(String, ComparesByUnsignedBytesAndFoldsOnlyASCII) {
    const struct {
        std::string_view a, b;
        int exact, folded;  // sign of a against b
    } cases[] = {
        {"", "", 0, 0},
        {"", "a", -1, -1},
        {"Loop", "Loop", 0, 0},
        {"Loop", "Loops", -1, -1},
        {"loop", "Loop", 1, 0},
        {"Z", "a", -1, 1},
        {"a", "B", 1, -1},
        {"_", "a", -1, -1},
        {"_", "A", 1, -1},  // folded letters are lower-case: they sort behind the signs between Z and a
        {"[", "A", 1, -1},
        {"z", "\x80", -1, -1},
        {"\u00E9", "\u00C9", 1, 1},
        {"a\0b"sv, "a\0c"sv, -1, -1},
        {"a\0"sv, "a", 1, 1},
    };
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    for (const auto& [a, b, exact, folded] : cases) {
        const CString first{std::string(a)}, second{std::string(b)};
        EXPECT_EQ(sign(first.compare(second, false)), exact) << a << " / " << b;
        EXPECT_EQ(sign(second.compare(first, false)), -exact) << b << " / " << a;
        EXPECT_EQ(sign(first.compare(second, true)), folded) << a << " / " << b << ", folded";
        EXPECT_EQ(sign(second.compare(first, true)), -folded) << b << " / " << a << ", folded";
        EXPECT_EQ(first.equals(second), exact == 0) << a << " / " << b;
    }
}

TEST(String, FindsText) {
    const struct {
        const char* text;
        const char* wanted;
        int start;
        bool ignoreCase;
        int expected;  // -1: not found
    } cases[] = {
        {"Bass Drum Bass", "Bass", 0, false, 0},
        {"Bass Drum Bass", "Bass", 1, false, 10},
        {"Bass Drum Bass", "Bass", 10, false, 10},
        {"Bass Drum Bass", "Bass", 11, false, -1},
        {"Bass Drum Bass", "bass", 0, false, -1},
        {"Bass Drum Bass", "bASS", 1, true, 10},
        {"Bass", "Bass Drum", 0, false, -1},
        {"aab", "ab", 0, false, 1},
        {"Bass", "Bass", -5, false, 0},
        {"Bass", "", 2, false, 2},
        {"Bass", "", 4, false, 4},
        {"Bass", "", 5, false, -1},
        {"Bass", "s", 100, false, -1},
        {"", "", 0, false, 0},
        {"", "x", 0, false, -1},
        {"[x]", "{X}", 0, true, -1},  // only letters fold
        {"\u00C9t\u00E9", "\u00E9T", 0, true, -1},
        {"\u00C9t\u00E9", "T\u00E9", 0, true, 2},
    };
    for (const auto& [text, wanted, start, ignoreCase, expected] : cases) {
        constexpr int kUntouched = -99;
        int foundAt = kUntouched;
        const CString haystack(text), needle(wanted);
        EXPECT_EQ(haystack.find(needle, start, &foundAt, ignoreCase), expected >= 0)
            << text << " / " << wanted;
        EXPECT_EQ(foundAt, expected >= 0 ? expected : kUntouched)
            << text << " / " << wanted << " / " << start;
        EXPECT_EQ(haystack.find(needle, start, nullptr, ignoreCase), expected >= 0);
    }
}

TEST(String, IsWhatADataValueIsNarrowedTo) {
    class OtherValue : public CDataValue {};
    const CStringRef text = CSTR("text");
    EXPECT_EQ(asString(CDataValueRef(text)), text);
    EXPECT_EQ(asString(CDataValueRef(new OtherValue)), nullptr);
    EXPECT_EQ(asString(nullptr), nullptr);
}

TEST(UTF8, IsValidOnlyWhenWellFormed) {
    const std::string_view valid[] = {
        "",
        "plain",
        "\0"sv,
        "\x7F",
        "\xC2\x80",
        "\xDF\xBF",
        "\xE0\xA0\x80",
        "\xED\x9F\xBF",
        "\xEE\x80\x80",
        "\xEF\xBF\xBF",
        "\xF0\x90\x80\x80",
        "\xF4\x8F\xBF\xBF",
        "a\xE2\x82\xACz",
    };
    for (const std::string_view text : valid) EXPECT_TRUE(isValidUTF8(text)) << testing::PrintToString(text);

    const std::string_view invalid[] = {
        "\x80",
        "\xBF",
        "a\x80",  // continuation without a start
        "\xC2",
        "\xE0\xA0",
        "\xF0\x90\x80",
        "\xC2z",  // cut off
        "\xE2z\x82",
        "\xE2\x82z",
        "\xF0\x90z\x80",
        "\xF0\x90\x80z",
        "\xC0\x80",
        "\xC1\xBF",
        "\xE0\x80\x80",
        "\xE0\x9F\xBF",
        "\xF0\x8F\xBF\xBF",  // longer than needed
        "\xED\xA0\x80",
        "\xED\xBF\xBF",  // surrogates
        "\xF4\x90\x80\x80",
        "\xF5\x80\x80\x80",  // beyond U+10FFFF
        "\xF8\x88\x80\x80\x80",
        "\xFE",
        "\xFF",
    };
    for (const std::string_view text : invalid)
        EXPECT_FALSE(isValidUTF8(text)) << testing::PrintToString(text);
}

TEST(UTF8, IsWhatOldEncodingsBecome) {
    for (const auto encoding : {TextEncoding::kMacRoman, TextEncoding::kWindowsLatin1})
        EXPECT_TRUE(isValidUTF8(decoded(upperHalf(), encoding)));
}

}  // namespace
}  // namespace halyard
