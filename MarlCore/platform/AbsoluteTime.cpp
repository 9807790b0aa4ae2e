// SPDX-License-Identifier: MIT
#include <MarlCore/platform/AbsoluteTime.h>

#include <chrono>

namespace platform {

double AbsoluteTimeGetCurrent() noexcept {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace platform
