// What the build is checked by: LUM_ASAN under AddressSanitizer, LUM_LEAKS_CHECKED where
// a leak checker looks at the end of the process (AddressSanitizer, or LeakSanitizer
// alone). With gcc the first macro tells, with clang the features.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define LUM_ASAN 1
#define LUM_LEAKS_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define LUM_ASAN 1
#endif
#if __has_feature(address_sanitizer) || __has_feature(leak_sanitizer)
#define LUM_LEAKS_CHECKED 1
#endif
#endif
