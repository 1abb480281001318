// InputStream: the bytes of one input file, read in pieces.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

#include "file/FileWalker.h"
#include "support/FilePtr.h"

namespace zvk {

class InputStream {
  public:
    /// @throws std::runtime_error with the reason if the file cannot be opened
    explicit InputStream(const InputFile& input);

    /// @return the number of bytes read into buffer; less than length only at the end or after a
    ///         failure
    size_t read(char* buffer, size_t length);

    /// Call it when read() has reached the end.
    /// @return what is wrong with the bytes read: a read failed, or the file's size has changed
    ///         since it was opened; empty if nothing is wrong
    std::string failure() const;

  private:
    QLT_SPACE::FilePtr file;
    off_t openedSize = 0;
    int readError = 0;
};

}  // namespace zvk
