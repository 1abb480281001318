// Utils: text formatting and field picking.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace QLT_SPACE {

class Utils {
  public:
    static constexpr std::size_t kFormatRoom = 4096;  // bytes, the final NUL included

    /// Formats like printf; what does not fit into kFormatRoom is cut.
    static std::string formatString(const char* format, ...) __attribute__((format(printf, 1, 2)));

    /// Picks token number index, counted from 0. Several delimiters in a row separate like one, so
    /// "a::b" has the tokens "a" and "b"; token 0 begins at the first character.
    /// @return the token, or nothing if the text has no such token or it is empty
    static std::optional<std::string> strToK(const char* text, int index, const char* delimiters);
    /// @return where token 1 of the text begins, or the text's end if there is none. A loop over
    ///         tokens takes token 0 of the text, then token 0 of the rest that this returns.
    static const char* skipToken(const char* text, const char* delimiters);
};

}  // namespace QLT_SPACE
