// SPDX-License-Identifier: MIT
/// \file
/// The reference-counted base of every object that is shared between owners.
#pragma once

#include <MarlCore/platform/Export.h>

#include <atomic>

namespace halyard {

/// Carries an intrusive reference count. A new object has the count 0 and belongs to nobody until the first
/// `CSharedObjectRef` takes it; the `Release` that brings the count back to 0 deletes it.
///
/// `Retain` and `Release` may be called on one object from several threads at once. [any thread]
class MARLCORE_EXPORT CSharedObject {
public:
    CSharedObject() noexcept = default;
    CSharedObject(const CSharedObject&) = delete;
    CSharedObject& operator=(const CSharedObject&) = delete;
    virtual ~CSharedObject();

    void Retain() noexcept { m_references.fetch_add(1, std::memory_order_relaxed); }

    /// Deletes the object when this was the last reference.
    void Release() noexcept;

    /// The count of the moment; another thread may change it at any time.
    long CountReferences() const noexcept { return m_references.load(std::memory_order_relaxed); }

    /// Called before a null reference is dereferenced: writes one line to standard error and aborts, so that
    /// a missing object never turns into a read of address zero further on.
    [[noreturn]] static void LogNullRef() noexcept;

private:
    std::atomic<long> m_references{0};
};

}  // namespace halyard
