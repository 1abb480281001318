#include "set/PatternFile.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace zvk {

QLT_SPACE::FilePtr openPatternFile(const std::string& path) {
    QLT_SPACE::FilePtr file(std::fopen(path.c_str(), "r"));
    int number = file ? 0 : errno;
    struct stat status;
    if (file && fstat(fileno(file.get()), &status) == 0 && S_ISDIR(status.st_mode)) number = EISDIR;
    if (number == 0) return file;
    throw PatternError(fmt::format("cannot open pattern file {}: {}", path,
                                   std::generic_category().message(number)));
}

}  // namespace zvk
