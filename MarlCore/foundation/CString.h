// SPDX-License-Identifier: MIT
/// \file
/// Immutable, shared text.
#pragma once

#include <MarlCore/foundation/CBuffer.h>
#include <MarlCore/foundation/CDataValue.h>

#include <string>
#include <string_view>

namespace halyard {

/// What the bytes that a text is made from mean.
enum class TextEncoding {
    kUTF8,      ///< taken over byte by byte, unchecked: also the encoding of paths, which may be any bytes
    kMacRoman,  ///< old AIFF files
    kWindowsLatin1  ///< code page 1252: old WAV files
};

class CString;
using CStringRef = CSharedObjectRef<CString>;

/// Text in UTF-8. Positions and lengths count bytes. Case-insensitive comparisons fold the letters A to Z
/// only, so that their order is the same in every locale. [any thread]
class MARLCORE_EXPORT CString : public CDataValue {
public:
    /// `text` ends at its zero byte; null makes an empty text.
    explicit CString(const char* text, TextEncoding encoding = TextEncoding::kUTF8);

    /// The first `length` bytes of the buffer, at most all of them. A null buffer makes an empty text.
    CString(const CBufferRef& bytes, int length, TextEncoding encoding);

    explicit CString(std::string utf8);

    /// The bytes with a zero byte behind them, valid while this object lives.
    const char* getCharPtr() const noexcept { return m_text.c_str(); }
    const std::string& getStringRef() const noexcept { return m_text; }
    int getLength() const noexcept { return static_cast<int>(m_text.size()); }

    bool equals(const CString& other) const noexcept { return m_text == other.m_text; }

    /// Negative, zero or positive as this text sorts before, with or behind `other`, by unsigned bytes.
    int compare(const CString& other, bool ignoreCase) const noexcept;

    /// Looks for `other` from byte `start` (a negative one is 0). When found, writes the position through
    /// `foundAt`, unless that is null. An empty text is found at `start`.
    bool find(const CString& other, int start, int* foundAt, bool ignoreCase) const noexcept;

private:
    std::string m_text;
};

/// The text of a host, as a shared one; null makes an empty text.
MARLCORE_EXPORT CStringRef CSTR(const char* text);
MARLCORE_EXPORT CStringRef CSTR(const std::string& text);

/// The string that a data value holds, or null when it is null or no string.
MARLCORE_EXPORT CStringRef asString(const CDataValueRef& value);

/// True when the bytes are well-formed UTF-8 (Unicode 15, table 3-7).
MARLCORE_EXPORT bool isValidUTF8(std::string_view text) noexcept;

}  // namespace halyard
