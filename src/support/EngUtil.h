// EngUtil: the loaders' small helpers for text, files and memory.
#pragma once

#include <cstdint>
#include <cstdio>

namespace STREAMENGINE_SPACE {

class EngUtil {
  public:
    /// @return malloc(size) for sizes from 1 to 10485760, to be freed by the caller; else null
    static void* myAlloc(int size);

    static unsigned int min(unsigned int a, unsigned int b) { return a < b ? a : b; }

    /// Each returns the file's length in bytes and leaves its position unchanged; 0 for a null
    /// file. getFileLength() keeps the lowest 32 bits.
    static uint64_t fileLength(std::FILE* file);
    static int32_t getFileLength(std::FILE* file);

    /// Each removes blanks, tabs, carriage returns and line feeds in place.
    /// @return s, which may be null
    static char* rtrim(char* s);
    static char* ltrim(char* s);
    static char* trim(char* s);

    /// Fills buffer with the directory that an environment variable names, trimmed and ending in
    /// "/".
    /// @param size  bytes in buffer; the value itself must fit with its NUL before it is trimmed
    /// @return false if there is no such value or it does not fit; buffer then holds an
    ///         intermediate result
    static bool getPathVar(char* buffer, int size, const char* name);
};

}  // namespace STREAMENGINE_SPACE
