// Diagnostics: the program's messages on standard error, and text made safe for one line.
#pragma once

#include <string>
#include <string_view>

namespace zvk {

/// @return text with control characters (C0, DEL and, in UTF-8, C1) and backslashes escaped: it
///         stays on one line, cannot control a terminal, and can be converted back
std::string printable(std::string_view text);

/// Writes one line to standard error: the program's name and the message, made printable.
void complain(std::string_view message);

}  // namespace zvk
