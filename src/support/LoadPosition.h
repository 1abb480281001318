// LoadPosition: the pattern file and line that a load is working on, for the messages of refusals.
//
// Each thread has a position of its own: parsers that run outside of a load neither race with the
// load nor see a file name whose memory is freed. The name is an array, not a std::string: a
// thread-local object with a destructor keeps the library loaded until its thread ends.
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
