// SPDX-License-Identifier: MIT
// How the sanitizers run the tests: an allocation that no machine can serve returns null, as it does without
// them, so that the tests see what the library makes of it.

#if defined(__SANITIZE_ADDRESS__)
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
#endif

#if defined(__SANITIZE_THREAD__)
extern "C" const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}
#endif
