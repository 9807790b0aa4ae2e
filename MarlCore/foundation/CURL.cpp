// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CURL.h>

using halyard::CDataValueRef;
using halyard::CString;
using halyard::CStringRef;

namespace {

const std::string& textOf(const CStringRef& text, const char* name) {
    halyard::throwIfNull(text, name);
    return text->getStringRef();
}

}  // namespace

CURL::CURL(const platform::URL& url) : m_url(url) {}

CURL::CURL(const CStringRef& text, bool isEscaped)
    : m_url(isEscaped ? platform::URL::fromString(textOf(text, "text"))
                      : platform::URL::fromString(platform::addPercentEscapes(textOf(text, "text")))) {}

CURL::CURL(const CStringRef& path, PathStyle, bool isDirectory)
    : m_url(platform::URL::fromPath(textOf(path, "path"), isDirectory)) {}

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
