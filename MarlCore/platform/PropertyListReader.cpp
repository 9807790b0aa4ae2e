// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PropertyList.h>
#include <MarlCore/platform/PropertyListText.h>
#include <MarlCore/platform/XMLScanner.h>

#include <utility>

namespace platform {
namespace {

std::string_view trimmed(std::string_view text) noexcept {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// Reads the elements of one document. Its depth is bounded, so a hostile file cannot exhaust the stack.
class Reader {
public:
    explicit Reader(std::string_view xml) : m_scanner(xml) {}

    PropertyList readDocument() {
        const XMLTag root = m_scanner.nextTag();
        if (root.name != "plist" || root.kind != XMLTag::Kind::kStart) expected("a <plist>", root);
        const XMLTag first = m_scanner.nextTag();
        if (first.kind == XMLTag::Kind::kEnd) expected("a value", first);
        PropertyList value = readValue(first);
        expectEndTag("plist");
        m_scanner.expectEnd();
        return value;
    }

private:
    struct Element {
        std::string_view name;
        PropertyList (Reader::*read)(const XMLTag& tag);
    };
    static const Element kElements[];

    PropertyList readValue(const XMLTag& tag);

    PropertyList readDictionary(const XMLTag& tag) {
        PropertyList::Dictionary dictionary;
        enter();
        while (const auto keyTag = nextChild(tag)) {
            if (keyTag->name != "key") expected("a <key>", *keyTag);
            std::string key = readLeaf(*keyTag);
            const XMLTag valueTag = m_scanner.nextTag();
            if (valueTag.kind == XMLTag::Kind::kEnd) expected("the value of a key", valueTag);
            dictionary.insert_or_assign(std::move(key), readValue(valueTag));
        }
        --m_depth;
        return dictionary;
    }

    PropertyList readArray(const XMLTag& tag) {
        PropertyList::Array array;
        enter();
        while (const auto child = nextChild(tag)) array.push_back(readValue(*child));
        --m_depth;
        return array;
    }

    PropertyList readString(const XMLTag& tag) { return readLeaf(tag); }

    PropertyList readInteger(const XMLTag& tag) {
        return readParsed(tag, integerFromText, "is no integer of 64 bits");
    }
    PropertyList readReal(const XMLTag& tag) { return readParsed(tag, realFromText, "is no real number"); }
    PropertyList readDate(const XMLTag& tag) {
        return readParsed(tag, dateFromText, "is no date such as 2026-11-21T10:00:00Z");
    }
    PropertyList readData(const XMLTag& tag) { return readParsed(tag, dataFromText, "is not base64"); }

    template <bool value>
    PropertyList readBoolean(const XMLTag& tag) {
        if (!trimmed(readLeaf(tag)).empty()) m_scanner.fail(tag.text() + " holds text");
        return value;
    }

    template <typename Parse>
    PropertyList readParsed(const XMLTag& tag, Parse parse, const char* problem) {
        const std::string text = readLeaf(tag);
        auto value = parse(trimmed(text));
        if (!value) m_scanner.fail("the text of an element " + tag.text() + ' ' + problem);
        return *std::move(value);
    }

    /// The text of an element that holds nothing else, up to and including its end tag.
    std::string readLeaf(const XMLTag& tag) {
        if (tag.kind == XMLTag::Kind::kEmpty) return {};
        std::string text = m_scanner.readText();
        expectEndTag(tag.name);
        return text;
    }

    /// The tag of the next element in the container that `tag` began; nothing at its end.
    std::optional<XMLTag> nextChild(const XMLTag& tag) {
        if (tag.kind == XMLTag::Kind::kEmpty) return std::nullopt;
        const XMLTag next = m_scanner.nextTag();
        if (next.kind != XMLTag::Kind::kEnd) return next;
        if (next.name != tag.name) expected("the end of a " + tag.text(), next);
        return std::nullopt;
    }

    void expectEndTag(std::string_view name) {
        const XMLTag tag = m_scanner.nextTag();
        if (tag.kind != XMLTag::Kind::kEnd || tag.name != name)
            expected(XMLTag{XMLTag::Kind::kEnd, name}.text(), tag);
    }

    [[noreturn]] void expected(const std::string& what, const XMLTag& found) const {
        m_scanner.fail("expected " + what + ", found " + found.text());
    }

    void enter() {
        if (++m_depth > PropertyList::kMostNested) m_scanner.fail("nested too deeply");
    }

    XMLScanner m_scanner;
    int m_depth = 0;
};

constexpr Reader::Element Reader::kElements[] = {
    {"dict", &Reader::readDictionary},
    {"array", &Reader::readArray},
    {"string", &Reader::readString},
    {"integer", &Reader::readInteger},
    {"real", &Reader::readReal},
    {"true", &Reader::readBoolean<true>},
    {"false", &Reader::readBoolean<false>},
    {"data", &Reader::readData},
    {"date", &Reader::readDate},
};

PropertyList Reader::readValue(const XMLTag& tag) {
    for (const auto& [name, read] : kElements)
        if (name == tag.name) return (this->*read)(tag);
    m_scanner.fail("unknown element " + tag.text());
}

}  // namespace

PropertyList PropertyList::parse(std::string_view xml) {
    if (xml.starts_with("bplist")) throw PropertyListError(1, "a binary property list; only XML is read");
    return Reader(xml).readDocument();
}

}  // namespace platform
