// SPDX-License-Identifier: MIT
/// \file
/// What a lock guards, in a form that clang checks (-Wthread-safety) and other compilers skip.
#pragma once

#if defined(__clang__)
#define MARL_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define MARL_THREAD_ANNOTATION(x)
#endif

#define MARL_CAPABILITY(name) MARL_THREAD_ANNOTATION(capability(name))
#define MARL_SCOPED_CAPABILITY MARL_THREAD_ANNOTATION(scoped_lockable)
#define MARL_GUARDED_BY(mutex) MARL_THREAD_ANNOTATION(guarded_by(mutex))
#define MARL_ACQUIRE(...) MARL_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define MARL_RELEASE(...) MARL_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define MARL_NO_THREAD_ANALYSIS MARL_THREAD_ANNOTATION(no_thread_safety_analysis)
