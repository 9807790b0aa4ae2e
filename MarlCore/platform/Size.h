// SPDX-License-Identifier: MIT
/// \file
/// Width and height.
#pragma once

namespace platform {

/// The size of what is drawn, in pixels, which may be parts of one.
struct Size {
    float width = 0;
    float height = 0;

    friend bool operator==(const Size&, const Size&) = default;
};

}  // namespace platform
