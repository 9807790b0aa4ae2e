// SPDX-License-Identifier: MIT
/// \file
/// `marl prefs`: the settings of the user.
#pragma once

#include <MarlCore/platform/UserDefaults.h>

#include <iosfwd>
#include <string>

namespace marl::tool {

// Each works on `settings`, whose defaults are registered, and returns the exit status. A key that is neither
// set nor has a default, and a value that does not fit, are wrong usage; settings that cannot be written are
// an error.

/// Prints a row a setting, in the order of the keys: its type, whether the user has set it, key and value.
int runPrefsList(platform::UserDefaults& settings, std::ostream& out, std::ostream& err);

/// Prints the value as it is, whatever bytes it has, and a line break.
int runPrefsGet(platform::UserDefaults& settings, const std::string& key, std::ostream& out,
                std::ostream& err);

/// Sets the value that `text` means, which must be of the default's type.
int runPrefsSet(platform::UserDefaults& settings, const std::string& key, const std::string& text,
                std::ostream& err);

/// Lets the default count again.
int runPrefsReset(platform::UserDefaults& settings, const std::string& key, std::ostream& err);

}  // namespace marl::tool
