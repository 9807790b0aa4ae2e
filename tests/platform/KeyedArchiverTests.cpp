// SPDX-License-Identifier: MIT
#include <MarlCore/platform/KeyedArchiver.h>

#include <MarlCore/platform/Color.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace platform {
namespace {

/// One part of each type.
struct Note {
    static constexpr std::string_view kArchiveName = "Note";

    std::int32_t number = 0;
    double position = 0;
    std::optional<std::string> text;
    std::optional<URL> url;

    Note() = default;
    explicit Note(const KeyedUnarchiver& coder)
        : number(coder.decodeInt32("number")),
          position(coder.decodeDouble("position")),
          text(coder.decodeString("text")),
          url(coder.decodeURL("url")) {}

    void encodeWithCoder(KeyedArchiver& coder) const {
        coder.encodeInt32(number, "number");
        coder.encodeDouble(position, "position");
        coder.encodeObject(std::string("replaced"), "text");
        coder.encodeObject(text, "text");
        coder.encodeObject(url, "url");
    }

    friend bool operator==(const Note&, const Note&) = default;
};

PropertyList::Data dataOf(std::string_view text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

TEST(KeyedArchiver, KeepsEveryPart) {
    std::vector<Note> notes(1);
    for (const double position : {-0.0, 0.1, 1e-300, std::numeric_limits<double>::infinity()}) {
        notes.emplace_back().position = position;
        notes.back().number = std::numeric_limits<std::int32_t>::min();
    }
    for (const std::string text : {"", "Bridge & \"Coda\"\r\n", " \xC3\xA9 ", "\x01\x7F", "\xE9t\xE9"})
        notes.emplace_back().text = text;
    notes.back().text = std::string("\0", 1);
    for (const URL& url : {URL::fromPath("/loops/a b.aif", false), URL::fromPath("/\xE9", true),
                           URL::fromString("https://example.org/?q#f")})
        notes.emplace_back().url = url;
    for (const Note& note : notes) {
        const auto archive = KeyedArchiver::archivedDataWithRootObject(note);
        const auto back = KeyedUnarchiver::unarchiveObjectWithData<Note>(archive);
        ASSERT_TRUE(back);
        EXPECT_EQ(*back, note) << note.text.value_or("nil");
        EXPECT_EQ(std::signbit(back->position), std::signbit(note.position));
    }
}

TEST(KeyedArchiver, ReadsOnlyArchivesOfTheClass) {
    const auto note = KeyedArchiver::archivedDataWithRootObject(Note());
    EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithData<Color>(note));
    for (const char* const text : {"", "x", "<plist><dict/></plist>", "<plist><string>Note</string></plist>",
                                   "<plist><dict><key>class</key><string>Note</string></dict></plist>"})
        EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithData<Note>(dataOf(text))) << text;
    for (std::size_t size = 0; size + 2 < note.size(); ++size)  // without the last line end it is whole
        EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithData<Note>(std::span(note).first(size))) << size;
}

TEST(KeyedArchiver, TakesWhatDoesNotFitForNothing) {
    const PropertyList::Dictionary parts = {
        {"number", std::int64_t{1} << 40}, {"position", "12"}, {"text", 3}, {"url", true}};
    const PropertyList archive(PropertyList::Dictionary{{"class", "Note"}, {"parts", parts}, {"more", 1}});
    EXPECT_EQ(KeyedUnarchiver::unarchiveObjectWithData<Note>(dataOf(archive.toXML())), Note());
}

}  // namespace
}  // namespace platform
