// OpeningSearch: where in text a filtered tag may open.
//
// A "<" that opens nothing consumes the bytes that showed it: itself, the byte after it and, if
// that one begins a filtered name, the second one as well. They are text, a "<" among them
// included. So of "<<script>" the second "<" opens nothing, and whether a "<" counts depends on
// those before it.
#pragma once

#include <cstdint>

#include "support/VectorUnit.h"

namespace STREAMENGINE_SPACE {

/// @param text  where text begins, after all that earlier "<" have consumed
/// @param end   one past its last byte
/// @param mode  as in MarkupFilter::getBufferFilter()
/// @return the first "<" that counts and is followed by the first two letters of a name filtered in
///         this mode or, at the end of text, by fewer than two bytes; end if there is none
using OpeningSearch = const char* (*)(const char* text, const char* end, uint8_t mode);

/// @return the search in the form for a vector unit; all forms give the same answers
OpeningSearch openingSearch(QLT_SPACE::VectorUnit unit);

}  // namespace STREAMENGINE_SPACE
