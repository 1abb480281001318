// ReplacedFile: a file that is written beside its target and takes the target's name once it is
// whole, so that nobody ever reads half of it.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "support/FilePtr.h"

namespace zvk {

class ReplacedFile {
  public:
    /// @param targetPath  what is to be written; an existing regular file is replaced, through a
    ///                    symbolic link as well, and keeps its permissions
    /// @throws std::system_error, whose text names the target, if it or its folder cannot be used
    explicit ReplacedFile(std::string targetPath);
    /// Without commit() the target is as it was.
    ~ReplacedFile();
    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;

    /// Null after close().
    std::FILE* stream() const { return file.get(); }

    /// @throws std::system_error
    void write(std::string_view text);

    /// Brings the content to the disk and closes the file.
    /// @throws std::system_error
    void close();

    /// Gives the file, which is closed if it was not, the target's name.
    /// @throws std::system_error; the target is as it was then
    void commit();

  private:
    [[noreturn]] void fail(int number) const;

    std::string target;
    std::string temporary;  // its path; empty once it is committed
    QLT_SPACE::FilePtr file;
};

}  // namespace zvk
