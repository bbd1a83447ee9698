#ifndef TESTS_SUPPORT_SANITIZERS_H
#define TESTS_SUPPORT_SANITIZERS_H

// g++ tells of sanitizers by macros, clang++ by features.
#if defined(__has_feature)
#define DT_TEST_HAS_FEATURE(feature) __has_feature(feature)
#else
#define DT_TEST_HAS_FEATURE(feature) 0
#endif

#if defined(__SANITIZE_THREAD__) || DT_TEST_HAS_FEATURE(thread_sanitizer)
#define DT_TEST_THREAD_SANITIZER 1
#else
#define DT_TEST_THREAD_SANITIZER 0
#endif

#if defined(__SANITIZE_ADDRESS__) || DT_TEST_HAS_FEATURE(address_sanitizer)
#define DT_TEST_ADDRESS_SANITIZER 1
#else
#define DT_TEST_ADDRESS_SANITIZER 0
#endif

namespace OrynRti::Tests {

constexpr bool theThreadSanitizerIsOn = DT_TEST_THREAD_SANITIZER;
constexpr bool theBuildIsSanitized = DT_TEST_THREAD_SANITIZER || DT_TEST_ADDRESS_SANITIZER;

}  // namespace OrynRti::Tests

#endif
