#include "store/GramTable.h"

#include <algorithm>
#include <bit>

namespace STREAMENGINE_SPACE {
namespace {

// Two bits a gram among sixteen to thirty-two: about one position in a hundred is let through for
// nothing.
constexpr size_t kGramsPerWord = 4;
constexpr size_t kLeastSlots = 64;

}  // namespace

size_t GramFilter::slotCount(size_t wanted) {
    return std::bit_ceil(std::max(wanted, kLeastSlots));
}

int GramFilter::shiftFor(size_t slots) {
    return 64 - std::countr_zero(slots);
}

void GramFilter::reserve(size_t grams) {
    words.assign(slotCount(grams / kGramsPerWord), 0);
    shift = shiftFor(words.size());
}

}  // namespace STREAMENGINE_SPACE
