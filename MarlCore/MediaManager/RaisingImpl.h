// SPDX-License-Identifier: MIT
/// \file
/// The boundary between the core and its host-facing classes.
#pragma once

#include <MarlCore/foundation/CException.h>

namespace marl {

/// What `call` returns. A `CException` of it is raised as a `platform::Exception`.
template <typename Call>
decltype(auto) raising(Call call) {
    try {
        return call();
    } catch (const halyard::CException& exception) {
        halyard::convertAndRaise(&exception);
    }
}

}  // namespace marl
