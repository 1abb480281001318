// FileWalker: turns the paths of a command line into the files to be scanned, one at a time.
//
// Folders are walked depth first, the entries of each sorted by name (as bytes), so the order is
// the same on every run. In folders, symbolic links are not followed and special files are skipped.
// A path on the command line is used whatever it is. Memory: the names in the folders between the
// given path and the current file.
//
// Example: "a" with the entries "a/x" (a folder with the file "y") and "a/z" gives a/x/y, a/z.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zvk {

/// The path that means standard input.
inline constexpr const char* kStandardInput = "-";

struct InputFile {
    std::string path;
    bool isGiven = false;  // named by the user, not found in a folder
    std::string error;     // why it cannot be scanned; empty if no reason is known
};

class FileWalker {
  public:
    explicit FileWalker(std::vector<std::string> givenPaths);

    /// @return the next file, or a path that cannot be walked, with its error; nothing at the end
    std::optional<InputFile> next();

  private:
    struct Folder {
        std::string path;                // ends in '/'
        std::vector<std::string> names;  // sorted backwards: the next is the last
    };

    std::optional<InputFile> enterGiven(const std::string& path);
    std::optional<InputFile> enterNext(Folder& folder);
    std::optional<InputFile> open(const std::string& path);

    std::vector<std::string> given;
    size_t givenPosition = 0;
    std::vector<Folder> folders;  // from the given one down to the current one
};

}  // namespace zvk
