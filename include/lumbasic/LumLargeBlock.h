// The large blocks of big stores: LUM_LARGE_BLOCK bytes, aligned to their size and
// offered to the kernel's huge pages, so that a million elements fault a few hundred
// pages instead of thousands.
#pragma once

#include <lumbasic/LumExport.h>

#include <cstddef>

constexpr size_t LUM_LARGE_BLOCK = size_t(2) << 20;

// Throws std::bad_alloc where there is no memory.
LUM_API void* LumLargeBlockAlloc();
LUM_API void LumLargeBlockFree(void* p) noexcept;
