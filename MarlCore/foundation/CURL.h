// SPDX-License-Identifier: MIT
/// \file
/// A shared file URL.
#pragma once

#include <MarlCore/foundation/CString.h>
#include <MarlCore/platform/URL.h>

/// Names a file. Immutable; its queries never touch the disk. [any thread]
class MARLCORE_EXPORT CURL : public halyard::CSharedObject {
public:
    enum PathStyle { kPOSIXPathStyle = 0 };

    explicit CURL(const platform::URL& url);

    /// From the text of a URL. `isEscaped` says whether "%XX" in it stands for a byte or for itself. Text
    /// without a scheme is a path.
    /// Throws `CNullPointerException` for a null text, `CException` (file error) as for a path.
    CURL(const halyard::CStringRef& text, bool isEscaped);

    /// From a path, relative ones being taken from the current folder.
    /// Throws `CNullPointerException` for a null path, `CException` (file error) for a relative one when the
    /// current folder is gone.
    CURL(const halyard::CStringRef& path, PathStyle style, bool isDirectory);

    /// The path, as a data value that holds a `CString`; null when the URL has no path on this machine.
    halyard::CDataValueRef getFileSystemPath(PathStyle style) const;

    /// The text, with percent-escapes.
    halyard::CDataValueRef getString() const;
    halyard::CDataValueRef getUnescapedString() const;

    /// The extension of the last path component without its dot; empty when it has none.
    halyard::CStringRef getPathExtension() const;

    friend bool operator==(const CURL& a, const CURL& b) { return a.m_url == b.m_url; }
    /// A strict order that agrees with `==`.
    friend bool operator<(const CURL& a, const CURL& b) { return a.m_url < b.m_url; }

private:
    platform::URL m_url;
};

using CURLRef = halyard::CSharedObjectRef<CURL>;
