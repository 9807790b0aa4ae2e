// SPDX-License-Identifier: MIT
#include <MarlCore/platform/URL.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace platform {
namespace {

bool isLetter(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

/// The characters that RFC 3986 allows in a path as they stand, the slash included.
bool standsForItself(char c) noexcept {
    return isLetter(c) || isDigit(c) ||
           std::string_view("-._~/!$&'()*+,;=:@").find(c) != std::string_view::npos;
}

/// The value of a hexadecimal digit, or -1.
int hexValue(char c) noexcept {
    if (isDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

/// True when `text` begins with a scheme (RFC 3986: a letter, then letters, digits, "+", "-", ".") and a
/// colon.
bool hasScheme(std::string_view text) noexcept {
    if (text.empty() || !isLetter(text.front())) return false;
    for (char c : text) {
        if (c == ':') return true;
        if (!isLetter(c) && !isDigit(c) && c != '+' && c != '-' && c != '.') return false;
    }
    return false;
}

/// Schemes and host names are the same in either case. `lower` is lower-case ASCII.
bool equalsIgnoringCase(std::string_view text, std::string_view lower) noexcept {
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), [](char a, char b) {
        return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
    });
}

/// The parts of a URL that name a file, still escaped (RFC 3986, appendix B); query and fragment name none.
struct Parts {
    std::string_view scheme, host, path;
};

Parts split(std::string_view text) noexcept {
    Parts parts;
    text = text.substr(0, std::min(text.find('?'), text.find('#')));
    if (hasScheme(text)) {
        parts.scheme = text.substr(0, text.find(':'));
        text.remove_prefix(parts.scheme.size() + 1);
    }
    if (text.starts_with("//")) {
        text.remove_prefix(2);
        parts.host = text.substr(0, text.find('/'));
        text.remove_prefix(parts.host.size());
    }
    parts.path = text;
    return parts;
}

/// The path of a file URL of this machine, still escaped, or nothing.
std::optional<std::string_view> escapedLocalPath(std::string_view text) noexcept {
    const Parts parts = split(text);
    const bool isLocal = parts.host.empty() || equalsIgnoringCase(parts.host, "localhost");
    if (!equalsIgnoringCase(parts.scheme, "file") || !isLocal || !parts.path.starts_with('/'))
        return std::nullopt;
    return parts.path;
}

/// The same without escapes.
std::optional<std::string> localPath(std::string_view text) {
    const auto path = escapedLocalPath(text);
    return path ? std::optional(removePercentEscapes(*path)) : std::nullopt;
}

}  // namespace

std::string addPercentEscapes(std::string_view text) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string escaped;
    escaped.reserve(text.size());
    for (char c : text) {
        if (standsForItself(c)) {
            escaped += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            escaped += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
        }
    }
    return escaped;
}

std::string removePercentEscapes(std::string_view text) {
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escape =
            text[i] == '%' && text.size() - i > 2 && hexValue(text[i + 1]) >= 0 && hexValue(text[i + 2]) >= 0;
        if (escape) {
            plain += static_cast<char>(hexValue(text[i + 1]) << 4 | hexValue(text[i + 2]));
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

URL::URL(std::string text) : m_text(std::move(text)) {}

URL URL::fromPath(std::string_view path, bool isDirectory) {
    std::string absolute =
        path.starts_with('/') ? std::string(path) : (std::filesystem::current_path() / path).string();
    if (isDirectory && !absolute.ends_with('/')) absolute += '/';
    return URL("file://" + addPercentEscapes(absolute));
}

URL URL::fromString(std::string_view text) {
    if (hasScheme(text)) return URL(std::string(text));
    return fromPath(removePercentEscapes(text), text.ends_with('/'));
}

std::string URL::unescapedString() const {
    return removePercentEscapes(m_text);
}

std::optional<std::string> URL::path() const {
    auto path = localPath(m_text);
    if (!path || path->find('\0') != std::string::npos) return std::nullopt;
    while (path->size() > 1 && path->ends_with('/')) path->pop_back();
    return path;
}

std::string URL::pathExtension() const {
    std::string path = removePercentEscapes(split(m_text).path);
    while (path.ends_with('/')) path.pop_back();
    const std::string component = path.substr(path.rfind('/') + 1);
    const std::size_t dot = component.rfind('.');
    return dot == std::string::npos || dot == 0 ? std::string() : component.substr(dot + 1);
}

bool operator==(const URL& a, const URL& b) {
    if (a.m_text == b.m_text) return true;
    const auto pathOfA = escapedLocalPath(a.m_text), pathOfB = escapedLocalPath(b.m_text);
    if (!pathOfA || !pathOfB) return false;
    // Most paths have no escapes, and whoever looks for one compares it with many.
    const bool isPlain =
        pathOfA->find('%') == std::string_view::npos && pathOfB->find('%') == std::string_view::npos;
    return isPlain ? pathOfA == pathOfB : removePercentEscapes(*pathOfA) == removePercentEscapes(*pathOfB);
}

bool operator<(const URL& a, const URL& b) {
    const auto pathOfA = localPath(a.m_text), pathOfB = localPath(b.m_text);
    // Those that name no path here come first, by their texts.
    return pathOfA || pathOfB ? pathOfA < pathOfB : a.m_text < b.m_text;
}

}  // namespace platform
