// The form in which a body signature keeps its detection name.
#pragma once

#include <string>
#include <string_view>

namespace STREAMENGINE_SPACE {

/// @return name without the origin mark that lines of older pattern files carry at its end, and
///         without what stands behind the mark; MD5 lines keep theirs
inline std::string withoutOriginMark(std::string_view name) {
    return std::string(name.substr(0, name.find("(Clam)")));
}

}  // namespace STREAMENGINE_SPACE
