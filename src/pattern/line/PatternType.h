// The kinds of pattern files and, as far as they carry signatures, of their lines.
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
