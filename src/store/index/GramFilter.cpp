#include "store/index/GramFilter.h"

#include <algorithm>
#include <bit>

namespace STREAMENGINE_SPACE {
namespace {

// While the filter fits into a cache of the second level, it accepts about one wrong position in a
// hundred; larger filters accept at most one in sixteen.
constexpr size_t kBitsPerGram = 128;
constexpr size_t kLeastBitsPerGram = 16;
constexpr size_t kCachedBits = size_t{1} << 22;
constexpr size_t kLeastSlots = 64;

}  // namespace

size_t GramFilter::slotCount(size_t wanted) {
    return std::bit_ceil(std::max(wanted, kLeastSlots));
}

int GramFilter::shiftFor(size_t slots) {
    return 64 - std::countr_zero(slots);
}

// Example: 10,000 grams get 128 bits each, rounded up to 2^21 bits, 256 KiB: less than one
// position in 128 is accepted by mistake. A million grams get 16 bits each, 2 MiB.
void GramFilter::reserve(size_t grams) {
    const size_t wanted =
        std::max(std::min(grams * kBitsPerGram, kCachedBits), grams * kLeastBitsPerGram);
    const size_t bits = slotCount(wanted);
    words.assign(bits / 64, 0);
    shift = shiftFor(bits);
    isFilled = true;
}

}  // namespace STREAMENGINE_SPACE
