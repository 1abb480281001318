// SearchCounts: what a search does, counted by outcome, for measurements.
//
// Only a program that is compiled with ZVK_COUNTS counts; otherwise ZVK_COUNT() is nothing.
#pragma once

#include <cstdint>

namespace STREAMENGINE_SPACE {

struct SearchCounts {
    uint64_t bytes = 0;         // of text that was walked over
    uint64_t longMarks = 0;     // probes for long anchors that the filter accepted
    uint64_t longEntries = 0;   // entries that they led to
    uint64_t wideMarks = 0;     // likewise for wide anchors
    uint64_t narrowMarks = 0;   // for narrow anchors
    uint64_t pairMarks = 0;     // for shapes
    uint64_t shapeLookups = 0;  // groups that were asked
    uint64_t runEntries = 0;    // run units that the last three led to
    uint64_t idle = 0;          // of these: found before, over, or not awake yet
    uint64_t compared = 0;      // units of any table that were compared with their record
    uint64_t ignored = 0;       // marks of which the filter's bit was cleared
    uint64_t occurrences = 0;   // of parts that were alive
    uint64_t accepted = 0;      // parts
    uint64_t woken = 0;         // units
    uint64_t restored = 0;      // streams for which the live parts were made up again
};

#ifdef ZVK_COUNTS
inline SearchCounts searchCounts;
#define ZVK_COUNT(what, number) (STREAMENGINE_SPACE::searchCounts.what += (number))
#else
#define ZVK_COUNT(what, number) static_cast<void>(0)
#endif

}  // namespace STREAMENGINE_SPACE
