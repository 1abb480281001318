#include "store/GramTable.h"

#include <algorithm>
#include <bit>

namespace STREAMENGINE_SPACE {
namespace {

// Two bits a gram among sixteen to thirty-two: about one position in a hundred is let through for
// nothing.
constexpr size_t kGramsPerWord = 4;
constexpr size_t kGramsPerBucket = 2;
constexpr size_t kLeastSlots = 64;

/// @return how many slots there are to be, a power of two
size_t slotCount(size_t wanted) {
    return std::bit_ceil(std::max(wanted, kLeastSlots));
}

/// @return by how much a hash is shifted to the right to number that many slots
int shiftFor(size_t slots) {
    return 64 - std::countr_zero(slots);
}

}  // namespace

void GramTable::build(const std::vector<Gram>& grams) {
    if (grams.empty()) return;
    filter.assign(slotCount(grams.size() / kGramsPerWord), 0);
    filterShift = shiftFor(filter.size());
    const size_t buckets = slotCount(grams.size() / kGramsPerBucket);
    bucketShift = shiftFor(buckets);
    starts.assign(buckets + 1, 0);
    values.resize(grams.size());
    for (const Gram& gram : grams) {
        filter[gram.hash >> filterShift] |=
            uint64_t{1} << (gram.hash >> 41 & 63) | uint64_t{1} << (gram.hash >> 35 & 63);
        ++starts[gram.hash >> bucketShift];
    }
    uint32_t end = 0;
    for (uint32_t& start : starts) start = end += start;
    // From the back, so that each start moves from its bucket's end to its beginning.
    for (size_t i = grams.size(); i-- > 0;) {
        values[--starts[grams[i].hash >> bucketShift]] = grams[i].value;
    }
}

}  // namespace STREAMENGINE_SPACE
