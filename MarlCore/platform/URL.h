// SPDX-License-Identifier: MIT
/// \file
/// A URL as text, and the way between a file URL and a path.
#pragma once

#include <MarlCore/platform/Export.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// An immutable URL. Paths are bytes: those that are not UTF-8 go into the text as percent-escapes and come
/// back unchanged. [any thread]
class MARLCORE_EXPORT URL {
public:
    /// The file URL of a POSIX path. A relative path is taken from the current folder, at once; throws
    /// `std::filesystem::filesystem_error` when that folder is gone. The text of a directory's URL ends in a
    /// slash.
    static URL fromPath(std::string_view path, bool isDirectory);

    /// A URL from its text, with percent-escapes. Text without a scheme is taken as the escaped path of a
    /// file, as in `fromPath`.
    static URL fromString(std::string_view text);

    /// The text, percent-escaped: "file:///loops/Kick%2001.aif".
    const std::string& string() const noexcept { return m_text; }

    /// The text with its percent-escapes replaced by the bytes that they stand for.
    std::string unescapedString() const;

    /// The POSIX path without a trailing slash ("/" excepted), query and fragment, or nothing when this is no
    /// file URL of this machine or its path holds a zero byte.
    std::optional<std::string> path() const;

    /// What follows the last dot of the last path component, without escapes; empty when there is no dot or
    /// the component begins with its only dot.
    std::string pathExtension() const;

    /// True for equal texts, and for two file URLs of this machine that name one path with different escapes
    /// or host spellings. A folder's URL with its final slash and one without are two URLs.
    friend MARLCORE_EXPORT bool operator==(const URL& a, const URL& b);
    /// A strict order for which two URLs are equivalent just when they are equal; it means nothing else.
    friend MARLCORE_EXPORT bool operator<(const URL& a, const URL& b);

private:
    explicit URL(std::string text);

    std::string m_text;
};

/// A URL that several owners share.
using URLRef = std::shared_ptr<const URL>;

/// `text` with every byte that a URL's path must not carry as it is replaced by "%XX".
MARLCORE_EXPORT std::string addPercentEscapes(std::string_view text);

/// `text` with every "%XX" replaced by its byte. A percent sign that no two hexadecimal digits follow stays.
MARLCORE_EXPORT std::string removePercentEscapes(std::string_view text);

}  // namespace platform
