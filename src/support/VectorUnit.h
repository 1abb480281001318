// VectorUnit: which of the processor's vector instructions the hot loops use.
//
// This is the one switch for all of them: the normaliser, the search and the markup filter. Each
// has a scalar form and forms for some of the units, chosen when a set is prepared. All forms give
// the same answers, and the tests compare each with the scalar one.
#pragma once

namespace QLT_SPACE {

enum class VectorUnit {
    None,      // scalar loops, byte by byte
    Baseline,  // what every machine of the target has: SSE2 on x86-64
    Avx2,      // AVX2 and BMI2
    Avx512     // the same, and AVX-512 with BW, VL and VBMI2
};

/// Chooses anew at each call: the environment variable ZVK_KERNEL may change between loads.
/// @return the unit named by ZVK_KERNEL ("plain", "baseline", "avx2", "avx512") if this machine has
///         it, else the widest that it has
VectorUnit chooseVectorUnit();

/// @return the unit's name as ZVK_KERNEL takes it
const char* vectorUnitName(VectorUnit unit);

/// @return whether this machine has the unit
bool hasVectorUnit(VectorUnit unit);

/// @return whether a unit means scalar loops
constexpr bool isScalar(VectorUnit unit) {
    return unit == VectorUnit::None;
}

/// @return whether a unit has AVX2 and BMI2
constexpr bool includesAvx2(VectorUnit unit) {
    return unit == VectorUnit::Avx2 || unit == VectorUnit::Avx512;
}

}  // namespace QLT_SPACE
