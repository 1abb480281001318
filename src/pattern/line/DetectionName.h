// The form in which a body signature keeps its detection name.
#pragma once

#include <string>
#include <string_view>

namespace STREAMENGINE_SPACE {

/// @return name without an origin mark and what stands behind the mark. The names of MD5 lines keep
///         theirs: hosts know them by it.
inline std::string withoutOriginMark(std::string_view name) {
    return std::string(name.substr(0, name.find("(Clam)")));
}

}  // namespace STREAMENGINE_SPACE
