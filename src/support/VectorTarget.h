// VectorTarget: compiles single functions for a vector unit that not every machine has.
//
// All files are compiled for the baseline. A whole file compiled for more would let inline
// functions of its headers out that older machines cannot run. So a kernel marks each of its
// functions with one of these macros, and whoever calls the kernel makes sure of the unit by
// hasVectorUnit(). A macro is defined only where the target can have the unit.
#pragma once

#ifdef __SSE2__
#include <immintrin.h>
#endif

#ifdef __x86_64__
#define ZVK_TARGET_BMI2 [[gnu::target("bmi2")]]
#define ZVK_TARGET_AVX2 [[gnu::target("avx2,bmi2,popcnt")]]
#define ZVK_TARGET_AVX512 [[gnu::target("avx512bw,avx512vl,avx512vbmi2,bmi2,popcnt")]]
#endif
