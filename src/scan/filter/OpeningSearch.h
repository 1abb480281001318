// OpeningSearch: where in text a filtered tag may open.
//
// A "<" that opens nothing takes the bytes that show it along as text: the one behind it or, if
// that begins a filtered name, the second one as well. So of "<<script>" the second "<" is plain
// text, and whether a "<" counts depends on those in front of it.
#pragma once

#include <cstdint>

namespace STREAMENGINE_SPACE {

/// @param at  where text begins, behind all that was taken before
/// @return the first "<" in [at, end) that is followed by two letters of a name filtered in this
///         mode or, at the end, by fewer than two bytes; end if there is none
const char* findOpening(const char* at, const char* end, uint8_t mode);

/// The same, one "<" after the other: what findOpening() is held to, and its way at the end of text
/// and on machines without SSE2.
const char* findOpeningPlain(const char* at, const char* end, uint8_t mode);

}  // namespace STREAMENGINE_SPACE
