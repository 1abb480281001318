// VectorTarget: compiles single functions for a vector unit that not every machine has.
//
// All files are compiled for the baseline. If a whole file were compiled for more, the linker might
// keep its copies of inline functions for the whole program, and older machines would crash. So a
// kernel marks each of its functions with one of these macros. The code that chooses the kernel
// checks with hasVectorUnit() that the machine has the unit. A macro is defined only for targets
// that can have the unit.
#pragma once

#ifdef __SSE2__
#include <immintrin.h>
#endif

// Every machine with AVX2 has POPCNT.
#ifdef __x86_64__
#define ZVK_TARGET_BMI2 [[gnu::target("bmi2")]]
#define ZVK_TARGET_AVX2 [[gnu::target("avx2,bmi2,popcnt")]]
#define ZVK_TARGET_AVX512 [[gnu::target("avx512bw,avx512vl,avx512vbmi,avx512vbmi2,bmi2,popcnt")]]
#endif
