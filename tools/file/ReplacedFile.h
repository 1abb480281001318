// ReplacedFile: writes a file under a temporary name beside its target and gives it the target's
// name once it is whole, so that nobody ever reads half of it.
//
// rename() replaces a name in one step: a reader opens the old file or the new one. The content is
// on the disk before that, so a crash leaves one of the two as well. The temporary file is in the
// target's folder, as rename() does not work from one file system to another.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "support/FilePtr.h"

namespace zvk {

class ReplacedFile {
  public:
    /// @param targetPath  the file to write. A regular file there is replaced and keeps its
    ///                    permissions; of a symbolic link the file is replaced to which it leads.
    /// @throws std::system_error, whose text names the target, if it or its folder cannot be used
    explicit ReplacedFile(std::string targetPath);
    /// Removes the temporary file, unless it was committed; the target is then unchanged.
    ~ReplacedFile();
    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;

    /// Null after close().
    std::FILE* stream() const { return file.get(); }

    /// @throws std::system_error
    void write(std::string_view text);

    /// Writes the content to the disk and closes the file.
    /// @throws std::system_error
    void close();

    /// Closes the file if it is open and gives it the target's name.
    /// @throws std::system_error; the target is then unchanged
    void commit();

  private:
    [[noreturn]] void fail(int number) const;

    std::string target;
    std::string temporary;  // path of the temporary file; empty once it is committed
    QLT_SPACE::FilePtr file;
};

}  // namespace zvk
