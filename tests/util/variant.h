#pragma once
/// @file
/// The build of the utility layer under test: some behaviour exists only in some builds.

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUILLON_TESTS_ADDRESS_SANITIZER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define QUILLON_TESTS_ADDRESS_SANITIZER
#endif

namespace quillon {

#ifdef QUILLON_TESTS_ADDRESS_SANITIZER
constexpr bool kAddressSanitizer = true;
#else
constexpr bool kAddressSanitizer = false;
#endif

#ifdef QUILLON_PORTABLE
constexpr bool kPortable = true;
#else
constexpr bool kPortable = false;
#endif

}  // namespace quillon
