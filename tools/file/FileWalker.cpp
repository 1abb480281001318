#include "file/FileWalker.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace zvk {

FileWalker::FileWalker(std::vector<std::string> givenPaths) : given(std::move(givenPaths)) {}

std::optional<InputFile> FileWalker::next() {
    for (;;) {
        std::optional<InputFile> found;
        if (folders.empty()) {
            if (givenPosition == given.size()) return std::nullopt;
            found = enterGiven(given[givenPosition++]);
        } else if (folders.back().names.empty()) {
            folders.pop_back();
        } else {
            found = enterNext(folders.back());
        }
        if (found) return found;
    }
}

std::optional<InputFile> FileWalker::enterGiven(const std::string& path) {
    std::error_code error;
    if (path != kStandardInput && fs::is_directory(path, error)) return open(path);
    // A missing file is reported by the code that opens it: it could be deleted before that anyway.
    return InputFile{path, true, {}};
}

std::optional<InputFile> FileWalker::enterNext(Folder& folder) {
    const std::string path = folder.path + folder.names.back();
    folder.names.pop_back();
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path, error);
    if (error) return InputFile{path, false, "cannot open: " + error.message()};
    if (fs::is_directory(status)) return open(path);
    if (fs::is_regular_file(status)) return InputFile{path, false, {}};
    return std::nullopt;
}

// Adds to folders, so references to its elements are no longer valid after the call.
std::optional<InputFile> FileWalker::open(const std::string& path) {
    Folder folder{path.ends_with('/') ? path : path + '/', {}};
    std::error_code error;
    for (fs::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error)) {
        folder.names.push_back(entry->path().filename().string());
    }
    std::sort(folder.names.begin(), folder.names.end(), std::greater<>());
    folders.push_back(std::move(folder));
    if (error) return InputFile{path, false, "cannot read the folder: " + error.message()};
    return std::nullopt;
}

}  // namespace zvk
