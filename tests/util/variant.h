#pragma once
/// @file
/// What the tests of the utility layer were built for: some behaviour only shows in some builds.

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUILLON_TESTS_ADDRESS_SANITIZER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define QUILLON_TESTS_ADDRESS_SANITIZER
#endif

namespace quillon {

#ifdef QUILLON_TESTS_ADDRESS_SANITIZER
inline constexpr bool kAddressSanitizer = true;
#else
inline constexpr bool kAddressSanitizer = false;
#endif

#ifdef QUILLON_PORTABLE
inline constexpr bool kPortable = true;
#else
inline constexpr bool kPortable = false;
#endif

}  // namespace quillon
