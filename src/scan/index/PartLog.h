// PartLog: the parts of multi-part signatures that a stream has accepted, in this order.
//
// It is all that a stream keeps of them from one chunk to the next: what waits and what is over
// follows from it (LiveParts). An entry stands for all signatures that agree so far.
#pragma once

#include <cstdint>
#include <vector>

namespace STREAMENGINE_SPACE {

struct AcceptedPart {
    uint32_t node;   // of the PartTree
    uint32_t start;  // stream offset at which the part begins
};

using PartLog = std::vector<AcceptedPart>;

}  // namespace STREAMENGINE_SPACE
