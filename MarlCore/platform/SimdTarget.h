// SPDX-License-Identifier: MIT
/// \file
/// How a source compiles some of its functions for a processor that the build as a whole does not require.
///
///     #include …                           // every include comes first: no inline function of a header may
///     #if MARLCORE_X86_SIMD                // be compiled for a processor that the host may lack
///     MARLCORE_BEGIN_TARGET("avx2,fma")
///     namespace avx2 { … }
///     MARLCORE_END_TARGET
///     #endif
///
/// A region, not the compiler's function attribute: g++ does not carry the attribute into lambdas.
#pragma once

/// Whether this build has x86 kernels at all; which of them run is `simdLevel()`'s to say.
#if defined(__x86_64__) || defined(__i386__)
#define MARLCORE_X86_SIMD 1
#else
#define MARLCORE_X86_SIMD 0
#endif

#define MARLCORE_PRAGMA(text) _Pragma(#text)

#if defined(__clang__)
#define MARLCORE_BEGIN_TARGET(features) \
    MARLCORE_PRAGMA(clang attribute push(__attribute__((target(features))), apply_to = function))
#define MARLCORE_END_TARGET MARLCORE_PRAGMA(clang attribute pop)
#else
#define MARLCORE_BEGIN_TARGET(features) \
    MARLCORE_PRAGMA(GCC push_options) MARLCORE_PRAGMA(GCC target(features))
#define MARLCORE_END_TARGET MARLCORE_PRAGMA(GCC pop_options)
#endif
