// JsonLine: one JSON object on a line of its own.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace zvk {

/// @return the object and a line end; bytes that are not UTF-8 are replaced by U+FFFD
inline std::string jsonLine(const nlohmann::ordered_json& object) {
    using Json = nlohmann::ordered_json;
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace zvk
