// LoadPosition: the pattern file and line that a load is working on, for the messages of refusals.
//
// There is one position per thread, so that parsers used outside a load neither race with it nor
// see a name that is gone. It has no destructor: one that a thread runs at its end would keep the
// library from being unloaded.
#pragma once

#include <cstdint>

namespace STREAMENGINE_SPACE {

class LoadPosition {
  public:
    /// @return as much of the file's name as fits into 4095 bytes; "" before the first file
    static const char* file();
    static void setFile(const char* name);

    /// @return the lines accepted so far or, in a container, the record of the section, from 1
    static int32_t line();
    static void setLine(int32_t number);
};

}  // namespace STREAMENGINE_SPACE
