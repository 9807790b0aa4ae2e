// SPDX-License-Identifier: MIT
/// \file
/// A folder that lasts as long as a test.
#pragma once

#include "support/Bytes.h"

#include <string>
#include <string_view>

namespace support {

/// A new, empty folder under the system's folder for temporary files. It goes with this object, and all that
/// is in it; a test fails when it cannot be removed.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    /// The absolute path, without a trailing slash.
    const std::string& path() const noexcept { return m_path; }

    /// The absolute path of `name` in the folder, whether there is such a file or not.
    std::string path(std::string_view name) const;

    /// Writes a file, in place of an older one, and returns its absolute path. Folders in `name`
    /// ("Drums/Kick.aif") are made as needed. Throws `std::system_error` when the system refuses.
    std::string write(std::string_view name, std::string_view contents) const;
    std::string write(std::string_view name, const Bytes& contents) const;

private:
    std::string m_path;
};

}  // namespace support
