// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CSharedObject.h>

#include <cstdio>
#include <cstdlib>

namespace halyard {

CSharedObject::~CSharedObject() = default;

void CSharedObject::Release() noexcept {
    // Acquire-release: what every other owner did to the object happens before its destructor.
    if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

void CSharedObject::LogNullRef() noexcept {
    std::fputs("MarlCore: a null shared reference was dereferenced\n", stderr);
    std::abort();
}

}  // namespace halyard
