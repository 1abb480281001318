#include "support/Kernel.h"

#include <array>
#include <cstdlib>
#include <cstring>

namespace QLT_SPACE {
namespace {

struct KernelEntry {
    Kernel kernel;
    const char* name;
};

constexpr std::array<KernelEntry, 4> kKernels = {{{Kernel::Plain, "plain"},
                                                  {Kernel::Baseline, "baseline"},
                                                  {Kernel::Avx2, "avx2"},
                                                  {Kernel::Avx512, "avx512"}}};

}  // namespace

bool hasKernel(Kernel kernel) {
#ifdef __x86_64__
    const bool hasAvx2 = __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi2") != 0;
    if (kernel == Kernel::Avx2) return hasAvx2;
    if (kernel == Kernel::Avx512) {
        return hasAvx2 && __builtin_cpu_supports("avx512bw") != 0 &&
               __builtin_cpu_supports("avx512vl") != 0 &&
               __builtin_cpu_supports("avx512vbmi2") != 0;
    }
#endif
    return kernel == Kernel::Plain || kernel == Kernel::Baseline;
}

Kernel chooseKernel() {
    const char* wanted = std::getenv("ZVK_KERNEL");
    Kernel best = Kernel::Baseline;
    for (const auto& [kernel, name] : kKernels) {
        if (!hasKernel(kernel)) continue;
        if (wanted != nullptr && std::strcmp(wanted, name) == 0) return kernel;
        best = kernel;
    }
    return best;
}

const char* kernelName(Kernel kernel) {
    return kKernels[static_cast<size_t>(kernel)].name;
}

}  // namespace QLT_SPACE
