// SPDX-License-Identifier: MIT
/// \file
/// Names for temporary files.
#pragma once

#include <MarlCore/foundation/CString.h>

namespace halyard {

class MARLCORE_EXPORT FileUtilities {
public:
    /// The path of a file in `folder` that does not exist: `baseName`, a hyphen and random letters, drawn
    /// from the system's source of randomness, so that no two callers on any machines that share the folder
    /// get the same one. What a file name cannot hold (a slash, a zero byte) is an underscore in it. A null
    /// or empty folder is `$TMPDIR`, or "/tmp". Does not create the file. Throws `CNullPointerException` for
    /// a null base name, `CParamException` for a folder with a zero byte in its path, and `CException` (file
    /// error) when the system refuses to look in the folder. [any thread]
    static CStringRef generateTemporaryFileName(const CStringRef& folder, const CStringRef& baseName);
};

}  // namespace halyard
