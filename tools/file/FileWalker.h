// FileWalker: turns the paths of a command line into the files to be scanned, one at a time.
//
// Folders are walked in depth, the entries of each sorted by name (as bytes), so that the order is
// the same on every run. Below a given path symbolic links are not followed and special files are
// skipped; a path that is given itself is taken whatever it is. Only the names in the folders
// between the given path and the current file are held.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zvk {

/// Stands for standard input among the paths.
inline constexpr const char* kStandardInput = "-";

struct InputFile {
    std::string path;
    bool isGiven = false;  // named by the user, not met in a folder
    std::string error;     // why it cannot be scanned; empty if nothing is known against it
};

class FileWalker {
  public:
    explicit FileWalker(std::vector<std::string> givenPaths);

    /// @return the next file or what cannot be walked, told by its error; nothing at the end
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
