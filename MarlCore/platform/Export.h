// SPDX-License-Identifier: MIT
/// \file
/// What a host may link: everything else is hidden inside the shared library.
#pragma once

#define MARLCORE_EXPORT __attribute__((visibility("default")))
