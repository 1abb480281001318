#include "scan/normalise/NormaliseForms.h"

namespace STREAMENGINE_SPACE {

const NormaliseKernel* normaliseKernel(QLT_SPACE::VectorUnit unit) {
    switch (unit) {
#ifdef __x86_64__
        case QLT_SPACE::VectorUnit::Avx512:
            return &kNormaliseAvx512;
        case QLT_SPACE::VectorUnit::Avx2:
            return &kNormaliseAvx2;
#endif
#ifdef __SSE2__
        case QLT_SPACE::VectorUnit::Baseline:
            return &kNormaliseSse2;
#endif
        default:
            return nullptr;
    }
}

}  // namespace STREAMENGINE_SPACE
