// The detection name as a body signature stores it.
#pragma once

#include <string>
#include <string_view>

namespace STREAMENGINE_SPACE {

/// @return name up to an origin mark, without it. The names of MD5 lines keep their mark, as hosts
///         know them with it.
inline std::string withoutOriginMark(std::string_view name) {
    return std::string(name.substr(0, name.find("(Clam)")));
}

}  // namespace STREAMENGINE_SPACE
