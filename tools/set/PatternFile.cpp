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

QLT_SPACE::FilePtr openContainerFile(const std::string& path) {
    QLT_SPACE::FilePtr file = openPatternFile(path);
    struct stat status;
    if (fstat(fileno(file.get()), &status) != 0 || !S_ISREG(status.st_mode))
        throw PatternError(fmt::format("{} is no regular file", path));
    if (std::getc(file.get()) == EOF && std::ferror(file.get()) != 0)
        throw PatternError(fmt::format("cannot read {}", path));
    std::rewind(file.get());
    return file;
}

std::string placeOf(const STREAMENGINE_SPACE::ContainerFault& fault) {
    const bool isInFile = fault.place == STREAMENGINE_SPACE::ContainerFault::Place::kFile;
    return fmt::format("offset {} of the {}", fault.offset, isInFile ? "file" : "restored body");
}

}  // namespace zvk
