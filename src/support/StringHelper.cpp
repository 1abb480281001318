#include "support/StringHelper.h"

#include <string_view>

namespace QLT_SPACE {

bool StringHelper::endsWith(const char* text, const char* suffix) {
    if (text == nullptr || suffix == nullptr) return false;
    return std::string_view(text).ends_with(suffix);
}

std::string StringHelper::ntoa(int value) {
    return std::to_string(value);
}

}  // namespace QLT_SPACE
