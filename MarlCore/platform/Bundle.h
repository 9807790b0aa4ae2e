// SPDX-License-Identifier: MIT
/// \file
/// Where the files are that the library ships, and where a user's own lie.
#pragma once

#include <MarlCore/platform/Export.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// Finds resources by name and type (the extension of their file). The environment is read at every call, so
/// that a program can set it first. [any thread, while no thread changes the environment]
class MARLCORE_EXPORT Bundle {
public:
    /// The folders that may hold resources, first choice first, whether they exist or not: the one that
    /// `MARLCORE_RESOURCES` names, the data folder of the installation that the loaded library belongs to
    /// ("../share/marlcore" from the library's folder), and the one that the build fixed: its source tree, or
    /// where a package puts them.
    static std::vector<std::string> resourceFolders();

    /// The path of "name.type" in the first of these folders that holds such a file, or nothing.
    static std::optional<std::string> pathForResource(std::string_view name, std::string_view type);

    /// The folder for a user's settings and additions: "$XDG_CONFIG_HOME/marlcore", or "~/.config/marlcore"
    /// where that variable is not set to an absolute path. It need not exist. Nothing without a home folder.
    static std::optional<std::string> userFolder();
};

}  // namespace platform
