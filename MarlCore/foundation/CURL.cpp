// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CURL.h>

#include <filesystem>
#include <string>

using halyard::CDataValueRef;
using halyard::CString;
using halyard::CStringRef;

namespace {

const std::string& textOf(const CStringRef& text, const char* name) {
    halyard::throwIfNull(text, name);
    return text->getStringRef();
}

/// What `makeURL` returns. A relative path needs the current folder, which may be gone.
template <typename MakeURL>
platform::URL withFileErrors(MakeURL makeURL) {
    try {
        return makeURL();
    } catch (const std::filesystem::filesystem_error& error) {
        throw halyard::CException(halyard::kFileIOError, error.code().value(), error.what());
    }
}

}  // namespace

CURL::CURL(const platform::URL& url) : m_url(url) {}

CURL::CURL(const CStringRef& text, bool isEscaped)
    : m_url(withFileErrors([&] {
          const std::string& given = textOf(text, "text");
          return platform::URL::fromString(isEscaped ? given : platform::addPercentEscapes(given));
      })) {}

CURL::CURL(const CStringRef& path, PathStyle, bool isDirectory)
    : m_url(withFileErrors([&] { return platform::URL::fromPath(textOf(path, "path"), isDirectory); })) {}

CDataValueRef CURL::getFileSystemPath(PathStyle) const {
    const auto path = m_url.path();
    return path ? CDataValueRef(new CString(*path)) : CDataValueRef();
}

CDataValueRef CURL::getString() const {
    return CDataValueRef(new CString(m_url.string()));
}

CDataValueRef CURL::getUnescapedString() const {
    return CDataValueRef(new CString(m_url.unescapedString()));
}

CStringRef CURL::getPathExtension() const {
    return CStringRef(new CString(m_url.pathExtension()));
}
