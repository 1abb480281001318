// MD5 lines: DIGEST:SIZE:NAME. The line starts with the 32 hexadecimal digits of the digest.
#pragma once

#include "store/load/MD5List.h"

namespace STREAMENGINE_SPACE {

/// Parses one line and adds its record to list. Fields after the name are not read.
/// @throws QLT_SPACE::Exception for a malformed line, or if the list has no room for a record
void addMd5Line(MD5List& list, const char* line);

}  // namespace STREAMENGINE_SPACE
