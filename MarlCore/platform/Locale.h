// SPDX-License-Identifier: MIT
/// \file
/// What language a user reads, and how lists are sorted in it.
#pragma once

#include <MarlCore/platform/Export.h>

#include <string>
#include <string_view>

namespace platform {

/// The language of the user as two or three small letters ("de" for "de_AT.UTF-8"), from the first of the
/// environment variables LC_ALL, LC_MESSAGES and LANG that is not empty; "en" where that names none, as "C".
/// [any thread, while no thread changes the environment]
MARLCORE_EXPORT std::string preferredLanguage();

/// What to compare, byte by byte, to have UTF-8 texts in the order of a dictionary: in lower case, the
/// letters of Latin-1 without their accents (as in DIN 5007, variant 1: "Übung" is "ubung", "Maß" is "mass").
/// Other bytes stay as they are. [any thread]
MARLCORE_EXPORT std::string dictionaryKey(std::string_view text);

}  // namespace platform
