// SPDX-License-Identifier: MIT
/// \file
/// The common base of value objects.
#pragma once

#include <MarlCore/foundation/CSharedObjectRef.h>

namespace halyard {

/// An immutable value that is handed about by reference; a caller narrows it with `dynamicCast`.
class MARLCORE_EXPORT CDataValue : public CSharedObject {
public:
    ~CDataValue() override;
};

using CDataValueRef = CSharedObjectRef<CDataValue>;

}  // namespace halyard
