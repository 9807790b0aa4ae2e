// SPDX-License-Identifier: MIT
/// \file
/// Settings as text that a user writes and reads.
#pragma once

#include <MarlCore/platform/PropertyList.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace marl::tool {

/// A text that cannot be the value of a setting; `what()` says what it could be.
class BadPreferenceValue : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Text as it is, numbers in the fewest digits that mean them, "true" or "false"; lists and dictionaries as
/// JSON in one line. Data and dates, which only programs set, are described.
std::string textOfValue(const platform::PropertyList& value);

/// The way back: the value of `type` that `text` means for the setting `key`, for which a few keys have their
/// own bounds. Throws `BadPreferenceValue`.
platform::PropertyList valueFromText(std::string_view key, platform::PropertyList::Type type,
                                     const std::string& text);

/// "whole number", "text" …
std::string_view nameOfType(platform::PropertyList::Type type);

}  // namespace marl::tool
