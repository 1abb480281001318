// StringHelper: small text queries.
#pragma once

#include <string>

namespace QLT_SPACE {

class StringHelper {
  public:
    /// Case-sensitive; an empty suffix ends every text, null on either side ends nothing.
    static bool endsWith(const char* text, const char* suffix);

    /// @return value in decimal
    static std::string ntoa(int value);
};

}  // namespace QLT_SPACE
