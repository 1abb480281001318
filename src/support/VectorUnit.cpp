#include "support/VectorUnit.h"

#include <array>
#include <cstdlib>
#include <cstring>

namespace QLT_SPACE {
namespace {

struct NamedUnit {
    VectorUnit unit;
    const char* name;
};

// In the order of the enumeration, which goes from narrow to wide: vectorUnitName() and
// chooseVectorUnit() rely on it.
constexpr std::array<NamedUnit, 4> kUnits = {{{VectorUnit::None, "plain"},
                                              {VectorUnit::Baseline, "baseline"},
                                              {VectorUnit::Avx2, "avx2"},
                                              {VectorUnit::Avx512, "avx512"}}};

}  // namespace

bool hasVectorUnit(VectorUnit unit) {
#ifdef __x86_64__
    const bool hasAvx2 = __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi2") != 0;
    if (unit == VectorUnit::Avx2) return hasAvx2;
    if (unit == VectorUnit::Avx512) {
        return hasAvx2 && __builtin_cpu_supports("avx512bw") != 0 &&
               __builtin_cpu_supports("avx512vl") != 0 &&
               __builtin_cpu_supports("avx512vbmi") != 0 &&
               __builtin_cpu_supports("avx512vbmi2") != 0;
    }
#endif
    return unit == VectorUnit::None || unit == VectorUnit::Baseline;
}

VectorUnit chooseVectorUnit() {
    const char* wanted = std::getenv("ZVK_KERNEL");
    VectorUnit widest = VectorUnit::Baseline;
    for (const auto& [unit, name] : kUnits) {
        if (!hasVectorUnit(unit)) continue;
        if (wanted != nullptr && std::strcmp(wanted, name) == 0) return unit;
        widest = unit;
    }
    return widest;
}

const char* vectorUnitName(VectorUnit unit) {
    return kUnits[static_cast<size_t>(unit)].name;
}

}  // namespace QLT_SPACE
