// SPDX-License-Identifier: MIT
/// \file
/// The interface of what plays.
#pragma once

#include <MarlCore/Files/IFileData.h>

namespace marl {

/// Something whose samples are played, as far as the reading ahead needs to know it. Its shared base is
/// virtual: a class may be a source of other media besides, and still has one count of references.
class MARLCORE_EXPORT IAudioSource : public virtual halyard::CSharedObject {
public:
    /// The samples as of now; a source may change to others, those of the offline file for one. Called by the
    /// request thread. [any thread]
    virtual IFileDataRef getFileData() = 0;
};

using IAudioSourceRef = halyard::CSharedObjectRef<IAudioSource>;

}  // namespace marl
