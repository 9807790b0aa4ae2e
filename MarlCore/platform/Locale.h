// SPDX-License-Identifier: MIT
/// \file
/// What language a user reads.
#pragma once

#include <MarlCore/platform/Export.h>

#include <string>

namespace platform {

/// The language of the user as two or three small letters ("de" for "de_AT.UTF-8"), from the first of the
/// environment variables LC_ALL, LC_MESSAGES and LANG that is not empty; "en" where that names none, as "C".
/// [any thread, while no thread changes the environment]
MARLCORE_EXPORT std::string preferredLanguage();

}  // namespace platform
