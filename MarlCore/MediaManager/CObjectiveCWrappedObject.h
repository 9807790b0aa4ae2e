// SPDX-License-Identifier: MIT
/// \file
/// The base of shared objects that a user interface sees through a wrapper.
#pragma once

#include <MarlCore/foundation/CSharedObject.h>

namespace marl {

/// A shared object that knows its wrapper, the object that stands for it in a user interface. The wrapper
/// owns a reference to this object and takes itself out before it goes. [main thread]
class MARLCORE_EXPORT CObjectiveCWrappedObject : public virtual halyard::CSharedObject {
public:
    /// What a wrapper may do about changes of the object itself.
    class MARLCORE_EXPORT Wrapper {
    public:
        Wrapper() = default;
        Wrapper(const Wrapper&) = delete;
        Wrapper& operator=(const Wrapper&) = delete;
        virtual ~Wrapper() = default;

        virtual void wrappedObjectWillChange() {}
        virtual void wrappedObjectDidChange() {}
    };

    /// Null while there is none.
    Wrapper* getObjectiveCWrapper() const noexcept { return m_wrapper; }
    /// Takes the place of the wrapper before.
    void setObjectiveCWrapper(Wrapper* wrapper) noexcept { m_wrapper = wrapper; }
    /// For a wrapper that goes: does nothing when another one has taken its place.
    void removeObjectiveCWrapper(const Wrapper& wrapper) noexcept {
        if (m_wrapper == &wrapper) m_wrapper = nullptr;
    }

private:
    Wrapper* m_wrapper = nullptr;
};

}  // namespace marl
