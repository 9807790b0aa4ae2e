// SPDX-License-Identifier: MIT
/// \file
/// Thin stand-ins for what the system expects of a host with an object runtime and a movie toolbox.
#pragma once

#include <MarlCore/foundation/CBuffer.h>

namespace halyard {

/// A scope in which a thread may call host code. There is no pool to drain here: objects go with their last
/// reference.
class CNSAutoReleasePool {
public:
    CNSAutoReleasePool() noexcept {}
    CNSAutoReleasePool(const CNSAutoReleasePool&) = delete;
    CNSAutoReleasePool& operator=(const CNSAutoReleasePool&) = delete;
    ~CNSAutoReleasePool() {}
};

/// A shared block of memory that a sound or media description lives in; it goes with the last reference.
class MARLCORE_EXPORT CHandle : public CSharedObject {
public:
    /// `contents` may be null: a handle to nothing.
    explicit CHandle(CBufferRef contents) noexcept : m_contents(std::move(contents)) {}

    const CBufferRef& getHandle() const noexcept { return m_contents; }

private:
    CBufferRef m_contents;
};

using CHandleRef = CSharedObjectRef<CHandle>;

}  // namespace halyard
