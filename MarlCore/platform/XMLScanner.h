// SPDX-License-Identifier: MIT
/// \file
/// Reads the tags and texts of an XML document one after the other, as far as property lists need XML.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

/// A start tag, an end tag, or an element without contents. Attributes are passed over.
struct XMLTag {
    enum class Kind { kStart, kEnd, kEmpty };

    Kind kind = Kind::kStart;
    std::string_view name;

    /// As it stands in the document, for messages: "<key>".
    std::string text() const;
};

/// Every fault is a `PropertyListError` with its line. The text must outlive the scanner and its tags.
/// [one thread at a time]
class XMLScanner {
public:
    /// Throws where `text` holds bytes that are not UTF-8 or that no XML document may hold.
    explicit XMLScanner(std::string_view text);

    /// The next tag. Only blanks, comments and processing instructions may precede it, and before the first
    /// one the document type.
    XMLTag nextTag();

    /// The characters up to the next tag, with CDATA sections, without comments and processing instructions.
    std::string readText();

    /// Throws unless nothing but blanks, comments and processing instructions is left.
    void expectEnd();

    [[noreturn]] void fail(const std::string& problem) const;

private:
    std::string_view rest() const noexcept { return m_text.substr(m_position); }
    bool atEnd() const noexcept { return m_position == m_text.size(); }
    bool take(std::string_view expected) noexcept;
    std::string_view takeUntil(std::string_view end, const char* what);
    bool skipCommentOrInstruction();
    void skipBlanks() noexcept;
    void skipMisc();
    bool skipDocumentType();
    void skipAttributes(std::string_view name);
    void skipQuoted();
    std::string_view takeName() noexcept;
    void readReference(std::string& text);
    char32_t characterNumbered(std::string_view reference) const;
    void appendCharacters(std::string& text, std::string_view characters) const;

    std::string_view m_text;
    std::size_t m_position = 0;
    bool m_inProlog = true;  // before the first tag, where alone a document type may stand
};

}  // namespace platform
