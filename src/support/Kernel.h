// Kernel: which form of the hot loops runs.
//
// All forms give the same answers. Plain is the one that the others are held to: byte by byte, list
// by list, as the stores tell it. Baseline runs on any machine; the others need its vector units.
#pragma once

namespace QLT_SPACE {

enum class Kernel { Plain, Baseline, Avx2, Avx512 };

/// Chooses anew at each call: the environment variable ZVK_KERNEL may change between loads.
/// @return the kernel named by ZVK_KERNEL ("plain", "baseline", "avx2", "avx512") if this machine
///         has it, else the fastest that it has
Kernel chooseKernel();

/// @return the kernel's name as ZVK_KERNEL takes it
const char* kernelName(Kernel kernel);

/// @return whether this machine has what the kernel needs
bool hasKernel(Kernel kernel);

}  // namespace QLT_SPACE
