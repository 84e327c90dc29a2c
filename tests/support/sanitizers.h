// Which sanitizer a test is built with: UNDER_ASAN and UNDER_TSAN are 0 or 1. A sanitizer
// has an allocator of its own, and needs more address space than a test can leave it.

#ifndef TESTS_SUPPORT_SANITIZERS_H
#define TESTS_SUPPORT_SANITIZERS_H

#if defined(__has_feature)
#define HAS_SANITIZER(name) __has_feature(name)
#else
#define HAS_SANITIZER(name) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || HAS_SANITIZER(address_sanitizer)
#define UNDER_ASAN 1
#else
#define UNDER_ASAN 0
#endif

#if defined(__SANITIZE_THREAD__) || HAS_SANITIZER(thread_sanitizer)
#define UNDER_TSAN 1
#else
#define UNDER_TSAN 0
#endif

#endif
