// SPDX-License-Identifier: MIT
/// \file
/// The texts of single values in a property list, and which texts XML can hold. [any thread]
#pragma once

#include <MarlCore/platform/PropertyList.h>

namespace platform {

/// Whether XML 1.0 can hold the character, as itself or by its number.
bool isXMLCharacter(char32_t character) noexcept;

/// The offset of the first byte that begins no character which XML can hold; `npos` when there is none.
std::size_t findNoXMLCharacter(std::string_view text) noexcept;

// Each way back gives nothing for text that is not of its form; blanks around it are the caller's.

std::optional<std::int64_t> integerFromText(std::string_view text) noexcept;

std::string textFromReal(double value);
std::optional<double> realFromText(std::string_view text) noexcept;

/// Base64 (RFC 4648, section 4) in one line. The way back passes over blanks, and takes a last group
/// without its padding.
std::string textFromData(const PropertyList::Data& data);
std::optional<PropertyList::Data> dataFromText(std::string_view text);

/// "2026-11-21T10:00:00Z"; nothing for a date outside of the years 0 to 9999.
std::optional<std::string> textFromDate(PropertyList::Date date);
std::optional<PropertyList::Date> dateFromText(std::string_view text) noexcept;

}  // namespace platform
