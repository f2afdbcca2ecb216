// LUM_API marks what liblumbasic exports to hosts: the classes and functions that the
// public headers declare. The library is built with hidden visibility, so every
// other symbol of the interpreter and the compiler stays inside it, and a host
// needs no compile definition of its own to use it.
#pragma once

#if defined(__GNUC__) || defined(__clang__)
#define LUM_API __attribute__((visibility("default")))
#else
#define LUM_API
#endif

// A small member that the run's hot paths inline even where the compiler, in a function
// it already finds large, would leave a call.
#if defined(__GNUC__) || defined(__clang__)
#define LUM_INLINE inline __attribute__((always_inline))
#else
#define LUM_INLINE inline
#endif
