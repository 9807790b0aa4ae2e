// SPDX-License-Identifier: MIT
#include <MarlCore/platform/XMLScanner.h>

#include <MarlCore/platform/PropertyList.h>
#include <MarlCore/platform/PropertyListText.h>
#include <MarlCore/platform/UTF8.h>

#include <algorithm>
#include <charconv>
#include <system_error>

namespace platform {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// The longest reference that means something is "&#x10FFFF;"; leading zeros may make it longer.
constexpr std::size_t kMostReferenceBytes = 32;
constexpr std::size_t kMostQuotedBytes = 40;

constexpr struct {
    std::string_view name;
    char character;
} kEntities[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};

/// The line of the byte at `position`, from 1. A line ends in "\n", "\r\n" or "\r".
int lineAt(std::string_view text, std::size_t position) noexcept {
    int line = 1;
    for (std::size_t i = 0; i < position; ++i) {
        const bool isFirstOfPair = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
        if (text[i] == '\n' || (text[i] == '\r' && !isFirstOfPair)) ++line;
    }
    return line;
}

/// A piece of the document for a message, cut where it is long (between characters).
std::string quoted(std::string_view text) {
    if (text.size() <= kMostQuotedBytes) return std::string(text);
    std::size_t length = kMostQuotedBytes;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
    return std::string(text.substr(0, length)) + "...";
}

}  // namespace

std::string XMLTag::text() const {
    return (kind == Kind::kEnd ? "</" : "<") + quoted(name) + (kind == Kind::kEmpty ? "/>" : ">");
}

XMLScanner::XMLScanner(std::string_view text) : m_text(text) {
    m_position = findNoXMLCharacter(text);
    if (m_position != std::string_view::npos) fail("a byte that is not text in UTF-8");
    m_position = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
}

void XMLScanner::fail(const std::string& problem) const {
    throw PropertyListError(lineAt(m_text, m_position), problem);
}

XMLTag XMLScanner::nextTag() {
    skipMisc();
    m_inProlog = false;
    if (atEnd()) fail("the file ends too early");
    if (!take("<"))
        fail("expected a tag, found '" + quoted(rest().substr(0, rest().find_first_of("<\r\n"))) + "'");
    XMLTag tag;
    if (take("/")) tag.kind = XMLTag::Kind::kEnd;
    tag.name = takeName();
    if (tag.name.empty()) fail("a tag without a name");
    skipAttributes(tag.name);
    if (tag.kind == XMLTag::Kind::kStart && take("/")) tag.kind = XMLTag::Kind::kEmpty;
    if (!take(">")) fail("the tag of " + quoted(tag.name) + " is malformed");
    return tag;
}

std::string XMLScanner::readText() {
    std::string text;
    while (!atEnd()) {
        if (m_text[m_position] == '&') {
            readReference(text);
        } else if (take("<![CDATA[")) {
            appendCharacters(text, takeUntil("]]>", "CDATA section"));
        } else if (m_text[m_position] != '<') {
            const std::string_view characters = rest().substr(0, rest().find_first_of("<&"));
            appendCharacters(text, characters);
            m_position += characters.size();
        } else if (!skipCommentOrInstruction()) {
            break;
        }
    }
    return text;
}

void XMLScanner::expectEnd() {
    skipMisc();
    if (!atEnd()) fail("something follows the property list");
}

bool XMLScanner::take(std::string_view expected) noexcept {
    if (!rest().starts_with(expected)) return false;
    m_position += expected.size();
    return true;
}

/// What precedes `end`, which is passed over too. A fault is told at the place where the section begins.
std::string_view XMLScanner::takeUntil(std::string_view end, const char* what) {
    const std::size_t length = rest().find(end);
    if (length == std::string_view::npos) fail(std::string("a ") + what + " has no end");
    const std::string_view section = rest().substr(0, length);
    m_position += length + end.size();
    return section;
}

bool XMLScanner::skipCommentOrInstruction() {
    if (take("<!--")) {
        takeUntil("-->", "comment");
    } else if (take("<?")) {
        takeUntil("?>", "processing instruction");
    } else {
        return false;
    }
    return true;
}

void XMLScanner::skipBlanks() noexcept {
    m_position = std::min(m_text.find_first_not_of(kBlanks, m_position), m_text.size());
}

void XMLScanner::skipMisc() {
    do {
        skipBlanks();
    } while (skipCommentOrInstruction() || skipDocumentType());
}

/// A document type ends at the first '>' outside of quotes, of comments and of its own declarations in
/// brackets. Entities declared there stay unknown: none can expand to anything.
bool XMLScanner::skipDocumentType() {
    if (!m_inProlog || !take("<!DOCTYPE")) return false;
    for (bool inBrackets = false; !atEnd();) {
        if (skipCommentOrInstruction()) continue;
        const char c = m_text[m_position];
        if (c == '"' || c == '\'') {
            skipQuoted();
            continue;
        }
        ++m_position;
        if (c == '[') inBrackets = true;
        if (c == ']') inBrackets = false;
        if (c == '>' && !inBrackets) return true;
    }
    fail("the document type has no end");
}

void XMLScanner::skipAttributes(std::string_view name) {
    for (skipBlanks(); !atEnd() && m_text[m_position] != '>' && m_text[m_position] != '/'; skipBlanks()) {
        const bool hasName = !takeName().empty();
        skipBlanks();
        const bool hasValue = take("=");
        skipBlanks();
        const bool isQuoted = rest().starts_with('"') || rest().starts_with('\'');
        if (!hasName || !hasValue || !isQuoted) fail("the tag of " + quoted(name) + " is malformed");
        skipQuoted();
    }
}

void XMLScanner::skipQuoted() {
    const char quote = m_text[m_position++];
    takeUntil(std::string_view(&quote, 1), "quoted text");
}

std::string_view XMLScanner::takeName() noexcept {
    const std::string_view name = rest().substr(0, rest().find_first_of(" \t\r\n<>/=&\"'"));
    m_position += name.size();
    return name;
}

void XMLScanner::readReference(std::string& text) {
    const std::size_t end = rest().substr(0, kMostReferenceBytes).find(';');
    if (end == std::string_view::npos) fail("an '&' that begins no reference; write &amp;");
    const std::string_view name = rest().substr(1, end - 1);
    if (name.starts_with('#')) {
        appendUTF8(text, characterNumbered(name.substr(1)));
    } else {
        const auto entity = std::ranges::find(kEntities, name, [](const auto& known) { return known.name; });
        if (entity == std::end(kEntities)) fail("unknown entity &" + quoted(name) + ";");
        text += entity->character;
    }
    m_position += end + 1;
}

/// The character of a reference such as "65" or "x41".
char32_t XMLScanner::characterNumbered(std::string_view reference) const {
    const bool isHexadecimal = reference.starts_with('x');
    const std::string_view digits = reference.substr(isHexadecimal ? 1 : 0);
    std::uint32_t number = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, isHexadecimal ? 16 : 10);
    const bool isNumber = error == std::errc() && end == digits.data() + digits.size();
    if (!isNumber || !isXMLCharacter(number)) fail("&#" + quoted(reference) + "; is no character");
    return number;
}

/// Literal characters: "\r\n" and "\r" are one line end, as XML 1.0 (section 2.11) asks.
void XMLScanner::appendCharacters(std::string& text, std::string_view characters) const {
    for (std::size_t i = 0; i < characters.size(); ++i) {
        if (characters[i] != '\r') {
            text += characters[i];
        } else if (!characters.substr(i + 1).starts_with('\n')) {
            text += '\n';
        }
    }
}

}  // namespace platform
