// MD5 lines: DIGEST:SIZE:NAME, the digest of 32 hexadecimal digits at a fixed place.
#pragma once

#include "store/load/MD5List.h"

namespace STREAMENGINE_SPACE {

/// Parses one line and adds its record to list. What follows the name is not read.
/// @throws QLT_SPACE::Exception for a malformed line, or if no record is to be had
void addMd5Line(MD5List& list, const char* line);

}  // namespace STREAMENGINE_SPACE
