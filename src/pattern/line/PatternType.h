// PatternType: the kind of a pattern file, and of the lines of files that carry signatures.
#pragma once

namespace STREAMENGINE_SPACE {

enum PatternType : int {
    PATTERN_UNKNOWN = 0,
    PATTERN_MD5 = 1,
    PATTERN_BASIC = 2,
    PATTERN_EXTENDED = 3,
    PATTERN_CONTAINER = 5,
    PATTERN_HWINFO = 6,
};

}  // namespace STREAMENGINE_SPACE
